// What the XML layer will read: regular files only, up to the input size limit; no
// network, whoever asks; libxml2's reports go to the parse that caused them, never to
// a handler of the host program, so parses on several threads keep their errors apart.

#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "quillmark/xml.h"
#include "support/test_support.h"
#include "xml/external_resources.h"
#include "xml/local_listener.h"

namespace quillmark::xml {
namespace {

using quillmark::testing::LocalListener;
using quillmark::testing::makeTempDirectory;

void hearGenericError(void* context, const char*, ...) {
    static_cast<std::vector<std::string>*>(context)->push_back("generic");
}

class SafeReadingTest : public ::testing::Test {
protected:
    void SetUp() override { directory_ = makeTempDirectory("quillmark-safe-reading"); }
    void TearDown() override {
        setMaxInputSize(kDefaultMaxInputSize);
        std::filesystem::remove_all(directory_);
    }
    std::string write(const std::string& name, const std::string& content) {
        const std::string path = directory_ + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::string directory_;
};

// Special files are refused without blocking (a FIFO without a writer would block an
// ordinary open, /dev/zero would never end); files over the limit are refused.
TEST_F(SafeReadingTest, ReadsOnlyRegularFilesWithinTheSizeLimit) {
    const std::string fifo = directory_ + "/pipe.xml";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string small = write("small.xml", "<a>0123456789</a>");
    const std::vector<std::pair<std::string, std::string>> refused = {
        {fifo, "not a regular file but a FIFO"},
        {"/dev/zero", "not a regular file but a device"},
        {directory_, "Is a directory"},
    };
    for (const auto& [path, reason] : refused) {
        Error error;
        EXPECT_EQ(readFileBytes(path, &error), std::nullopt) << path;
        EXPECT_EQ(error.domain, kFileDomain);
        EXPECT_EQ(error.localizedDescription, "cannot read " + path + ": " + reason);
        EXPECT_EQ(Document::parseFile(path, nullptr), nullptr);
    }
    EXPECT_EQ(maxInputSize(), uint64_t{256} << 20);
    EXPECT_EQ(readFileBytes(small, nullptr), "<a>0123456789</a>");
    setMaxInputSize(17);
    EXPECT_EQ(readTextFile(small, nullptr), "<a>0123456789</a>");
    setMaxInputSize(16);
    Error error;
    EXPECT_EQ(readTextFile(small, &error), std::nullopt);
    EXPECT_EQ(error.localizedDescription,
              "cannot read " + small + ": the file is larger than the input size limit of 16 bytes");
}

// A host program's handlers stay installed and hear nothing of the library's parses.
TEST_F(SafeReadingTest, LeavesTheHostsErrorHandlersAlone) {
    std::vector<std::string> heard;
    auto structured = [](void* context, xmlErrorPtr error) {
        static_cast<std::vector<std::string>*>(context)->push_back(error->message);
    };
    xmlSetStructuredErrorFunc(&heard, structured);
    xmlSetGenericErrorFunc(&heard, hearGenericError);
    for (const char* text : {"<broken", "<a>&undefined;</a>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"}) {
        Document::parse(text, nullptr);
    }
    EXPECT_EQ(xmlStructuredErrorContext, &heard);
    EXPECT_EQ(xmlGenericErrorContext, &heard);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, nullptr);
    EXPECT_TRUE(heard.empty()) << heard.front();
}

TEST_F(SafeReadingTest, ParsesOnSeveralThreadsKeepTheirOwnErrors) {
    std::vector<std::thread> threads;
    std::vector<std::string> descriptions(8);
    for (size_t i = 0; i < descriptions.size(); ++i) {
        threads.emplace_back([i, &descriptions] {
            // The error is on line i + 2.
            const std::string text = "<a>" + std::string(i + 1, '\n') + "</b>";
            for (int round = 0; round < 200; ++round) {
                Error error;
                Document::parse(text, &error);
                if (round == 0 || error.localizedDescription != descriptions[i]) descriptions[i] = error.localizedDescription;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (size_t i = 0; i < descriptions.size(); ++i) {
        EXPECT_EQ(descriptions[i], "Opening and ending tag mismatch: a line 1 and b (line " + std::to_string(i + 2) +
                                       ", column 5)");
    }
}

// The library's parses never go out, and once it is loaded a host's libxml2 parse does
// not either: local requests still reach the loader the host had.
TEST_F(SafeReadingTest, NothingReachesTheNetwork) {
    LocalListener listener;
    ASSERT_TRUE(listener.listening());
    const std::string dtd = write("local.dtd", "<!ENTITY fromDtd 'LOCAL-DTD'>");
    Document::parse("<a/>", nullptr);  // the library is in use
    const std::vector<std::string> texts = {
        "<!DOCTYPE a SYSTEM '" + listener.url("a.dtd") + "'><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM '" + listener.url("e.txt") + "'>]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY % p SYSTEM '" + listener.url("p.ent") + "'> %p;]><a/>",
    };
    for (const std::string& text : texts) {
        Document::parse(text, nullptr);
        const int hostOptions = XML_PARSE_DTDLOAD | XML_PARSE_NOENT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
        xmlFreeDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, hostOptions));
    }
    EXPECT_FALSE(listener.receivedConnection());

    const std::string local = "<!DOCTYPE a SYSTEM '" + dtd + "'><a>&fromDtd;</a>";
    xmlDoc* hostDocument = xmlReadMemory(local.data(), static_cast<int>(local.size()), nullptr, nullptr,
                                         XML_PARSE_DTDLOAD | XML_PARSE_NOENT);
    ASSERT_NE(hostDocument, nullptr);
    xmlChar* content = xmlNodeGetContent(xmlDocGetRootElement(hostDocument));
    EXPECT_STREQ(reinterpret_cast<const char*>(content), "LOCAL-DTD");
    xmlFree(content);
    xmlFreeDoc(hostDocument);
}

TEST(LocalPathOfURL, AcceptsPathsAndLocalFileURLsOnly) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {"/tmp/a.xsd", "/tmp/a.xsd"},
        {"parts/a.xsd", "parts/a.xsd"},
        {"file:///tmp/a%20b.xsd", "/tmp/a b.xsd"},
        {"FILE:/tmp/a.xsd", "/tmp/a.xsd"},
        {"file://localhost/tmp/a.xsd", "/tmp/a.xsd"},
        {"file://example.org/tmp/a.xsd", std::nullopt},
        {"http://127.0.0.1/a.xsd", std::nullopt},
        {"https://example.org/a.xsd", std::nullopt},
        {"ftp://example.org/a.xsd", std::nullopt},
        {"jar:file:/a.jar!/a.xsd", std::nullopt},
        {"file:", std::nullopt},
    };
    for (const auto& [url, path] : cases) EXPECT_EQ(detail::localPathOfURL(url), path) << url;
}

}  // namespace
}  // namespace quillmark::xml
