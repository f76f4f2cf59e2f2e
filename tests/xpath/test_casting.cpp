#include <gtest/gtest.h>

#include "atomic_test_support.h"
#include "xpath/casting.h"

namespace quillmark::xpath {
namespace {

using testing::atomic;
using testing::testPrefixes;
using testing::typedOutcome;
using AT = AtomicType;

// A cast and its outcome: "<target type> <canonical text>" or the error code.
struct CastRow {
    AtomicType source;
    std::string_view text;
    AtomicType target;
    std::string_view expected;
};

std::string castOutcome(const CastRow& row) {
    return typedOutcome([&] { return castAtomic(atomic(row.source, row.text), row.target, testPrefixes); });
}

void expectCasts(const std::vector<CastRow>& rows) {
    for (const CastRow& row : rows) {
        const std::string label = atomicTypeName(row.source) + "(\"" + std::string(row.text) + "\") cast as " +
                                  atomicTypeName(row.target);
        const std::string outcome = castOutcome(row);
        EXPECT_EQ(outcome, row.expected) << label;
        // castable as agrees with cast as.
        const bool succeeded = outcome.starts_with("xs:");
        EXPECT_EQ(isCastable(atomic(row.source, row.text), row.target, testPrefixes), succeeded) << label;
    }
}

TEST(Casting, StringToNumbersAndBooleans) {
    expectCasts({
        {AT::String, " 12 ", AT::Decimal, "xs:decimal 12"},
        {AT::String, "\t-0.50\n", AT::Decimal, "xs:decimal -0.5"},
        {AT::String, "+.5", AT::Decimal, "xs:decimal 0.5"},
        {AT::String, "1.", AT::Decimal, "xs:decimal 1"},
        {AT::String, "1e3", AT::Decimal, "FORG0001"},
        {AT::String, "", AT::Decimal, "FORG0001"},
        {AT::String, "   ", AT::Decimal, "FORG0001"},
        {AT::String, "1 2", AT::Decimal, "FORG0001"},
        {AT::String, "1,5", AT::Decimal, "FORG0001"},
        {AT::String, "007", AT::Integer, "xs:integer 7"},
        {AT::String, "-0", AT::Integer, "xs:integer 0"},
        {AT::String, "1.0", AT::Integer, "FORG0001"},
        {AT::String, "123456789012345678901234567890", AT::Integer, "xs:integer 123456789012345678901234567890"},
        {AT::String, " 1e3 ", AT::Double, "xs:double 1000"},
        {AT::String, "1000000", AT::Double, "xs:double 1.0E6"},
        {AT::String, "+5", AT::Double, "xs:double 5"},
        {AT::String, "-0", AT::Double, "xs:double -0"},
        {AT::String, "-INF", AT::Double, "xs:double -INF"},
        {AT::String, "NaN", AT::Double, "xs:double NaN"},
        {AT::String, "nan", AT::Double, "FORG0001"},
        {AT::String, "1e", AT::Double, "FORG0001"},
        {AT::String, "1.1", AT::Float, "xs:float 1.1"},
        {AT::String, "1e40", AT::Float, "xs:float INF"},
        {AT::String, "true", AT::Boolean, "xs:boolean true"},
        {AT::String, "1", AT::Boolean, "xs:boolean true"},
        {AT::String, " 0 ", AT::Boolean, "xs:boolean false"},
        {AT::String, "false", AT::Boolean, "xs:boolean false"},
        {AT::String, "no", AT::Boolean, "FORG0001"},
        {AT::String, "TRUE", AT::Boolean, "FORG0001"},
        {AT::UntypedAtomic, " 42 ", AT::Integer, "xs:integer 42"},
        {AT::UntypedAtomic, "", AT::Double, "FORG0001"},
        {AT::Token, "12", AT::Integer, "xs:integer 12"},  // a string-derived source reads like a string
    });
}

TEST(Casting, IntegerRangeFacets) {
    expectCasts({
        {AT::String, "127", AT::Byte, "xs:byte 127"},
        {AT::String, "128", AT::Byte, "FORG0001"},
        {AT::String, "-128", AT::Byte, "xs:byte -128"},
        {AT::String, "-129", AT::Byte, "FORG0001"},
        {AT::String, "32768", AT::Short, "FORG0001"},
        {AT::String, "2147483647", AT::Int, "xs:int 2147483647"},
        {AT::String, "2147483648", AT::Int, "FORG0001"},
        {AT::String, "9223372036854775807", AT::Long, "xs:long 9223372036854775807"},
        {AT::String, "-9223372036854775808", AT::Long, "xs:long -9223372036854775808"},
        {AT::String, "9223372036854775808", AT::Long, "FORG0001"},
        {AT::String, "-1", AT::UnsignedInt, "FORG0001"},
        {AT::String, "-0", AT::UnsignedInt, "xs:unsignedInt 0"},
        {AT::String, "4294967295", AT::UnsignedInt, "xs:unsignedInt 4294967295"},
        {AT::String, "4294967296", AT::UnsignedInt, "FORG0001"},
        {AT::String, "255", AT::UnsignedByte, "xs:unsignedByte 255"},
        {AT::String, "256", AT::UnsignedByte, "FORG0001"},
        {AT::String, "65536", AT::UnsignedShort, "FORG0001"},
        {AT::String, "18446744073709551615", AT::UnsignedLong, "xs:unsignedLong 18446744073709551615"},
        {AT::String, "18446744073709551616", AT::UnsignedLong, "FORG0001"},
        {AT::String, "0", AT::PositiveInteger, "FORG0001"},
        {AT::String, "1", AT::PositiveInteger, "xs:positiveInteger 1"},
        {AT::String, "0", AT::NonNegativeInteger, "xs:nonNegativeInteger 0"},
        {AT::String, "-1", AT::NonNegativeInteger, "FORG0001"},
        {AT::String, "0", AT::NegativeInteger, "FORG0001"},
        {AT::String, "-99999999999999999999", AT::NegativeInteger, "xs:negativeInteger -99999999999999999999"},
        {AT::String, "1", AT::NonPositiveInteger, "FORG0001"},
        {AT::Integer, "5", AT::Byte, "xs:byte 5"},
        {AT::Byte, "5", AT::Integer, "xs:integer 5"},
        {AT::Byte, "-5", AT::UnsignedByte, "FORG0001"},
        {AT::Double, "300", AT::Byte, "FORG0001"},
        {AT::Boolean, "true", AT::NegativeInteger, "FORG0001"},
    });
}

TEST(Casting, StringDerivedTypesApplyWhiteSpaceAndPatterns) {
    expectCasts({
        {AT::UntypedAtomic, " a  b ", AT::String, "xs:string  a  b "},
        {AT::String, " x ", AT::UntypedAtomic, "xs:untypedAtomic  x "},
        {AT::String, "a\tb\n", AT::NormalizedString, "xs:normalizedString a b "},
        {AT::String, "  a \t b  ", AT::Token, "xs:token a b"},
        {AT::String, "en-US", AT::Language, "xs:language en-US"},
        {AT::String, "de-1996", AT::Language, "xs:language de-1996"},
        {AT::String, "en_US", AT::Language, "FORG0001"},
        {AT::String, "abcdefghi", AT::Language, "FORG0001"},
        {AT::String, "1de", AT::Language, "FORG0001"},
        {AT::String, "en-", AT::Language, "FORG0001"},
        {AT::String, "12", AT::NMTOKEN, "xs:NMTOKEN 12"},
        {AT::String, "a b", AT::NMTOKEN, "FORG0001"},
        {AT::String, "a:b", AT::Name, "xs:Name a:b"},
        {AT::String, "1a", AT::Name, "FORG0001"},
        {AT::String, "a:b", AT::NCName, "FORG0001"},
        {AT::String, "_x-1.\xC3\xA9", AT::NCName, "xs:NCName _x-1.\xC3\xA9"},
        {AT::String, "-x", AT::NCName, "FORG0001"},
        {AT::String, "", AT::NCName, "FORG0001"},
        {AT::String, " id1 ", AT::ID, "xs:ID id1"},
        {AT::String, "a b", AT::IDREF, "FORG0001"},
        {AT::String, " http://x  y ", AT::AnyURI, "xs:anyURI http://x y"},
        {AT::Integer, "12", AT::NMTOKEN, "xs:NMTOKEN 12"},
        {AT::Integer, "12", AT::NCName, "FORG0001"},
        {AT::Double, "1e6", AT::Token, "xs:token 1.0E6"},
    });
}

TEST(Casting, StringToDatesDurationsBinaryAndNames) {
    expectCasts({
        {AT::String, " 2013-05-01 ", AT::Date, "xs:date 2013-05-01"},
        {AT::String, "2013-02-29", AT::Date, "FORG0001"},
        {AT::String, "2013-5-1", AT::Date, "FORG0001"},
        {AT::String, "2002-10-10T12:00:00-05:00", AT::DateTime, "xs:dateTime 2002-10-10T12:00:00-05:00"},
        {AT::String, "12:00:00Z", AT::Time, "xs:time 12:00:00Z"},
        {AT::String, "P14M", AT::YearMonthDuration, "xs:yearMonthDuration P1Y2M"},
        {AT::String, "P1Y", AT::DayTimeDuration, "FORG0001"},
        {AT::String, "P", AT::Duration, "FORG0001"},
        // Beyond the supported range: an error of its own for cast as, false for castable as.
        {AT::String, "99999999999999999999-01-01", AT::Date, "FODT0001"},
        {AT::String, "P99999999999999999999Y", AT::YearMonthDuration, "FODT0002"},
        {AT::String, "0aff", AT::HexBinary, "xs:hexBinary 0AFF"},
        {AT::String, "", AT::HexBinary, "xs:hexBinary "},
        {AT::String, "abc", AT::HexBinary, "FORG0001"},
        {AT::String, "zz", AT::HexBinary, "FORG0001"},
        {AT::String, " AQ I= ", AT::Base64Binary, "xs:base64Binary AQI="},
        {AT::String, "AQ==", AT::Base64Binary, "xs:base64Binary AQ=="},
        {AT::String, "AQJ=", AT::Base64Binary, "FORG0001"},  // unused bits must be zero
        {AT::String, "AR==", AT::Base64Binary, "FORG0001"},
        {AT::String, "A", AT::Base64Binary, "FORG0001"},
        {AT::String, "A=B=", AT::Base64Binary, "FORG0001"},
        {AT::String, "", AT::Base64Binary, "xs:base64Binary "},
        {AT::String, " xs:integer ", AT::QName, "xs:QName xs:integer"},
        {AT::String, "local", AT::QName, "xs:QName local"},
        {AT::String, "1a", AT::QName, "FORG0001"},
        {AT::String, "p:", AT::QName, "FORG0001"},
        {AT::String, "zz:a", AT::QName, "FONS0004"},
        {AT::UntypedAtomic, "xs:integer", AT::QName, "XPTY0004"},  // only string literals become QNames
    });
}

TEST(Casting, BetweenNumbersAndBooleans) {
    expectCasts({
        // A double becomes the exact decimal of its binary value, as the reference does.
        {AT::Double, "1.005", AT::Decimal, "xs:decimal 1.00499999999999989341858963598497211933135986328125"},
        {AT::Float, "1.1", AT::Decimal, "xs:decimal 1.10000002384185791015625"},
        {AT::Double, "1e20", AT::Integer, "xs:integer 100000000000000000000"},
        {AT::Double, "NaN", AT::Decimal, "FOCA0002"},
        {AT::Double, "INF", AT::Integer, "FOCA0002"},
        {AT::Float, "-INF", AT::Decimal, "FOCA0002"},
        {AT::Double, "3.7", AT::Integer, "xs:integer 3"},
        {AT::Double, "-3.7", AT::Integer, "xs:integer -3"},
        {AT::Decimal, "-2.5", AT::Integer, "xs:integer -2"},
        {AT::Integer, "7", AT::Decimal, "xs:decimal 7"},
        {AT::Decimal, "0.1", AT::Double, "xs:double 0.1"},
        {AT::Decimal, "0.1", AT::Float, "xs:float 0.1"},
        {AT::Double, "0.1", AT::Float, "xs:float 0.1"},
        {AT::Float, "0.1", AT::Double, "xs:double 0.10000000149011612"},
        {AT::Double, "1e300", AT::Float, "xs:float INF"},
        {AT::Integer, "123456789012345678901234567890", AT::Double, "xs:double 1.2345678901234568E29"},
        {AT::Boolean, "true", AT::Integer, "xs:integer 1"},
        {AT::Boolean, "false", AT::Decimal, "xs:decimal 0"},
        {AT::Boolean, "true", AT::Double, "xs:double 1"},
        {AT::Boolean, "true", AT::Float, "xs:float 1"},
        {AT::Integer, "0", AT::Boolean, "xs:boolean false"},
        {AT::Decimal, "0.001", AT::Boolean, "xs:boolean true"},
        {AT::Double, "NaN", AT::Boolean, "xs:boolean false"},
        {AT::Float, "-0", AT::Boolean, "xs:boolean false"},
        {AT::Double, "-INF", AT::Boolean, "xs:boolean true"},
    });
}

TEST(Casting, ToStringGivesCanonicalText) {
    expectCasts({
        {AT::Double, "1e6", AT::String, "xs:string 1.0E6"},
        {AT::Double, "1.0", AT::String, "xs:string 1"},
        {AT::Double, "0.000001", AT::String, "xs:string 0.000001"},
        {AT::Double, "1e-7", AT::String, "xs:string 1.0E-7"},
        {AT::Decimal, "1.50", AT::String, "xs:string 1.5"},
        {AT::Decimal, "-000.0", AT::String, "xs:string 0"},
        {AT::Boolean, "1", AT::String, "xs:string true"},
        {AT::Boolean, "0", AT::UntypedAtomic, "xs:untypedAtomic false"},
        {AT::AnyURI, "http://a", AT::String, "xs:string http://a"},
        {AT::Date, "2013-05-01Z", AT::String, "xs:string 2013-05-01Z"},
        {AT::DayTimeDuration, "PT36H", AT::String, "xs:string P1DT12H"},
        {AT::HexBinary, "0aff", AT::String, "xs:string 0AFF"},
        {AT::QName, "p:x", AT::String, "xs:string p:x"},
    });
}

TEST(Casting, DatesDurationsAndBinaryFollowTheTable) {
    expectCasts({
        {AT::Date, "2013-05-01", AT::DateTime, "xs:dateTime 2013-05-01T00:00:00"},
        {AT::DateTime, "2013-05-01T10:20:30+02:00", AT::Date, "xs:date 2013-05-01+02:00"},
        {AT::DateTime, "2013-05-01T10:20:30+02:00", AT::Time, "xs:time 10:20:30+02:00"},
        {AT::DateTime, "2013-05-01T10:20:30", AT::GYear, "xs:gYear 2013"},
        {AT::Date, "2013-05-01", AT::GMonthDay, "xs:gMonthDay --05-01"},
        {AT::Time, "10:00:00", AT::Date, "XPTY0004"},
        {AT::Date, "2013-05-01", AT::Time, "XPTY0004"},
        {AT::GYear, "2013", AT::Date, "XPTY0004"},
        {AT::Duration, "P1Y2M3DT4H", AT::YearMonthDuration, "xs:yearMonthDuration P1Y2M"},
        {AT::Duration, "P1Y2M3DT4H", AT::DayTimeDuration, "xs:dayTimeDuration P3DT4H"},
        {AT::DayTimeDuration, "P3D", AT::YearMonthDuration, "xs:yearMonthDuration P0M"},
        {AT::YearMonthDuration, "P1Y", AT::Duration, "xs:duration P1Y"},
        {AT::HexBinary, "0aff", AT::Base64Binary, "xs:base64Binary Cv8="},
        {AT::Base64Binary, "Cv8=", AT::HexBinary, "xs:hexBinary 0AFF"},
        {AT::String, "http://a", AT::AnyURI, "xs:anyURI http://a"},
    });
}

TEST(Casting, ForbiddenPairsAndAbstractTargets) {
    expectCasts({
        {AT::AnyURI, "1", AT::Integer, "XPTY0004"},
        {AT::Integer, "1", AT::AnyURI, "XPTY0004"},
        {AT::Date, "2013-05-01", AT::Integer, "XPTY0004"},
        {AT::Integer, "1", AT::Date, "XPTY0004"},
        {AT::Boolean, "true", AT::Date, "XPTY0004"},
        {AT::Duration, "P1D", AT::Double, "XPTY0004"},
        {AT::Double, "1", AT::DayTimeDuration, "XPTY0004"},
        {AT::Date, "2013-05-01", AT::Boolean, "XPTY0004"},
        {AT::HexBinary, "00", AT::Boolean, "XPTY0004"},
        {AT::Integer, "1", AT::HexBinary, "XPTY0004"},
        {AT::QName, "p:x", AT::Integer, "XPTY0004"},
        {AT::Integer, "1", AT::QName, "XPTY0004"},
    });
    // Casts to the abstract types are static errors, also for castable as.
    for (const AtomicType target : {AT::NOTATION, AT::AnyAtomicType}) {
        EXPECT_EQ(typedOutcome([&] { return castAtomic(atomic(AT::String, "a"), target); }), "XPST0080");
        EXPECT_THROW(isCastable(atomic(AT::String, "a"), target), XPathError);
    }
}

TEST(Casting, QNamesResolveTheirPrefix) {
    const AtomicValue name = castFromText("q:local", AT::QName, testPrefixes);
    EXPECT_EQ(name.qnameValue().prefix, "q");
    EXPECT_EQ(name.qnameValue().namespaceURI, "urn:p");
    EXPECT_EQ(name.qnameValue().localName, "local");
    // Without a resolver an unprefixed name is in no namespace and a prefix is unknown.
    EXPECT_EQ(castFromText("local", AT::QName).qnameValue().namespaceURI, "");
    EXPECT_EQ(typedOutcome([] { return castFromText("p:local", AT::QName); }), "FONS0004");
}

TEST(Casting, ErrorMessagesNameTheValueAndTheTypes) {
    try {
        castAtomic(AtomicValue::untypedAtomic("abc"), AT::Decimal);
        FAIL() << "no error";
    } catch (const XPathError& error) {
        EXPECT_EQ(error.code(), ErrorCode::FORG0001);
        EXPECT_NE(error.description().find("\"abc\""), std::string::npos) << error.description();
        EXPECT_NE(error.description().find("xs:decimal"), std::string::npos) << error.description();
    }
}

}  // namespace
}  // namespace quillmark::xpath
