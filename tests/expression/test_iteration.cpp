// The iterating expressions `some`/`every` and `for`: results and their tags, what
// happens to the loop variable, and the trace they write.

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

class Iteration : public FunctionTest {
protected:
    std::vector<std::string> traceOf(const std::string& expression) {
        evaluator.setTraceEnabled(true);
        evaluator.clearTrace();
        eval(expression);
        evaluator.setTraceEnabled(false);
        return evaluator.getTrace();
    }
};

TEST_F(Iteration, QuantifiedResultsAndTags) {
    expectAll({
        {"every $x in () satisfies false()", "integer 1"}, {"some $x in () satisfies true()", "integer 0"},
        {"some $x in (1, 2, 3) satisfies $x = 2", "boolean true"}, {"some $x in (1, 2, 3) satisfies $x = 9", "integer 0"},
        {"every $x in (1, 2) satisfies $x > 0", "integer 1"}, {"every $x in (1, 2) satisfies $x > 1", "boolean false"},
        {"every $x in 5 satisfies $x = 5", "integer 1"},  // a single value is a one-item range
        {"string(every $x in () satisfies false())", "string \"1\""},
        {"string(some $x in (1, 2) satisfies $x = 2)", "string \"true\""},
        {"some $a in //cbc:Amount satisfies $a = '2'", "boolean true"},
        {"every $a in //cbc:Amount satisfies string-length($a) > 0", "integer 1"},
        // Elements are bound as their text, so the bound value cannot start a path.
        {"some $l in cac:Line satisfies count($l/cbc:Amount) = 1", "integer 0"},
        {"some $l in cac:Line satisfies $l = '10.50'", "boolean true"},
    });
}

TEST_F(Iteration, ForCollectsOneItemPerIteration) {
    expectAll({
        {"for $i in (1, 2, 3) return $i * 2", "sequence(double 2, double 4, double 6)"},
        {"for $i in () return $i", "sequence()"},
        {"for $i in (1, 2) return ($i, $i)", "sequence(sequence(double 1, double 1), sequence(double 2, double 2))"},
        {"for $i in (1, 2) return u:unknown($i)", "sequence()"},  // absent results are dropped
        {"for $l in cac:Line return $l", "sequence(element cac:Line, element cac:Line, element cac:Line)"},
        {"sum(for $l in cac:Line return $l/cbc:Amount)", "double 12.5"},
    });
}

TEST_F(Iteration, LoopVariablesAfterwards) {
    // A quantifier leaves the variable at the last item it looked at; an empty range
    // leaves it alone.
    eval("some $x in (1, 2, 3) satisfies $x = 2");
    EXPECT_EQ(typed(evaluator.getVariable("x")), "double 2");
    evaluator.setVariable("y", Value::string("before"));
    eval("every $y in () satisfies false()");
    EXPECT_EQ(typed(evaluator.getVariable("y")), "string \"before\"");
    eval("every $y in ('p', 'q') satisfies true()");
    EXPECT_EQ(typed(evaluator.getVariable("y")), "string \"q\"");
    // `for` restores a variable that was set before and keeps a new one at the last item.
    eval("for $i in (1, 2, 3) return $i * 2");
    EXPECT_EQ(typed(evaluator.getVariable("i")), "double 3");
    evaluator.setVariable("i", Value::string("outer"));
    eval("for $i in (1, 2, 3) return $i");
    EXPECT_EQ(typed(evaluator.getVariable("i")), "string \"outer\"");
}

TEST_F(Iteration, SomeTraceStopsAtTheFirstHit) {
    const std::vector<std::string> expected = {
        "\u2192 QuantifiedExpr(some $x)", "  Evaluating 'in' expression...",
        "  'in' expression result: (\n    1,\n    2,\n    3\n)", "  Sequence count: 3",
        "  --- Iteration 1: Setting $x = 1 ---", "  Evaluating 'satisfies' expression...",
        "  \u2192 BinaryOp(=)", "    $x = 1", "    Left = 1", "    Right = 2", "  \u2190 BinaryOp(=) = 0",
        "  'satisfies' result: 0 (bool: 0)",
        "  --- Iteration 2: Setting $x = 2 ---", "  Evaluating 'satisfies' expression...",
        "  \u2192 BinaryOp(=)", "    $x = 2", "    Left = 2", "    Right = 2", "  \u2190 BinaryOp(=) = 1",
        "  'satisfies' result: 1 (bool: 1)",
        "  SOME: Found true, returning YES", "\u2190 QuantifiedExpr(some $x) = 1",
    };
    EXPECT_EQ(traceOf("some $x in (1, 2, 3) satisfies $x = 2"), expected);
}

TEST_F(Iteration, EveryTraceRunsToTheEndOrStopsAtTheFirstMiss) {
    const std::vector<std::string> expected = {
        "\u2192 QuantifiedExpr(every $v)", "  Evaluating 'in' expression...",
        "  'in' expression result: (\n    a,\n    b\n)", "  Sequence count: 2",
        "  --- Iteration 1: Setting $v = a ---", "  Evaluating 'satisfies' expression...",
        "  'satisfies' result: 1 (bool: 1)",
        "  --- Iteration 2: Setting $v = b ---", "  Evaluating 'satisfies' expression...",
        "  'satisfies' result: 1 (bool: 1)",
        "  All iterations complete, returning 1", "\u2190 QuantifiedExpr(every $v) = 1",
    };
    EXPECT_EQ(traceOf("every $v in ('a', 'b') satisfies true()"), expected);

    const std::vector<std::string> early = {
        "\u2192 QuantifiedExpr(every $v)", "  Evaluating 'in' expression...", "  'in' expression result: a",
        "  Sequence count: 1", "  --- Iteration 1: Setting $v = a ---", "  Evaluating 'satisfies' expression...",
        "  'satisfies' result: 0 (bool: 0)", "  EVERY: Found false, returning NO", "\u2190 QuantifiedExpr(every $v) = 0",
    };
    EXPECT_EQ(traceOf("every $v in 'a' satisfies false()"), early);
}

TEST_F(Iteration, EmptyRangeTraces) {
    EXPECT_EQ(traceOf("some $x in () satisfies true()"),
              (std::vector<std::string>{"\u2192 QuantifiedExpr(some $x)", "  Evaluating 'in' expression...",
                                        "  'in' expression result: (\n)", "  Sequence count: 0",
                                        "\u2190 QuantifiedExpr(some $x) = 0"}));
    EXPECT_EQ(traceOf("for $i in () return $i"),
              (std::vector<std::string>{"\u2192 ForExpr(for $i in ...)", "  Evaluating 'in' expression...",
                                        "  Sequence count: 0", "\u2190 ForExpr = [Array count=0]"}));
}

TEST_F(Iteration, ForTrace) {
    const std::vector<std::string> expected = {
        "\u2192 ForExpr(for $i in ...)", "  Evaluating 'in' expression...", "  Sequence count: 2",
        "  --- Iteration 1: Setting $i = x ---", "  Evaluating 'return' expression...", "  $i = x",
        "  'return' result: x!",
        "  --- Iteration 2: Setting $i = y ---", "  Evaluating 'return' expression...", "  $i = y",
        "  'return' result: y!",
        "  All iterations complete, returning 2 results", "\u2190 ForExpr = [Array count=2]",
    };
    EXPECT_EQ(traceOf("for $i in ('x', 'y') return concat($i, '!')"), expected);
}

}  // namespace
}  // namespace quillmark::testing
