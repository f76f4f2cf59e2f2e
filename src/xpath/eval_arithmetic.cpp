// Evaluation of arithmetic: each operand atomized to at most one value; () when
// either is empty.

#include "xpath/error.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

std::optional<AtomicValue> arithmeticOperand(const Expression& operand, DynamicContext& context) {
    Sequence value = atomize(operand.evaluate(context));
    if (value.empty()) return std::nullopt;
    if (value.size() > 1) {
        throw XPathError(ErrorCode::XPTY0004, "an arithmetic operand must be a single value, but has " +
                                                  std::to_string(value.size()) + " items");
    }
    return value.front().atomic();
}

}  // namespace

Sequence ArithmeticExpression::evaluate(DynamicContext& context) const {
    const std::optional<AtomicValue> left = arithmeticOperand(*left_, context);
    if (!left) return {};
    const std::optional<AtomicValue> right = arithmeticOperand(*right_, context);
    if (!right) return {};
    return Sequence{applyArithmetic(*left, op_, *right, context.operators())};
}

Sequence UnaryExpression::evaluate(DynamicContext& context) const {
    const std::optional<AtomicValue> operand = arithmeticOperand(*operand_, context);
    if (!operand) return {};
    return Sequence{negative_ ? negate(*operand) : unaryPlus(*operand)};
}

}  // namespace quillmark::xpath
