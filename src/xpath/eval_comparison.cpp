// Evaluation of general, value and node comparisons.

#include "xpath/error.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

// The one atomic value of a value-comparison operand; nullopt for ().
std::optional<AtomicValue> singleAtom(const Expression& operand, DynamicContext& context) {
    Sequence value = operand.evaluate(context);
    if (value.empty()) return std::nullopt;
    if (value.size() > 1) {
        throw XPathError(ErrorCode::XPTY0004, "a value comparison needs single values, but an operand has " +
                                                  std::to_string(value.size()) + " items");
    }
    AtomicValue atom = atomizeItem(value.front());
    if (atom.type() == AtomicType::UntypedAtomic) return AtomicValue::fromString(atom.stringValue());
    return atom;
}

// The one node of a node-comparison operand; null for ().
const xmlNode* singleNode(const Expression& operand, DynamicContext& context) {
    Sequence value = operand.evaluate(context);
    if (value.empty()) return nullptr;
    if (value.size() > 1 || !value.front().isNode()) {
        throw XPathError(ErrorCode::XPTY0004, "a node comparison needs single nodes");
    }
    return value.front().node().raw();
}

}  // namespace

Sequence ComparisonExpression::evaluate(DynamicContext& context) const {
    return Sequence{AtomicValue::fromBoolean(effectiveBooleanValue(context))};
}

bool GeneralComparison::effectiveBooleanValue(DynamicContext& context) const {
    const Sequence left = atomize(left_->evaluate(context));
    if (left.empty()) return false;
    const Sequence right = atomize(right_->evaluate(context));
    for (const Item& a : left) {
        for (const Item& b : right) {
            context.budget().charge();
            if (compareGeneralPair(a.atomic(), op_, b.atomic(), context.operators())) return true;
        }
    }
    return false;
}

Sequence ValueComparison::evaluate(DynamicContext& context) const {
    const std::optional<AtomicValue> left = singleAtom(*left_, context);
    const std::optional<AtomicValue> right = singleAtom(*right_, context);
    if (!left || !right) return {};
    return Sequence{AtomicValue::fromBoolean(compareValues(*left, op_, *right, context.operators()))};
}

bool ValueComparison::effectiveBooleanValue(DynamicContext& context) const {
    const Sequence value = evaluate(context);
    return !value.empty() && value.front().atomic().booleanValue();
}

Sequence NodeComparison::evaluate(DynamicContext& context) const {
    const xmlNode* left = singleNode(*left_, context);
    const xmlNode* right = singleNode(*right_, context);
    if (!left || !right) return {};
    bool result = false;
    switch (op_) {
    case NodeComparisonOperator::Is: result = left == right; break;
    case NodeComparisonOperator::Precedes: result = context.documentOrder().compare(left, right) < 0; break;
    case NodeComparisonOperator::Follows: result = context.documentOrder().compare(left, right) > 0; break;
    }
    return Sequence{AtomicValue::fromBoolean(result)};
}

}  // namespace quillmark::xpath
