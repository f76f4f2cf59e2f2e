// Functions defined by a rule set: dispatch ahead of the built-ins, binding of
// parameters and local variables, restoring the caller's variables, and the guard
// against endless recursion.

#include "expression_test_support.h"
#include "quillmark/log.h"

namespace quillmark::testing {
namespace {

using CustomFunctions = FunctionTest;

TEST_F(CustomFunctions, ParametersBindByPosition) {
    evaluator.registerFunction("u:pair", {"a", "b"}, "concat($a, '|', $b)", {});
    expectAll({
        {"u:pair('x', 'y')", "string \"x|y\""}, {"u:pair('x', 'y', 'extra')", "string \"x|y\""},
        {"u:pair('x')", "string \"x|0\""},  // an unbound parameter reads as integer 0
        {"u:pair()", "string \"0|0\""}, {"u:pair(cbc:ID, count(cac:Line))", "string \"INV-1|3\""},
    });
    // A variable of the caller with a parameter's name stays visible when unbound.
    evaluator.setVariable("b", Value::string("outer"));
    EXPECT_EQ(typedEval("u:pair('x')"), "string \"x|outer\"");
}

TEST_F(CustomFunctions, LocalVariablesInOrderAndCallerVariablesComeBackWholesale) {
    const std::vector<std::map<std::string, std::string>> locals = {
        {{"name", "double"}, {"select", "$n * 2"}},
        {{"name", "skipped"}},        // no select: ignored
        {{"select", "'no name'"}},    // no name: ignored
        {{"name", "plusOne"}, {"select", "$double + 1"}},
    };
    evaluator.registerFunction("u:calc", {"n", "m"}, "concat($plusOne, ' ', $skipped)", locals);
    evaluator.setVariable("n", Value::string("before"));
    EXPECT_EQ(typedEval("u:calc(3)"), "string \"7 0\"");
    EXPECT_EQ(typed(evaluator.getVariable("n")), "string \"before\"");
    EXPECT_EQ(typed(evaluator.getVariable("m")), "integer 0");
    EXPECT_EQ(typed(evaluator.getVariable("double")), "integer 0");
    EXPECT_EQ(evaluator.getVariables().size(), 1u);
}

TEST_F(CustomFunctions, BodyRunsOnTheCurrentContextNode) {
    evaluator.registerFunction("u:amount", {}, "string(cbc:Amount)", {});
    evaluator.registerFunction("u:currency", {}, "string(cbc:Amount/@currency)", {});
    EXPECT_EQ(typedAt("u:amount()", select("cac:Line[2]")), "string \"2\"");
    EXPECT_EQ(typedEval("count(cac:Line[u:amount() = '2'])"), "integer 1");
    EXPECT_EQ(typedEval("count(cac:Line/u:currency())"), "integer 3");  // a function step along a path
}

TEST_F(CustomFunctions, RuleSetReplacesABuiltInAndOtherNamesYieldAbsent) {
    evaluator.registerFunction("count", {"x"}, "'mine'", {});
    EXPECT_EQ(typedEval("count(cac:Line)"), "string \"mine\"");
    evaluator.registerFunction("count", {"x"}, "'replaced again'", {});
    EXPECT_EQ(typedEval("count(())"), "string \"replaced again\"");
    EXPECT_EQ(evaluator.customFunctions().size(), 1u);
    for (const char* expression : {"u:missing(1)", "COUNT(())", "xs:Decimal(1)", "u:Slack(1, 1, 1)"}) {
        EXPECT_EQ(typedEval(expression), "absent") << expression;
    }
}

TEST_F(CustomFunctions, RecursionWorksUntilTheDepthLimit) {
    evaluator.registerFunction("u:fact", {"n"}, "if ($n <= 1) then 1 else $n * u:fact($n - 1)", {});
    evaluator.registerFunction("u:down", {"n"}, "if ($n <= 0) then 'done' else u:down($n - 1)", {});
    EXPECT_EQ(typedEval("u:fact(5)"), "double 120");
    EXPECT_EQ(typedEval("u:down(200)"), "string \"done\"");

    // Endless recursion stops with absent, logged once per evaluation.
    evaluator.registerFunction("u:loop", {"n"}, "u:loop($n + 1)", {});
    evaluator.registerFunction("u:ping", {}, "u:pong()", {});
    evaluator.registerFunction("u:pong", {}, "concat('x', u:ping())", {});
    evaluator.setVariable("n", Value::string("kept"));

    ScopedLogCapture capture;
    EXPECT_EQ(typedEval("u:loop(0)"), "absent");
    EXPECT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(typed(evaluator.getVariable("n")), "string \"kept\"");
    EXPECT_EQ(evaluator.getVariables().size(), 1u);

    // Mutual recursion ends too; every level above the limit still finishes its body.
    const std::string result = evaluator.toString(eval("u:ping()"));
    EXPECT_EQ(result, std::string(QMXPath2Evaluator::kMaxFunctionDepth / 2, 'x'));
    EXPECT_EQ(capture.lines().size(), 2u);

    // The evaluator keeps working normally afterwards.
    EXPECT_EQ(typedEval("count(cac:Line)"), "integer 3");
}

}  // namespace
}  // namespace quillmark::testing
