#include <gtest/gtest.h>

#include "quillmark/log.h"
#include "quillmark/xml.h"
#include "xml/xpath_rewrite.h"

namespace quillmark::xml {
namespace {

const char* const kDocument =
    "<r xmlns:p=\"urn:p\"><p:a n=\"1\"><b>x</b></p:a><b n=\"2\">y</b><!--c--></r>";

// Every single-character change of a query that uses each rewritten form must either
// select or fail; neither the rewriting nor libxml2 may crash, hang or print.
TEST(Robustness, MutatedQueriesSelectOrFail) {
    const std::string query =
        "//p:a[b/normalize-space(upper-case(.))='X' and @n=('1',\"2\")]/(b|c)[1] | x/(y|z)";
    auto document = Document::parse(kDocument, nullptr);
    ASSERT_NE(document, nullptr);
    XPathEngine engine;
    ScopedLogCapture log;
    ::testing::internal::CaptureStderr();
    size_t selections = 0;
    for (size_t position = 0; position <= query.size(); ++position) {
        for (const char* replacement : {"", "(", ")", "[", "]", "'", "/", "|", "=", " ", ":"}) {
            std::string mutated = query;
            if (position < query.size()) mutated.replace(position, 1, replacement);
            else mutated += replacement;
            bool failed = false;
            const auto nodes = engine.select(document->rootElement(), mutated, &failed);
            EXPECT_TRUE(!failed || nodes.empty()) << mutated;
            selections += nodes.size();
        }
    }
    EXPECT_GT(selections, 0u);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Robustness, PathologicalQueryTexts) {
    auto document = Document::parse(kDocument, nullptr);
    ASSERT_NE(document, nullptr);
    const std::vector<std::string> texts = {
        std::string(20000, '('),
        std::string(20000, '[') + "1" + std::string(20000, ']'),
        "a" + std::string(5000, '/') + "(b|c)",
        [] {
            std::string nested = "b";
            for (int i = 0; i < 300; ++i) nested = "x/(" + nested + "|c)";
            return nested;
        }(),
        [] {
            std::string many = "a";
            for (int i = 0; i < 500; ++i) many += "/f(b)='v'";
            return many;
        }(),
        std::string("a[.='") + std::string(1, '\0') + "']",
        "\xff\xfe/(\x80|\xc3)",
    };
    XPathEngine engine;
    ::testing::internal::CaptureStderr();
    for (const std::string& text : texts) {
        bool failed = false;
        engine.select(document->rootElement(), text, &failed);
        detail::rewriteXPath2Forms(text);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Robustness, EveryTruncationOfADocumentParsesOrFails) {
    const std::string text = std::string("<?xml version=\"1.0\"?>\n<!DOCTYPE r [<!ENTITY e \"v\">]>") + kDocument;
    ::testing::internal::CaptureStderr();
    for (size_t length = 0; length < text.size(); ++length) {
        Error error;
        auto document = Document::parse(std::string_view(text).substr(0, length), &error);
        EXPECT_EQ(document == nullptr, error.isSet()) << length;
        if (document) document->xmlString();
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quillmark::xml
