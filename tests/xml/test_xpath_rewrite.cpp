// The rewriting of XPath 2.0 forms that rule sets use into XPath 1.0 text: group
// steps, function steps compared with literals, comparisons with literal sequences,
// and unprefixed names under a default namespace.

#include <gtest/gtest.h>

#include "quillmark/xml.h"
#include "xml/xpath_rewrite.h"

namespace quillmark::xml {
namespace {

struct Rewrite {
    const char* input;
    const char* expected;
};

void expectRewrites(std::string (*rewrite)(const std::string&), const std::vector<Rewrite>& cases) {
    for (const Rewrite& c : cases) EXPECT_EQ(rewrite(c.input), c.expected) << c.input;
}

TEST(RewriteGroupSteps, TurnsGroupStepsIntoUnions) {
    expectRewrites(rewriteGroupSteps, {
        {"X/(a|b)/c", "X/a/c|X/b/c"}, {"//(a|b)", "//a|//b"}, {"/(a|b)", "/a|/b"}, {"X//(a|b)", "X//a|X//b"},
        {"X/( a | b )", "X/a|X/b"}, {"X / (a|b) / c", "X /a / c|X /b / c"}, {"x and / (a|b)", "x and /a|/b"},
        {"/r/(a|b|c)/@id", "/r/a/@id|/r/b/@id|/r/c/@id"},
        // Predicates and calls inside alternatives keep their own bars and parentheses.
        {"X/(a[b|c]|d[f(1, 2)])", "X/a[b|c]|X/d[f(1, 2)]"}, {"X[p='|']/(a|b)[1]", "X[p='|']/a[1]|X[p='|']/b[1]"},
        // Several groups multiply out.
        {"X/(a|b)/(c|d)", "X/a/c|X/a/d|X/b/c|X/b/d"}, {"X/(a/(b|c)|d)", "X/a/b|X/a/c|X/d"},
        // Groups inside predicates stay inside them.
        {"A[B/(c|d)]/e", "A[B/c|B/d]/e"}, {"A[B/(c|d) = 'v']", "A[B/c|B/d = 'v']"},
        {"A[x][B/(c|d)]/(e|f)", "A[x][B/c|B/d]/e|A[x][B/c|B/d]/f"},
        // Only the path around the group is repeated.
        {"count(X/(a|b)) > 1", "count(X/a|X/b) > 1"}, {"u | X/(a|b) | v", "u | X/a|X/b | v"},
        {"(X|Y)/(a|b)", "(X|Y)/a|(X|Y)/b"},
        // Literals are never touched; plain XPath 1.0 comes back unchanged.
        {"a[. = '/(x|y)']", "a[. = '/(x|y)']"}, {"a[. = \"/(x|y)\"]/(b|c)", "a[. = \"/(x|y)\"]/b|a[. = \"/(x|y)\"]/c"},
        {"(a|b)/c", "(a|b)/c"}, {"f(a)/b[g(c)]", "f(a)/b[g(c)]"}, {"", ""},
        // Unbalanced text is left for the engine to reject.
        {"X/(a|b", "X/(a|b"},
    });
    // Runaway growth is given up.
    std::string text = "X";
    for (int i = 0; i < 20; ++i) text += "/(a|b|c)";
    EXPECT_EQ(rewriteGroupSteps(text), text);
}

TEST(RewriteFunctionSteps, FiltersByTheComparedFunctionValue) {
    expectRewrites(detail::rewriteFunctionSteps, {
        {"A/B/f(x)='v'", "A/B[f(x)='v']"},
        {"*[local-name()='TaxScheme']/normalize-space(upper-case(*[local-name()='ID']))='VAT'",
         "*[local-name()='TaxScheme'][normalize-space(upper-case(*[local-name()='ID']))='VAT']"},
        {"X[cac:T/normalize-space(cbc:ID)='AE']", "X[cac:T[normalize-space(cbc:ID)='AE']]"},
        {"X[A/upper-case(b)!='VAT']", "X[A[upper-case(b)!='VAT']]"}, {"X[A/f(b) >= 5]", "X[A[f(b)>=5]]"},
        {"X['v'=A/f(b)]", "X[A[f(b)='v']]"}, {"X[5 < A/f(b)]", "X[A[f(b)>5]]"},
        {"X[A/f(b)='v' and C/g(d)=\"w\"]", "X[A[f(b)='v'] and C[g(d)=\"w\"]]"},
        {"X['a'=y and A/f(b)='v']", "X['a'=y and A[f(b)='v']]"}, {"A/xs:decimal(b) = 2.5", "A[xs:decimal(b)=2.5]"},
        // Nested: a function step inside the arguments of another.
        {"A/f(B/g(c)='x')='y'", "A[f(B[g(c)='x'])='y']"},
        // Not rewritable: no literal to compare with, node tests, absolute function steps,
        // or an operator next to the comparison that binds tighter.
        {"A/f(x)", "A/f(x)"}, {"A/f(x)=B", "A/f(x)=B"}, {"A/text()='v'", "A/text()='v'"}, {"/f(x)='v'", "/f(x)='v'"},
        {"1 + A/f(x)='v'", "1 + A/f(x)='v'"}, {"A/f(x)='v' + 1", "A/f(x)='v' + 1"},
        {"a[.='/f(x)=1']", "a[.='/f(x)=1']"},
        // Numeric casts of paths inside sums become the paths; truncation would be lost.
        {"sum(L/xs:decimal(cbc:Amount))", "sum(L/cbc:Amount)"}, {"sum(L/number(a/b))", "sum(L/a/b)"},
        {"sum(L/xs:integer(a))", "sum(L/xs:integer(a))"}, {"sum(L/xs:decimal(a + 1))", "sum(L/xs:decimal(a + 1))"},
    });
}

TEST(RewriteSequenceComparisons, ExpandIntoAlternatives) {
    expectRewrites(detail::rewriteSequenceComparisons, {
        {"a[@schemeID = ('VA', 'FC')]", "a[(@schemeID='VA' or @schemeID='FC')]"},
        {"a[normalize-space(b)=('30','58')]", "a[(normalize-space(b)='30' or normalize-space(b)='58')]"},
        {"a[b != (1,2)]", "a[(b!=1 or b!=2)]"}, {"a[c='x'andb=(1,2)]", "a[c='x'and(b=1 or b=2)]"},
        {"a[b = ('x')]", "a[(b='x')]"},
        // Not sequences of literals, or not compared: unchanged.
        {"a[b = (c, 'x')]", "a[b = (c, 'x')]"}, {"a[b = (1 + 2)]", "a[b = (1 + 2)]"},
        {"a[count(b) = 1]", "a[count(b) = 1]"}, {"a[(b|c) = 1]", "a[(b|c) = 1]"}, {"a[. = '=(1,2)']", "a[. = '=(1,2)']"},
    });
}

TEST(RewriteXPath2Forms, CombinesTheRewrites) {
    expectRewrites(detail::rewriteXPath2Forms, {
        {"X/(a|b)/f(c)='v'", "X/a[f(c)='v']|X/b[f(c)='v']"},
        {"X[T/(normalize-space(upper-case(ID)) = 'VAT')]", "X[T[normalize-space(upper-case(ID))='VAT']]"},
        {"X[T/f(c)=('a','b')]", "X[(T[f(c)='a'] or T[f(c)='b'])]"},
        {"X/(a|b)=('1','2')", "(X/a|X/b='1' or X/a|X/b='2')"}, {"/a/b[c]", "/a/b[c]"},
    });
}

TEST(DefaultNamespaceNames, UnprefixedElementNameTestsBecomeLocalNameTests) {
    expectRewrites(detail::matchUnprefixedNamesByLocalName, {
        {"/Invoice[1]/cbc:ID[2]", "/*[local-name()='Invoice'][1]/cbc:ID[2]"}, {"//Line/@id", "//*[local-name()='Line']/@id"},
        {"a and b", "*[local-name()='a'] and *[local-name()='b']"},
        {"div div div", "*[local-name()='div'] div *[local-name()='div']"},
        {"count(a) * 2", "count(*[local-name()='a']) * 2"}, {"*/text()", "*/text()"},
        {"attribute::a | child::b", "attribute::a | child::*[local-name()='b']"},
        {"a[. = 'b c']", "*[local-name()='a'][. = 'b c']"}, {"p:*", "p:*"},
        {"../a-b.c", "../*[local-name()='a-b.c']"}, {"1.5 + .5", "1.5 + .5"}, {"", ""},
    });
}

TEST(XPathEngine, AcceptsGroupStepsFunctionStepsAndDefaultNamespaceNames) {
    auto document = Document::parse("<r><x><a>1</a><b>2</b><c>3</c></x><x><b><c> vat </c></b></x></r>", nullptr);
    ASSERT_NE(document, nullptr);
    const std::vector<std::pair<const char*, std::vector<std::string>>> cases = {
        {"//(a|b)", {"a", "b", "b"}}, {"x/(c|a)", {"a", "c"}}, {"x/(a|b)/c", {"c"}},
        {"x[b/normalize-space(upper-case(c))='VAT']/b", {"b"}}, {"x[(a|b)/string-length(.) = 1]/a", {"a"}},
        {"x[b/(normalize-space(upper-case(c)) = 'VAT')]", {"x"}}, {"x/*[. = ('2', '3', 'q')]", {"b", "c"}},
        {"x[sum(*/number(.)) = 6]", {"x"}},
    };
    XPathEngine engine;
    for (const auto& [xpath, expected] : cases) {
        bool failed = true;
        std::vector<std::string> names;
        for (const Node& node : engine.select(document->rootElement(), xpath, &failed)) names.push_back(node.name());
        EXPECT_EQ(names, expected) << xpath;
        EXPECT_FALSE(failed) << xpath;
    }

    auto prefixed = Document::parse(R"(<Invoice xmlns="urn:inv" xmlns:cbc="urn:cbc"><cbc:ID>1</cbc:ID></Invoice>)", nullptr);
    EXPECT_EQ(engine.select(prefixed->node(), "/Invoice[1]/cbc:ID[1]").size(), 1u);
    auto plain = Document::parse("<Invoice><ID/></Invoice>", nullptr);
    EXPECT_EQ(engine.select(plain->node(), "/Invoice/ID").size(), 1u);
    auto other = Document::parse(R"(<x:Invoice xmlns:x="urn:x"><ID/></x:Invoice>)", nullptr);
    EXPECT_TRUE(engine.select(other->node(), "/Invoice").empty());
}

}  // namespace
}  // namespace quillmark::xml
