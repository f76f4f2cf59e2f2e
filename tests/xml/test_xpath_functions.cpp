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

struct PredicateCase {
    const char* predicate;
    std::string expected;  // the n attributes of the selected items, in order
};

class ExtensionFunctions : public ::testing::TestWithParam<PredicateCase> {};

TEST_P(ExtensionFunctions, WorkInsidePredicates) {
    auto document = Document::parse(kItems, nullptr);
    ASSERT_NE(document, nullptr);
    XPathEngine engine;
    bool failed = true;
    std::string selected;
    for (const Node& item : engine.select(document->rootElement(), std::string("i[") + GetParam().predicate + "]", &failed)) {
        selected += *item.attribute("n");
    }
    EXPECT_FALSE(failed);
    EXPECT_EQ(selected, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Xml, ExtensionFunctions,
    ::testing::Values(
        PredicateCase{"upper-case(@v) = 'ABC'", "1"},
        PredicateCase{"upper-case(@v) = 'STRASSE'", "2"},  // by Unicode rules, not per letter
        PredicateCase{"upper-case(@code) = 'VAT'", "123"},
        PredicateCase{"lower-case(@code) = 'vat'", "123"},
        PredicateCase{"normalize-space(upper-case(@code)) = 'VAT'", "123"},
        PredicateCase{"exists(@opt)", "3"},
        PredicateCase{"empty(@opt)", "12"},
        PredicateCase{"exists(t)", "12"},
        PredicateCase{"exists('')", "123"},  // a string is one item, even when empty
        PredicateCase{"ends-with(@v, 'bc')", "1"},
        PredicateCase{"ends-with(@v, '')", ""},
        PredicateCase{"abs(@amt) = 5.5", "1"},
        PredicateCase{"abs(@amt) > 6", "2"},
        PredicateCase{"string-join(t, '-') = 'a-b'", "1"},
        PredicateCase{"string-join(t) = 'ab'", "1"},
        PredicateCase{"string-join(@v, '-') = 'abc'", "1"},
        // An empty text matches without the pattern being looked at, as in rule-set expressions.
        PredicateCase{"matches(@v, '^a.c$')", "13"},
        PredicateCase{"matches(@v, 'B')", "3"},  // case-sensitive
        PredicateCase{"matches(@v, '[')", "3"},  // a pattern that does not compile matches nothing
        PredicateCase{"matches(@code, 'vat', 'i')", "2"},  // flags are ignored
        PredicateCase{"replace(@v, 'b', 'X') = 'aXc'", "1"},
        PredicateCase{"replace(@v, '(a)(b)', '$2$1') = 'bac'", "1"},
        PredicateCase{"replace(@v, '(', 'X') = 'abc'", "1"},  // bad pattern: unchanged
        PredicateCase{"xs:decimal(@amt) < 0", "1"},
        PredicateCase{"xs:integer(@amt) = -5", "1"},
        PredicateCase{"xs:integer(@amt) = 7", "2"},
        PredicateCase{"xs:string(@code) = 'vat'", "2"},
        PredicateCase{"xs:date('2024-01-31') = '2024-01-31'", "123"}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(ExtensionFunctions, WrongArgumentCountsFailTheExpression) {
    auto document = Document::parse(kItems, nullptr);
    ASSERT_NE(document, nullptr);
    XPathEngine engine;
    ::testing::internal::CaptureStderr();
    for (const char* xpath : {"i[upper-case()]", "i[ends-with(@v)]", "i[exists(@a, @b)]", "i[matches(@v)]",
                              "i[replace(@v, 'a')]", "i[xs:decimal()]", "i[string-join()]"}) {
        bool failed = false;
        EXPECT_TRUE(engine.select(document->rootElement(), xpath, &failed).empty()) << xpath;
        EXPECT_TRUE(failed) << xpath;
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(ExtensionFunctions, XsPrefixFollowsTheDocumentWhenItDeclaresOne) {
    auto document = Document::parse("<r xmlns:xs=\"urn:other\"><i a=\"1\"/></r>", nullptr);
    ASSERT_NE(document, nullptr);
    bool failed = false;
    EXPECT_TRUE(document->rootElement().nodesForXPath("i[xs:decimal(@a) = 1]", &failed).empty());
    EXPECT_TRUE(failed);  // no xs:decimal() in urn:other
}

TEST(ExtensionFunctions, CatastrophicPatternsReturn) {
    auto document = Document::parse("<r><i v=\"" + std::string(5000, 'a') + "b\"/></r>", nullptr);
    ASSERT_NE(document, nullptr);
    ScopedLogCapture capture;
    bool failed = true;
    EXPECT_TRUE(document->rootElement().nodesForXPath("i[matches(@v, '^(a+)+$')]", &failed).empty());
    EXPECT_FALSE(failed);
}

}  // namespace
}  // namespace quillmark::xml
