// The XPath 2.0 functions that the XPath 1.0 engine offers to rule-set paths.

#include <gtest/gtest.h>

#include "quillmark/log.h"
#include "quillmark/xml.h"

namespace quillmark::xml {
namespace {

const char* const kItems =
    "<r>"
    "<i n=\"1\" v=\"abc\" amt=\"-5.5\" code=\"VAT\"><t>a</t><t>b</t></i>"
    "<i n=\"2\" v=\"Stra\xC3\x9F" "e\" amt=\"7.25\" code=\"vat\"><t>c</t></i>"
    "<i n=\"3\" v=\"\" amt=\"x\" code=\"Vat\" opt=\"\"/>"
    "</r>";

class ExtensionFunctions : public ::testing::Test {
protected:
    void SetUp() override {
        document = Document::parse(kItems, nullptr);
        ASSERT_NE(document, nullptr);
    }
    std::shared_ptr<Document> document;
    XPathEngine engine;
};

TEST_F(ExtensionFunctions, WorkInsidePredicates) {
    // The predicate and the n attributes of the selected items, in order.
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"upper-case(@v) = 'ABC'", "1"},
        {"upper-case(@v) = 'STRASSE'", "2"},  // by Unicode rules, not per letter
        {"upper-case(@code) = 'VAT'", "123"}, {"lower-case(@code) = 'vat'", "123"},
        {"normalize-space(upper-case(@code)) = 'VAT'", "123"},
        {"exists(@opt)", "3"}, {"empty(@opt)", "12"}, {"exists(t)", "12"},
        {"exists('')", "123"},  // a string is one item, even when empty
        {"ends-with(@v, 'bc')", "1"}, {"ends-with(@v, '')", ""}, {"abs(@amt) = 5.5", "1"},
        {"string-join(t, '-') = 'a-b'", "1"}, {"string-join(t) = 'ab'", "1"}, {"string-join(@v, '-') = 'abc'", "1"},
        // An empty text matches without the pattern being looked at, as in rule-set expressions.
        {"matches(@v, '^a.c$')", "13"},
        {"matches(@v, 'B')", "3"},                 // case-sensitive
        {"matches(@v, '[')", "3"},                 // a pattern that does not compile matches nothing
        {"matches(@code, 'vat', 'i')", "2"},       // flags are ignored
        {"replace(@v, 'b', 'X') = 'aXc'", "1"}, {"replace(@v, '(a)(b)', '$2$1') = 'bac'", "1"},
        {"replace(@v, '(', 'X') = 'abc'", "1"},  // bad pattern: unchanged
        {"xs:decimal(@amt) < 0", "1"}, {"xs:integer(@amt) = -5", "1"}, {"xs:string(@code) = 'vat'", "2"},
        {"xs:date('2024-01-31') = '2024-01-31'", "123"},
    };
    for (const auto& [predicate, expected] : cases) {
        bool failed = true;
        std::string selected;
        for (const Node& item : engine.select(document->rootElement(), std::string("i[") + predicate + "]", &failed)) {
            selected += *item.attribute("n");
        }
        EXPECT_FALSE(failed) << predicate;
        EXPECT_EQ(selected, expected) << predicate;
    }
}

TEST_F(ExtensionFunctions, WrongArgumentCountsFailTheExpression) {
    ::testing::internal::CaptureStderr();
    for (const char* xpath : {"i[upper-case()]", "i[ends-with(@v)]", "i[exists(@a, @b)]", "i[matches(@v)]",
                              "i[replace(@v, 'a')]", "i[xs:decimal()]", "i[string-join()]"}) {
        bool failed = false;
        EXPECT_TRUE(engine.select(document->rootElement(), xpath, &failed).empty()) << xpath;
        EXPECT_TRUE(failed) << xpath;
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(ExtensionFunctionsElsewhere, XsPrefixFollowsTheDocumentAndPatternsCannotRunAway) {
    auto document = Document::parse("<r xmlns:xs=\"urn:other\"><i a=\"1\"/></r>", nullptr);
    ASSERT_NE(document, nullptr);
    bool failed = false;
    EXPECT_TRUE(document->rootElement().nodesForXPath("i[xs:decimal(@a) = 1]", &failed).empty());
    EXPECT_TRUE(failed);  // no xs:decimal() in urn:other

    auto runaway = Document::parse("<r><i v=\"" + std::string(5000, 'a') + "b\"/></r>", nullptr);
    ASSERT_NE(runaway, nullptr);
    ScopedLogCapture capture;
    EXPECT_TRUE(runaway->rootElement().nodesForXPath("i[matches(@v, '^(a+)+$')]", &failed).empty());
    EXPECT_FALSE(failed);
}

}  // namespace
}  // namespace quillmark::xml
