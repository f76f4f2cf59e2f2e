// Evaluation of `instance of`, `treat as`, `cast as` and `castable as`.

#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {

Sequence InstanceOfExpression::evaluate(DynamicContext& context) const {
    return Sequence{AtomicValue::fromBoolean(type_.matches(operand_->evaluate(context)))};
}

Sequence TreatExpression::evaluate(DynamicContext& context) const {
    Sequence value = operand_->evaluate(context);
    if (!type_.matches(value)) {
        throw XPathError(ErrorCode::XPDY0050, "the value does not match the type " + type_.toString() + " of 'treat as'");
    }
    return value;
}

Sequence CastExpression::evaluate(DynamicContext& context) const {
    const Sequence value = atomize(operand_->evaluate(context));
    if (castableTest_) return Sequence{AtomicValue::fromBoolean(castable(value))};
    if (value.empty()) {
        if (allowEmpty_) return {};
        throw XPathError(ErrorCode::XPTY0004, "cannot cast an empty sequence to " + atomicTypeName(target_));
    }
    if (value.size() > 1) {
        throw XPathError(ErrorCode::XPTY0004, "cannot cast a sequence of " + std::to_string(value.size()) +
                                                  " items to " + atomicTypeName(target_));
    }
    return Sequence{cast(value.front().atomic())};
}

AtomicValue CastExpression::cast(const AtomicValue& atom) const {
    if (target_ == AtomicType::QName && atom.type() != AtomicType::QName && atom.type() != AtomicType::String &&
        atom.type() != AtomicType::UntypedAtomic) {
        throw XPathError(ErrorCode::XPTY0004, "cannot cast " + atomicTypeName(atom.type()) + " to xs:QName");
    }
    const PrefixResolver resolver = [this](std::string_view prefix) -> std::optional<std::string> {
        auto found = namespaces_.find(std::string(prefix));
        if (found == namespaces_.end()) return std::nullopt;
        return found->second;
    };
    return castAtomic(atom, target_, resolver);
}

bool CastExpression::castable(const Sequence& value) const {
    if (value.empty()) return allowEmpty_;
    if (value.size() > 1) return false;
    try {
        cast(value.front().atomic());
        return true;
    } catch (const XPathError&) {
        return false;
    }
}

}  // namespace quillmark::xpath
