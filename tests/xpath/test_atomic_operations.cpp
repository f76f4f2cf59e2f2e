#include <gtest/gtest.h>

#include "atomic_test_support.h"
#include "xpath/atomic_operations.h"

namespace quillmark::xpath {
namespace {

using testing::atomic;
using testing::truthOutcome;
using testing::typedOutcome;
using AT = AtomicType;
using CO = ComparisonOperator;
using AO = ArithmeticOperator;

struct Operand {
    AtomicType type;
    std::string_view text;
};
AtomicValue make(const Operand& operand) { return atomic(operand.type, operand.text); }
std::string describe(const Operand& operand) {
    return atomicTypeName(operand.type) + "(\"" + std::string(operand.text) + "\")";
}

const OperatorContext utc{};

// --- Value comparisons ------------------------------------------------------------------

struct ComparisonRow {
    Operand left;
    ComparisonOperator op;
    Operand right;
    std::string_view expected;  // "true", "false" or the error code
};

void expectValueComparisons(const std::vector<ComparisonRow>& rows, const OperatorContext& context = utc) {
    for (const ComparisonRow& row : rows) {
        EXPECT_EQ(truthOutcome([&] { return compareValues(make(row.left), row.op, make(row.right), context); }), row.expected)
            << describe(row.left) << " op " << static_cast<int>(row.op) << " " << describe(row.right);
    }
}

TEST(AtomicComparison, NumbersPromoteAcrossTypes) {
    expectValueComparisons({
        {{AT::Integer, "1"}, CO::Equal, {AT::Double, "1"}, "true"},
        {{AT::Byte, "1"}, CO::Equal, {AT::Decimal, "1.0"}, "true"},
        {{AT::Integer, "12345678901234567890"}, CO::Less, {AT::Integer, "12345678901234567891"}, "true"},
        {{AT::Decimal, "0.1"}, CO::Equal, {AT::Double, "0.1"}, "true"},
        // A decimal meets a double as the nearest double, so digits beyond it are lost.
        {{AT::Decimal, "0.1000000000000000000001"}, CO::Equal, {AT::Double, "0.1"}, "true"},
        {{AT::Decimal, "0.1000000000000000000001"}, CO::Greater, {AT::Decimal, "0.1"}, "true"},
        {{AT::Decimal, "0.1"}, CO::Equal, {AT::Float, "0.1"}, "true"},
        {{AT::Double, "0.1"}, CO::Equal, {AT::Float, "0.1"}, "false"},
        {{AT::Double, "-0"}, CO::Equal, {AT::Integer, "0"}, "true"},
        {{AT::Double, "-INF"}, CO::Less, {AT::Integer, "-99999999999999999999999"}, "true"},
        {{AT::Double, "NaN"}, CO::Equal, {AT::Double, "NaN"}, "false"},
        {{AT::Double, "NaN"}, CO::NotEqual, {AT::Double, "NaN"}, "true"},
        {{AT::Double, "NaN"}, CO::Less, {AT::Integer, "1"}, "false"},
        {{AT::Float, "NaN"}, CO::GreaterOrEqual, {AT::Integer, "1"}, "false"},
        {{AT::Integer, "2"}, CO::LessOrEqual, {AT::Double, "2"}, "true"},
        {{AT::Integer, "2"}, CO::GreaterOrEqual, {AT::Float, "2.5"}, "false"},
    });
}

TEST(AtomicComparison, TextBooleansAndMismatchedTypes) {
    expectValueComparisons({
        {{AT::String, "abc"}, CO::Less, {AT::String, "abd"}, "true"},
        {{AT::String, "Z"}, CO::Less, {AT::String, "a"}, "true"},                 // code point order
        {{AT::String, "\xC3\xA9"}, CO::Greater, {AT::String, "z"}, "true"},       // U+00E9 after z
        {{AT::String, "\xEF\xBC\xA1"}, CO::Less, {AT::String, "\xF0\x9F\x98\x80"}, "true"},  // BMP before astral
        {{AT::UntypedAtomic, "10"}, CO::Less, {AT::UntypedAtomic, "9"}, "true"},  // untyped compares as text
        {{AT::UntypedAtomic, "a"}, CO::Equal, {AT::String, "a"}, "true"},
        {{AT::AnyURI, "http://a"}, CO::Equal, {AT::String, "http://a"}, "true"},
        {{AT::NCName, "b"}, CO::Greater, {AT::Token, "a"}, "true"},
        {{AT::Boolean, "false"}, CO::Less, {AT::Boolean, "true"}, "true"},
        {{AT::Boolean, "1"}, CO::Equal, {AT::Boolean, "true"}, "true"},
        {{AT::UntypedAtomic, "1"}, CO::Equal, {AT::Integer, "1"}, "XPTY0004"},
        {{AT::String, "1"}, CO::Equal, {AT::Integer, "1"}, "XPTY0004"},
        {{AT::Boolean, "true"}, CO::Equal, {AT::Integer, "1"}, "XPTY0004"},
        {{AT::Date, "2013-05-01"}, CO::Equal, {AT::String, "2013-05-01"}, "XPTY0004"},
    });
}

TEST(AtomicComparison, DatesDurationsAndEqualityOnlyTypes) {
    expectValueComparisons({
        {{AT::Date, "2013-05-01"}, CO::Less, {AT::Date, "2013-05-02"}, "true"},
        {{AT::Date, "2004-01-01+12:00"}, CO::Equal, {AT::Date, "2003-12-31-12:00"}, "true"},
        {{AT::DateTime, "2002-04-02T12:00:00-01:00"}, CO::Equal, {AT::DateTime, "2002-04-02T17:00:00+04:00"}, "true"},
        {{AT::Time, "23:00:00-01:00"}, CO::Less, {AT::Time, "01:00:00+01:00"}, "false"},
        {{AT::Date, "2013-05-01"}, CO::Equal, {AT::DateTime, "2013-05-01T00:00:00"}, "XPTY0004"},
        {{AT::GYear, "2013"}, CO::Equal, {AT::GYear, "2013"}, "true"},
        {{AT::GYear, "2013"}, CO::Less, {AT::GYear, "2014"}, "XPTY0004"},
        {{AT::Duration, "P1Y"}, CO::Equal, {AT::YearMonthDuration, "P12M"}, "true"},
        {{AT::DayTimeDuration, "PT24H"}, CO::Equal, {AT::DayTimeDuration, "P1D"}, "true"},
        {{AT::YearMonthDuration, "P0M"}, CO::Equal, {AT::DayTimeDuration, "PT0S"}, "true"},
        {{AT::YearMonthDuration, "P1Y"}, CO::Less, {AT::YearMonthDuration, "P13M"}, "true"},
        {{AT::DayTimeDuration, "PT1H"}, CO::Greater, {AT::DayTimeDuration, "PT59M"}, "true"},
        {{AT::Duration, "P1Y"}, CO::Less, {AT::Duration, "P2Y"}, "XPTY0004"},
        {{AT::YearMonthDuration, "P1Y"}, CO::Less, {AT::DayTimeDuration, "P1D"}, "XPTY0004"},
        {{AT::QName, "p:a"}, CO::Equal, {AT::QName, "q:a"}, "true"},  // same namespace, other prefix
        {{AT::QName, "p:a"}, CO::NotEqual, {AT::QName, "a"}, "true"},
        {{AT::QName, "p:a"}, CO::Less, {AT::QName, "p:b"}, "XPTY0004"},
        {{AT::HexBinary, "0AFF"}, CO::Equal, {AT::HexBinary, "0aff"}, "true"},
        {{AT::HexBinary, "0AFF"}, CO::Equal, {AT::Base64Binary, "Cv8="}, "XPTY0004"},
        {{AT::Base64Binary, "AQ=="}, CO::Greater, {AT::Base64Binary, "AQ=="}, "XPTY0004"},
    });
}

TEST(AtomicComparison, ValuesWithoutTimezoneTakeTheImplicitOne) {
    const ComparisonRow row{{AT::DateTime, "2002-04-02T12:00:00"}, CO::Equal, {AT::DateTime, "2002-04-02T12:00:00Z"}, ""};
    expectValueComparisons({{row.left, row.op, row.right, "true"}}, OperatorContext{0});
    expectValueComparisons({{row.left, row.op, row.right, "false"},
                            {{AT::DateTime, "2002-04-02T12:00:00"}, CO::Equal, {AT::DateTime, "2002-04-02T11:00:00Z"}, "true"}},
                           OperatorContext{60});
}

// --- General comparisons ----------------------------------------------------------------

TEST(AtomicComparison, GeneralComparisonConvertsUntypedOperands) {
    const ComparisonRow rows[] = {
        {{AT::UntypedAtomic, "10"}, CO::Equal, {AT::Integer, "10"}, "true"},
        {{AT::UntypedAtomic, " 10.0 "}, CO::Equal, {AT::Integer, "10"}, "true"},
        {{AT::UntypedAtomic, "1e3"}, CO::Equal, {AT::Integer, "1000"}, "true"},
        {{AT::UntypedAtomic, "0.1"}, CO::Equal, {AT::Decimal, "0.1"}, "true"},  // both as doubles
        {{AT::Integer, "10"}, CO::Greater, {AT::UntypedAtomic, "9"}, "true"},   // untyped on the right
        {{AT::UntypedAtomic, "abc"}, CO::Equal, {AT::Integer, "1"}, "FORG0001"},
        {{AT::UntypedAtomic, ""}, CO::NotEqual, {AT::Double, "1"}, "FORG0001"},
        {{AT::UntypedAtomic, "10"}, CO::Less, {AT::UntypedAtomic, "9"}, "true"},  // both untyped: text
        {{AT::UntypedAtomic, "b"}, CO::Equal, {AT::String, "b"}, "true"},
        {{AT::UntypedAtomic, " b"}, CO::Equal, {AT::String, "b"}, "false"},
        // A ChargeIndicator "0" compared with false() is cast to xs:boolean; "no" is an error.
        {{AT::UntypedAtomic, "0"}, CO::Equal, {AT::Boolean, "false"}, "true"},
        {{AT::UntypedAtomic, " true "}, CO::Equal, {AT::Boolean, "true"}, "true"},
        {{AT::UntypedAtomic, "no"}, CO::Equal, {AT::Boolean, "false"}, "FORG0001"},
        {{AT::UntypedAtomic, " 2013-05-01"}, CO::Equal, {AT::Date, "2013-05-01"}, "true"},
        {{AT::Date, "2013-05-02"}, CO::Greater, {AT::UntypedAtomic, "2013-05-01"}, "true"},
        {{AT::UntypedAtomic, "2013-13-01"}, CO::Less, {AT::Date, "2013-05-02"}, "FORG0001"},
        {{AT::UntypedAtomic, "x"}, CO::Equal, {AT::AnyURI, "x"}, "true"},
        {{AT::UntypedAtomic, "p:a"}, CO::Equal, {AT::QName, "p:a"}, "XPTY0004"},
        {{AT::String, "1"}, CO::Equal, {AT::Integer, "1"}, "XPTY0004"},
        {{AT::Integer, "1"}, CO::Equal, {AT::Double, "1"}, "true"},
    };
    for (const ComparisonRow& row : rows) {
        EXPECT_EQ(truthOutcome([&] { return compareGeneralPair(make(row.left), row.op, make(row.right), utc); }), row.expected)
            << describe(row.left) << " op " << static_cast<int>(row.op) << " " << describe(row.right);
    }
}

// --- Arithmetic -------------------------------------------------------------------------

struct ArithmeticRow {
    Operand left;
    ArithmeticOperator op;
    Operand right;
    std::string_view expected;  // "<result type> <canonical text>" or the error code
};

void expectArithmetic(const std::vector<ArithmeticRow>& rows) {
    for (const ArithmeticRow& row : rows) {
        EXPECT_EQ(typedOutcome([&] { return applyArithmetic(make(row.left), row.op, make(row.right), utc); }), row.expected)
            << describe(row.left) << " op " << static_cast<int>(row.op) << " " << describe(row.right);
    }
}

TEST(AtomicArithmetic, IntegersAndDecimalsAreExact) {
    expectArithmetic({
        {{AT::Integer, "1"}, AO::Add, {AT::Integer, "2"}, "xs:integer 3"},
        {{AT::Byte, "100"}, AO::Add, {AT::Byte, "100"}, "xs:integer 200"},
        {{AT::Integer, "9223372036854775807"}, AO::Add, {AT::Integer, "1"}, "xs:integer 9223372036854775808"},
        {{AT::Integer, "-9223372036854775808"}, AO::Subtract, {AT::Integer, "1"}, "xs:integer -9223372036854775809"},
        {{AT::Integer, "99999999999999999999"}, AO::Multiply, {AT::Integer, "99999999999999999999"},
         "xs:integer 9999999999999999999800000000000000000001"},
        {{AT::Integer, "1"}, AO::Divide, {AT::Integer, "3"}, "xs:decimal 0.333333333333333333"},
        {{AT::Integer, "2"}, AO::Divide, {AT::Integer, "3"}, "xs:decimal 0.666666666666666667"},
        {{AT::Integer, "4"}, AO::Divide, {AT::Integer, "2"}, "xs:decimal 2"},
        {{AT::Integer, "1"}, AO::Divide, {AT::Integer, "4"}, "xs:decimal 0.25"},
        {{AT::Integer, "-7"}, AO::IntegerDivide, {AT::Integer, "2"}, "xs:integer -3"},
        {{AT::Integer, "-7"}, AO::Modulo, {AT::Integer, "2"}, "xs:integer -1"},
        {{AT::Integer, "7"}, AO::Modulo, {AT::Integer, "-2"}, "xs:integer 1"},
        {{AT::Decimal, "7.5"}, AO::Modulo, {AT::Integer, "2"}, "xs:decimal 1.5"},
        {{AT::Decimal, "7.5"}, AO::IntegerDivide, {AT::Integer, "2"}, "xs:integer 3"},
        {{AT::Decimal, "0.1"}, AO::Add, {AT::Decimal, "0.2"}, "xs:decimal 0.3"},
        {{AT::Decimal, "1.10"}, AO::Multiply, {AT::Integer, "3"}, "xs:decimal 3.3"},
        // IBAN checks: the rearranged digits of DE89 3704 0044 0532 0130 00 mod 97 are 1.
        {{AT::Integer, "370400440532013000131489"}, AO::Modulo, {AT::Integer, "97"}, "xs:integer 1"},
        {{AT::Integer, "131400000000000000000000000000"}, AO::Modulo, {AT::Integer, "97"}, "xs:integer 91"},
        {{AT::Integer, "1"}, AO::Divide, {AT::Integer, "0"}, "FOAR0001"},
        {{AT::Integer, "1"}, AO::IntegerDivide, {AT::Integer, "0"}, "FOAR0001"},
        {{AT::Integer, "1"}, AO::Modulo, {AT::Integer, "0"}, "FOAR0001"},
        {{AT::Decimal, "1.5"}, AO::Divide, {AT::Decimal, "0.0"}, "FOAR0001"},
    });
}

TEST(AtomicArithmetic, FloatsAndDoublesFollowIeee) {
    expectArithmetic({
        {{AT::Double, "0.1"}, AO::Add, {AT::Double, "0.2"}, "xs:double 0.30000000000000004"},
        {{AT::Decimal, "0.1"}, AO::Add, {AT::Double, "0.2"}, "xs:double 0.30000000000000004"},
        {{AT::Float, "0.1"}, AO::Add, {AT::Float, "0.2"}, "xs:float 0.3"},  // rounded to float, not double
        {{AT::Float, "0.5"}, AO::Multiply, {AT::Integer, "3"}, "xs:float 1.5"},
        {{AT::Float, "0.5"}, AO::Multiply, {AT::Double, "3"}, "xs:double 1.5"},
        {{AT::Double, "1"}, AO::Divide, {AT::Integer, "0"}, "xs:double INF"},
        {{AT::Double, "-1"}, AO::Divide, {AT::Integer, "0"}, "xs:double -INF"},
        {{AT::Double, "0"}, AO::Divide, {AT::Double, "0"}, "xs:double NaN"},
        {{AT::Double, "5"}, AO::Modulo, {AT::Double, "0"}, "xs:double NaN"},
        {{AT::Double, "-5"}, AO::Modulo, {AT::Double, "3"}, "xs:double -2"},
        {{AT::Double, "5"}, AO::Modulo, {AT::Double, "INF"}, "xs:double 5"},
        {{AT::Double, "7.5"}, AO::IntegerDivide, {AT::Double, "2"}, "xs:integer 3"},
        {{AT::Double, "-7.5"}, AO::IntegerDivide, {AT::Float, "2"}, "xs:integer -3"},
        {{AT::Double, "2"}, AO::IntegerDivide, {AT::Double, "INF"}, "xs:integer 0"},
        {{AT::Double, "5"}, AO::IntegerDivide, {AT::Double, "0"}, "FOAR0001"},
        {{AT::Double, "NaN"}, AO::IntegerDivide, {AT::Double, "2"}, "FOAR0002"},
        {{AT::Double, "INF"}, AO::IntegerDivide, {AT::Double, "2"}, "FOAR0002"},
        {{AT::Double, "2"}, AO::IntegerDivide, {AT::Double, "NaN"}, "FOAR0002"},
        {{AT::Double, "1e300"}, AO::IntegerDivide, {AT::Double, "1e-300"}, "FOCA0002"},
        {{AT::Float, "5"}, AO::IntegerDivide, {AT::Float, "0"}, "FOAR0001"},
    });
}

TEST(AtomicArithmetic, UntypedOperandsBecomeDoubles) {
    expectArithmetic({
        {{AT::UntypedAtomic, "2"}, AO::Add, {AT::Integer, "3"}, "xs:double 5"},
        {{AT::Decimal, "1.5"}, AO::Multiply, {AT::UntypedAtomic, " 2 "}, "xs:double 3"},
        {{AT::UntypedAtomic, "0.145"}, AO::Add, {AT::UntypedAtomic, "0.86"}, "xs:double 1.005"},
        {{AT::UntypedAtomic, "a"}, AO::Add, {AT::Integer, "1"}, "FORG0001"},
        {{AT::String, "2"}, AO::Add, {AT::Integer, "1"}, "XPTY0004"},
        {{AT::Boolean, "true"}, AO::Add, {AT::Integer, "1"}, "XPTY0004"},
    });
}

TEST(AtomicArithmetic, DatesTimesAndDurations) {
    expectArithmetic({
        {{AT::Date, "2001-01-31"}, AO::Add, {AT::YearMonthDuration, "P1M"}, "xs:date 2001-02-28"},
        {{AT::YearMonthDuration, "P1Y"}, AO::Add, {AT::Date, "2001-01-31"}, "xs:date 2002-01-31"},
        {{AT::DateTime, "2000-01-01T23:00:00"}, AO::Add, {AT::DayTimeDuration, "PT2H"}, "xs:dateTime 2000-01-02T01:00:00"},
        {{AT::Date, "2000-03-01"}, AO::Subtract, {AT::DayTimeDuration, "P1D"}, "xs:date 2000-02-29"},
        {{AT::Time, "23:30:00"}, AO::Add, {AT::DayTimeDuration, "PT1H"}, "xs:time 00:30:00"},
        {{AT::Time, "10:00:00"}, AO::Add, {AT::YearMonthDuration, "P1Y"}, "XPTY0004"},
        {{AT::Date, "2013-05-02"}, AO::Subtract, {AT::Date, "2013-05-01"}, "xs:dayTimeDuration P1D"},
        {{AT::Time, "10:00:00"}, AO::Subtract, {AT::Time, "08:30:00"}, "xs:dayTimeDuration PT1H30M"},
        {{AT::Date, "2013-05-02"}, AO::Subtract, {AT::DateTime, "2013-05-01T00:00:00"}, "XPTY0004"},
        {{AT::Date, "2013-05-02"}, AO::Add, {AT::Date, "2013-05-01"}, "XPTY0004"},
        {{AT::Date, "2013-05-02"}, AO::Add, {AT::Duration, "P1D"}, "XPTY0004"},
        {{AT::YearMonthDuration, "P1Y"}, AO::Add, {AT::YearMonthDuration, "P2M"}, "xs:yearMonthDuration P1Y2M"},
        {{AT::DayTimeDuration, "PT1H"}, AO::Subtract, {AT::DayTimeDuration, "PT2H"}, "xs:dayTimeDuration -PT1H"},
        {{AT::YearMonthDuration, "P1Y"}, AO::Add, {AT::DayTimeDuration, "PT2H"}, "XPTY0004"},
        {{AT::DayTimeDuration, "PT1H"}, AO::Multiply, {AT::Integer, "2"}, "xs:dayTimeDuration PT2H"},
        {{AT::Decimal, "1.5"}, AO::Multiply, {AT::YearMonthDuration, "P1Y"}, "xs:yearMonthDuration P1Y6M"},
        {{AT::DayTimeDuration, "PT1H"}, AO::Divide, {AT::Integer, "4"}, "xs:dayTimeDuration PT15M"},
        {{AT::DayTimeDuration, "PT3H"}, AO::Divide, {AT::DayTimeDuration, "PT2H"}, "xs:decimal 1.5"},
        {{AT::YearMonthDuration, "P1Y"}, AO::Divide, {AT::YearMonthDuration, "P0M"}, "FOAR0001"},
        {{AT::DayTimeDuration, "PT1H"}, AO::Multiply, {AT::Double, "NaN"}, "FOCA0005"},
        {{AT::DayTimeDuration, "PT1H"}, AO::Modulo, {AT::Integer, "2"}, "XPTY0004"},
        {{AT::Date, "2013-05-02"}, AO::Multiply, {AT::Integer, "2"}, "XPTY0004"},
    });
}

TEST(AtomicArithmetic, UnaryOperators) {
    const std::pair<std::function<AtomicValue()>, std::string_view> rows[] = {
        {[] { return negate(atomic(AT::Integer, "5")); }, "xs:integer -5"},
        {[] { return negate(atomic(AT::Byte, "5")); }, "xs:integer -5"},
        {[] { return negate(atomic(AT::Decimal, "1.5")); }, "xs:decimal -1.5"},
        {[] { return negate(atomic(AT::Double, "0")); }, "xs:double -0"},
        {[] { return negate(atomic(AT::Float, "1.5")); }, "xs:float -1.5"},
        {[] { return negate(atomic(AT::UntypedAtomic, "2")); }, "xs:double -2"},
        {[] { return negate(atomic(AT::String, "2")); }, "XPTY0004"},
        {[] { return negate(atomic(AT::UntypedAtomic, "x")); }, "FORG0001"},
        {[] { return unaryPlus(atomic(AT::Byte, "5")); }, "xs:integer 5"},
        {[] { return unaryPlus(atomic(AT::Decimal, "1.50")); }, "xs:decimal 1.5"},
        {[] { return unaryPlus(atomic(AT::UntypedAtomic, "3")); }, "xs:double 3"},
        {[] { return unaryPlus(atomic(AT::Date, "2013-05-01")); }, "XPTY0004"},
    };
    for (const auto& [operation, expected] : rows) EXPECT_EQ(typedOutcome(operation), expected);
}

// --- Grouping equality ------------------------------------------------------------------

struct GroupingRow {
    Operand left;
    Operand right;
    bool equal;
};

TEST(AtomicGrouping, EqualValuesHashAlike) {
    const GroupingRow rows[] = {
        {{AT::Integer, "1"}, {AT::Decimal, "1.0"}, true},
        {{AT::Integer, "1"}, {AT::Double, "1"}, true},
        {{AT::Decimal, "1"}, {AT::Float, "1"}, true},
        {{AT::Decimal, "0.1"}, {AT::Double, "0.1"}, true},
        {{AT::Decimal, "0.1"}, {AT::Float, "0.1"}, true},
        {{AT::Double, "0.1"}, {AT::Float, "0.1"}, false},
        {{AT::Double, "0"}, {AT::Double, "-0"}, true},
        {{AT::Double, "NaN"}, {AT::Float, "NaN"}, true},  // NaN groups with NaN
        {{AT::Double, "NaN"}, {AT::Integer, "0"}, false},
        {{AT::String, "a"}, {AT::UntypedAtomic, "a"}, true},
        {{AT::String, "a"}, {AT::AnyURI, "a"}, true},
        {{AT::String, "a"}, {AT::String, "A"}, false},
        {{AT::String, "1"}, {AT::Integer, "1"}, false},  // incomparable: unequal, no error
        {{AT::Boolean, "true"}, {AT::Integer, "1"}, false},
        {{AT::Boolean, "1"}, {AT::Boolean, "true"}, true},
        {{AT::DateTime, "2002-04-02T12:00:00-01:00"}, {AT::DateTime, "2002-04-02T17:00:00+04:00"}, true},
        {{AT::Date, "2004-01-01+12:00"}, {AT::Date, "2003-12-31-12:00"}, true},
        {{AT::Time, "13:00:00+01:00"}, {AT::Time, "12:00:00Z"}, true},
        {{AT::Time, "23:00:00-01:00"}, {AT::Time, "00:00:00Z"}, false},  // both on the same reference day
        {{AT::DateTime, "2002-04-02T12:00:00"}, {AT::DateTime, "2002-04-02T12:00:00Z"}, true},
        {{AT::GMonthDay, "--12-31+14:00"}, {AT::GMonthDay, "--12-30-10:00"}, true},
        {{AT::GMonthDay, "--03-01+14:00"}, {AT::GMonthDay, "--02-29-10:00"}, true},
        {{AT::GYearMonth, "2013-05"}, {AT::GYearMonth, "2013-05Z"}, true},
        {{AT::GMonth, "--05+01:00"}, {AT::GMonth, "--05+01:00"}, true},
        {{AT::GYear, "2013"}, {AT::GYear, "2014"}, false},
        {{AT::GYear, "2013+01:00"}, {AT::GYear, "2013"}, false},
        {{AT::Duration, "P1Y"}, {AT::YearMonthDuration, "P12M"}, true},
        {{AT::DayTimeDuration, "PT24H"}, {AT::Duration, "P1D"}, true},
        {{AT::QName, "p:a"}, {AT::QName, "q:a"}, true},
        {{AT::HexBinary, "0AFF"}, {AT::Base64Binary, "Cv8="}, false},
        {{AT::Date, "2013-05-01"}, {AT::DateTime, "2013-05-01T00:00:00"}, false},
    };
    for (const GroupingRow& row : rows) {
        const AtomicValue left = make(row.left);
        const AtomicValue right = make(row.right);
        const std::string label = describe(row.left) + " vs " + describe(row.right);
        EXPECT_EQ(equalForGrouping(left, right, utc), row.equal) << label;
        EXPECT_EQ(equalForGrouping(right, left, utc), row.equal) << label;
        if (row.equal) {
            EXPECT_EQ(hashForGrouping(left, utc), hashForGrouping(right, utc)) << label;
        }
    }
}

}  // namespace
}  // namespace quillmark::xpath
