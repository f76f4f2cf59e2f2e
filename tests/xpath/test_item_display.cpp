// The one-line display of items that `quillmark eval` prints: atomic values as their
// type's prefixed name and canonical text, strings quoted and escaped, nodes by kind
// and name, and sequences as a count with the items indented.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

// The lines describeSequence writes for the value of `expression`, joined by "|".
std::string displayed(std::string_view expression, const xml::Document* document) {
    const StaticContext statics;
    const CompiledExpression compiled(expression, statics);
    DynamicContext context;
    if (document) context.setContextItem(Item(document->node()));
    std::string text;
    for (const std::string& line : describeSequence(compiled.evaluate(context))) text += (text.empty() ? "" : "|") + line;
    return text;
}

void expectDisplayed(const std::vector<OutcomeCase>& cases, const xml::Document* document = nullptr) {
    for (const OutcomeCase& testCase : cases) {
        EXPECT_EQ(displayed(testCase.expression, document), testCase.expected) << testCase.expression;
    }
}

TEST(XPathItemDisplay, SequencesShowTheirCountAndIndentTheirItems) {
    expectDisplayed({
        {"()", "empty-sequence()"},
        {"3", "xs:integer 3"},
        {"(1, 'a', 2.5)", R"(sequence 3|  xs:integer 1|  xs:string "a"|  xs:decimal 2.5)"},
        {"(1, ())", "xs:integer 1"},
    });
}

TEST(XPathItemDisplay, AtomicValuesInTheirCanonicalForm) {
    expectDisplayed({
        {"0.1 + 0.2", "xs:decimal 0.3"},
        {"1.50", "xs:decimal 1.5"},
        {"100000000000000000000.0", "xs:decimal 100000000000000000000"},
        {"1e7", "xs:double 1.0E7"},
        {"123456.0e0", "xs:double 123456"},
        {"0.000001e0", "xs:double 0.000001"},
        {"0.0000001e0", "xs:double 1.0E-7"},
        {"1000000e0", "xs:double 1.0E6"},
        {"999999e0", "xs:double 999999"},
        {"-0e0", "xs:double -0"},
        {"1 div 0e0", "xs:double INF"},
        {"0 div 0e0", "xs:double NaN"},
        {"xs:float('1.5')", "xs:float 1.5"},
        {"true()", "xs:boolean true"},
        {"xs:date('2013-05-01')", "xs:date 2013-05-01"},
        {"xs:dateTime('2013-05-01T10:00:00Z')", "xs:dateTime 2013-05-01T10:00:00Z"},
        {"xs:time('24:00:00')", "xs:time 00:00:00"},
        {"xs:date('2020-01-02') - xs:date('2019-12-31')", "xs:dayTimeDuration P2D"},
        {"xs:QName('xs:integer')", "xs:QName xs:integer"},
        {"xs:anyURI('urn:a')", R"(xs:anyURI "urn:a")"},
        {"xs:untypedAtomic('x')", R"(xs:untypedAtomic "x")"},
        {"'a'", R"(xs:string "a")"},
        {"''", R"(xs:string "")"},
    });
}

TEST(XPathItemDisplay, QuotedTextIsEscaped) {
    EXPECT_EQ(quoteText(R"(a"b\c)"), R"("a\"b\\c")");
    EXPECT_EQ(quoteText("line 1\nline 2"), R"("line 1\nline 2")");
    expectDisplayed({{"concat('say ', codepoints-to-string(34), 'hi', codepoints-to-string(10))", R"(xs:string "say \"hi\n")"}});
}

TEST(XPathItemDisplay, NodesByKindAndName) {
    const auto document = parseDocument(
        "<r xmlns:cbc='urn:cbc'><cbc:Amount currencyID='EUR'>1.5</cbc:Amount><!--note--><?pi data?>text</r>");
    expectDisplayed({
        {"/", "document"},
        {"/r", "element r"},
        {"/r/*", "element cbc:Amount"},
        {"/r/*/@currencyID", R"(attribute currencyID "EUR")"},
        {"/r/comment()", R"(comment "note")"},
        {"/r/processing-instruction()", "processing-instruction pi"},
        {"/r/text()", R"(text "text")"},
        {"/r/node()", R"(sequence 4|  element cbc:Amount|  comment "note"|  processing-instruction pi|  text "text")"},
        {"data(/r/*)", R"(xs:untypedAtomic "1.5")"},
    },
                    document.get());
}

}  // namespace
}  // namespace quillmark::xpath::testing
