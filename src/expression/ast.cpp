// How expression nodes print: the indented tree dump behind `quillmark ast` and
// dumpAST. Each node prints its own line(s) and hands its children a deeper level.
// Some pieces (a filtered path's "additional predicate", "childPath", "function" and
// "nextStep") follow the last line of the preceding child without a line break; the
// dump is a fixed output format and keeps that shape.

#include <string>

#include <fmt/format.h>

#include "quillmark/ast.h"

namespace quillmark {

namespace {

// A missing child prints as "(null)" without indentation.
std::string dumpChild(const QMXPExprNodePtr& child, int64_t level) {
    return child ? child->descriptionWithIndent(level) : "(null)";
}

std::string literalValueText(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::String: return "\"" + value.asString() + "\"";
        case Value::Kind::Sequence: return fmt::format("[Array count={}]", value.items().size());
        case Value::Kind::Boolean:
        case Value::Kind::Integer:
        case Value::Kind::Double: return formatNumber(value.numberValue());
        case Value::Kind::Absent: return "(null)";
        case Value::Kind::Null: return "<null>";
        case Value::Kind::Node: return value.shortDescription();
    }
    return "";
}

// "  arg[i]:\n<argument>" for each argument, joined by line breaks.
std::string dumpArguments(const QMXPExprNodeList& arguments, const std::string& indent, int64_t level) {
    std::string text;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) text += "\n";
        text += fmt::format("{}  arg[{}]:\n{}", indent, i, dumpChild(arguments[i], level + 2));
    }
    return text;
}

}  // namespace

Value QMXPExprNode::evaluateWithContext(QMXPath2Evaluator&) const { return Value::absent(); }

std::string QMXPExprNode::indentStringForLevel(int64_t level) {
    return level > 0 ? std::string(static_cast<size_t>(level) * 2, ' ') : std::string();
}

std::string QMXPExprNode::descriptionWithIndent(int64_t) const { return "<QMXPExprNode>"; }

std::string QMXPLiteralNode::descriptionWithIndent(int64_t level) const {
    return indentStringForLevel(level) + "Literal(" + literalValueText(value) + ")";
}

std::string QMXPSequenceNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    std::string text = indent + "Sequence(\n";
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += ",\n";
        text += dumpChild(items[i], level + 1);
    }
    return text + "\n" + indent + ")";
}

std::string QMXPVariableNode::descriptionWithIndent(int64_t level) const {
    return indentStringForLevel(level) + "Variable($" + name + ")";
}

std::string QMXPBinaryOpNode::descriptionWithIndent(int64_t level) const {
    return fmt::format("{}BinaryOp({})\n{}\n{}", indentStringForLevel(level), tokenTypeToString(op),
                       dumpChild(left, level + 1), dumpChild(right, level + 1));
}

std::string QMXPUnaryOpNode::descriptionWithIndent(int64_t level) const {
    return fmt::format("{}UnaryOp({})\n{}", indentStringForLevel(level), tokenTypeToString(op),
                       dumpChild(operand, level + 1));
}

std::string QMXPFunctionCallNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    std::string text = indent + "FunctionCall(" + name + ")";
    if (arguments.empty()) return text + "()";
    return text + "\n" + dumpArguments(arguments, indent, level);
}

std::string QMXPPathNode::descriptionWithIndent(int64_t level) const {
    return indentStringForLevel(level) + "Path(\"" + path + "\")";
}

std::string QMXPIfThenElseNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    return fmt::format("{0}IfThenElse\n{0}  condition:\n{1}\n{0}  then:\n{2}\n{0}  else:\n{3}", indent,
                       dumpChild(condition, level + 2), dumpChild(thenExpr, level + 2),
                       dumpChild(elseExpr, level + 2));
}

std::string QMXPFilteredPathNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    std::string text;
    if (previousFilter) {
        text += indent + "FilteredPath(chained)\n";
        text += indent + "  base filter:\n" + dumpChild(previousFilter, level + 2);
        text += indent + "  additional predicate:\n" + dumpChild(predicate, level + 2);
    } else {
        text += indent + "FilteredPath(\"" + basePath + "\")\n";
        text += indent + "  predicate:\n" + dumpChild(predicate, level + 2);
    }
    if (childPath) text += indent + "  childPath: " + *childPath + "\n";
    if (functionName) text += indent + "  function: " + *functionName + "\n";
    if (nextStep) text += indent + "  nextStep:\n" + dumpChild(nextStep, level + 2);
    return text;
}

std::string QMXPQuantifiedExprNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    const char* word = quantifier == QMXPTokenEvery ? "every" : "some";
    return fmt::format("{0}QuantifiedExpr({1} ${2} in)\n{0}  in:\n{3}\n{0}  satisfies:\n{4}", indent, word,
                       variableName, dumpChild(inExpr, level + 2), dumpChild(satisfiesExpr, level + 2));
}

std::string QMXPForExprNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    return fmt::format("{0}ForExpr(for ${1} in)\n{0}  in:\n{2}\n{0}  return:\n{3}", indent, variableName,
                       dumpChild(inExpr, level + 2), dumpChild(returnExpr, level + 2));
}

std::string QMXPPathWithFunctionNode::descriptionWithIndent(int64_t level) const {
    std::string indent = indentStringForLevel(level);
    std::string text = indent + "PathWithFunction(\"" + basePath + "\" / " + functionName.value_or("(null)") + ")";
    if (functionArgs.empty()) return text;
    return text + "\n" + dumpArguments(functionArgs, indent, level);
}

std::string QMXPAxisNode::descriptionWithIndent(int64_t level) const {
    return indentStringForLevel(level) + "Axis(" + axis + "::" + elementName + ")";
}

}  // namespace quillmark
