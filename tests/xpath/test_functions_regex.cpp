// fn:matches, fn:replace and fn:tokenize through whole expressions: flags, empty
// arguments, the errors of bad patterns and replacements, and the evaluation budget.

#include <chrono>

#include "expression_test_support.h"

namespace quillmark::xpath::testing {
namespace {

TEST(RegexFunctions, MatchesSearchesAnywhere) {
    expectOutcomes({
        {"matches('abracadabra', 'bra')", "xs:boolean true"},
        {"matches('abracadabra', '^a.*a$')", "xs:boolean true"},
        {"matches('abracadabra', '^bra')", "xs:boolean false"},
        {"matches('DE123456789', '^[A-Z]{2}[0-9]+$')", "xs:boolean true"},
        {"matches((), 'a')", "xs:boolean false"},
        {"matches((), '')", "xs:boolean true"},
        {"matches('a😀b', '^a.b$')", "xs:boolean true"},
        // "$" is the very end only, not before a final line break.
        {"matches(concat('ab', codepoints-to-string(10)), 'b$')", "xs:boolean false"},
        {"matches('A', 'a', 'i')", "xs:boolean true"},
        {"matches(concat('a', codepoints-to-string(10), 'b'), '^b$', 'm')", "xs:boolean true"},
        {"matches(concat('a', codepoints-to-string(10), 'b'), '^b$')", "xs:boolean false"},
        {"matches(concat('a', codepoints-to-string(10), 'b'), 'a.b', 's')", "xs:boolean true"},
        {"matches('abc', 'a b c', 'x')", "xs:boolean true"},
        {"matches('abc', '(')", "FORX0002"},
        {"matches('abc', 'a', 'z')", "FORX0001"},
        {"matches('abc', ())", "XPTY0004"},
    });
}

TEST(RegexFunctions, MatchesReadsUntypedNodes) {
    const auto document = parseDocument("<r><code>AB12</code><p>^[A-Z]+[0-9]+$</p></r>");
    expectOutcomes({
        {"matches(/r/code, /r/p)", "xs:boolean true"},
        {"/r/code[matches(., '^A')]/name()", R"(xs:string "code")"},
        {"matches(/r/*, 'A')", "XPTY0004"},
    },
                   document.get());
}

TEST(RegexFunctions, Replace) {
    expectOutcomes({
        {"replace('abracadabra', 'bra', '*')", R"(xs:string "a*cada*")"},
        {"replace('abracadabra', 'a.*a', '*')", R"(xs:string "*")"},
        {"replace('abracadabra', 'a.*?a', '*')", R"(xs:string "*c*bra")"},
        {"replace('abracadabra', 'a', '')", R"(xs:string "brcdbr")"},
        {"replace('abracadabra', 'a(.)', 'a$1$1')", R"(xs:string "abbraccaddabbra")"},
        {"replace('AAAA', 'A+', 'b')", R"(xs:string "b")"},
        {"replace('AAAA', 'A+?', 'b')", R"(xs:string "bbbb")"},
        {"replace('darted', '^(.*?)d(.*)$', '$1c$2')", R"(xs:string "carted")"},
        {R"(replace('a.b', '\.', '\$'))", R"(xs:string "a$b")"},
        {R"(replace('ab', 'b', '\\'))", R"(xs:string "a\\")"},
        {"replace('Abc', 'b', 'X', 'i')", R"(xs:string "AXc")"},
        {"replace('aBc', 'b', 'X', 'i')", R"(xs:string "aXc")"},
        {"replace((), 'a', 'b')", R"(xs:string "")"},
        {"replace('abc', 'x', 'y')", R"(xs:string "abc")"},
        {"replace('abracadabra', '.*?', '$1')", "FORX0003"},
        {"replace('abc', 'x*', 'y')", "FORX0003"},
        {"replace('a', 'a', '$')", "FORX0004"},
        {R"(replace('a', 'a', '\'))", "FORX0004"},
        {"replace('a', '[', 'b')", "FORX0002"},
        {"replace('a', 'a', 'b', 'k')", "FORX0001"},
    });
}

TEST(RegexFunctions, Tokenize) {
    expectOutcomes({
        {R"(tokenize('The cat sat', '\s+'))", R"(xs:string "The", xs:string "cat", xs:string "sat")"},
        {R"(tokenize(' a b ', '\s+'))", R"(xs:string "", xs:string "a", xs:string "b", xs:string "")"},
        {R"(tokenize('1, 15, 24', ',\s*'))", R"(xs:string "1", xs:string "15", xs:string "24")"},
        {"tokenize('1,15,,24,', ',')", R"(xs:string "1", xs:string "15", xs:string "", xs:string "24", xs:string "")"},
        {"tokenize('abc', 'x')", R"(xs:string "abc")"},
        {"tokenize('AxBXc', 'x', 'i')", R"(xs:string "A", xs:string "B", xs:string "c")"},
        {R"(tokenize('', '\s+'))", "()"},
        {"tokenize((), 'a')", "()"},
        {"count(tokenize('a;b;c', ';'))", "xs:integer 3"},
        {"tokenize('abba', '.?')", "FORX0003"},
        {"tokenize('abc', '')", "FORX0003"},
        {"tokenize('abc', ')')", "FORX0002"},
        {"tokenize('abc', 'b', 'z')", "FORX0001"},
    });
}

// A spent evaluation budget stops a match in progress, and that is an error, not "no
// match". Each pattern backtracks for a good fraction of a second on 20 letters: without
// the budget's stop check the calls would end normally, well within the time limit that
// every single match has.
TEST(RegexFunctions, SpentBudgetStopsMatchingWithAnError) {
    const std::string letters = "string-join(for $i in 1 to 20 return 'a', '')";
    EvaluationLimits noTime;
    noTime.maxTime = std::chrono::milliseconds(0);
    EXPECT_EQ(evaluationOutcome("matches(concat(" + letters + ", 'X'), '^(a+)+$')", nullptr, noTime), "QMXP0001");
    EXPECT_EQ(evaluationOutcome("replace(" + letters + ", '^(a+)+b', 'x')", nullptr, noTime), "QMXP0001");
    EXPECT_EQ(evaluationOutcome("tokenize(" + letters + ", '(a+)+b')", nullptr, noTime), "QMXP0001");
    EXPECT_EQ(evaluationOutcome("matches(concat(" + letters + ", 'X'), '^(a+)+$')"), "xs:boolean false");
}

}  // namespace
}  // namespace quillmark::xpath::testing
