// Aggregate functions: fn:count, fn:sum, fn:avg, fn:min, fn:max.
//
// Untyped values (the text of untyped documents) take part as xs:double, so sums of
// invoice amounts read straight from the document are computed in binary floating point,
// exactly as the reference processor computes them. Numbers of different types are
// combined by the usual promotion: integers and decimals stay exact decimals.

#include <cmath>

#include "xpath/casting.h"
#include "xpath/collation.h"
#include "xpath/function_registration.h"
#include "xpath/numeric_helpers.h"
#include "xpath/numeric_promotion.h"

namespace quillmark::xpath {
namespace {

AtomicValue untypedAsDouble(const AtomicValue& value) {
    return value.type() == AtomicType::UntypedAtomic ? castAtomic(value, AtomicType::Double) : value;
}

[[noreturn]] void invalidArgument(std::string_view function, const std::string& why) {
    throw XPathError(ErrorCode::FORG0006, std::string(function) + "() " + why);
}

// --- sum and avg ----------------------------------------------------------------------

// What a total is made of; the values of one total must all be of one kind.
enum class TotalKind { Number, YearMonthDuration, DayTimeDuration };

TotalKind totalKindOf(const AtomicValue& value, std::string_view function) {
    const AtomicType type = value.type();
    if (isNumericType(type)) return TotalKind::Number;
    if (type == AtomicType::YearMonthDuration) return TotalKind::YearMonthDuration;
    if (type == AtomicType::DayTimeDuration) return TotalKind::DayTimeDuration;
    invalidArgument(function, "cannot add values of type " + atomicTypeName(type));
}

// The values added from left to right (so (0.1, 0.2, 0e0) adds the decimals exactly
// before the double joins); FORG0006 for values that cannot be added or are of mixed kinds.
AtomicValue total(DynamicContext& context, const Sequence& values, std::string_view function) {
    AtomicValue result = untypedAsDouble(values.front().atomic());
    const TotalKind kind = totalKindOf(result, function);
    for (size_t index = 1; index < values.size(); ++index) {
        context.budget().charge();
        const AtomicValue value = untypedAsDouble(values[index].atomic());
        if (totalKindOf(value, function) != kind) {
            invalidArgument(function, "cannot add a value of type " + atomicTypeName(value.type()) +
                                          " to one of type " + atomicTypeName(result.type()));
        }
        result = applyArithmetic(result, ArithmeticOperator::Add, value, context.operators());
    }
    return result;
}

Sequence count(DynamicContext&, Arguments& arguments) {
    return single(AtomicValue::fromInteger(static_cast<int64_t>(arguments[0].size())));
}

Sequence sum(DynamicContext& context, Arguments& arguments) {
    if (arguments[0].empty()) {
        if (arguments.size() > 1) return arguments[1];
        return single(AtomicValue::fromInteger(0));
    }
    return single(total(context, arguments[0], "sum"));
}

// The total divided by the count: decimal division for decimals and integers (avg((1, 2, 2))
// is 1.666666666666666667), `div` for yearMonthDurations. A dayTimeDuration total is
// divided exactly, the nanoseconds truncated, so that the average of P1DT2H, PT22H and
// P1D is P1D (the `div` operator goes through a double factor and misses it by 1ns).
Sequence avg(DynamicContext& context, Arguments& arguments) {
    const Sequence& values = arguments[0];
    if (values.empty()) return {};
    const AtomicValue sum = total(context, values, "avg");
    if (sum.type() == AtomicType::DayTimeDuration) {
        DurationValue average = sum.durationValue();
        average.nanoseconds /= static_cast<__int128>(values.size());
        return single(AtomicValue::fromDuration(average));
    }
    const AtomicValue count = AtomicValue::fromInteger(static_cast<int64_t>(values.size()));
    return single(applyArithmetic(sum, ArithmeticOperator::Divide, count, context.operators()));
}

// --- min and max -------------------------------------------------------------------------

// The families of values that have an order; min and max take values of one family.
enum class OrderFamily { Number, String, Boolean, DateTime, Date, Time, YearMonthDuration, DayTimeDuration };

std::optional<OrderFamily> orderFamilyOf(AtomicType type) {
    if (isNumericType(type)) return OrderFamily::Number;
    if (derivesFrom(type, AtomicType::String) || type == AtomicType::AnyURI) return OrderFamily::String;
    if (type == AtomicType::Boolean) return OrderFamily::Boolean;
    if (type == AtomicType::DateTime) return OrderFamily::DateTime;
    if (type == AtomicType::Date) return OrderFamily::Date;
    if (type == AtomicType::Time) return OrderFamily::Time;
    if (type == AtomicType::YearMonthDuration) return OrderFamily::YearMonthDuration;
    if (type == AtomicType::DayTimeDuration) return OrderFamily::DayTimeDuration;
    return std::nullopt;  // no order: xs:duration, xs:QName, the gregorian and binary types
}

// The type values of a numeric kind are promoted to.
AtomicType promotedType(NumericKind kind) {
    switch (kind) {
    case NumericKind::Integer: return AtomicType::Integer;
    case NumericKind::Decimal: return AtomicType::Decimal;
    case NumericKind::Float: return AtomicType::Float;
    case NumericKind::Double: return AtomicType::Double;
    }
    return AtomicType::Double;
}

// The values of a min/max argument, all promoted to their common type: untyped values
// read as doubles, numbers promoted along integer < decimal < float < double, URIs
// mixed with strings made strings. FORG0006 for values without an order or of
// different families.
Sequence comparableValues(const Sequence& argument, std::string_view function) {
    Sequence values;
    values.reserve(argument.size());
    std::optional<OrderFamily> family;
    NumericKind common = NumericKind::Integer;
    bool anyString = false;
    for (const Item& item : argument) {
        const AtomicValue value = untypedAsDouble(item.atomic());
        const AtomicType type = value.type();
        const std::optional<OrderFamily> own = orderFamilyOf(type);
        if (!own) invalidArgument(function, "cannot order values of type " + atomicTypeName(type));
        if (family && *own != *family) {
            invalidArgument(function, "cannot compare a value of type " + atomicTypeName(type) + " with one of type " +
                                          atomicTypeName(values.front().atomic().type()));
        }
        family = own;
        if (*own == OrderFamily::Number) common = std::max(common, numericKindOf(type));
        anyString = anyString || derivesFrom(type, AtomicType::String);
        values.emplace_back(value);
    }
    for (Item& item : values) {
        const AtomicType type = item.atomic().type();
        if (family == OrderFamily::Number && numericKindOf(type) != common) {
            item = castAtomic(item.atomic(), promotedType(common));
        }
        if (type == AtomicType::AnyURI && anyString) item = castAtomic(item.atomic(), AtomicType::String);
    }
    return values;
}

// The first of the values that no other value is `better` than; NaN wins outright.
Sequence extreme(DynamicContext& context, Arguments& arguments, std::string_view function, ComparisonOperator better) {
    if (arguments.size() > 1) requireSupportedCollation(arguments[1], function);
    const Sequence values = comparableValues(arguments[0], function);
    if (values.empty()) return {};
    const AtomicValue* best = &values.front().atomic();
    for (const Item& item : values) {
        context.budget().charge();
        const AtomicValue& value = item.atomic();
        if (isNaN(value)) return single(value);
        if (compareValues(value, better, *best, context.operators())) best = &value;
    }
    return single(*best);
}

Sequence min(DynamicContext& context, Arguments& arguments) {
    return extreme(context, arguments, "min", ComparisonOperator::Less);
}

Sequence max(DynamicContext& context, Arguments& arguments) {
    return extreme(context, arguments, "max", ComparisonOperator::Greater);
}

}  // namespace

void registerAggregateFunctions(FunctionLibrary& library) {
    define(library, {.name = "count", .parameters = {"item()*"}, .result = "xs:integer"}, &count);
    define(library, {.name = "sum", .parameters = {"xs:anyAtomicType*"}, .result = "xs:anyAtomicType"}, &sum);
    define(library,
           {.name = "sum", .parameters = {"xs:anyAtomicType*", "xs:anyAtomicType?"}, .result = "xs:anyAtomicType?"},
           &sum);
    define(library, {.name = "avg", .parameters = {"xs:anyAtomicType*"}, .result = "xs:anyAtomicType?"}, &avg);
    for (const auto& [name, implementation] : {std::pair{"min", &min}, std::pair{"max", &max}}) {
        define(library, {.name = name, .parameters = {"xs:anyAtomicType*"}, .result = "xs:anyAtomicType?"},
               implementation);
        define(library,
               {.name = name, .parameters = {"xs:anyAtomicType*", "xs:string"}, .result = "xs:anyAtomicType?"},
               implementation);
    }
}

}  // namespace quillmark::xpath
