#include "xpath/sequence_operations.h"

#include <cmath>

#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

std::string describeCount(size_t count) {
    return count == 0 ? "an empty sequence" : "a sequence of " + std::to_string(count) + " items";
}

// Numeric promotion and URI promotion (XPath 2.0 B.1) of an atomic value to an
// expected atomic type; the value itself when no promotion applies.
AtomicValue promote(const AtomicValue& value, AtomicType expected) {
    const AtomicType actual = value.type();
    if (derivesFrom(actual, expected)) return value;
    if (expected == AtomicType::Double && (derivesFrom(actual, AtomicType::Decimal) || actual == AtomicType::Float)) {
        return castAtomic(value, AtomicType::Double);
    }
    if (expected == AtomicType::Float && derivesFrom(actual, AtomicType::Decimal)) {
        return castAtomic(value, AtomicType::Float);
    }
    if (expected == AtomicType::String && actual == AtomicType::AnyURI) return castAtomic(value, AtomicType::String);
    return value;
}

}  // namespace

AtomicValue atomizeItem(const Item& item) {
    if (item.isAtomic()) return item.atomic();
    return typedValueOf(item.node().raw());
}

void atomizeInto(const Item& item, Sequence& into) {
    if (item.isAtomic()) {
        into.push_back(item);
        return;
    }
    into.emplace_back(typedValueOf(item.node().raw()));
}

Sequence atomize(const Sequence& sequence) {
    Sequence atoms;
    atoms.reserve(sequence.size());
    for (const Item& item : sequence) atomizeInto(item, atoms);
    return atoms;
}

bool effectiveBooleanValue(const Sequence& sequence) {
    if (sequence.empty()) return false;
    const Item& first = sequence.front();
    if (first.isNode()) return true;
    if (sequence.size() > 1) {
        throw XPathError(ErrorCode::FORG0006, "effective boolean value of a sequence of several atomic values");
    }
    const AtomicValue& value = first.atomic();
    const AtomicType type = value.type();
    if (type == AtomicType::Boolean) return value.booleanValue();
    if (derivesFrom(type, AtomicType::String) || type == AtomicType::UntypedAtomic || type == AtomicType::AnyURI) {
        return !value.stringValue().empty();
    }
    if (type == AtomicType::Double) return !(value.doubleValue() == 0 || std::isnan(value.doubleValue()));
    if (type == AtomicType::Float) return !(value.floatValue() == 0 || std::isnan(value.floatValue()));
    if (derivesFrom(type, AtomicType::Decimal)) return !value.decimalValue().isZero();
    throw XPathError(ErrorCode::FORG0006, "effective boolean value of a value of type " + atomicTypeName(type));
}

std::string ConversionRole::describe() const {
    if (!function) return what;
    const std::string name = function->localName + "()";
    return argument == 0 ? "the result of " + name : "argument " + std::to_string(argument) + " of " + name;
}

Sequence convertToType(Sequence value, const SequenceType& type, const ConversionRole& role) {
    if (type.itemType.kind == ItemTypeKind::AnyItem && type.occurrence == Occurrence::ZeroOrMore) return value;
    if (type.itemType.kind == ItemTypeKind::Atomic) {
        const AtomicType expected = type.itemType.atomicType;
        Sequence atoms = atomize(value);
        for (Item& item : atoms) {
            const AtomicValue& atom = item.atomic();
            if (atom.type() == AtomicType::UntypedAtomic && expected != AtomicType::AnyAtomicType &&
                expected != AtomicType::UntypedAtomic) {
                item = castAtomic(atom, expected);
            } else {
                item = promote(atom, expected);
            }
        }
        value = std::move(atoms);
    }
    if (!type.allowsCount(value.size())) {
        throw XPathError(ErrorCode::XPTY0004,
                         role.describe() + " must be " + type.toString() + ", but is " + describeCount(value.size()));
    }
    for (const Item& item : value) {
        if (!type.itemType.matches(item)) {
            const std::string actual =
                item.isNode() ? "a node" : "a value of type " + atomicTypeName(item.atomic().type());
            throw XPathError(ErrorCode::XPTY0004, role.describe() + " must be " + type.toString() + ", but is " + actual);
        }
    }
    return value;
}

const Item* optionalItem(const Sequence& sequence, const std::string& role) {
    if (sequence.size() > 1) throw XPathError(ErrorCode::XPTY0004, role + " must be a single item, but is " + describeCount(sequence.size()));
    return sequence.empty() ? nullptr : &sequence.front();
}

std::string stringValueOfItem(const Item& item) {
    return item.isNode() ? stringValueOf(item.node().raw()) : item.atomic().toString();
}

}  // namespace quillmark::xpath
