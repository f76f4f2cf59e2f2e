// Evaluation of literals, sequences, the context item, variables, ranges, conditionals
// and the logical operators.

#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {
// Longer ranges are refused: their items would not fit in memory.
constexpr int64_t kMaxRangeLength = int64_t{1} << 24;
}  // namespace

bool Expression::effectiveBooleanValue(DynamicContext& context) const {
    // A sequence of nodes is true exactly when it is not empty.
    if (yieldsNodesOnly()) return isNonEmpty(context);
    return xpath::effectiveBooleanValue(evaluate(context));
}

Sequence LiteralExpression::evaluate(DynamicContext&) const { return Sequence{value_}; }

Sequence SequenceExpression::evaluate(DynamicContext& context) const {
    if (items_.size() == 1) return items_.front()->evaluate(context);
    Sequence result;
    for (const ExpressionPtr& item : items_) {
        Sequence part = item->evaluate(context);
        if (result.empty()) {
            result = std::move(part);
            continue;
        }
        result.insert(result.end(), std::make_move_iterator(part.begin()), std::make_move_iterator(part.end()));
    }
    return result;
}

bool SequenceExpression::usesPosition() const {
    for (const ExpressionPtr& item : items_) {
        if (item->usesPosition()) return true;
    }
    return false;
}

Sequence ContextItemExpression::evaluate(DynamicContext& context) const {
    if (!context.focus.item) throw XPathError(ErrorCode::XPDY0002, "the context item is absent");
    return Sequence{*context.focus.item};
}

Sequence VariableReference::evaluate(DynamicContext& context) const {
    if (scope_ == VariableScope::Local) return context.locals[slot_];
    return context.readGlobal(slot_, name_);
}

Sequence RangeExpression::evaluate(DynamicContext& context) const {
    auto bound = [&context](const ExpressionPtr& expression) -> std::optional<Decimal> {
        Sequence value = convertToType(expression->evaluate(context),
                                       SequenceType::atomic(AtomicType::Integer, Occurrence::ZeroOrOne),
                                       ConversionRole{"an operand of 'to'"});
        if (value.empty()) return std::nullopt;
        return value.front().atomic().decimalValue();
    };
    const std::optional<Decimal> from = bound(from_);
    const std::optional<Decimal> to = bound(to_);
    Sequence result;
    if (!from || !to || *from > *to) return result;
    const std::optional<int64_t> length = (*to - *from).toInt64();
    if (!length || *length >= kMaxRangeLength) {
        throw XPathError(ErrorCode::XPDY0130, "the range " + from->toString() + " to " + to->toString() + " is too large");
    }
    // Charged before the memory is taken, so that a budget too small for the range
    // ends the evaluation before it allocates.
    context.budget().charge(static_cast<uint64_t>(*length) + 1);
    result.reserve(static_cast<size_t>(*length) + 1);
    const Decimal one = Decimal::fromInt64(1);
    Decimal value = *from;
    for (int64_t index = 0; index <= *length; ++index) {
        result.emplace_back(AtomicValue::fromDecimal(value, AtomicType::Integer));
        value = value + one;
    }
    return result;
}

Sequence IfExpression::evaluate(DynamicContext& context) const {
    return condition_->effectiveBooleanValue(context) ? then_->evaluate(context) : else_->evaluate(context);
}

bool IfExpression::effectiveBooleanValue(DynamicContext& context) const {
    return condition_->effectiveBooleanValue(context) ? then_->effectiveBooleanValue(context)
                                                      : else_->effectiveBooleanValue(context);
}

bool IfExpression::usesPosition() const {
    return condition_->usesPosition() || then_->usesPosition() || else_->usesPosition();
}

Sequence LogicalExpression::evaluate(DynamicContext& context) const {
    return Sequence{AtomicValue::fromBoolean(effectiveBooleanValue(context))};
}

bool LogicalExpression::effectiveBooleanValue(DynamicContext& context) const {
    const bool left = left_->effectiveBooleanValue(context);
    switch (op_) {
    case LogicalOperator::And: return left && right_->effectiveBooleanValue(context);
    case LogicalOperator::Or: return left || right_->effectiveBooleanValue(context);
    }
    return false;
}

Sequence LetExpression::evaluate(DynamicContext& context) const {
    context.locals[slot_] = value_->evaluate(context);
    return body_->evaluate(context);
}

}  // namespace quillmark::xpath
