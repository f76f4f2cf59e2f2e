#include "xpath/atomic_type.h"

#include <array>

namespace quillmark::xpath {
namespace {

struct TypeInfo {
    AtomicType type;
    std::string_view localName;
    AtomicType base;
};

// One row per type, in enum order: the name and the type it is derived from.
constexpr std::array<TypeInfo, 45> typeTable{{
    {AtomicType::AnyAtomicType, "anyAtomicType", AtomicType::AnyAtomicType},
    {AtomicType::UntypedAtomic, "untypedAtomic", AtomicType::AnyAtomicType},
    {AtomicType::String, "string", AtomicType::AnyAtomicType},
    {AtomicType::NormalizedString, "normalizedString", AtomicType::String},
    {AtomicType::Token, "token", AtomicType::NormalizedString},
    {AtomicType::Language, "language", AtomicType::Token},
    {AtomicType::NMTOKEN, "NMTOKEN", AtomicType::Token},
    {AtomicType::Name, "Name", AtomicType::Token},
    {AtomicType::NCName, "NCName", AtomicType::Name},
    {AtomicType::ID, "ID", AtomicType::NCName},
    {AtomicType::IDREF, "IDREF", AtomicType::NCName},
    {AtomicType::ENTITY, "ENTITY", AtomicType::NCName},
    {AtomicType::AnyURI, "anyURI", AtomicType::AnyAtomicType},
    {AtomicType::Boolean, "boolean", AtomicType::AnyAtomicType},
    {AtomicType::Decimal, "decimal", AtomicType::AnyAtomicType},
    {AtomicType::Integer, "integer", AtomicType::Decimal},
    {AtomicType::NonPositiveInteger, "nonPositiveInteger", AtomicType::Integer},
    {AtomicType::NegativeInteger, "negativeInteger", AtomicType::NonPositiveInteger},
    {AtomicType::Long, "long", AtomicType::Integer},
    {AtomicType::Int, "int", AtomicType::Long},
    {AtomicType::Short, "short", AtomicType::Int},
    {AtomicType::Byte, "byte", AtomicType::Short},
    {AtomicType::NonNegativeInteger, "nonNegativeInteger", AtomicType::Integer},
    {AtomicType::UnsignedLong, "unsignedLong", AtomicType::NonNegativeInteger},
    {AtomicType::UnsignedInt, "unsignedInt", AtomicType::UnsignedLong},
    {AtomicType::UnsignedShort, "unsignedShort", AtomicType::UnsignedInt},
    {AtomicType::UnsignedByte, "unsignedByte", AtomicType::UnsignedShort},
    {AtomicType::PositiveInteger, "positiveInteger", AtomicType::NonNegativeInteger},
    {AtomicType::Double, "double", AtomicType::AnyAtomicType},
    {AtomicType::Float, "float", AtomicType::AnyAtomicType},
    {AtomicType::Duration, "duration", AtomicType::AnyAtomicType},
    {AtomicType::YearMonthDuration, "yearMonthDuration", AtomicType::Duration},
    {AtomicType::DayTimeDuration, "dayTimeDuration", AtomicType::Duration},
    {AtomicType::DateTime, "dateTime", AtomicType::AnyAtomicType},
    {AtomicType::Date, "date", AtomicType::AnyAtomicType},
    {AtomicType::Time, "time", AtomicType::AnyAtomicType},
    {AtomicType::GYearMonth, "gYearMonth", AtomicType::AnyAtomicType},
    {AtomicType::GYear, "gYear", AtomicType::AnyAtomicType},
    {AtomicType::GMonthDay, "gMonthDay", AtomicType::AnyAtomicType},
    {AtomicType::GDay, "gDay", AtomicType::AnyAtomicType},
    {AtomicType::GMonth, "gMonth", AtomicType::AnyAtomicType},
    {AtomicType::HexBinary, "hexBinary", AtomicType::AnyAtomicType},
    {AtomicType::Base64Binary, "base64Binary", AtomicType::AnyAtomicType},
    {AtomicType::QName, "QName", AtomicType::AnyAtomicType},
    {AtomicType::NOTATION, "NOTATION", AtomicType::AnyAtomicType},
}};

constexpr bool tableFollowsEnumOrder() {
    for (size_t i = 0; i < typeTable.size(); ++i) {
        if (static_cast<size_t>(typeTable[i].type) != i) return false;
    }
    return static_cast<size_t>(AtomicType::NOTATION) + 1 == typeTable.size();
}
static_assert(tableFollowsEnumOrder(), "typeTable must list every AtomicType in enum order");

const TypeInfo& info(AtomicType type) { return typeTable[static_cast<size_t>(type)]; }

// The families of the hierarchy are contiguous in the enum: a range check is a
// derivation check (the tests compare both for every type).
constexpr bool inRange(AtomicType type, AtomicType first, AtomicType last) { return type >= first && type <= last; }

}  // namespace

std::string_view atomicTypeLocalName(AtomicType type) { return info(type).localName; }

std::string atomicTypeName(AtomicType type) { return "xs:" + std::string(info(type).localName); }

std::optional<AtomicType> atomicTypeFromLocalName(std::string_view localName) {
    for (const TypeInfo& row : typeTable) {
        if (row.localName == localName) return row.type;
    }
    return std::nullopt;
}

AtomicType baseType(AtomicType type) { return info(type).base; }

AtomicType primitiveType(AtomicType type) {
    while (info(type).base != AtomicType::AnyAtomicType) type = info(type).base;
    return type;
}

bool derivesFrom(AtomicType type, AtomicType ancestor) {
    for (;;) {
        if (type == ancestor) return true;
        if (type == AtomicType::AnyAtomicType) return false;
        type = info(type).base;
    }
}

bool isNumericType(AtomicType type) {
    return type == AtomicType::Double || type == AtomicType::Float || inRange(type, AtomicType::Decimal, AtomicType::PositiveInteger);
}

bool isIntegerType(AtomicType type) { return inRange(type, AtomicType::Integer, AtomicType::PositiveInteger); }

bool isDurationType(AtomicType type) { return inRange(type, AtomicType::Duration, AtomicType::DayTimeDuration); }

bool isStringDerivedType(AtomicType type) { return inRange(type, AtomicType::String, AtomicType::ENTITY); }

bool isTextualType(AtomicType type) {
    return isStringDerivedType(type) || type == AtomicType::UntypedAtomic || type == AtomicType::AnyURI;
}

}  // namespace quillmark::xpath
