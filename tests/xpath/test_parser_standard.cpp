// The lexical rules of XPath 2.0 as expressions see them: "-" inside names, keywords
// that are element names where an operand stands, nested comments, doubled quotes in
// string literals and the forms of numeric literals.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

// Elements named like operators and keywords, read with /r as the context node.
constexpr const char* kKeywordElements =
    "<r><a-b>7</a-b><a>5</a><b>2</b><div>6</div><child>3</child><if>x</if><return>y</return>"
    "<and>1</and><text>t</text><for>f</for></r>";

void expectAtR(const std::vector<OutcomeCase>& cases) {
    const auto document = parseDocument(kKeywordElements);
    expectUblOutcomes(cases, document.get(), "/r");
}

TEST(XPathLexer, HyphenBelongsToTheNameUnlessSpaced) {
    expectAtR({
        {"a-b", "element a-b"},
        {"a - b", "xs:double 3"},
        {"a -b", "xs:double 3"},
        {"a-b - a", "xs:double 2"},
        {"1-1", "xs:integer 0"},
        {"1 -1", "xs:integer 0"},
    });
    // "a-" is a name too, so "a- b" is two names in a row.
    EXPECT_EQ(staticOutcome("a- b"), "XPST0003@3");
}

TEST(XPathLexer, HyphenInVariableNames) {
    expectOutcomes({
        {"for $a-1 in 5 return $a-1", "xs:integer 5"},
        {"for $a in 5 return $a -1", "xs:integer 4"},
        {"for $a in 5 return $a - 1", "xs:integer 4"},
    });
    EXPECT_EQ(staticOutcome("for $a in 5 return $a-1"), "XPST0008@19");
}

TEST(XPathLexer, KeywordsAreNamesWhereAnOperandStands) {
    expectAtR({
        {"div div child", "xs:double 2"},
        {"div div div", "xs:double 1"},
        {"child::child", "element child"},
        {"child::div", "element div"},
        {"if", "element if"},
        {"if (if) then return else and", "element return"},
        {"if(if)then return else and", "element return"},
        {"and and and", "xs:boolean true"},
        {"for", "element for"},
        {"for $for in for return $for", "element for"},
        {"text", "element text"},
        {"text()", "()"},
        {"count(child)", "xs:integer 1"},
        {"a * b", "xs:double 10"},
        {"count(*)", "xs:integer 10"},
        {"4 div(2)", "xs:decimal 2"},
    });
}

TEST(XPathLexer, CommentsNestAndCountAsSpace) {
    expectOutcomes({
        {"1 (: a (: b :) c :) + 2", "xs:integer 3"},
        {"(::) 1", "xs:integer 1"},
        {"1(:x:)+(:y:)2", "xs:integer 3"},
        {"'(: not a comment :)'", R"x(xs:string "(: not a comment :)")x"},
        {"(: :)(1)(: :)", "xs:integer 1"},
    });
}

TEST(XPathLexer, QuotesInsideLiteralsAreDoubled) {
    expectOutcomes({
        {"'it''s'", R"(xs:string "it's")"},
        {R"("say ""hi""")", R"(xs:string "say \"hi\"")"},
        {R"('a"b')", R"(xs:string "a\"b")"},
        {"''''", R"(xs:string "'")"},
        {"string-length('''')", "xs:integer 1"},
        {R"("")", R"(xs:string "")"},
        {"'a' || 'b'", "XPST0003"},
    });
}

TEST(XPathLexer, NumericLiteralForms) {
    expectOutcomes({
        {"1.", "xs:decimal 1"},
        {".5", "xs:decimal 0.5"},
        {"007", "xs:integer 7"},
        {"1e2", "xs:double 100"},
        {"1.5E-1", "xs:double 0.15"},
        {"1.e2", "xs:double 100"},
        {".5e1", "xs:double 5"},
        {"1E+2", "xs:double 100"},
    });
}

}  // namespace
}  // namespace quillmark::xpath::testing
