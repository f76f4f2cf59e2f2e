// The tree dump of hand-built trees, for what the parser's trees do not show: the base
// node, literal values of every kind, unary operators, empty sequences, quantifier
// codes and filters without parts.

#include <gtest/gtest.h>

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

TEST(AstDump, BaseNodeAndIndentation) {
    QMXPExprNode base;
    EXPECT_EQ(base.descriptionWithIndent(5), "<QMXPExprNode>");
    EXPECT_EQ(base.description(), "<QMXPExprNode>");
    QMXPath2Evaluator evaluator;
    EXPECT_TRUE(base.evaluateWithContext(evaluator).isAbsent());
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(0), "");
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(3), "      ");
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(-2), "");
}

TEST(AstDump, LiteralValues) {
    const std::vector<std::pair<Value, std::string>> cases = {
        {Value::number(2.5), "Literal(2.5)"}, {Value::integer(-7), "Literal(-7)"},
        {Value::boolean(true), "Literal(1)"}, {Value::string("abc"), R"(Literal("abc"))"},
        {Value::string(""), R"(Literal(""))"}, {Value::emptySequence(), "Literal([Array count=0])"},
        {Value::sequence({Value::integer(1), Value::integer(2), Value::integer(3)}), "Literal([Array count=3])"},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(literal(value)->description(), expected);
        EXPECT_EQ(literal(value)->descriptionWithIndent(2), "    " + expected);
    }
}

TEST(AstDump, UnaryOperatorsAndEmptySequences) {
    QMXPUnaryOpNode negation;
    negation.op = QMXPTokenMinus;
    negation.operand = path("cbc:Amount");
    EXPECT_EQ(negation.description(), "UnaryOp(-)\n  Path(\"cbc:Amount\")");
    EXPECT_EQ(QMXPSequenceNode().description(), "Sequence(\n\n)");
    EXPECT_EQ(QMXPFilteredPathNode().description(), "FilteredPath(\"\")\n  predicate:\n(null)");
}

TEST(AstDump, QuantifierCodesOtherThanEveryPrintSome) {
    const std::vector<std::pair<int64_t, std::string>> quantifiers = {
        {QMXPTokenEvery, "every"}, {QMXPTokenSome, "some"}, {QMXPTokenFor, "some"}, {0, "some"}};
    for (const auto& [quantifier, word] : quantifiers) {
        QMXPQuantifiedExprNode node;
        node.quantifier = quantifier;
        node.variableName = "v";
        node.inExpr = path("a");
        node.satisfiesExpr = variable("v");
        EXPECT_EQ(node.description(), "QuantifiedExpr(" + word + " $v in)\n  in:\n    Path(\"a\")\n  satisfies:\n"
                                      "    Variable($v)");
    }
}

}  // namespace
}  // namespace quillmark::testing
