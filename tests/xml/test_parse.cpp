#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <filesystem>
#include <fstream>

#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark::xml {
namespace {

using quillmark::testing::makeTempDirectory;

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
}

TEST(Parse, FailuresReportTheFirstErrorWithItsPositionAndPrintNothing) {
    struct Case {
        std::string text;
        std::string message;  // libxml2's message
        int line;             // the line where libxml2 stops; the column varies with its version
    } cases[] = {
        {"", "Document is empty", 1}, {"  \n ", "Start tag expected, '<' not found", 2},
        {"hello", "Start tag expected, '<' not found", 1},
        {"<a>\n  <b></c>\n</a>", "Opening and ending tag mismatch: b line 2 and c", 2},
        {"<Invoice>\n<ID>1</ID>", "Premature end of data in tag Invoice line 1", 2},
        {"<a/><b/>", "Extra content at the end of the document", 1}, {"<a x=1/>", "AttValue: \" or ' expected", 1},
        {"<a>&nope;</a>", "Entity 'nope' not defined", 1},
        {std::string("\x00\x01\xff\xfe\x80 junk", 10), "Document is empty", 1},
        {"<a>\xC3\x28</a>", "Input is not proper UTF-8, indicate encoding ! Bytes: 0xC3 0x28 0x3C 0x2F", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        ::testing::internal::CaptureStderr();
        Error error;
        auto document = Document::parse(c.text, &error);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(document, nullptr);
        EXPECT_EQ(error.domain, kXMLParserDomain);
        EXPECT_NE(error.code, 0);
        const std::string start = c.message + " (line " + std::to_string(c.line) + ", column ";
        EXPECT_EQ(error.localizedDescription.substr(0, start.size()), start);
        EXPECT_TRUE(error.localizedDescription.ends_with(")")) << error.localizedDescription;
    }
}

TEST(Parse, KeepsWhiteSpaceTextNodesAndIgnoresTheEncodingDeclaration) {
    auto document = Document::parse("<a>\n  <b> x </b>\n  <c/>\n</a>", nullptr);
    ASSERT_NE(document, nullptr);
    std::vector<std::string> kinds;
    for (const Node& child : document->rootElement().children()) {
        kinds.push_back(child.isElement() ? child.name() : "'" + *child.stringValue() + "'");
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"'\n  '", "b", "'\n  '", "c", "'\n'"}));
    EXPECT_EQ(document->rootElement().children()[1].stringValue(), " x ");
    // The text is UTF-8 whatever the declaration says.
    document = Document::parse("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>Stra\xC3\x9F" "e</a>", nullptr);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->rootElement().stringValue(), "Stra\xC3\x9F" "e");
}

TEST(Parse, ReplacesInternalEntitiesByTheirText) {
    auto document = Document::parse(
        "<!DOCTYPE a [<!ENTITY who \"world\"><!ENTITY greeting \"hello &who;\">]><a x=\"&greeting;\">&greeting;!</a>",
        nullptr);
    ASSERT_NE(document, nullptr);
    const auto children = document->rootElement().children();
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(children[0].kind(), NodeKind::Text);
    EXPECT_EQ(children[0].stringValue(), "hello world!");
    EXPECT_EQ(document->rootElement().attribute("x"), "hello world");
}

// Nothing outside the text is read: a reference to an external entity refuses the
// document, an external DTD is not loaded, and an external parameter entity is not
// followed.
TEST(Parse, NeverReadsExternalEntitiesOrDtds) {
    const std::string directory = makeTempDirectory("quillmark-xml-entity");
    const std::string secretPath = directory + "/secret.txt";
    writeFile(secretPath, "TOP-SECRET");
    writeFile(directory + "/schema.dtd", "<!ENTITY fromDtd \"DTD-LOADED\">");
    writeFile(directory + "/parameter.ent", "<!ENTITY fromParameter \"PARAMETER-LOADED\">");
    ::testing::internal::CaptureStderr();
    Error error;
    const std::string text = "<!DOCTYPE a SYSTEM \"file://" + directory + "/schema.dtd\" [\n"
                             "<!ENTITY secret SYSTEM \"file://" + secretPath + "\">\n]>\n<a>&secret;</a>";
    EXPECT_EQ(Document::parse(text, &error), nullptr);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_EQ(error.localizedDescription,
              "The document refers to the external entity 'secret', which is never read (line 4)");

    const std::string parameter = "<!DOCTYPE a [<!ENTITY % p SYSTEM \"file://" + directory +
                                  "/parameter.ent\"> %p; <!ENTITY inner \"x\">]><a>&inner;</a>";
    for (const std::string& other : {parameter, "<!DOCTYPE a SYSTEM \"file://" + directory + "/schema.dtd\"><a/>"}) {
        auto document = Document::parse(other, &error);
        ASSERT_NE(document, nullptr) << error.message();
        const std::string serialized = document->xmlString();
        EXPECT_EQ(serialized.find("LOADED"), std::string::npos) << serialized;
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    std::filesystem::remove_all(directory);
}

// Entities that stand for far more text than the document holds are refused at once,
// whether they nest or are used many times.
TEST(Parse, RefusesEntitiesThatExpandBeyondTheBound) {
    std::string laughs = "<!DOCTYPE l [<!ENTITY l0 \"ha\">";
    for (int level = 1; level <= 20; ++level) {
        const std::string previous = "&l" + std::to_string(level - 1) + ";";
        std::string expansion;
        for (int copy = 0; copy < 10; ++copy) expansion += previous;
        laughs += "<!ENTITY l" + std::to_string(level) + " \"" + expansion + "\">";
    }
    laughs += "]><l>&l20;</l>";
    // 40 KB of text, 10 MB of expansion, 2,500 uses: 25 GB.
    std::string nested = "<!DOCTYPE r [<!ENTITY e0 \"" + std::string(4000, 'x') + "\"><!ENTITY e1 \"";
    for (int copy = 0; copy < 1000; ++copy) nested += "&e0;";
    nested += "\">]><r>";
    for (int use = 0; use < 2500; ++use) nested += "<v>&e1;</v>";
    nested += "</r>";
    // One 40 KB entity used 2,500 times: 100 MB.
    std::string flat = "<!DOCTYPE r [<!ENTITY e \"" + std::string(40000, 'x') + "\">]><r>";
    for (int use = 0; use < 2500; ++use) flat += "<v a='&e;'/>";
    flat += "</r>";
    ::testing::internal::CaptureStderr();
    for (const std::string* text : {&laughs, &nested, &flat}) {
        Error error;
        EXPECT_EQ(Document::parse(*text, &error), nullptr);
        EXPECT_EQ(error.domain, kXMLParserDomain);
        EXPECT_TRUE(error.localizedDescription.starts_with("Entity references expand to more than ") ||
                    error.localizedDescription.starts_with("Detected an entity reference loop"))
            << error.localizedDescription;
    }
    // Within the bound the text is expanded: 100 uses of a 10 KB entity.
    std::string modest = "<!DOCTYPE r [<!ENTITY e \"" + std::string(10000, 'x') + "\">]><r>";
    for (int use = 0; use < 100; ++use) modest += "&e;";
    modest += "</r>";
    auto document = Document::parse(modest, nullptr);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->rootElement().stringValue()->size(), 1000000u);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Parse, SurvivesDeepNesting) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<d>";
    ::testing::internal::CaptureStderr();
    Error error;
    EXPECT_EQ(Document::parse(deep, &error), nullptr);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Parse, LeavesNoErrorHandlerOfItsOwnInstalled) {
    ASSERT_EQ(Document::parse("<broken", nullptr), nullptr);
    // A later libxml2 report on this thread goes to the default handler (stderr) again.
    ::testing::internal::CaptureStderr();
    xmlDoc* raw = xmlReadMemory("<x", 2, nullptr, nullptr, 0);
    EXPECT_EQ(raw, nullptr);
    EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST(ReadTextFile, NamesTheFileAndTheReason) {
    const std::string directory = makeTempDirectory("quillmark-xml-files");
    writeFile(directory + "/latin1.txt", "Stra\xDF" "e");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {directory + "/missing.xml", "No such file or directory"},
        {directory, "Is a directory"},
        {directory + "/latin1.txt", "the file is not valid UTF-8 text"},
    };
    for (const auto& [path, reason] : cases) {
        Error error;
        EXPECT_EQ(readTextFile(path, &error), std::nullopt) << path;
        EXPECT_EQ(error.domain, kFileDomain) << path;
        EXPECT_EQ(error.localizedDescription, "cannot read " + path + ": " + reason);
        EXPECT_EQ(Document::parseFile(path, nullptr), nullptr) << path;
    }
    writeFile(directory + "/ok.txt", "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80");
    EXPECT_EQ(readTextFile(directory + "/ok.txt", nullptr), "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80");

    // Parser errors of a file start with the file's name.
    const std::string broken = directory + "/broken.xml";
    writeFile(broken, "<a>\n</b>");
    Error error;
    EXPECT_EQ(Document::parseFile(broken, &error), nullptr);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_EQ(error.localizedDescription, broken + ": Opening and ending tag mismatch: a line 1 and b (line 2, column 5)");
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace quillmark::xml
