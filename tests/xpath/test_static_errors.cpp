// Static errors: raised when an expression is compiled, with the W3C code and the
// offset in the expression text where the problem is, so that a rule author can find
// it in a long test.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

struct StaticCase {
    std::string expression;
    std::string expected;  // "CODE@OFFSET" or "compiles"
};

void expectStaticOutcomes(const std::vector<StaticCase>& cases) {
    for (const StaticCase& testCase : cases) {
        EXPECT_EQ(staticOutcome(testCase.expression), testCase.expected) << testCase.expression;
    }
}

TEST(XPathStaticErrors, SyntaxErrorsNameWhereTheyAre) {
    expectStaticOutcomes({
        {"1 +", "XPST0003@3"},
        {"a[", "XPST0003@2"},
        {"a]", "XPST0003@1"},
        {"(1, 2", "XPST0003@5"},
        {"(", "XPST0003@1"},
        {"", "XPST0003@0"},
        {"   ", "XPST0003@3"},
        {"(: only a comment :)", "XPST0003@20"},
        {"(: x", "XPST0003@0"},
        {"1 (: a (: b :) ", "XPST0003@2"},
        {"'abc", "XPST0003@0"},
        {R"(concat('a', "b))", "XPST0003@12"},
        {"'it''s", "XPST0003@0"},
        {"concat(1,)", "XPST0003@9"},
        {"for $x in 1", "XPST0003@11"},
        {"for x in 1 return x", "XPST0003@4"},
        {"some $x in 1 return $x", "XPST0003@13"},
        {"if (1) then 2", "XPST0003@13"},
        {"if 1 then 2 else 3", "XPST0003@3"},
        {"1 = = 2", "XPST0003@4"},
        {"1 = 2 = 3", "XPST0003@6"},
        {"$", "XPST0003@1"},
        {"a ! b", "XPST0003@2"},
        {"1 + * 2", "XPST0003@6"},
        {"1e", "XPST0003@0"},
        {"1a", "XPST0003@0"},
        {"1.2.3", "XPST0003@3"},
        {"a::b", "XPST0003@0"},
        {"@", "XPST0003@1"},
        {"//", "XPST0003@2"},
        {"a | ", "XPST0003@4"},
        {"1 instance of", "XPST0003@13"},
        {"1 cast as xs:integer*", "XPST0003@21"},
        {"1 div", "XPST0003@5"},
        {"#", "XPST0003@0"},
        {"a:", "XPST0003@1"},
        {"item()", "XPST0003@0"},
        {"1 treat as foo(", "XPST0003@11"},
    });
}

TEST(XPathStaticErrors, ValidExpressionsCompile) {
    expectStaticOutcomes({
        {"div", "compiles"},
        {"()", "compiles"},
        {"/", "compiles"},
        {"xs:decimal(1)", "compiles"},
        {"fn:count(())", "compiles"},
        {"a[1][b]/c[last()]", "compiles"},
        {"attribute::a | @*", "compiles"},
    });
}

TEST(XPathStaticErrors, UnknownFunctionsAndWrongArity) {
    expectStaticOutcomes({
        {"unknown-fn(1)", "XPST0017@0"},
        {"1 + foo()", "XPST0017@4"},
        {"concat('a')", "XPST0017@0"},
        {"count()", "XPST0017@0"},
        {"count(1, 2)", "XPST0017@0"},
        {"fn:count(1, 2)", "XPST0017@0"},
        {"string-length(1, 2)", "XPST0017@0"},
        {"true(1)", "XPST0017@0"},
        {"xs:foo('1')", "XPST0017@0"},
        {"xs:integer()", "XPST0017@0"},
        {"xs:integer(1, 2)", "XPST0017@0"},
        {"cbc:ID(1)", "XPST0017@0"},
    });
}

TEST(XPathStaticErrors, UnknownVariables) {
    expectStaticOutcomes({
        {"$undeclared", "XPST0008@0"},
        {"1 + $x", "XPST0008@4"},
        {"for $x in 1 return $y", "XPST0008@19"},
        // A binding is in scope in its return clause only.
        {"(for $x in 1 return $x) + $x", "XPST0008@26"},
        {"some $x in $x satisfies true()", "XPST0008@11"},
        {"for $x in 1, $y in $x return $y", "compiles"},
    });
}

TEST(XPathStaticErrors, UnknownPrefixes) {
    expectStaticOutcomes({
        {"p:a", "XPST0081@0"},
        {"1 + p:f()", "XPST0081@4"},
        {"p:*", "XPST0081@0"},
        {"$p:x", "XPST0081@1"},
        {"/p:a", "XPST0081@1"},
        {"1 cast as p:t", "XPST0081@10"},
        {"cbc:*", "compiles"},
        {"*:ID", "compiles"},
    });
}

TEST(XPathStaticErrors, UnknownTypes) {
    expectStaticOutcomes({
        {"1 cast as xs:foo", "XPST0051@10"},
        {"1 castable as xs:foo", "XPST0051@14"},
        {"1 instance of xs:foo", "XPST0051@14"},
        {"1 treat as xs:foo?", "XPST0051@11"},
        {"1 cast as foo", "XPST0051@10"},
        {"1 instance of element(a, xs:string)", "XPST0051@25"},
        {"1 cast as xs:anyAtomicType", "XPST0080@2"},
        {"1 cast as xs:NOTATION", "XPST0080@2"},
    });
}

TEST(XPathStaticErrors, NamespaceAxisIsNotSupported) {
    expectStaticOutcomes({
        {"namespace::*", "XPST0010@0"},
        {"a/namespace::x", "XPST0010@2"},
        {"namespace", "compiles"},
    });
}

TEST(XPathStaticErrors, AreStaticByTheirCode) {
    for (const char* expression : {"1 +", "f()", "$x", "p:a", "1 cast as xs:foo", "namespace::*"}) {
        try {
            CompiledExpression(expression, StaticContext());
            ADD_FAILURE() << expression << " compiled";
        } catch (const XPathError& error) {
            EXPECT_TRUE(isStaticError(error.code())) << expression << ": " << error.codeText();
        }
    }
}

}  // namespace
}  // namespace quillmark::xpath::testing
