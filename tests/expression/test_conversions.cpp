// The evaluator's conversions, comparisons and operators on values, its variables and
// the trace it keeps.

#include <gtest/gtest.h>

#include <cmath>

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using E = QMXPath2Evaluator;

Value seq(std::initializer_list<Value> items) { return Value::sequence(Sequence(items)); }

TEST(Conversions, EffectiveTruth) {
    struct Case {
        Value value;
        bool truth;
        const char* label;
    } cases[] = {
        {Value(), false, "absent"}, {Value::nullMarker(), false, "null marker"},
        {Value::boolean(false), false, "false"}, {Value::integer(0), false, "integer 0"},
        {Value::integer(-1), true, "integer -1"}, {Value::number(0.5), true, "fraction"},
        {Value::number(std::nan("")), false, "NaN"}, {Value::string(""), false, "empty string"},
        {Value::string("false"), true, "the text false"}, {Value::string("0"), true, "the text 0"},
        {Value::emptySequence(), false, "empty sequence"},
        {seq({Value::boolean(false)}), true, "sequence holding false"},
        {seq({Value::string("")}), true, "sequence holding an empty string"},
    };
    for (const auto& c : cases) EXPECT_EQ(E::toBoolean(c.value), c.truth) << c.label;
}

TEST(Conversions, LenientNumbersAndTextFollowingTheTag) {
    EXPECT_EQ(E::toDouble(Value::string(" 42abc")), 42);
    EXPECT_EQ(E::toDouble(Value::emptySequence()), 0);
    EXPECT_EQ(E::toDouble(seq({Value::string("7"), Value::string("9")})), 7);
    EXPECT_EQ(E::toDouble(Value::boolean(true)), 1);
    EXPECT_EQ(E::toDouble(Value::nullMarker()), 0);
    EXPECT_EQ(E::toDouble(Value()), 0);

    EXPECT_EQ(E::toString(Value::boolean(true)), "true");
    EXPECT_EQ(E::toString(Value::integer(-3)), "-3");
    EXPECT_EQ(E::toString(Value::number(3)), "3");
    EXPECT_EQ(E::toString(seq({Value::string("a"), Value::string("b")})), "a");
    EXPECT_EQ(E::toString(Value::emptySequence()), "");
    EXPECT_EQ(E::toString(Value::nullMarker()), "");
}

TEST(Conversions, Equality) {
    const Value ab = seq({Value::string("a"), Value::string("b")});
    EXPECT_TRUE(E::isEqual(ab, Value::string("b")));
    EXPECT_TRUE(E::isEqual(Value::string("b"), ab));
    EXPECT_FALSE(E::isEqual(Value::emptySequence(), Value::emptySequence()));
    EXPECT_TRUE(E::isEqual(Value::integer(2), Value::number(2.0)));
    EXPECT_TRUE(E::isEqual(Value::boolean(true), Value::integer(1)));
    EXPECT_TRUE(E::isEqual(Value::number(2.5), Value::string("2.5")));
    EXPECT_FALSE(E::isEqual(Value::string("2.50"), Value::number(2.5)));
    EXPECT_TRUE(E::isEqual(Value(), Value::string("")));
    EXPECT_FALSE(E::isEqual(Value::string("eur"), Value::string("EUR")));
}

struct OperatorCase {
    int64_t op;
    Value left;
    Value right;
    Value::Kind kind;
    double number;
};

TEST(BinaryOperators, ResultTagAndValueForEveryCode) {
    const Value one = Value::number(1), two = Value::number(2);
    const OperatorCase cases[] = {
        {QMXPTokenLessEqual, one, two, Value::Kind::Integer, 1}, {QMXPTokenGreaterEqual, one, two, Value::Kind::Integer, 0},
        {QMXPTokenNotEqual, one, two, Value::Kind::Integer, 1},
        {QMXPTokenLess, Value::string("abc"), Value::string("abd"), Value::Kind::Integer, 0},
        {QMXPTokenGreater, Value::string("10"), Value::string("9"), Value::Kind::Integer, 1},
        {QMXPTokenEqual, one, one, Value::Kind::Boolean, 1}, {QMXPTokenPlus, one, two, Value::Kind::Double, 3},
        {QMXPTokenMinus, one, two, Value::Kind::Double, -1}, {QMXPTokenStar, two, two, Value::Kind::Double, 4},
        {QMXPTokenOr, Value::emptySequence(), one, Value::Kind::Boolean, 1},
        {QMXPTokenAnd, one, Value::string(""), Value::Kind::Boolean, 0},
        {QMXPTokenDiv, Value::number(7), two, Value::Kind::Double, 3.5},
        {QMXPTokenPipe, one, two, Value::Kind::Integer, 0}, {QMXPTokenIf, one, two, Value::Kind::Integer, 0},
    };
    for (const auto& c : cases) {
        Value result = E::evaluateBinaryOp(c.op, c.left, c.right);
        EXPECT_EQ(result.kind(), c.kind) << tokenTypeToString(c.op);
        EXPECT_EQ(result.numberValue(), c.number) << tokenTypeToString(c.op);
    }
}

TEST(BinaryOperators, SequencesAndEmptiness) {
    const Value ab = seq({Value::string("a"), Value::string("b")});
    EXPECT_EQ(E::evaluateBinaryOp(QMXPTokenNotEqual, ab, Value::string("a")).asInteger(), 0);
    EXPECT_EQ(E::evaluateBinaryOp(QMXPTokenNotEqual, Value::emptySequence(), Value::emptySequence()).asInteger(), 1);
    EXPECT_EQ(E::evaluateBinaryOp(QMXPTokenNotEqual, Value::emptySequence(), Value::string("x")).asInteger(), 1);
    // An empty sequence reads as 0: less than 1, at least 0.
    EXPECT_EQ(E::evaluateBinaryOp(QMXPTokenLess, Value::emptySequence(), Value::number(1)).asInteger(), 1);
    EXPECT_EQ(E::evaluateBinaryOp(QMXPTokenGreaterEqual, Value::emptySequence(), Value::number(0)).asInteger(), 1);
    const Value nan = Value::number(std::nan(""));
    for (int64_t op : {QMXPTokenLess, QMXPTokenLessEqual, QMXPTokenGreater, QMXPTokenGreaterEqual})
        EXPECT_EQ(E::evaluateBinaryOp(op, nan, Value::number(1)).asInteger(), 0);
}

TEST(SequenceHelpers, NormalizeAndFlatten) {
    EXPECT_TRUE(E::normalizeToArray(Value()).empty());
    EXPECT_EQ(E::normalizeToArray(Value::nullMarker()).size(), 1u);
    EXPECT_EQ(E::normalizeToArray(seq({Value::integer(1), Value::integer(2)})).size(), 2u);
    Sequence into;
    E::flattenIntoArray(into, Value());
    E::flattenIntoArray(into, seq({Value::integer(1), seq({Value::integer(2)})}));
    E::flattenIntoArray(into, Value::string("x"));
    ASSERT_EQ(into.size(), 3u);
    EXPECT_TRUE(into[1].isSequence());  // only one level is spliced
}

TEST(Variables, UnsetAndRemovedVariablesReadAsIntegerZero) {
    E evaluator;
    EXPECT_EQ(typed(evaluator.getVariable("missing")), "integer 0");
    evaluator.setVariable("a", Value::string("x"));
    evaluator.setVariable("a", Value());
    EXPECT_EQ(typed(evaluator.getVariable("a")), "integer 0");
    EXPECT_TRUE(evaluator.getVariables().empty());
}

TEST(Trace, RecordsOnlyWhenEnabledAndClampsIndentation) {
    E evaluator;
    evaluator.addTrace("off");
    evaluator.traceEnter("x");
    EXPECT_TRUE(evaluator.getTrace().empty());

    evaluator.setTraceEnabled(true);
    evaluator.traceEnter("Outer");
    evaluator.addTrace("inside");
    evaluator.traceExit("Outer", Value::number(3));
    evaluator.traceExit("Unbalanced", Value());
    evaluator.addTrace("after");
    EXPECT_EQ(evaluator.getTrace(), (std::vector<std::string>{"\u2192 Outer", "  inside", "\u2190 Outer = 3",
                                                              "\u2190 Unbalanced = nil", "after"}));
    evaluator.traceEnter("open");
    evaluator.clearTrace();
    evaluator.addTrace("fresh");
    EXPECT_EQ(evaluator.getTrace(), (std::vector<std::string>{"fresh"}));
}

}  // namespace
}  // namespace quillmark::testing
