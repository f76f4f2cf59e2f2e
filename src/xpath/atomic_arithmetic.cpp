// Arithmetic operators on atomic values: numbers with type promotion, and the operators
// on dates, times and durations.
#include <cmath>
#include <optional>

#include "xpath/atomic_operations.h"
#include "xpath/casting.h"
#include "xpath/error.h"
#include "xpath/numeric_promotion.h"

namespace quillmark::xpath {
namespace {

std::string_view operatorSymbol(ArithmeticOperator op) {
    switch (op) {
    case ArithmeticOperator::Add: return "+";
    case ArithmeticOperator::Subtract: return "-";
    case ArithmeticOperator::Multiply: return "*";
    case ArithmeticOperator::Divide: return "div";
    case ArithmeticOperator::IntegerDivide: return "idiv";
    case ArithmeticOperator::Modulo: return "mod";
    }
    return "?";
}

[[noreturn]] void throwUnsupportedOperands(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right) {
    throw XPathError(ErrorCode::XPTY0004, "operator " + std::string(operatorSymbol(op)) + " is not defined for " +
                                              atomicTypeName(left.type()) + " and " + atomicTypeName(right.type()));
}

[[noreturn]] void throwDivisionByZero() { throw XPathError(ErrorCode::FOAR0001, "division by zero"); }

Decimal nonZeroResult(std::optional<Decimal> result) {
    if (!result) throwDivisionByZero();
    return std::move(*result);
}

// --- Numbers ----------------------------------------------------------------------------

// Exact arithmetic of integers and decimals. Integer operands give an integer except for
// div, which gives a decimal; idiv always gives an integer.
AtomicValue decimalArithmetic(const Decimal& a, ArithmeticOperator op, const Decimal& b, bool integers) {
    const AtomicType closedType = integers ? AtomicType::Integer : AtomicType::Decimal;
    switch (op) {
    case ArithmeticOperator::Add: return AtomicValue::fromDecimal(a + b, closedType);
    case ArithmeticOperator::Subtract: return AtomicValue::fromDecimal(a - b, closedType);
    case ArithmeticOperator::Multiply: return AtomicValue::fromDecimal(a * b, closedType);
    case ArithmeticOperator::Divide: return AtomicValue::fromDecimal(nonZeroResult(Decimal::divide(a, b)));
    case ArithmeticOperator::IntegerDivide:
        return AtomicValue::fromDecimal(nonZeroResult(Decimal::integerDivide(a, b)), AtomicType::Integer);
    case ArithmeticOperator::Modulo: return AtomicValue::fromDecimal(nonZeroResult(Decimal::modulo(a, b)), closedType);
    }
    return AtomicValue::fromDecimal(Decimal());
}

// idiv of two floats or doubles: the quotient truncated to an integer. A zero divisor is
// FOAR0001; a NaN operand or an infinite dividend FOAR0002 (as the reference reports it).
AtomicValue floatingIntegerDivide(double a, double b) {
    if (b == 0) throwDivisionByZero();
    if (std::isnan(a) || std::isinf(a) || std::isnan(b)) {
        throw XPathError(ErrorCode::FOAR0002, "idiv of NaN or an infinite dividend");
    }
    const std::optional<Decimal> quotient = Decimal::fromDouble(std::trunc(a / b));
    if (!quotient) throw XPathError(ErrorCode::FOCA0002, "idiv quotient too large for xs:integer");
    return AtomicValue::fromDecimal(*quotient, AtomicType::Integer);
}

// IEEE arithmetic in the precision of T (float operations are rounded to float).
template <typename T>
std::optional<T> floatingArithmetic(T a, ArithmeticOperator op, T b) {
    switch (op) {
    case ArithmeticOperator::Add: return a + b;
    case ArithmeticOperator::Subtract: return a - b;
    case ArithmeticOperator::Multiply: return a * b;
    case ArithmeticOperator::Divide: return a / b;
    case ArithmeticOperator::Modulo: return std::fmod(a, b);
    case ArithmeticOperator::IntegerDivide: return std::nullopt;
    }
    return std::nullopt;
}

AtomicValue numericArithmetic(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right) {
    const NumericKind kind = commonNumericKind(left, right);
    switch (kind) {
    case NumericKind::Integer:
    case NumericKind::Decimal:
        return decimalArithmetic(left.decimalValue(), op, right.decimalValue(), kind == NumericKind::Integer);
    case NumericKind::Float: {
        const float a = numberAsFloat(left);
        const float b = numberAsFloat(right);
        if (op == ArithmeticOperator::IntegerDivide) return floatingIntegerDivide(a, b);
        return AtomicValue::fromFloat(*floatingArithmetic(a, op, b));
    }
    case NumericKind::Double: {
        const double a = numberAsDouble(left);
        const double b = numberAsDouble(right);
        if (op == ArithmeticOperator::IntegerDivide) return floatingIntegerDivide(a, b);
        return AtomicValue::fromDouble(*floatingArithmetic(a, op, b));
    }
    }
    throwUnsupportedOperands(left, op, right);
}

// --- Dates, times and durations ---------------------------------------------------------

bool isYearMonthOrDayTime(AtomicType type) {
    return type == AtomicType::YearMonthDuration || type == AtomicType::DayTimeDuration;
}

// dateTime and date take both duration subtypes, time only dayTimeDuration.
bool acceptsDuration(AtomicType temporal, AtomicType duration) {
    if (temporal == AtomicType::DateTime || temporal == AtomicType::Date) return isYearMonthOrDayTime(duration);
    return temporal == AtomicType::Time && duration == AtomicType::DayTimeDuration;
}

std::optional<AtomicValue> addOrSubtractTemporal(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right,
                                                 const OperatorContext& context) {
    const bool add = op == ArithmeticOperator::Add;
    if (acceptsDuration(left.type(), right.type())) {
        return AtomicValue::fromTemporal(add ? addDuration(left.temporalValue(), right.durationValue())
                                             : subtractDuration(left.temporalValue(), right.durationValue()));
    }
    if (add && acceptsDuration(right.type(), left.type())) {
        return AtomicValue::fromTemporal(addDuration(right.temporalValue(), left.durationValue()));
    }
    if (!add && left.type() == right.type() &&
        (left.type() == AtomicType::DateTime || left.type() == AtomicType::Date || left.type() == AtomicType::Time)) {
        return AtomicValue::fromDuration(
            subtractTemporals(left.temporalValue(), right.temporalValue(), context.implicitTimezoneMinutes));
    }
    if (isYearMonthOrDayTime(left.type()) && left.type() == right.type()) {
        return AtomicValue::fromDuration(add ? addDurations(left.durationValue(), right.durationValue())
                                             : subtractDurations(left.durationValue(), right.durationValue()));
    }
    return std::nullopt;
}

std::optional<AtomicValue> scaleDuration(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right) {
    const bool multiply = op == ArithmeticOperator::Multiply;
    if (isYearMonthOrDayTime(left.type()) && isNumericType(right.type())) {
        const double factor = numberAsDouble(right);
        return AtomicValue::fromDuration(multiply ? multiplyDuration(left.durationValue(), factor)
                                                  : divideDuration(left.durationValue(), factor));
    }
    if (multiply && isNumericType(left.type()) && isYearMonthOrDayTime(right.type())) {
        return AtomicValue::fromDuration(multiplyDuration(right.durationValue(), numberAsDouble(left)));
    }
    if (!multiply && isYearMonthOrDayTime(left.type()) && left.type() == right.type()) {
        const std::optional<Decimal> ratio = Decimal::parseDecimal(divideDurations(left.durationValue(), right.durationValue()));
        if (ratio) return AtomicValue::fromDecimal(*ratio);
    }
    return std::nullopt;
}

std::optional<AtomicValue> temporalArithmetic(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right,
                                              const OperatorContext& context) {
    switch (op) {
    case ArithmeticOperator::Add:
    case ArithmeticOperator::Subtract: return addOrSubtractTemporal(left, op, right, context);
    case ArithmeticOperator::Multiply:
    case ArithmeticOperator::Divide: return scaleDuration(left, op, right);
    case ArithmeticOperator::IntegerDivide:
    case ArithmeticOperator::Modulo: return std::nullopt;
    }
    return std::nullopt;
}

// Untyped operands of arithmetic are read as doubles.
std::optional<AtomicValue> untypedAsDouble(const AtomicValue& value) {
    if (value.type() != AtomicType::UntypedAtomic) return std::nullopt;
    return castAtomic(value, AtomicType::Double);
}

// The integer types fall back to xs:integer in the result of an operator (+xs:byte(1) is
// an xs:integer, as the reference has it).
AtomicValue withArithmeticType(const AtomicValue& number) {
    if (isIntegerType(number.type()) && number.type() != AtomicType::Integer) return number.withType(AtomicType::Integer);
    return number;
}

}  // namespace

AtomicValue applyArithmetic(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right,
                            const OperatorContext& context) {
    const std::optional<AtomicValue> leftNumber = untypedAsDouble(left);
    const std::optional<AtomicValue> rightNumber = untypedAsDouble(right);
    const AtomicValue& a = leftNumber ? *leftNumber : left;
    const AtomicValue& b = rightNumber ? *rightNumber : right;
    if (isNumericType(a.type()) && isNumericType(b.type())) return numericArithmetic(a, op, b);
    std::optional<AtomicValue> result = temporalArithmetic(a, op, b, context);
    if (!result) throwUnsupportedOperands(a, op, b);
    return std::move(*result);
}

AtomicValue negate(const AtomicValue& operand) {
    const std::optional<AtomicValue> number = untypedAsDouble(operand);
    const AtomicValue& value = number ? *number : operand;
    if (value.type() == AtomicType::Double) return AtomicValue::fromDouble(-value.doubleValue());
    if (value.type() == AtomicType::Float) return AtomicValue::fromFloat(-value.floatValue());
    if (!isNumericType(value.type())) {
        throw XPathError(ErrorCode::XPTY0004, "unary minus is not defined for " + atomicTypeName(value.type()));
    }
    return AtomicValue::fromDecimal(-value.decimalValue(), isIntegerType(value.type()) ? AtomicType::Integer : AtomicType::Decimal);
}

AtomicValue unaryPlus(const AtomicValue& operand) {
    if (std::optional<AtomicValue> number = untypedAsDouble(operand)) return std::move(*number);
    if (!isNumericType(operand.type())) {
        throw XPathError(ErrorCode::XPTY0004, "unary plus is not defined for " + atomicTypeName(operand.type()));
    }
    return withArithmeticType(operand);
}

}  // namespace quillmark::xpath
