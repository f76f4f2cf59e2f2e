// Evaluation of `for`, `some` and `every`: each binding ranges over its sequence, the
// later ones evaluated anew for every value of the earlier ones.

#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

bool bindingsUsePosition(const std::vector<VariableBinding>& bindings) {
    for (const VariableBinding& binding : bindings) {
        if (binding.sequence->usesPosition()) return true;
    }
    return false;
}

}  // namespace

Sequence ForExpression::evaluate(DynamicContext& context) const {
    Sequence result;
    bind(context, 0, result);
    return result;
}

void ForExpression::bind(DynamicContext& context, size_t index, Sequence& into) const {
    if (index == bindings_.size()) {
        Sequence part = result_->evaluate(context);
        into.insert(into.end(), std::make_move_iterator(part.begin()), std::make_move_iterator(part.end()));
        return;
    }
    const VariableBinding& binding = bindings_[index];
    const Sequence values = binding.sequence->evaluate(context);
    for (const Item& value : values) {
        context.budget().charge();
        context.locals[binding.slot] = Sequence{value};
        bind(context, index + 1, into);
    }
}

bool ForExpression::usesPosition() const { return bindingsUsePosition(bindings_) || result_->usesPosition(); }

Sequence QuantifiedExpression::evaluate(DynamicContext& context) const {
    return Sequence{AtomicValue::fromBoolean(effectiveBooleanValue(context))};
}

bool QuantifiedExpression::effectiveBooleanValue(DynamicContext& context) const { return holds(context, 0); }

// True when the quantifier holds for the bindings from `index` on.
bool QuantifiedExpression::holds(DynamicContext& context, size_t index) const {
    const bool some = quantifier_ == Quantifier::Some;
    if (index == bindings_.size()) return test_->effectiveBooleanValue(context);
    const VariableBinding& binding = bindings_[index];
    const Sequence values = binding.sequence->evaluate(context);
    for (const Item& value : values) {
        context.budget().charge();
        context.locals[binding.slot] = Sequence{value};
        if (holds(context, index + 1) == some) return some;
    }
    return !some;
}

bool QuantifiedExpression::usesPosition() const { return bindingsUsePosition(bindings_) || test_->usesPosition(); }

}  // namespace quillmark::xpath
