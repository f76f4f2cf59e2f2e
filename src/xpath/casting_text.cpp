// Casts from xs:string and xs:untypedAtomic: each target type reads the text by its
// lexical rules after its white-space facet (collapse, except for xs:string, which keeps
// the text, and xs:normalizedString, which replaces).
#include <optional>

#include "xpath/binary_text.h"
#include "xpath/casting_internal.h"
#include "xpath/numeric_text.h"
#include "xpath/xml_text.h"

namespace quillmark::xpath::casting {
namespace {

constexpr CastFailure invalidLexicalForm{ErrorCode::FORG0001, "not a valid lexical form"};

template <typename T>
CastResult orInvalid(const std::optional<T>& parsed, AtomicValue (*make)(T)) {
    if (!parsed) return invalidLexicalForm;
    return make(*parsed);
}

// A string-derived type whose collapsed value must satisfy `isValid`.
CastResult checkedToken(std::string_view text, AtomicType target, bool (*isValid)(std::string_view)) {
    std::string collapsed = collapseXmlWhiteSpace(text);
    if (!isValid(collapsed)) return invalidLexicalForm;
    return AtomicValue::fromString(std::move(collapsed), target);
}

// boolean ::= "true" | "false" | "1" | "0"
CastResult castBoolean(std::string_view text) {
    if (text == "true" || text == "1") return AtomicValue::fromBoolean(true);
    if (text == "false" || text == "0") return AtomicValue::fromBoolean(false);
    return invalidLexicalForm;
}

CastResult castDecimal(std::string_view text) {
    std::optional<Decimal> value = Decimal::parseDecimal(text);
    if (!value) return invalidLexicalForm;
    return AtomicValue::fromDecimal(std::move(*value));
}

CastResult castInteger(std::string_view text, AtomicType target) {
    std::optional<Decimal> value = Decimal::parseInteger(text);
    if (!value) return invalidLexicalForm;
    return checkedInteger(std::move(*value), target);
}

CastResult castTemporal(std::string_view text, TemporalKind kind) {
    return orInvalid(TemporalValue::parse(kind, text), AtomicValue::fromTemporal);
}

CastResult castDuration(std::string_view text, DurationKind kind) {
    return orInvalid(DurationValue::parse(kind, text), AtomicValue::fromDuration);
}

CastResult castBinary(std::optional<std::string> bytes, AtomicType target) {
    if (!bytes) return invalidLexicalForm;
    return AtomicValue::fromBinary(std::move(*bytes), target);
}

// QName ::= (NCName ':')? NCName, the prefix resolved in the static context.
CastResult castQName(std::string_view text, const PrefixResolver& resolver) {
    const size_t colon = text.find(':');
    QNameValue name;
    if (colon != std::string_view::npos) name.prefix = std::string(text.substr(0, colon));
    name.localName = std::string(colon == std::string_view::npos ? text : text.substr(colon + 1));
    if (!isXmlNCName(name.localName) || (colon != std::string_view::npos && !isXmlNCName(name.prefix))) {
        return invalidLexicalForm;
    }
    std::optional<std::string> uri = resolver ? resolver(name.prefix) : std::nullopt;
    if (uri) {
        name.namespaceURI = std::move(*uri);
    } else if (!name.prefix.empty()) {
        return CastFailure{ErrorCode::FONS0004, "the namespace prefix is not declared"};
    }
    return AtomicValue::fromQName(std::move(name));
}

}  // namespace

CastResult castText(std::string_view text, AtomicType target, const PrefixResolver& resolver) {
    const std::string_view trimmed = trimXmlWhiteSpace(text);
    switch (target) {
    case AtomicType::AnyAtomicType:
    case AtomicType::NOTATION: return CastFailure{ErrorCode::XPST0080, "the target type is abstract"};
    case AtomicType::UntypedAtomic:
    case AtomicType::String: return AtomicValue::fromString(std::string(text), target);
    case AtomicType::NormalizedString: return AtomicValue::fromString(replaceXmlWhiteSpace(text), target);
    case AtomicType::Token:
    case AtomicType::AnyURI: return AtomicValue::fromString(collapseXmlWhiteSpace(text), target);
    case AtomicType::Language: return checkedToken(text, target, isLanguageTag);
    case AtomicType::NMTOKEN: return checkedToken(text, target, isXmlNmtoken);
    case AtomicType::Name: return checkedToken(text, target, isXmlName);
    case AtomicType::NCName:
    case AtomicType::ID:
    case AtomicType::IDREF:
    case AtomicType::ENTITY: return checkedToken(text, target, isXmlNCName);
    case AtomicType::Boolean: return castBoolean(trimmed);
    case AtomicType::Decimal: return castDecimal(trimmed);
    case AtomicType::Integer:
    case AtomicType::NonPositiveInteger:
    case AtomicType::NegativeInteger:
    case AtomicType::Long:
    case AtomicType::Int:
    case AtomicType::Short:
    case AtomicType::Byte:
    case AtomicType::NonNegativeInteger:
    case AtomicType::UnsignedLong:
    case AtomicType::UnsignedInt:
    case AtomicType::UnsignedShort:
    case AtomicType::UnsignedByte:
    case AtomicType::PositiveInteger: return castInteger(trimmed, target);
    case AtomicType::Double: return orInvalid(parseDouble(trimmed), AtomicValue::fromDouble);
    case AtomicType::Float: return orInvalid(parseFloat(trimmed), AtomicValue::fromFloat);
    case AtomicType::Duration: return castDuration(trimmed, DurationKind::Duration);
    case AtomicType::YearMonthDuration: return castDuration(trimmed, DurationKind::YearMonthDuration);
    case AtomicType::DayTimeDuration: return castDuration(trimmed, DurationKind::DayTimeDuration);
    case AtomicType::DateTime: return castTemporal(trimmed, TemporalKind::DateTime);
    case AtomicType::Date: return castTemporal(trimmed, TemporalKind::Date);
    case AtomicType::Time: return castTemporal(trimmed, TemporalKind::Time);
    case AtomicType::GYearMonth: return castTemporal(trimmed, TemporalKind::GYearMonth);
    case AtomicType::GYear: return castTemporal(trimmed, TemporalKind::GYear);
    case AtomicType::GMonthDay: return castTemporal(trimmed, TemporalKind::GMonthDay);
    case AtomicType::GDay: return castTemporal(trimmed, TemporalKind::GDay);
    case AtomicType::GMonth: return castTemporal(trimmed, TemporalKind::GMonth);
    case AtomicType::HexBinary: return castBinary(decodeHex(trimmed), target);
    case AtomicType::Base64Binary: return castBinary(decodeBase64(collapseXmlWhiteSpace(text)), target);
    case AtomicType::QName: return castQName(trimmed, resolver);
    }
    return CastFailure{ErrorCode::XPTY0004, "unknown target type"};
}

}  // namespace quillmark::xpath::casting
