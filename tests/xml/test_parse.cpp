#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <filesystem>
#include <fstream>

#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark::xml {
namespace {

using quillmark::testing::corpusPath;
using quillmark::testing::makeTempDirectory;

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
}

struct ParseFailure {
    const char* name;
    std::string text;
    std::string message;  // libxml2's message
    int line;             // the line where libxml2 stops; the column varies with its version
};

class ParseFailures : public ::testing::TestWithParam<ParseFailure> {};

TEST_P(ParseFailures, ReportTheFirstErrorWithItsPositionAndPrintNothing) {
    ::testing::internal::CaptureStderr();
    Error error;
    auto document = Document::parse(GetParam().text, &error);
    const std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(document, nullptr);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_NE(error.code, 0);
    const std::string position = " (line " + std::to_string(GetParam().line) + ", column ";
    EXPECT_EQ(error.localizedDescription.substr(0, GetParam().message.size() + position.size()),
              GetParam().message + position);
    EXPECT_TRUE(error.localizedDescription.ends_with(")")) << error.localizedDescription;
    EXPECT_EQ(printed, "");
}

INSTANTIATE_TEST_SUITE_P(
    Xml, ParseFailures,
    ::testing::Values(
        ParseFailure{"Empty", "", "Document is empty", 1},
        ParseFailure{"OnlyBlanks", "  \n ", "Start tag expected, '<' not found", 2},
        ParseFailure{"PlainText", "hello", "Start tag expected, '<' not found", 1},
        ParseFailure{"MismatchedTag", "<a>\n  <b></c>\n</a>", "Opening and ending tag mismatch: b line 2 and c", 2},
        ParseFailure{"Truncated", "<Invoice>\n<ID>1</ID>", "Premature end of data in tag Invoice line 1", 2},
        ParseFailure{"TwoRoots", "<a/><b/>", "Extra content at the end of the document", 1},
        ParseFailure{"BadAttribute", "<a x=1/>", "AttValue: \" or ' expected", 1},
        ParseFailure{"UndefinedEntity", "<a>&nope;</a>", "Entity 'nope' not defined", 1},
        ParseFailure{"BinaryJunk", std::string("\x00\x01\xff\xfe\x80 junk", 10), "Document is empty", 1},
        ParseFailure{"InvalidUtf8", "<a>\xC3\x28</a>", "Input is not proper UTF-8, indicate encoding ! Bytes: 0xC3 0x28 0x3C 0x2F", 1}),
    [](const auto& info) { return info.param.name; });

TEST(Parse, KeepsWhiteSpaceTextNodes) {
    auto document = Document::parse("<a>\n  <b> x </b>\n  <c/>\n</a>", nullptr);
    ASSERT_NE(document, nullptr);
    std::vector<std::string> kinds;
    for (const Node& child : document->rootElement().children()) {
        kinds.push_back(child.isElement() ? child.name() : "'" + *child.stringValue() + "'");
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"'\n  '", "b", "'\n  '", "c", "'\n'"}));
    EXPECT_EQ(document->rootElement().children()[1].stringValue(), " x ");
}

TEST(Parse, IgnoresAnEncodingDeclarationBecauseTheTextIsUtf8) {
    auto document = Document::parse("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>Stra\xC3\x9F" "e</a>", nullptr);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->rootElement().stringValue(), "Stra\xC3\x9F" "e");
}

TEST(Parse, LeavesInternalEntitiesAsReferences) {
    auto document = Document::parse("<!DOCTYPE a [<!ENTITY who \"world\">]><a>hello &who;</a>", nullptr);
    ASSERT_NE(document, nullptr);
    const auto children = document->rootElement().children();
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(children[0].kind(), NodeKind::Text);
    EXPECT_EQ(children[1].kind(), NodeKind::Invalid);  // the reference itself
    EXPECT_EQ(document->xmlString(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                     "<!DOCTYPE a [\n<!ENTITY who \"world\">\n]>\n<a>hello &who;</a>\n");
}

TEST(Parse, NeverReadsExternalEntitiesOrDtds) {
    const std::string directory = makeTempDirectory("quillmark-xml-entity");
    const std::string secretPath = directory + "/secret.txt";
    writeFile(secretPath, "TOP-SECRET");
    writeFile(directory + "/schema.dtd", "<!ENTITY fromDtd \"DTD-LOADED\">");
    const std::string text = "<!DOCTYPE a SYSTEM \"file://" + directory + "/schema.dtd\" [\n"
                             "<!ENTITY secret SYSTEM \"file://" + secretPath + "\">\n]>\n<a>&secret;</a>";
    ::testing::internal::CaptureStderr();
    Error error;
    auto document = Document::parse(text, &error);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    ASSERT_NE(document, nullptr) << error.message();
    EXPECT_EQ(document->rootElement().stringValue(), "");
    EXPECT_EQ(document->xmlString().find("TOP-SECRET"), std::string::npos);
    EXPECT_TRUE(document->rootElement().nodesForXPath("self::node()[contains(., 'SECRET')]").empty());
    // An entity that only the external DTD declares stays unknown.
    auto dtdOnly = Document::parse("<!DOCTYPE a SYSTEM \"file://" + directory + "/schema.dtd\"><a>&fromDtd;</a>", &error);
    if (dtdOnly) {
        EXPECT_EQ(dtdOnly->xmlString().find("DTD-LOADED"), std::string::npos);
    }
    std::filesystem::remove_all(directory);
}

TEST(Parse, SurvivesExponentialEntitiesAndDeepNesting) {
    std::string laughs = "<!DOCTYPE l [<!ENTITY l0 \"ha\">";
    for (int level = 1; level <= 20; ++level) {
        const std::string previous = "&l" + std::to_string(level - 1) + ";";
        std::string expansion;
        for (int copy = 0; copy < 10; ++copy) expansion += previous;
        laughs += "<!ENTITY l" + std::to_string(level) + " \"" + expansion + "\">";
    }
    laughs += "]><l>&l20;</l>";
    ::testing::internal::CaptureStderr();
    auto document = Document::parse(laughs, nullptr);
    if (document) {
        // Whatever the parser accepted must not expand when read.
        EXPECT_LT(document->rootElement().stringValue()->size(), 1000u);
        EXPECT_LT(document->xmlString().size(), 10000u);
    }
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<d>";
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

struct FileCase {
    const char* name;
    std::string path;
    std::string expectedDescription;
};

TEST(ReadTextFile, NamesTheFileAndTheReason) {
    const std::string directory = makeTempDirectory("quillmark-xml-files");
    writeFile(directory + "/latin1.txt", "Stra\xDF" "e");
    const std::vector<FileCase> cases = {
        {"missing", directory + "/missing.xml", "cannot read " + directory + "/missing.xml: No such file or directory"},
        {"directory", directory, "cannot read " + directory + ": Is a directory"},
        {"not UTF-8", directory + "/latin1.txt", "cannot read " + directory + "/latin1.txt: the file is not valid UTF-8 text"},
    };
    for (const FileCase& c : cases) {
        Error error;
        EXPECT_EQ(readTextFile(c.path, &error), std::nullopt) << c.name;
        EXPECT_EQ(error.domain, kFileDomain) << c.name;
        EXPECT_EQ(error.localizedDescription, c.expectedDescription) << c.name;
        EXPECT_EQ(Document::parseFile(c.path, nullptr), nullptr) << c.name;
    }
    writeFile(directory + "/ok.txt", "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80");
    EXPECT_EQ(readTextFile(directory + "/ok.txt", nullptr), "gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80");
    std::filesystem::remove_all(directory);
}

TEST(ParseFile, PrefixesParserErrorsWithTheFileName) {
    const std::string directory = makeTempDirectory("quillmark-xml-files");
    const std::string path = directory + "/broken.xml";
    writeFile(path, "<a>\n</b>");
    Error error;
    EXPECT_EQ(Document::parseFile(path, &error), nullptr);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_EQ(error.localizedDescription, path + ": Opening and ending tag mismatch: a line 1 and b (line 2, column 5)");
    std::filesystem::remove_all(directory);
}

TEST(ParseFile, ReadsARealInvoice) {
    if (!quillmark::testing::corpusAvailable()) GTEST_SKIP() << "corpus not available";
    Error error;
    auto document = Document::parseFile(corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"), &error);
    ASSERT_NE(document, nullptr) << error.message();
    EXPECT_EQ(document->rootElement().localName(), "Invoice");
    EXPECT_EQ(document->rootElement().namespaceURI(), "urn:oasis:names:specification:ubl:schema:xsd:Invoice-2");
}

}  // namespace
}  // namespace quillmark::xml
