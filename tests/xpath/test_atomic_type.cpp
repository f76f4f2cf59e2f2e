#include <gtest/gtest.h>

#include <cmath>

#include "xpath/atomic_type.h"
#include "xpath/atomic_value.h"

namespace quillmark::xpath {
namespace {

constexpr AtomicType lastType = AtomicType::NOTATION;

std::vector<AtomicType> allTypes() {
    std::vector<AtomicType> types;
    for (int i = 0; i <= static_cast<int>(lastType); ++i) types.push_back(static_cast<AtomicType>(i));
    return types;
}

TEST(AtomicType, NamesRoundTripForEveryType) {
    for (const AtomicType type : allTypes()) {
        EXPECT_EQ(atomicTypeFromLocalName(atomicTypeLocalName(type)), type) << atomicTypeName(type);
    }
    EXPECT_EQ(atomicTypeName(AtomicType::Integer), "xs:integer");
    EXPECT_EQ(atomicTypeName(AtomicType::NMTOKEN), "xs:NMTOKEN");
    EXPECT_EQ(atomicTypeFromLocalName("untypedAtomic"), AtomicType::UntypedAtomic);
    EXPECT_EQ(atomicTypeFromLocalName("Integer"), std::nullopt);  // names are case-sensitive
    EXPECT_EQ(atomicTypeFromLocalName("NMTOKENS"), std::nullopt);  // list types are not atomic
}

struct HierarchyRow {
    AtomicType type;
    AtomicType base;
    AtomicType primitive;
};

TEST(AtomicType, BaseAndPrimitiveTypes) {
    const HierarchyRow rows[] = {
        {AtomicType::AnyAtomicType, AtomicType::AnyAtomicType, AtomicType::AnyAtomicType},
        {AtomicType::UntypedAtomic, AtomicType::AnyAtomicType, AtomicType::UntypedAtomic},
        {AtomicType::Decimal, AtomicType::AnyAtomicType, AtomicType::Decimal},
        {AtomicType::Integer, AtomicType::Decimal, AtomicType::Decimal},
        {AtomicType::Byte, AtomicType::Short, AtomicType::Decimal},
        {AtomicType::UnsignedByte, AtomicType::UnsignedShort, AtomicType::Decimal},
        {AtomicType::PositiveInteger, AtomicType::NonNegativeInteger, AtomicType::Decimal},
        {AtomicType::NegativeInteger, AtomicType::NonPositiveInteger, AtomicType::Decimal},
        {AtomicType::ID, AtomicType::NCName, AtomicType::String},
        {AtomicType::Language, AtomicType::Token, AtomicType::String},
        {AtomicType::NormalizedString, AtomicType::String, AtomicType::String},
        {AtomicType::DayTimeDuration, AtomicType::Duration, AtomicType::Duration},
        {AtomicType::Double, AtomicType::AnyAtomicType, AtomicType::Double},
        {AtomicType::AnyURI, AtomicType::AnyAtomicType, AtomicType::AnyURI},
        {AtomicType::GMonthDay, AtomicType::AnyAtomicType, AtomicType::GMonthDay},
    };
    for (const HierarchyRow& row : rows) {
        EXPECT_EQ(baseType(row.type), row.base) << atomicTypeName(row.type);
        EXPECT_EQ(primitiveType(row.type), row.primitive) << atomicTypeName(row.type);
    }
}

TEST(AtomicType, DerivationFollowsTheChain) {
    EXPECT_TRUE(derivesFrom(AtomicType::Byte, AtomicType::Long));
    EXPECT_TRUE(derivesFrom(AtomicType::Byte, AtomicType::Decimal));
    EXPECT_FALSE(derivesFrom(AtomicType::Integer, AtomicType::Byte));
    EXPECT_FALSE(derivesFrom(AtomicType::UnsignedByte, AtomicType::Short));
    EXPECT_FALSE(derivesFrom(AtomicType::Float, AtomicType::Double));
    EXPECT_FALSE(derivesFrom(AtomicType::UntypedAtomic, AtomicType::String));
    EXPECT_FALSE(derivesFrom(AtomicType::AnyURI, AtomicType::String));
    for (const AtomicType type : allTypes()) {
        EXPECT_TRUE(derivesFrom(type, AtomicType::AnyAtomicType)) << atomicTypeName(type);
        EXPECT_TRUE(derivesFrom(type, type)) << atomicTypeName(type);
    }
}

// The family tests are range checks over the enum; they must agree with the hierarchy.
TEST(AtomicType, FamilyTestsAgreeWithDerivation) {
    for (const AtomicType type : allTypes()) {
        const std::string name = atomicTypeName(type);
        EXPECT_EQ(isIntegerType(type), derivesFrom(type, AtomicType::Integer)) << name;
        EXPECT_EQ(isNumericType(type), derivesFrom(type, AtomicType::Decimal) || type == AtomicType::Float ||
                                           type == AtomicType::Double)
            << name;
        EXPECT_EQ(isDurationType(type), derivesFrom(type, AtomicType::Duration)) << name;
        EXPECT_EQ(isStringDerivedType(type), derivesFrom(type, AtomicType::String)) << name;
        EXPECT_EQ(isTextualType(type), derivesFrom(type, AtomicType::String) || type == AtomicType::UntypedAtomic ||
                                           type == AtomicType::AnyURI)
            << name;
    }
}

TEST(AtomicValue, ToStringGivesTheCanonicalTextOfEachType) {
    const std::pair<AtomicValue, std::string_view> rows[] = {
        {AtomicValue::fromDouble(1e6), "1.0E6"},
        {AtomicValue::fromDouble(1.0), "1"},
        {AtomicValue::fromDouble(0.1 + 0.2), "0.30000000000000004"},
        {AtomicValue::fromDouble(-0.0), "-0"},
        {AtomicValue::fromDouble(std::nan("")), "NaN"},
        {AtomicValue::fromFloat(1.1F), "1.1"},
        {AtomicValue::fromDecimal(*Decimal::parseDecimal("001.50")), "1.5"},
        {AtomicValue::fromInteger(-42), "-42"},
        {AtomicValue::fromBoolean(true), "true"},
        {AtomicValue::fromBoolean(false), "false"},
        {AtomicValue::fromBinary(std::string("\x0a\xff", 2), AtomicType::HexBinary), "0AFF"},
        {AtomicValue::fromBinary("", AtomicType::HexBinary), ""},
        {AtomicValue::fromBinary("\x01", AtomicType::Base64Binary), "AQ=="},
        {AtomicValue::fromBinary("\x01\x02", AtomicType::Base64Binary), "AQI="},
        {AtomicValue::fromBinary("abc", AtomicType::Base64Binary), "YWJj"},
        {AtomicValue::fromQName({"p", "urn:p", "local"}), "p:local"},
        {AtomicValue::fromQName({"", "urn:p", "local"}), "local"},
        {AtomicValue::untypedAtomic(" as is "), " as is "},
        {AtomicValue::fromDuration(*DurationValue::parse(DurationKind::DayTimeDuration, "PT90M")), "PT1H30M"},
        {AtomicValue::fromTemporal(*TemporalValue::parse(TemporalKind::GMonthDay, "--05-01")), "--05-01"},
    };
    for (const auto& [value, text] : rows) EXPECT_EQ(value.toString(), text) << atomicTypeName(value.type());
}

TEST(AtomicValue, TypeFollowsTheKindAndWithTypeRelabels) {
    EXPECT_EQ(AtomicValue::fromTemporal(*TemporalValue::parse(TemporalKind::Date, "2013-05-01")).type(), AtomicType::Date);
    EXPECT_EQ(AtomicValue::fromDuration(*DurationValue::parse(DurationKind::YearMonthDuration, "P1Y")).type(),
              AtomicType::YearMonthDuration);
    const AtomicValue byte = AtomicValue::fromInteger(7).withType(AtomicType::Byte);
    EXPECT_EQ(byte.type(), AtomicType::Byte);
    EXPECT_EQ(byte.decimalValue(), Decimal::fromInt64(7));
    for (int i = static_cast<int>(TemporalKind::DateTime); i <= static_cast<int>(TemporalKind::GMonth); ++i) {
        const auto kind = static_cast<TemporalKind>(i);
        EXPECT_EQ(temporalKindOf(atomicTypeOf(kind)), kind);
    }
    for (const DurationKind kind : {DurationKind::Duration, DurationKind::YearMonthDuration, DurationKind::DayTimeDuration}) {
        EXPECT_EQ(durationKindOf(atomicTypeOf(kind)), kind);
    }
    EXPECT_EQ(temporalKindOf(AtomicType::Duration), std::nullopt);
    EXPECT_EQ(durationKindOf(AtomicType::Date), std::nullopt);
}

}  // namespace
}  // namespace quillmark::xpath
