// Functions on numbers: fn:abs, fn:ceiling, fn:floor, fn:round, fn:round-half-to-even,
// fn:number.
//
// The rounding functions keep the kind of number they are given: an integer stays an
// integer, a decimal a decimal, a float a float, a double a double (-0 and NaN included).
// An integer argument the function leaves as it is keeps even its derived type
// (round(xs:byte(5)) is an xs:byte), as with the reference processor.

#include <cmath>

#include "xpath/casting.h"
#include "xpath/function_registration.h"
#include "xpath/numeric_helpers.h"

namespace quillmark::xpath {
namespace {

// The value of a `numeric?` parameter (declared xs:anyAtomicType? so that the check and
// its message are ours): nullopt for (), xs:untypedAtomic read as xs:double, XPTY0004
// for a value that is not a number.
std::optional<AtomicValue> numericArgument(const Sequence& argument, std::string_view function) {
    if (argument.empty()) return std::nullopt;
    const AtomicValue& value = argument.front().atomic();
    if (value.type() == AtomicType::UntypedAtomic) return castAtomic(value, AtomicType::Double);
    if (!isNumericType(value.type())) {
        throw XPathError(ErrorCode::XPTY0004, std::string(function) + "() expects a number, not a value of type " +
                                                  atomicTypeName(value.type()));
    }
    return value;
}

// A computed xs:decimal or xs:integer result: derived integer types give xs:integer.
AtomicValue decimalResult(Decimal value, AtomicType argumentType) {
    return AtomicValue::fromDecimal(std::move(value),
                                    isIntegerType(argumentType) ? AtomicType::Integer : AtomicType::Decimal);
}

// The same operation on the three representations of numbers.
struct NumericOperation {
    Decimal (*onDecimal)(const Decimal& value);
    double (*onDouble)(double value);
    bool keepsIntegers;  // integers come back unchanged
};

AtomicValue applyOperation(const AtomicValue& value, const NumericOperation& operation) {
    const AtomicType type = value.type();
    if (type == AtomicType::Double) return AtomicValue::fromDouble(operation.onDouble(value.doubleValue()));
    // Floats are computed in double: every float is exact there, and every result of
    // these operations on a float is a float again.
    if (type == AtomicType::Float) {
        return AtomicValue::fromFloat(static_cast<float>(operation.onDouble(value.floatValue())));
    }
    if (operation.keepsIntegers && isIntegerType(type)) return value;
    return decimalResult(operation.onDecimal(value.decimalValue()), type);
}

// Applies `operation` to the one `numeric?` argument: () gives ().
Sequence numericFunction(const Arguments& arguments, std::string_view function, const NumericOperation& operation) {
    const std::optional<AtomicValue> value = numericArgument(arguments[0], function);
    if (!value) return {};
    return single(applyOperation(*value, operation));
}

Sequence abs(DynamicContext&, Arguments& arguments) {
    const std::optional<AtomicValue> value = numericArgument(arguments[0], "abs");
    if (!value) return {};
    // A positive integer is returned as given; only a negated one becomes a new xs:integer.
    if (isIntegerType(value->type()) && value->decimalValue().sign() > 0) return single(*value);
    return single(applyOperation(
        *value, {[](const Decimal& d) { return d.abs(); }, [](double d) { return std::fabs(d); }, false}));
}

Sequence ceiling(DynamicContext&, Arguments& arguments) {
    return numericFunction(arguments, "ceiling",
                           {[](const Decimal& d) { return d.ceiling(); }, [](double d) { return std::ceil(d); }, true});
}

Sequence floor(DynamicContext&, Arguments& arguments) {
    return numericFunction(arguments, "floor",
                           {[](const Decimal& d) { return d.floor(); }, [](double d) { return std::floor(d); }, true});
}

Sequence round(DynamicContext&, Arguments& arguments) {
    return numericFunction(arguments, "round",
                           {[](const Decimal& d) { return d.round(); }, [](double d) { return roundHalfUp(d); }, true});
}

// The precision argument of round-half-to-even. Precisions beyond int64 round nothing
// away (huge) or everything (hugely negative), which the clamped values do as well.
int64_t precisionArgument(const Arguments& arguments) {
    if (arguments.size() < 2) return 0;
    const Decimal& precision = arguments[1].front().atomic().decimalValue();
    if (const std::optional<int64_t> small = precision.toInt64()) return *small;
    return precision.sign() > 0 ? INT64_MAX : INT64_MIN;
}

// Rounds a decimal to `precision` places, keeping the precision within the digits the
// value has so that absurd precisions cost nothing.
Decimal decimalHalfToEven(const Decimal& value, int64_t precision) {
    if (precision >= value.scale()) return value;
    const int64_t integerDigits = std::max<int64_t>(value.digitCount() - value.scale(), 0);
    return value.roundHalfToEven(std::max(precision, -(integerDigits + 1)));
}

Sequence roundHalfToEvenFunction(DynamicContext&, Arguments& arguments) {
    const std::optional<AtomicValue> value = numericArgument(arguments[0], "round-half-to-even");
    if (!value) return {};
    const int64_t precision = precisionArgument(arguments);
    const AtomicType type = value->type();
    if (type == AtomicType::Double) {
        return single(AtomicValue::fromDouble(roundHalfToEven(value->doubleValue(), precision)));
    }
    if (type == AtomicType::Float) {
        return single(AtomicValue::fromFloat(static_cast<float>(roundHalfToEven(value->floatValue(), precision))));
    }
    if (isIntegerType(type) && precision >= 0) return single(*value);
    return single(decimalResult(decimalHalfToEven(value->decimalValue(), precision), type));
}

// fn:number never fails on a value: whatever does not read as a double is NaN.
Sequence number(DynamicContext&, Arguments& arguments) {
    if (!arguments[0].empty()) {
        const AtomicValue& value = arguments[0].front().atomic();
        if (isCastable(value, AtomicType::Double)) return single(castAtomic(value, AtomicType::Double));
    }
    return single(AtomicValue::fromDouble(std::nan("")));
}

}  // namespace

void registerNumericFunctions(FunctionLibrary& library) {
    // The catalogue's `numeric?`: any atomic value, checked by numericArgument.
    constexpr std::string_view numeric = "xs:anyAtomicType?";
    define(library, {.name = "abs", .parameters = {numeric}, .result = "xs:anyAtomicType?"}, &abs);
    define(library, {.name = "ceiling", .parameters = {numeric}, .result = "xs:anyAtomicType?"}, &ceiling);
    define(library, {.name = "floor", .parameters = {numeric}, .result = "xs:anyAtomicType?"}, &floor);
    define(library, {.name = "round", .parameters = {numeric}, .result = "xs:anyAtomicType?"}, &round);
    define(library, {.name = "round-half-to-even", .parameters = {numeric}, .result = "xs:anyAtomicType?"},
           &roundHalfToEvenFunction);
    define(library,
           {.name = "round-half-to-even", .parameters = {numeric, "xs:integer"}, .result = "xs:anyAtomicType?"},
           &roundHalfToEvenFunction);
    define(library,
           {.name = "number", .parameters = {"xs:anyAtomicType?"}, .result = "xs:double",
            .focus = FocusUse::ContextItemDefault},
           &number);
}

}  // namespace quillmark::xpath
