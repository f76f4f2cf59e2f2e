#include "xpath/casting.h"

#include <cmath>
#include <limits>

#include "xpath/casting_internal.h"
#include "xpath/numeric_promotion.h"

namespace quillmark::xpath {
namespace casting {
namespace {

constexpr CastFailure forbiddenCast{ErrorCode::XPTY0004, "the casting table does not allow it"};

bool isTextType(AtomicType type) {
    return type == AtomicType::UntypedAtomic || isStringDerivedType(type);
}

bool withinRange(const Decimal& value, int64_t low, int64_t high) {
    const std::optional<int64_t> small = value.toInt64();
    return small && *small >= low && *small <= high;
}

template <typename Limits>
bool withinRangeOf(const Decimal& value) {
    return withinRange(value, std::numeric_limits<Limits>::min(), std::numeric_limits<Limits>::max());
}

// The range facets of the integer types (xs:integer itself has none).
bool satisfiesIntegerFacets(const Decimal& value, AtomicType type) {
    if (type == AtomicType::NonPositiveInteger) return value.sign() <= 0;
    if (type == AtomicType::NegativeInteger) return value.sign() < 0;
    if (type == AtomicType::NonNegativeInteger) return value.sign() >= 0;
    if (type == AtomicType::PositiveInteger) return value.sign() > 0;
    if (type == AtomicType::Long) return value.toInt64().has_value();
    if (type == AtomicType::Int) return withinRangeOf<int32_t>(value);
    if (type == AtomicType::Short) return withinRangeOf<int16_t>(value);
    if (type == AtomicType::Byte) return withinRangeOf<int8_t>(value);
    if (type == AtomicType::UnsignedInt) return withinRangeOf<uint32_t>(value);
    if (type == AtomicType::UnsignedShort) return withinRangeOf<uint16_t>(value);
    if (type == AtomicType::UnsignedByte) return withinRangeOf<uint8_t>(value);
    if (type == AtomicType::UnsignedLong) {
        static const Decimal maximum = *Decimal::parseInteger("18446744073709551615");
        return value.sign() >= 0 && value <= maximum;
    }
    return true;
}

// --- Numeric and boolean targets ------------------------------------------------------

// The exact decimal of a number; integer targets truncate it (3.7e0 -> 3). NaN and the
// infinities have none (FOCA0002).
CastResult castToDecimalFamily(const AtomicValue& value, AtomicType target) {
    const AtomicType source = primitiveType(value.type());
    std::optional<Decimal> exact;
    if (source == AtomicType::Decimal) {
        exact = value.decimalValue();
    } else if (source == AtomicType::Double) {
        exact = Decimal::fromDouble(value.doubleValue());
    } else if (source == AtomicType::Float) {
        exact = Decimal::fromDouble(value.floatValue());
    } else if (source == AtomicType::Boolean) {
        exact = Decimal::fromInt64(value.booleanValue() ? 1 : 0);
    } else {
        return forbiddenCast;
    }
    if (!exact) return CastFailure{ErrorCode::FOCA0002, "NaN and infinity have no decimal value"};
    if (target == AtomicType::Decimal) return AtomicValue::fromDecimal(std::move(*exact));
    return checkedInteger(exact->truncate(), target);
}

// A number or boolean as a double (exact for booleans and floats, nearest for decimals);
// nullopt for other values.
std::optional<double> numberOrBooleanAsDouble(const AtomicValue& value) {
    if (value.type() == AtomicType::Boolean) return value.booleanValue() ? 1.0 : 0.0;
    if (!isNumericType(value.type())) return std::nullopt;
    return numberAsDouble(value);
}

CastResult castToDouble(const AtomicValue& value) {
    const std::optional<double> number = numberOrBooleanAsDouble(value);
    if (!number) return forbiddenCast;
    return AtomicValue::fromDouble(*number);
}

CastResult castToFloat(const AtomicValue& value) {
    // A decimal is rounded to float once, not through a double.
    if (primitiveType(value.type()) == AtomicType::Decimal) return AtomicValue::fromFloat(value.decimalValue().toFloat());
    const std::optional<double> number = numberOrBooleanAsDouble(value);
    if (!number) return forbiddenCast;
    return AtomicValue::fromFloat(static_cast<float>(*number));
}

// Zero and NaN are false, every other number true.
CastResult castToBoolean(const AtomicValue& value) {
    if (primitiveType(value.type()) == AtomicType::Decimal) return AtomicValue::fromBoolean(!value.decimalValue().isZero());
    const std::optional<double> number = numberOrBooleanAsDouble(value);
    if (!number) return forbiddenCast;
    return AtomicValue::fromBoolean(*number != 0 && !std::isnan(*number));
}

// --- Dates, times, durations and binary values -----------------------------------------

CastResult castToTemporal(const AtomicValue& value, TemporalKind target) {
    if (!temporalKindOf(value.type())) return forbiddenCast;
    std::optional<TemporalValue> converted = value.temporalValue().convertTo(target);
    if (!converted) return forbiddenCast;
    return AtomicValue::fromTemporal(*converted);
}

CastResult castToDuration(const AtomicValue& value, DurationKind target) {
    if (!durationKindOf(value.type())) return forbiddenCast;
    return AtomicValue::fromDuration(value.durationValue().convertTo(target));
}

// xs:hexBinary and xs:base64Binary hold the same bytes.
CastResult castToBinary(const AtomicValue& value, AtomicType target) {
    if (value.type() != AtomicType::HexBinary && value.type() != AtomicType::Base64Binary) return forbiddenCast;
    return AtomicValue::fromBinary(value.stringValue(), target);
}

// A value that is not text, cast to `target` by the casting table.
CastResult castNonText(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver) {
    if (target == AtomicType::String || target == AtomicType::UntypedAtomic) {
        return AtomicValue::fromString(value.toString(), target);
    }
    if (isStringDerivedType(target)) return castText(value.toString(), target, resolver);
    if (primitiveType(target) == AtomicType::Decimal) return castToDecimalFamily(value, target);
    if (target == AtomicType::Double) return castToDouble(value);
    if (target == AtomicType::Float) return castToFloat(value);
    if (target == AtomicType::Boolean) return castToBoolean(value);
    if (const std::optional<TemporalKind> kind = temporalKindOf(target)) return castToTemporal(value, *kind);
    if (const std::optional<DurationKind> kind = durationKindOf(target)) return castToDuration(value, *kind);
    if (target == AtomicType::HexBinary || target == AtomicType::Base64Binary) return castToBinary(value, target);
    // xs:anyURI and xs:QName come only from themselves and from text.
    return forbiddenCast;
}

CastResult tryCast(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver) {
    if (target == AtomicType::AnyAtomicType || target == AtomicType::NOTATION) {
        return CastFailure{ErrorCode::XPST0080, "the target type is abstract"};
    }
    const AtomicType source = value.type();
    if (source == target) return value;
    if (!isTextType(source)) return castNonText(value, target, resolver);
    // Only string literals become QNames; an untyped value never does.
    if (source == AtomicType::UntypedAtomic && target == AtomicType::QName) return forbiddenCast;
    return castText(value.stringValue(), target, resolver);
}

// At most `limit` bytes of `text`, not cutting a UTF-8 sequence, with "..." when shortened.
std::string shortened(std::string_view text, size_t limit) {
    if (text.size() <= limit) return std::string(text);
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) --limit;
    return std::string(text.substr(0, limit)) + "...";
}

// The error of a failed cast, naming the value (its text made only now, on failure).
[[noreturn]] void throwCastFailure(const CastFailure& failure, std::string_view sourceText, AtomicType sourceType,
                                   AtomicType target) {
    std::string message = "cannot cast " + atomicTypeName(sourceType) + " \"" + shortened(sourceText, 60) + "\" to " +
                          atomicTypeName(target) + ": " + std::string(failure.reason);
    throw XPathError(failure.code, std::move(message));
}

}  // namespace

CastResult checkedInteger(Decimal value, AtomicType target) {
    if (!satisfiesIntegerFacets(value, target)) return CastFailure{ErrorCode::FORG0001, "out of range for the type"};
    return AtomicValue::fromDecimal(std::move(value), target);
}

}  // namespace casting

AtomicValue castAtomic(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver) {
    casting::CastResult result = casting::tryCast(value, target, resolver);
    if (const auto* failure = std::get_if<casting::CastFailure>(&result)) {
        casting::throwCastFailure(*failure, value.toString(), value.type(), target);
    }
    return std::get<AtomicValue>(std::move(result));
}

bool isCastable(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver) {
    try {
        const casting::CastResult result = casting::tryCast(value, target, resolver);
        const auto* failure = std::get_if<casting::CastFailure>(&result);
        if (failure && isStaticError(failure->code)) {
            casting::throwCastFailure(*failure, value.toString(), value.type(), target);
        }
        return failure == nullptr;
    } catch (const XPathError& error) {
        // Reading a date or duration beyond the supported range throws; that is a failed cast here.
        if (isStaticError(error.code())) throw;
        return false;
    }
}

AtomicValue castFromText(std::string_view text, AtomicType target, const PrefixResolver& resolver) {
    casting::CastResult result = casting::castText(text, target, resolver);
    if (const auto* failure = std::get_if<casting::CastFailure>(&result)) {
        casting::throwCastFailure(*failure, text, AtomicType::String, target);
    }
    return std::get<AtomicValue>(std::move(result));
}

}  // namespace quillmark::xpath
