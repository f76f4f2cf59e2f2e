// Evaluation of the simple tree nodes: literals, sequences, variables, operators,
// function calls and conditionals.

#include "quillmark/evaluator.h"

namespace quillmark {

Value QMXPLiteralNode::evaluateWithContext(QMXPath2Evaluator&) const { return value; }

Value QMXPSequenceNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    Sequence result;
    for (const auto& item : items) {
        if (!item) continue;
        Value value = item->evaluateWithContext(evaluator);
        if (value.isNull()) continue;
        QMXPath2Evaluator::flattenIntoArray(result, value);
    }
    return Value::sequence(std::move(result));
}

Value QMXPVariableNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    Value value = evaluator.getVariable(name);
    if (evaluator.traceEnabled()) evaluator.addTrace("$" + name + " = " + value.description());
    return value;
}

Value QMXPBinaryOpNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    const bool tracing = evaluator.traceEnabled();
    const std::string label = tracing ? "BinaryOp(" + tokenTypeToString(op) + ")" : std::string();
    if (tracing) evaluator.traceEnter(label);
    Value leftValue = left ? left->evaluateWithContext(evaluator) : Value::absent();
    if (tracing) evaluator.addTrace("Left = " + leftValue.description());
    Value rightValue = right ? right->evaluateWithContext(evaluator) : Value::absent();
    if (tracing) evaluator.addTrace("Right = " + rightValue.description());
    Value result = QMXPath2Evaluator::evaluateBinaryOp(op, leftValue, rightValue);
    if (tracing) evaluator.traceExit(label, result);
    return result;
}

Value QMXPUnaryOpNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    Value value = operand ? operand->evaluateWithContext(evaluator) : Value::absent();
    if (op == QMXPTokenMinus) return Value::number(-QMXPath2Evaluator::toDouble(value));
    return value;
}

Value QMXPFunctionCallNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    return evaluator.evaluateFunction(name, evaluator.evaluateArguments(arguments));
}

Value QMXPIfThenElseNode::evaluateWithContext(QMXPath2Evaluator& evaluator) const {
    Value test = condition ? condition->evaluateWithContext(evaluator) : Value::absent();
    const QMXPExprNodePtr& branch = QMXPath2Evaluator::toBoolean(test) ? thenExpr : elseExpr;
    return branch ? branch->evaluateWithContext(evaluator) : Value::absent();
}

}  // namespace quillmark
