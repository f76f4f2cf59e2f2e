#pragma once
// Comparison and arithmetic on atomic values, with the XPath 2.0 type promotions
// (integer -> decimal -> float -> double, anyURI -> string) and the date, time and
// duration operators.

#include <cstddef>

#include "xpath/atomic_value.h"

namespace quillmark::xpath {

enum class ComparisonOperator { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };
enum class ArithmeticOperator { Add, Subtract, Multiply, Divide, IntegerDivide, Modulo };

// Settings that operators on dates and times depend on.
struct OperatorContext {
    int implicitTimezoneMinutes = 0;
};

// Value comparison (eq, ne, lt, le, gt, ge) of two atomic values; xs:untypedAtomic
// operands are compared as xs:string. XPTY0004 when the types cannot be compared
// (a string with a number, an ordering comparison of QNames or of general durations).
bool compareValues(const AtomicValue& left, ComparisonOperator op, const AtomicValue& right, const OperatorContext& context);

// One pair of a general comparison (= != < <= > >=): an xs:untypedAtomic operand is cast
// to xs:double when the other is numeric, to xs:string when the other is untyped or a
// string, else to the other's type (FORG0001 when that fails); then compareValues.
bool compareGeneralPair(const AtomicValue& left, ComparisonOperator op, const AtomicValue& right, const OperatorContext& context);

// Binary arithmetic: untyped operands become xs:double; numeric promotion; decimal
// division and the integer operators per the exact-decimal rules; dates and durations.
// Errors: XPTY0004 for operand types the operator does not take, FOAR0001 division by
// zero (decimal/integer), FOAR0002 overflow, FODT0001/FODT0002 date and duration overflow.
AtomicValue applyArithmetic(const AtomicValue& left, ArithmeticOperator op, const AtomicValue& right, const OperatorContext& context);

// Unary minus and plus (untyped operands become xs:double; XPTY0004 for non-numbers).
AtomicValue negate(const AtomicValue& operand);
AtomicValue unaryPlus(const AtomicValue& operand);

// Equality as fn:distinct-values, fn:index-of and fn:deep-equal use it: like `eq`, but
// values that cannot be compared are simply unequal, and NaN equals NaN.
bool equalForGrouping(const AtomicValue& left, const AtomicValue& right, const OperatorContext& context);
// A hash consistent with equalForGrouping (equal values hash equal across numeric types:
// 1, 1.0, 1e0 hash alike).
size_t hashForGrouping(const AtomicValue& value, const OperatorContext& context);

}  // namespace quillmark::xpath
