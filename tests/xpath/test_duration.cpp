// Lexical and canonical forms, components, comparison and arithmetic of xs:duration,
// xs:yearMonthDuration and xs:dayTimeDuration.
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "xpath/temporal.h"
#include "xpath/temporal_test_support.h"

namespace quillmark::xpath {
namespace {

using testing::dayTime;
using testing::duration;
using testing::errorCodeOf;
using testing::yearMonths;
using Kind = DurationKind;

using LexicalCase = testing::LexicalCase<Kind>;

const LexicalCase kLexicalCases[] = {
    {Kind::Duration, "P1Y2M3DT10H30M", "P1Y2M3DT10H30M"},
    {Kind::Duration, "-P1Y2M3DT10H30M23.5S", "-P1Y2M3DT10H30M23.5S"},
    {Kind::Duration, "P1Y12M", "P2Y"},
    {Kind::Duration, "P13M", "P1Y1M"},
    {Kind::Duration, "PT36H", "P1DT12H"},
    {Kind::Duration, "PT90M", "PT1H30M"},
    {Kind::Duration, "PT3600S", "PT1H"},
    {Kind::Duration, "P1DT0H", "P1D"},
    {Kind::Duration, "-P0D", "PT0S"},
    {Kind::Duration, "P0Y", "PT0S"},
    {Kind::Duration, "PT0.5S", "PT0.5S"},
    {Kind::Duration, "PT1.000S", "PT1S"},
    {Kind::Duration, "PT0.1234567899S", "PT0.123456789S"},
    {Kind::Duration, "P0001Y", "P1Y"},
    {Kind::Duration, "P", nullptr},
    {Kind::Duration, "PT", nullptr},
    {Kind::Duration, "-P", nullptr},
    {Kind::Duration, "P1YT", nullptr},
    {Kind::Duration, "1Y", nullptr},
    {Kind::Duration, "P-1Y", nullptr},
    {Kind::Duration, "+P1Y", nullptr},
    {Kind::Duration, "P1.5Y", nullptr},
    {Kind::Duration, "PT1.5M", nullptr},
    {Kind::Duration, "P1D1Y", nullptr},
    {Kind::Duration, "P1Y1Y", nullptr},
    {Kind::Duration, "PT1S1M", nullptr},
    {Kind::Duration, "PT1.S", nullptr},
    {Kind::Duration, "PT.5S", nullptr},
    {Kind::Duration, "P1H", nullptr},
    {Kind::Duration, "P1S", nullptr},
    {Kind::Duration, "PT1D", nullptr},
    {Kind::Duration, "PT1Y", nullptr},
    {Kind::Duration, "p1Y", nullptr},
    {Kind::Duration, "P1Y ", nullptr},
    {Kind::Duration, "P1YM", nullptr},
    {Kind::Duration, "", nullptr},
    {Kind::YearMonthDuration, "P1Y2M", "P1Y2M"},
    {Kind::YearMonthDuration, "P24M", "P2Y"},
    {Kind::YearMonthDuration, "-P13M", "-P1Y1M"},
    {Kind::YearMonthDuration, "P0Y", "P0M"},
    {Kind::YearMonthDuration, "-P0M", "P0M"},
    {Kind::YearMonthDuration, "P1D", nullptr},
    {Kind::YearMonthDuration, "P1Y1D", nullptr},
    {Kind::YearMonthDuration, "PT1H", nullptr},
    {Kind::YearMonthDuration, "PT0S", nullptr},
    {Kind::DayTimeDuration, "P3DT4H5M6.5S", "P3DT4H5M6.5S"},
    {Kind::DayTimeDuration, "-P3DT4H5M6.5S", "-P3DT4H5M6.5S"},
    {Kind::DayTimeDuration, "PT0S", "PT0S"},
    {Kind::DayTimeDuration, "-PT0S", "PT0S"},
    {Kind::DayTimeDuration, "P0D", "PT0S"},
    {Kind::DayTimeDuration, "PT24H", "P1D"},
    {Kind::DayTimeDuration, "PT86400.5S", "P1DT0.5S"},
    {Kind::DayTimeDuration, "-PT0.000000001S", "-PT0.000000001S"},
    {Kind::DayTimeDuration, "P1Y", nullptr},
    {Kind::DayTimeDuration, "P1M", nullptr},
    {Kind::DayTimeDuration, "P0MT1H", nullptr},
    {Kind::DayTimeDuration, "PT", nullptr},
};

TEST(DurationLexical, ParsesValidFormsToTheirCanonicalText) {
    testing::expectLexicalForms<DurationValue>(kLexicalCases);
}

TEST(DurationLexical, ComponentsBeyond31BitsOverflow) {
    EXPECT_EQ(duration(Kind::Duration, "P2147483647M").toString(), "P178956970Y7M");
    EXPECT_EQ(duration(Kind::Duration, "PT2147483647S").toString(), "P24855DT3H14M7S");
    EXPECT_EQ(duration(Kind::Duration, "-P2147483647DT2147483647H2147483647M2147483647.999999999S").days(),
              -2238478295);
    for (const char* text : {"P2147483648M", "P178956971Y", "PT2147483648S", "P99999999999999999999999Y"})
        EXPECT_EQ(errorCodeOf([&] { DurationValue::parse(Kind::Duration, text); }), "FODT0002") << text;
    // A malformed form is invalid before it is too large.
    EXPECT_FALSE(DurationValue::parse(Kind::Duration, "P99999999999999999999999Y1"));
}

TEST(DurationCast, KeepsThePartTheTargetHas) {
    DurationValue mixed = duration(Kind::Duration, "-P1Y2M3DT4H");
    EXPECT_EQ(mixed.convertTo(Kind::YearMonthDuration).toString(), "-P1Y2M");
    EXPECT_EQ(mixed.convertTo(Kind::DayTimeDuration).toString(), "-P3DT4H");
    EXPECT_EQ(mixed.convertTo(Kind::Duration), mixed);
    EXPECT_EQ(yearMonths("P1Y").convertTo(Kind::DayTimeDuration).toString(), "PT0S");
    EXPECT_EQ(dayTime("P1D").convertTo(Kind::YearMonthDuration).toString(), "P0M");
    EXPECT_EQ(yearMonths("P1Y").convertTo(Kind::Duration).toString(), "P1Y");
}

struct ComponentCase {
    const char* text;
    int64_t years, months, days, hours, minutes;
    const char* seconds;
};

const ComponentCase kComponentCases[] = {
    {"P1Y12M", 2, 0, 0, 0, 0, "0"},
    {"-P1Y6M3DT4H5M6.5S", -1, -6, -3, -4, -5, "-6.5"},
    {"PT36H", 0, 0, 1, 12, 0, "0"},
    {"PT0.000000001S", 0, 0, 0, 0, 0, "0.000000001"},
    {"-PT59.999999999S", 0, 0, 0, 0, 0, "-59.999999999"},
    {"PT61M", 0, 0, 0, 1, 1, "0"},
    {"P3DT10H", 0, 0, 3, 10, 0, "0"},
};

TEST(DurationAccessors, ComponentsOfTheCanonicalForm) {
    for (const ComponentCase& c : kComponentCases) {
        DurationValue value = duration(Kind::Duration, c.text);
        EXPECT_EQ(value.years(), c.years) << c.text;
        EXPECT_EQ(value.monthsPart(), c.months) << c.text;
        EXPECT_EQ(value.days(), c.days) << c.text;
        EXPECT_EQ(value.hours(), c.hours) << c.text;
        EXPECT_EQ(value.minutes(), c.minutes) << c.text;
        EXPECT_EQ(value.secondsText(), c.seconds) << c.text;
    }
}

TEST(DurationComparison, EqualityIgnoresTheKind) {
    EXPECT_TRUE(equalDurations(duration(Kind::Duration, "P1Y"), yearMonths("P12M")));
    EXPECT_TRUE(equalDurations(duration(Kind::Duration, "P1D"), dayTime("PT24H")));
    EXPECT_TRUE(equalDurations(yearMonths("P0M"), dayTime("PT0S")));
    EXPECT_FALSE(equalDurations(duration(Kind::Duration, "P1Y"), dayTime("P365D")));
    EXPECT_FALSE(equalDurations(duration(Kind::Duration, "P1M1D"), duration(Kind::Duration, "P1M")));
}

TEST(DurationComparison, OrdersDurationsOfOneKind) {
    EXPECT_TRUE(compareDurations(yearMonths("P1Y"), yearMonths("P13M")) < 0);
    EXPECT_TRUE(compareDurations(yearMonths("-P1Y"), yearMonths("P0M")) < 0);
    EXPECT_TRUE(compareDurations(dayTime("-PT1S"), dayTime("PT0S")) < 0);
    EXPECT_TRUE(compareDurations(dayTime("P1DT1S"), dayTime("PT24H")) > 0);
    EXPECT_TRUE(compareDurations(dayTime("PT24H"), dayTime("P1D")) == 0);
}

TEST(DurationArithmetic, AddsAndSubtractsDurationsOfOneKind) {
    EXPECT_EQ(addDurations(yearMonths("P2Y11M"), yearMonths("P3Y3M")).toString(), "P6Y2M");
    EXPECT_EQ(addDurations(dayTime("P2DT12H5M"), dayTime("P5DT12H")).toString(), "P8DT5M");
    EXPECT_EQ(subtractDurations(yearMonths("P2Y11M"), yearMonths("P3Y3M")).toString(), "-P4M");
    EXPECT_EQ(subtractDurations(dayTime("P2DT12H"), dayTime("P1DT10H30M")).toString(), "P1DT1H30M");
    EXPECT_EQ(subtractDurations(dayTime("PT1S"), dayTime("PT1S")).toString(), "PT0S");
    EXPECT_EQ(addDurations(yearMonths("P1M"), yearMonths("-P1M")).kind, Kind::YearMonthDuration);
    EXPECT_EQ(errorCodeOf([] { addDurations(yearMonths("P178956970Y7M"), yearMonths("P1M")); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { subtractDurations(yearMonths("-P178956970Y7M"), yearMonths("P1M")); }), "FODT0002");
}

enum class Scaling { Multiply, Divide };

struct ScalingCase {
    Kind kind;
    const char* text;
    Scaling scaling;
    double factor;
    const char* expected;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const ScalingCase kScalingCases[] = {
    {Kind::YearMonthDuration, "P2Y11M", Scaling::Multiply, 2.3, "P6Y9M"},
    {Kind::DayTimeDuration, "PT2H10M", Scaling::Multiply, 2.1, "PT4H33M"},
    // Months round half up (toward positive infinity on a tie).
    {Kind::YearMonthDuration, "P1M", Scaling::Multiply, 1.5, "P2M"},
    {Kind::YearMonthDuration, "P1M", Scaling::Multiply, 0.5, "P1M"},
    {Kind::YearMonthDuration, "P1M", Scaling::Multiply, -0.5, "P0M"},
    {Kind::YearMonthDuration, "P1M", Scaling::Multiply, -1.5, "-P1M"},
    {Kind::YearMonthDuration, "P1M", Scaling::Multiply, -2.5, "-P2M"},
    {Kind::YearMonthDuration, "P1Y", Scaling::Multiply, 1e-300, "P0M"},
    // Nanoseconds are cut toward zero.
    {Kind::DayTimeDuration, "PT0.000000001S", Scaling::Multiply, 1.9, "PT0.000000001S"},
    {Kind::DayTimeDuration, "PT0.000000001S", Scaling::Multiply, -1.9, "-PT0.000000001S"},
    {Kind::DayTimeDuration, "PT1S", Scaling::Multiply, 0.0000000015, "PT0.000000001S"},
    // The factor counts as its shortest decimal form, exactly.
    {Kind::DayTimeDuration, "P1000D", Scaling::Multiply, 1.1, "P1100D"},
    {Kind::DayTimeDuration, "-P1D", Scaling::Multiply, 0, "PT0S"},
    {Kind::YearMonthDuration, "P2Y11M", Scaling::Divide, 1.5, "P1Y11M"},
    {Kind::DayTimeDuration, "PT2H10M", Scaling::Divide, 2.1, "PT1H1M54.285714285S"},
    // Dividing by d scales by the double 1/d, as the reference processor does.
    {Kind::DayTimeDuration, "P1DT2H30M10.5S", Scaling::Divide, 1.5, "PT17H40M6.999999999S"},
    {Kind::DayTimeDuration, "PT2S", Scaling::Divide, 3, "PT0.666666666S"},
    {Kind::DayTimeDuration, "P1000D", Scaling::Divide, 1.1, "P909DT2H10M54.545454546S"},
    {Kind::YearMonthDuration, "P1M", Scaling::Divide, kInfinity, "P0M"},
    {Kind::DayTimeDuration, "P1D", Scaling::Divide, -kInfinity, "PT0S"},
};

TEST(DurationArithmetic, MultipliesAndDividesByNumbers) {
    for (const ScalingCase& c : kScalingCases) {
        DurationValue value = duration(c.kind, c.text);
        DurationValue result =
            c.scaling == Scaling::Multiply ? multiplyDuration(value, c.factor) : divideDuration(value, c.factor);
        EXPECT_EQ(result.toString(), c.expected) << c.text << (c.scaling == Scaling::Multiply ? " * " : " div ") << c.factor;
        EXPECT_EQ(result.kind, c.kind);
    }
}

TEST(DurationArithmetic, ScalingByNaNInfinityOrZeroFails) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(errorCodeOf([&] { multiplyDuration(dayTime("P1D"), nan); }), "FOCA0005");
    EXPECT_EQ(errorCodeOf([&] { divideDuration(yearMonths("P1M"), nan); }), "FOCA0005");
    EXPECT_EQ(errorCodeOf([] { multiplyDuration(dayTime("P1D"), -kInfinity); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { multiplyDuration(dayTime("PT0S"), kInfinity); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { multiplyDuration(yearMonths("P1M"), 1e300); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { multiplyDuration(dayTime("PT1H"), 1e300); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { divideDuration(yearMonths("P1M"), 0.0); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { divideDuration(dayTime("P1D"), -0.0); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { divideDuration(dayTime("P1D"), 5e-324); }), "FODT0002");
    EXPECT_EQ(errorCodeOf([] { divideDuration(dayTime("PT0S"), 0.0); }), "FODT0002");
    // A zero yearMonthDuration stays zero, as in the reference processor.
    EXPECT_EQ(multiplyDuration(yearMonths("P0M"), kInfinity).toString(), "P0M");
    EXPECT_EQ(divideDuration(yearMonths("P0M"), -0.0).toString(), "P0M");
    EXPECT_EQ(errorCodeOf([&] { multiplyDuration(yearMonths("P0M"), nan); }), "FOCA0005");
}

struct RatioCase {
    Kind kind;
    const char* a;
    const char* b;
    const char* expected;
};

const RatioCase kRatioCases[] = {
    {Kind::YearMonthDuration, "P3Y4M", "-P1Y4M", "-2.5"},
    {Kind::YearMonthDuration, "P3M", "P3M", "1"},
    {Kind::YearMonthDuration, "P0M", "P1M", "0"},
    {Kind::YearMonthDuration, "P1M", "P3M", "0.33333333333333333333"},
    {Kind::YearMonthDuration, "P100Y", "P7M", "171.42857142857142857143"},
    {Kind::YearMonthDuration, "P1M", "P2097152M", "0.00000047683715820312"},  // a tie rounds to even
    {Kind::DayTimeDuration, "P2DT53M11S", "P1DT10H", "1.43783496732026143791"},
    {Kind::DayTimeDuration, "PT2S", "PT3S", "0.66666666666666666667"},
    {Kind::DayTimeDuration, "-PT2S", "PT3S", "-0.66666666666666666667"},
    {Kind::DayTimeDuration, "PT2S", "PT0.000000003S", "666666666.66666666666666666667"},
    {Kind::DayTimeDuration, "PT0.000000001S", "PT3S", "0.00000000033333333333"},
    {Kind::DayTimeDuration, "PT4S", "-PT2S", "-2"},
};

TEST(DurationArithmetic, DividesDurationsToDecimalText) {
    for (const RatioCase& c : kRatioCases)
        EXPECT_EQ(divideDurations(duration(c.kind, c.a), duration(c.kind, c.b)), c.expected) << c.a << " div " << c.b;
    EXPECT_EQ(errorCodeOf([] { divideDurations(yearMonths("P1M"), yearMonths("P0M")); }), "FOAR0001");
    EXPECT_EQ(errorCodeOf([] { divideDurations(dayTime("P1D"), dayTime("PT0S")); }), "FOAR0001");
}

}  // namespace
}  // namespace quillmark::xpath
