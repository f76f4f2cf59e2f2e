// Value comparison, the general-comparison conversion of untyped operands, and the
// equality of fn:distinct-values and its relatives.
#include <cmath>
#include <compare>
#include <functional>
#include <optional>

#include "xpath/atomic_operations.h"
#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/numeric_promotion.h"
#include "xpath/numeric_text.h"
#include "xpath/xml_text.h"

namespace quillmark::xpath {
namespace {

bool isOrderingOperator(ComparisonOperator op) {
    return op != ComparisonOperator::Equal && op != ComparisonOperator::NotEqual;
}

// Whether `order` satisfies the operator; unordered (NaN) satisfies only "ne".
bool satisfies(std::partial_ordering order, ComparisonOperator op) {
    switch (op) {
    case ComparisonOperator::Equal: return order == 0;
    case ComparisonOperator::NotEqual: return order != 0;
    case ComparisonOperator::Less: return order < 0;
    case ComparisonOperator::LessOrEqual: return order <= 0;
    case ComparisonOperator::Greater: return order > 0;
    case ComparisonOperator::GreaterOrEqual: return order >= 0;
    }
    return false;
}

// Equality-only types give "equivalent" or "unordered" (which satisfies only "ne").
std::partial_ordering equalityOnly(bool equal) {
    return equal ? std::partial_ordering::equivalent : std::partial_ordering::unordered;
}

// Integers and decimals compare exactly; with a float both become floats, with a double
// both become doubles (a decimal rounded to the nearest double, as the reference does).
std::partial_ordering compareNumbers(const AtomicValue& left, const AtomicValue& right) {
    switch (commonNumericKind(left, right)) {
    case NumericKind::Integer:
    case NumericKind::Decimal: return left.decimalValue() <=> right.decimalValue();
    case NumericKind::Float: return numberAsFloat(left) <=> numberAsFloat(right);
    case NumericKind::Double: return numberAsDouble(left) <=> numberAsDouble(right);
    }
    return std::partial_ordering::unordered;
}

bool isOrderedTemporalKind(TemporalKind kind) {
    return kind == TemporalKind::DateTime || kind == TemporalKind::Date || kind == TemporalKind::Time;
}

// Durations: equality between any two; an order only between two yearMonthDurations or
// two dayTimeDurations.
std::optional<std::partial_ordering> compareDurationValues(const AtomicValue& left, const AtomicValue& right, bool needsOrder) {
    const DurationValue& a = left.durationValue();
    const DurationValue& b = right.durationValue();
    if (!needsOrder) return equalityOnly(equalDurations(a, b));
    if (a.kind != b.kind || a.kind == DurationKind::Duration) return std::nullopt;
    return compareDurations(a, b);
}

// How two atomic values compare, nullopt when their types cannot be compared (or, with
// `needsOrder`, cannot be ordered).
std::optional<std::partial_ordering> relate(const AtomicValue& left, const AtomicValue& right, bool needsOrder,
                                            const OperatorContext& context) {
    const AtomicType leftType = left.type();
    const AtomicType rightType = right.type();
    if (isNumericType(leftType) && isNumericType(rightType)) return compareNumbers(left, right);
    // UTF-8 byte order is code point order.
    if (isTextualType(leftType) && isTextualType(rightType)) return left.stringValue() <=> right.stringValue();
    if (leftType == AtomicType::Boolean && rightType == AtomicType::Boolean) {
        return left.booleanValue() <=> right.booleanValue();
    }
    if (isDurationType(leftType) && isDurationType(rightType)) return compareDurationValues(left, right, needsOrder);
    if (leftType != rightType) return std::nullopt;
    if (const std::optional<TemporalKind> kind = temporalKindOf(leftType)) {
        if (needsOrder && !isOrderedTemporalKind(*kind)) return std::nullopt;
        return compareTemporal(left.temporalValue(), right.temporalValue(), context.implicitTimezoneMinutes);
    }
    if (needsOrder) return std::nullopt;
    if (leftType == AtomicType::QName || leftType == AtomicType::NOTATION) {
        return equalityOnly(left.qnameValue() == right.qnameValue());
    }
    if (leftType == AtomicType::HexBinary || leftType == AtomicType::Base64Binary) {
        return equalityOnly(left.stringValue() == right.stringValue());
    }
    return std::nullopt;
}

[[noreturn]] void throwIncomparable(const AtomicValue& left, const AtomicValue& right, bool ordering) {
    throw XPathError(ErrorCode::XPTY0004, std::string(ordering ? "cannot order " : "cannot compare ") +
                                              atomicTypeName(left.type()) + " with " + atomicTypeName(right.type()));
}

bool isNaN(const AtomicValue& value) {
    if (value.type() == AtomicType::Double) return std::isnan(value.doubleValue());
    if (value.type() == AtomicType::Float) return std::isnan(value.floatValue());
    return false;
}

// An untyped operand of a general comparison against a number: read as a double.
bool compareUntypedWithNumber(const AtomicValue& untyped, bool untypedOnLeft, ComparisonOperator op,
                              const AtomicValue& number) {
    const std::optional<double> parsed = parseDouble(trimXmlWhiteSpace(untyped.stringValue()));
    const double value = parsed ? *parsed : castAtomic(untyped, AtomicType::Double).doubleValue();  // throws FORG0001
    const double other = numberAsDouble(number);
    return satisfies(untypedOnLeft ? value <=> other : other <=> value, op);
}

void combineHash(size_t& seed, size_t value) { seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2); }

// Numbers that compare equal must hash alike whatever their types. Decimal = double
// compares via the decimal's nearest double and decimal = float via its nearest float, so
// the hash is that of the value rounded to float (coarser, but shared by all three).
size_t hashNumber(const AtomicValue& value) {
    if (isNaN(value)) return 0x7fc00000U;
    float rounded = value.type() == AtomicType::Float ? value.floatValue() : static_cast<float>(numberAsDouble(value));
    if (rounded == 0) rounded = 0;  // -0 equals 0
    return std::hash<float>{}(rounded);
}

// Dates and times that compare equal are the same instant: hash the instant in UTC.
size_t hashTemporal(const TemporalValue& value, const OperatorContext& context) {
    size_t seed = static_cast<size_t>(value.kind);
    if (!isOrderedTemporalKind(value.kind)) {
        // A timezone moves a gregorian value by less than a day: equal years and months
        // keep their fields, equal days may not (--03-01+14:00 eq --02-29-10:00).
        if (value.kind == TemporalKind::GMonthDay || value.kind == TemporalKind::GDay) return seed;
        combineHash(seed, std::hash<int64_t>{}(value.year));
        combineHash(seed, std::hash<int>{}(value.month));
        return seed;
    }
    TemporalValue local = value;
    if (!local.timezoneMinutes) local.timezoneMinutes = context.implicitTimezoneMinutes;
    TemporalValue utc;
    try {
        utc = adjustToTimezone(local, 0);
    } catch (const XPathError&) {
        return seed;  // at the edge of the supported range
    }
    for (const int64_t field : {utc.year, int64_t{utc.month}, int64_t{utc.day}, int64_t{utc.hour}, int64_t{utc.minute},
                                int64_t{utc.second}, int64_t{utc.nanosecond}}) {
        combineHash(seed, std::hash<int64_t>{}(field));
    }
    return seed;
}

}  // namespace

bool compareValues(const AtomicValue& left, ComparisonOperator op, const AtomicValue& right, const OperatorContext& context) {
    const bool ordering = isOrderingOperator(op);
    const std::optional<std::partial_ordering> order = relate(left, right, ordering, context);
    if (!order) throwIncomparable(left, right, ordering);
    return satisfies(*order, op);
}

bool compareGeneralPair(const AtomicValue& left, ComparisonOperator op, const AtomicValue& right, const OperatorContext& context) {
    const bool leftUntyped = left.type() == AtomicType::UntypedAtomic;
    const bool rightUntyped = right.type() == AtomicType::UntypedAtomic;
    if (leftUntyped == rightUntyped) return compareValues(left, op, right, context);  // both untyped: as strings
    const AtomicValue& untyped = leftUntyped ? left : right;
    const AtomicValue& other = leftUntyped ? right : left;
    if (isNumericType(other.type())) return compareUntypedWithNumber(untyped, leftUntyped, op, other);
    // Against a string the untyped value is a string already; against any other type it
    // is cast to that type (a ChargeIndicator "0" compared with false() is false).
    if (isStringDerivedType(other.type())) return compareValues(left, op, right, context);
    const AtomicValue converted = castAtomic(untyped, other.type());
    return leftUntyped ? compareValues(converted, op, right, context) : compareValues(left, op, converted, context);
}

bool equalForGrouping(const AtomicValue& left, const AtomicValue& right, const OperatorContext& context) {
    if (isNaN(left) && isNaN(right)) return true;
    const std::optional<std::partial_ordering> order = relate(left, right, false, context);
    return order && *order == 0;
}

size_t hashForGrouping(const AtomicValue& value, const OperatorContext& context) {
    const AtomicType type = value.type();
    if (isNumericType(type)) return hashNumber(value);
    if (isTextualType(type)) return std::hash<std::string_view>{}(value.stringValue());
    if (type == AtomicType::Boolean) return value.booleanValue() ? 0x51ed27U : 0x2f0a41U;
    if (isDurationType(type)) {
        const DurationValue& duration = value.durationValue();
        size_t seed = std::hash<int64_t>{}(duration.months);
        combineHash(seed, std::hash<int64_t>{}(static_cast<int64_t>(duration.nanoseconds)));
        combineHash(seed, std::hash<int64_t>{}(static_cast<int64_t>(duration.nanoseconds >> 64)));
        return seed;
    }
    if (temporalKindOf(type)) return hashTemporal(value.temporalValue(), context);
    if (type == AtomicType::QName || type == AtomicType::NOTATION) {
        size_t seed = std::hash<std::string>{}(value.qnameValue().namespaceURI);
        combineHash(seed, std::hash<std::string>{}(value.qnameValue().localName));
        return seed;
    }
    // Binary values: the bytes (hexBinary and base64Binary never compare equal).
    size_t seed = std::hash<std::string>{}(value.stringValue());
    combineHash(seed, static_cast<size_t>(type));
    return seed;
}

}  // namespace quillmark::xpath
