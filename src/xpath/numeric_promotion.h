#pragma once
// Numeric type promotion of XPath 2.0 (integer -> decimal -> float -> double), shared by
// the comparison and arithmetic operators.

#include <algorithm>

#include "xpath/atomic_value.h"

namespace quillmark::xpath {

// The numeric families in promotion order: the common type of two operands is the later one.
enum class NumericKind { Integer, Decimal, Float, Double };

// Precondition: isNumericType(type).
inline NumericKind numericKindOf(AtomicType type) {
    if (type == AtomicType::Double) return NumericKind::Double;
    if (type == AtomicType::Float) return NumericKind::Float;
    return isIntegerType(type) ? NumericKind::Integer : NumericKind::Decimal;
}

inline NumericKind commonNumericKind(const AtomicValue& a, const AtomicValue& b) {
    return std::max(numericKindOf(a.type()), numericKindOf(b.type()));
}

// A numeric value promoted to xs:double (a decimal rounded to nearest).
inline double numberAsDouble(const AtomicValue& value) {
    if (value.type() == AtomicType::Double) return value.doubleValue();
    if (value.type() == AtomicType::Float) return value.floatValue();
    return value.decimalValue().toDouble();
}

// A decimal or float value promoted to xs:float (a decimal rounded once, directly).
inline float numberAsFloat(const AtomicValue& value) {
    if (value.type() == AtomicType::Float) return value.floatValue();
    return value.decimalValue().toFloat();
}

}  // namespace quillmark::xpath
