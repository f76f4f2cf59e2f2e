#pragma once
// The built-in atomic types of XML Schema that XPath 2.0 knows, with their derivation
// hierarchy. A schema-less processor sees only these: untyped documents give
// xs:untypedAtomic values, everything else comes from literals, casts and functions.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// Each family is contiguous (the string-derived types from String to ENTITY, the
// decimal types from Decimal to PositiveInteger, the integer types from Integer on), so
// that the family tests below are range checks.
enum class AtomicType : uint8_t {
    AnyAtomicType,  // abstract: only in sequence types
    UntypedAtomic,
    String,
    NormalizedString,
    Token,
    Language,
    NMTOKEN,
    Name,
    NCName,
    ID,
    IDREF,
    ENTITY,
    AnyURI,
    Boolean,
    Decimal,
    Integer,
    NonPositiveInteger,
    NegativeInteger,
    Long,
    Int,
    Short,
    Byte,
    NonNegativeInteger,
    UnsignedLong,
    UnsignedInt,
    UnsignedShort,
    UnsignedByte,
    PositiveInteger,
    Double,
    Float,
    Duration,
    YearMonthDuration,
    DayTimeDuration,
    DateTime,
    Date,
    Time,
    GYearMonth,
    GYear,
    GMonthDay,
    GDay,
    GMonth,
    HexBinary,
    Base64Binary,
    QName,
    NOTATION,  // abstract in practice: no constructor, casts to it are static errors
};

// "integer" for AtomicType::Integer; the names are in the XML Schema namespace.
std::string_view atomicTypeLocalName(AtomicType type);
// "xs:integer".
std::string atomicTypeName(AtomicType type);
// The type with this local name in the XML Schema namespace ("untypedAtomic" and
// "anyAtomicType" included), if there is one.
std::optional<AtomicType> atomicTypeFromLocalName(std::string_view localName);

// The type it is derived from; AnyAtomicType for the primitive types (and for
// itself). xs:integer derives from xs:decimal, the two duration subtypes from
// xs:duration, xs:untypedAtomic from xs:anyAtomicType.
AtomicType baseType(AtomicType type);
// The primitive ancestor: Decimal for every integer type, String for the string-derived
// types, Duration for both duration subtypes; a primitive type is its own.
AtomicType primitiveType(AtomicType type);
// True when `type` is `ancestor` or derives from it.
bool derivesFrom(AtomicType type, AtomicType ancestor);

bool isNumericType(AtomicType type);   // xs:decimal and its subtypes, xs:float, xs:double
bool isIntegerType(AtomicType type);   // xs:integer and its subtypes
bool isDurationType(AtomicType type);
bool isStringDerivedType(AtomicType type);  // xs:string and its subtypes
// Text in comparisons: xs:string and its subtypes, xs:untypedAtomic and xs:anyURI.
bool isTextualType(AtomicType type);

}  // namespace quillmark::xpath
