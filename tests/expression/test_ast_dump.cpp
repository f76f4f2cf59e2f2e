// The tree dump of hand-built trees. Expected dumps are written out as the trees they
// show; `tree()` drops the line break after the opening R"( so they can start on a
// line of their own.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "quillmark/ast.h"
#include "quillmark/evaluator.h"

namespace quillmark {
namespace {

std::string tree(const char* text) {
    std::string dump = text;
    if (!dump.empty() && dump.front() == '\n') dump.erase(0, 1);
    return dump;
}

QMXPExprNodePtr literal(Value value) {
    auto node = std::make_unique<QMXPLiteralNode>();
    node->value = std::move(value);
    return node;
}

QMXPExprNodePtr number(double value) { return literal(Value::number(value)); }
QMXPExprNodePtr text(const std::string& value) { return literal(Value::string(value)); }

QMXPExprNodePtr variable(const std::string& name) {
    auto node = std::make_unique<QMXPVariableNode>();
    node->name = name;
    return node;
}

QMXPExprNodePtr path(const std::string& text) {
    auto node = std::make_unique<QMXPPathNode>();
    node->path = text;
    return node;
}

QMXPExprNodePtr binary(int64_t op, QMXPExprNodePtr left, QMXPExprNodePtr right) {
    auto node = std::make_unique<QMXPBinaryOpNode>();
    node->op = op;
    node->left = std::move(left);
    node->right = std::move(right);
    return node;
}

template <typename... Nodes>
QMXPExprNodeList list(Nodes... nodes) {
    QMXPExprNodeList items;
    (items.push_back(std::move(nodes)), ...);
    return items;
}

QMXPExprNodePtr call(const std::string& name, QMXPExprNodeList arguments) {
    auto node = std::make_unique<QMXPFunctionCallNode>();
    node->name = name;
    node->arguments = std::move(arguments);
    return node;
}

TEST(AstDump, BaseNode) {
    QMXPExprNode base;
    EXPECT_EQ(base.descriptionWithIndent(0), "<QMXPExprNode>");
    EXPECT_EQ(base.descriptionWithIndent(5), "<QMXPExprNode>");
    EXPECT_EQ(base.description(), "<QMXPExprNode>");
    QMXPath2Evaluator evaluator;
    EXPECT_TRUE(base.evaluateWithContext(evaluator).isAbsent());
}

TEST(AstDump, IndentIsTwoSpacesPerLevel) {
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(0), "");
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(1), "  ");
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(3), "      ");
    EXPECT_EQ(QMXPExprNode::indentStringForLevel(-2), "");
}

TEST(AstDump, LiteralValues) {
    Sequence three = {Value::integer(1), Value::integer(2), Value::integer(3)};
    const std::vector<std::pair<Value, std::string>> cases = {
        {Value::number(1), "Literal(1)"},
        {Value::number(2.5), "Literal(2.5)"},
        {Value::number(-0.25), "Literal(-0.25)"},
        {Value::number(0.1 + 0.2), "Literal(0.3)"},
        {Value::number(1e21), "Literal(1e+21)"},
        {Value::number(1.0 / 3.0), "Literal(0.3333333333333333)"},
        {Value::string("abc"), R"(Literal("abc"))"},
        {Value::string(""), R"(Literal(""))"},
        {Value::emptySequence(), "Literal([Array count=0])"},
        {Value::sequence(three), "Literal([Array count=3])"},
        {Value::boolean(true), "Literal(1)"},
        {Value::integer(-7), "Literal(-7)"},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(literal(value)->description(), expected);
        EXPECT_EQ(literal(value)->descriptionWithIndent(2), "    " + expected);
    }
}

TEST(AstDump, OperatorsAndVariables) {
    // $a + 1 = 2
    auto root = binary(QMXPTokenEqual, binary(QMXPTokenPlus, variable("a"), number(1)), number(2));
    EXPECT_EQ(root->description(), tree(R"(
BinaryOp(=)
  BinaryOp(+)
    Variable($a)
    Literal(1)
  Literal(2))"));

    // A missing operand prints unindented.
    EXPECT_EQ(binary(QMXPTokenOr, nullptr, path("a"))->descriptionWithIndent(1), tree(R"(
  BinaryOp(or)
(null)
    Path("a"))"));

    EXPECT_EQ(binary(QMXPTokenIf, number(1), number(2))->description(), tree(R"(
BinaryOp(Token(28))
  Literal(1)
  Literal(2))"));

    auto negation = std::make_unique<QMXPUnaryOpNode>();
    negation->op = QMXPTokenMinus;
    negation->operand = path("cbc:Amount");
    EXPECT_EQ(negation->description(), tree(R"(
UnaryOp(-)
  Path("cbc:Amount"))"));
}

TEST(AstDump, Sequences) {
    auto sequence = std::make_unique<QMXPSequenceNode>();
    sequence->items = list(number(1), text("b"), nullptr);
    EXPECT_EQ(sequence->descriptionWithIndent(1), tree(R"(
  Sequence(
    Literal(1),
    Literal("b"),
(null)
  ))"));

    auto empty = std::make_unique<QMXPSequenceNode>();
    EXPECT_EQ(empty->description(), "Sequence(\n\n)");
}

TEST(AstDump, FunctionCalls) {
    EXPECT_EQ(call("true", {})->description(), "FunctionCall(true)()");
    EXPECT_EQ(call("concat", list(text("a"), path("cbc:ID")))->descriptionWithIndent(1), tree(R"(
  FunctionCall(concat)
    arg[0]:
      Literal("a")
    arg[1]:
      Path("cbc:ID"))"));
    EXPECT_EQ(call("xs:decimal", list(call("sum", list(path("cbc:Amount")))))->description(), tree(R"(
FunctionCall(xs:decimal)
  arg[0]:
    FunctionCall(sum)
      arg[0]:
        Path("cbc:Amount"))"));
}

TEST(AstDump, Conditionals) {
    auto conditional = std::make_unique<QMXPIfThenElseNode>();
    conditional->condition = variable("x");
    conditional->thenExpr = text("a");
    EXPECT_EQ(conditional->description(), tree(R"(
IfThenElse
  condition:
    Variable($x)
  then:
    Literal("a")
  else:
(null))"));
}

TEST(AstDump, FilteredPathPiecesFollowThePrecedingLine) {
    auto filter = std::make_unique<QMXPFilteredPathNode>();
    filter->basePath = "//cac:InvoiceLine";
    filter->predicate = binary(QMXPTokenEqual, path("cbc:ID"), variable("id"));
    filter->nextStep = path("cbc:Note");
    EXPECT_EQ(filter->description(), tree(R"(
FilteredPath("//cac:InvoiceLine")
  predicate:
    BinaryOp(=)
      Path("cbc:ID")
      Variable($id)  nextStep:
    Path("cbc:Note"))"));

    auto first = std::make_unique<QMXPFilteredPathNode>();
    first->basePath = "../cac:X";
    first->predicate = number(1);
    auto chained = std::make_unique<QMXPFilteredPathNode>();
    chained->previousFilter = std::move(first);
    chained->predicate = number(2);
    chained->childPath = "cbc:ID";
    chained->functionName = "normalize-space";
    chained->functionArgs = list(path("."));  // arguments are not shown
    EXPECT_EQ(chained->descriptionWithIndent(1), tree(R"(
  FilteredPath(chained)
    base filter:
      FilteredPath("../cac:X")
        predicate:
          Literal(1)    additional predicate:
      Literal(2)    childPath: cbc:ID
    function: normalize-space
)"));

    auto bare = std::make_unique<QMXPFilteredPathNode>();
    EXPECT_EQ(bare->description(), "FilteredPath(\"\")\n  predicate:\n(null)");
}

TEST(AstDump, IterationExpressions) {
    const std::vector<std::pair<int64_t, std::string>> quantifiers = {
        {QMXPTokenEvery, "every"}, {QMXPTokenSome, "some"}, {QMXPTokenFor, "some"}, {0, "some"}};
    for (const auto& [quantifier, word] : quantifiers) {
        auto node = std::make_unique<QMXPQuantifiedExprNode>();
        node->quantifier = quantifier;
        node->variableName = "v";
        node->inExpr = path("//cbc:Amount");
        node->satisfiesExpr = binary(QMXPTokenGreater, variable("v"), number(0));
        EXPECT_EQ(node->description(), "QuantifiedExpr(" + word + tree(R"( $v in)
  in:
    Path("//cbc:Amount")
  satisfies:
    BinaryOp(>)
      Variable($v)
      Literal(0))"));
    }

    auto loop = std::make_unique<QMXPForExprNode>();
    loop->variableName = "i";
    loop->returnExpr = binary(QMXPTokenStar, variable("i"), number(2));
    EXPECT_EQ(loop->descriptionWithIndent(1), tree(R"(
  ForExpr(for $i in)
    in:
(null)
    return:
      BinaryOp(*)
        Variable($i)
        Literal(2))"));
}

TEST(AstDump, PathsWithFunctionsAndAxes) {
    auto lengths = std::make_unique<QMXPPathWithFunctionNode>();
    lengths->basePath = "cac:Item/cbc:Name";
    lengths->functionName = "string-length";
    EXPECT_EQ(lengths->description(), R"(PathWithFunction("cac:Item/cbc:Name" / string-length))");

    auto step = std::make_unique<QMXPPathWithFunctionNode>();
    step->functionArgs = list(variable("line"), path("cbc:ID"));
    EXPECT_EQ(step->description(), tree(R"(
PathWithFunction("" / (null))
  arg[0]:
    Variable($line)
  arg[1]:
    Path("cbc:ID"))"));

    auto axis = std::make_unique<QMXPAxisNode>();
    axis->axis = "ancestor";
    axis->elementName = "cac:InvoiceLine";
    axis->predicates = list(number(1));  // predicates are not shown
    EXPECT_EQ(axis->descriptionWithIndent(2), "    Axis(ancestor::cac:InvoiceLine)");
}

}  // namespace
}  // namespace quillmark
