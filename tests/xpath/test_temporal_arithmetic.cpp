// Date/time arithmetic, timezone adjustment and fn:dateTime.
#include <gtest/gtest.h>

#include "xpath/temporal.h"
#include "xpath/temporal_test_support.h"

namespace quillmark::xpath {
namespace {

using testing::date;
using testing::dateTime;
using testing::dayTime;
using testing::duration;
using testing::errorCodeOf;
using testing::temporal;
using testing::time;
using testing::yearMonths;
using Kind = TemporalKind;

enum class Operation { Add, Subtract };

struct ShiftCase {
    Kind kind;
    const char* value;
    Operation operation;
    DurationKind durationKind;
    const char* duration;
    const char* expected;
};

constexpr auto kYearMonth = DurationKind::YearMonthDuration;
constexpr auto kDayTime = DurationKind::DayTimeDuration;

const ShiftCase kShiftCases[] = {
    // Month-end clamping
    {Kind::Date, "2001-01-31", Operation::Add, kYearMonth, "P1M", "2001-02-28"},
    {Kind::Date, "2000-01-31", Operation::Add, kYearMonth, "P1M", "2000-02-29"},
    {Kind::Date, "2000-02-29Z", Operation::Subtract, kYearMonth, "P1Y", "1999-02-28Z"},
    {Kind::Date, "2000-10-31-05:00", Operation::Subtract, kYearMonth, "P1Y1M", "1999-09-30-05:00"},
    {Kind::DateTime, "2000-03-31T00:00:00Z", Operation::Subtract, kYearMonth, "P1M", "2000-02-29T00:00:00Z"},
    {Kind::Date, "2001-01-31", Operation::Add, kYearMonth, "-P1M", "2000-12-31"},
    {Kind::Date, "2000-10-30", Operation::Subtract, kYearMonth, "P1Y2M", "1999-08-30"},
    {Kind::DateTime, "2000-10-30T11:12:00", Operation::Add, kYearMonth, "P1Y2M", "2001-12-30T11:12:00"},
    // Day and time parts
    {Kind::DateTime, "2000-10-30T11:12:00", Operation::Add, kDayTime, "P3DT1H15M", "2000-11-02T12:27:00"},
    {Kind::DateTime, "2000-10-30T11:12:00", Operation::Subtract, kDayTime, "P3DT1H15M", "2000-10-27T09:57:00"},
    {Kind::DateTime, "2000-01-01T00:00:00", Operation::Add, kDayTime, "-PT0.5S", "1999-12-31T23:59:59.5"},
    {Kind::DateTime, "1999-12-31T23:59:59.999999999+14:00", Operation::Add, kDayTime, "PT0.000000001S",
     "2000-01-01T00:00:00+14:00"},
    {Kind::Date, "2004-10-30Z", Operation::Add, kDayTime, "P2DT2H30M0S", "2004-11-01Z"},
    {Kind::Date, "2004-10-30", Operation::Subtract, kDayTime, "PT1S", "2004-10-29"},
    {Kind::Date, "2000-10-30", Operation::Subtract, kDayTime, "P3DT1H15M", "2000-10-26"},
    {Kind::Time, "11:12:00", Operation::Add, kDayTime, "P3DT1H15M", "12:27:00"},
    {Kind::Time, "23:12:00+03:00", Operation::Add, kDayTime, "P1DT3H15M", "02:27:00+03:00"},
    {Kind::Time, "08:20:00-05:00", Operation::Subtract, kDayTime, "P23DT10H10M", "22:10:00-05:00"},
    {Kind::Time, "11:12:00", Operation::Subtract, kDayTime, "P3DT1H15M", "09:57:00"},
    // Across the start of the era (there is no year 0; 1 BCE is a leap year)
    {Kind::Date, "0001-01-01", Operation::Subtract, kDayTime, "P1D", "-0001-12-31"},
    {Kind::Date, "-0001-12-31", Operation::Add, kDayTime, "P1D", "0001-01-01"},
    {Kind::Date, "-0001-03-01", Operation::Subtract, kDayTime, "P1D", "-0001-02-29"},
    {Kind::Date, "0001-02-28", Operation::Subtract, kYearMonth, "P1Y", "-0001-02-28"},
    {Kind::Date, "0001-06-15", Operation::Subtract, kYearMonth, "P13M", "-0001-05-15"},
    {Kind::Date, "-0044-03-15", Operation::Add, kYearMonth, "P44Y", "0001-03-15"},
};

TEST(TemporalArithmetic, AddsAndSubtractsDurations) {
    for (const ShiftCase& c : kShiftCases) {
        TemporalValue value = temporal(c.kind, c.value);
        DurationValue shift = duration(c.durationKind, c.duration);
        TemporalValue result =
            c.operation == Operation::Add ? addDuration(value, shift) : subtractDuration(value, shift);
        EXPECT_EQ(result.toString(), c.expected) << c.value << (c.operation == Operation::Add ? " + " : " - ") << c.duration;
        EXPECT_EQ(result.kind, c.kind);
    }
}

TEST(TemporalArithmetic, LeavingTheYearRangeOverflows) {
    EXPECT_EQ(errorCodeOf([] { addDuration(date("2147483647-12-31"), dayTime("P1D")); }), "FODT0001");
    EXPECT_EQ(errorCodeOf([] { addDuration(date("2147483647-12-31"), yearMonths("P1Y")); }), "FODT0001");
    EXPECT_EQ(errorCodeOf([] { subtractDuration(date("-2147483647-01-01"), yearMonths("P1M")); }), "FODT0001");
    EXPECT_EQ(errorCodeOf([] { addDuration(date("2147483647-12-31"), yearMonths("-P2147483647M")); }), "no error");
}

TEST(TemporalArithmetic, GregorianValuesTakeNoDurations) {
    EXPECT_EQ(errorCodeOf([] { addDuration(temporal(Kind::GYear, "2004"), yearMonths("P1Y")); }), "XPTY0004");
}

struct DifferenceCase {
    Kind kind;
    const char* a;
    const char* b;
    int implicitTimezone;
    const char* expected;
};

const DifferenceCase kDifferenceCases[] = {
    {Kind::DateTime, "2000-10-30T06:12:00-05:00", "1999-11-28T09:00:00Z", 0, "P337DT2H12M"},
    {Kind::DateTime, "2000-01-01T00:00:00", "2000-01-01T00:00:00Z", 0, "PT0S"},
    {Kind::DateTime, "2000-01-01T00:00:00", "2000-01-01T00:00:00Z", 60, "-PT1H"},
    {Kind::DateTime, "2000-01-01T00:00:00.5Z", "2000-01-01T00:00:01Z", 0, "-PT0.5S"},
    {Kind::Date, "2000-10-30", "1999-11-28", 0, "P337D"},
    {Kind::Date, "2000-10-30+05:00", "1999-11-28Z", 0, "P336DT19H"},
    {Kind::Date, "2000-10-15-05:00", "2000-10-10+02:00", 0, "P5DT7H"},
    {Kind::Date, "0001-01-01", "-0001-01-01", 0, "P366D"},
    {Kind::Time, "11:12:00Z", "04:00:00", -300, "PT2H12M"},
    {Kind::Time, "11:00:00-05:00", "21:30:00+05:30", 0, "PT0S"},
    {Kind::Time, "17:00:00-06:00", "08:00:00+09:00", 0, "P1D"},
    {Kind::Time, "24:00:00", "23:59:59", 0, "-PT23H59M59S"},
    {Kind::Time, "00:00:00+14:00", "23:59:59-14:00", 0, "-P2DT3H59M59S"},
};

TEST(TemporalArithmetic, SubtractsValuesToDayTimeDurations) {
    for (const DifferenceCase& c : kDifferenceCases) {
        DurationValue difference = subtractTemporals(temporal(c.kind, c.a), temporal(c.kind, c.b), c.implicitTimezone);
        EXPECT_EQ(difference.toString(), c.expected) << c.a << " - " << c.b;
        EXPECT_EQ(difference.kind, DurationKind::DayTimeDuration);
    }
}

TEST(TemporalArithmetic, SubtractsOnlyValuesOfOneDateOrTimeKind) {
    EXPECT_EQ(errorCodeOf([] { subtractTemporals(date("2000-01-01"), dateTime("2000-01-01T00:00:00"), 0); }),
              "XPTY0004");
    EXPECT_EQ(errorCodeOf([] { subtractTemporals(temporal(Kind::GYear, "2001"), temporal(Kind::GYear, "2000"), 0); }),
              "XPTY0004");
}

struct AdjustCase {
    Kind kind;
    const char* value;
    std::optional<int> timezone;
    const char* expected;
};

const AdjustCase kAdjustCases[] = {
    {Kind::DateTime, "2002-03-07T10:00:00", -300, "2002-03-07T10:00:00-05:00"},
    {Kind::DateTime, "2002-03-07T10:00:00-07:00", -300, "2002-03-07T12:00:00-05:00"},
    {Kind::DateTime, "2002-03-07T10:00:00", -600, "2002-03-07T10:00:00-10:00"},
    {Kind::DateTime, "2002-03-07T10:00:00-07:00", -600, "2002-03-07T07:00:00-10:00"},
    {Kind::DateTime, "2002-03-07T10:00:00-07:00", 600, "2002-03-08T03:00:00+10:00"},
    {Kind::DateTime, "2002-03-07T00:00:00+01:00", -480, "2002-03-06T15:00:00-08:00"},
    {Kind::DateTime, "2002-03-07T10:00:00", std::nullopt, "2002-03-07T10:00:00"},
    {Kind::DateTime, "2002-03-07T10:00:00-07:00", std::nullopt, "2002-03-07T10:00:00"},
    {Kind::Date, "2002-03-07", -300, "2002-03-07-05:00"},
    {Kind::Date, "2002-03-07-07:00", -300, "2002-03-07-05:00"},
    {Kind::Date, "2002-03-07-07:00", -600, "2002-03-06-10:00"},
    {Kind::Date, "2002-03-07-07:00", std::nullopt, "2002-03-07"},
    {Kind::Time, "10:00:00", -300, "10:00:00-05:00"},
    {Kind::Time, "10:00:00-07:00", -300, "12:00:00-05:00"},
    {Kind::Time, "10:00:00-07:00", 600, "03:00:00+10:00"},
    {Kind::Time, "10:00:00-07:00", -600, "07:00:00-10:00"},
    {Kind::Time, "10:00:00-07:00", std::nullopt, "10:00:00"},
};

TEST(TemporalTimezone, AdjustsToAnotherTimezone) {
    for (const AdjustCase& c : kAdjustCases) {
        TemporalValue adjusted = adjustToTimezone(temporal(c.kind, c.value), c.timezone);
        EXPECT_EQ(adjusted.toString(), c.expected) << c.value;
        EXPECT_EQ(adjusted.kind, c.kind);
    }
}

TEST(TemporalTimezone, RejectsTimezonesOutsideFourteenHours) {
    EXPECT_EQ(errorCodeOf([] { adjustToTimezone(time("10:00:00"), 841); }), "FODT0003");
    EXPECT_EQ(errorCodeOf([] { adjustToTimezone(time("10:00:00"), -841); }), "FODT0003");
    EXPECT_EQ(errorCodeOf([] { adjustToTimezone(temporal(Kind::GDay, "---01"), 0); }), "XPTY0004");
}

TEST(TemporalTimezone, ReadsTimezonesFromDayTimeDurations) {
    EXPECT_EQ(timezoneFromDuration(dayTime("-PT10H")), -600);
    EXPECT_EQ(timezoneFromDuration(dayTime("PT14H")), 840);
    EXPECT_EQ(timezoneFromDuration(dayTime("-PT14H")), -840);
    EXPECT_EQ(timezoneFromDuration(dayTime("PT5H30M")), 330);
    EXPECT_EQ(timezoneFromDuration(dayTime("PT0S")), 0);
    for (const char* invalid : {"PT14H1M", "-PT14H0.000000001S", "PT10H0.5S", "PT30S", "P1D"})
        EXPECT_EQ(errorCodeOf([&] { timezoneFromDuration(dayTime(invalid)); }), "FODT0003") << invalid;
}

TEST(TemporalCombination, JoinsADateAndATime) {
    EXPECT_EQ(combineDateAndTime(date("1999-12-31"), time("12:00:00")).toString(), "1999-12-31T12:00:00");
    EXPECT_EQ(combineDateAndTime(date("1999-12-31Z"), time("12:00:00.5")).toString(), "1999-12-31T12:00:00.5Z");
    EXPECT_EQ(combineDateAndTime(date("1999-12-31"), time("12:00:00+01:00")).toString(),
              "1999-12-31T12:00:00+01:00");
    EXPECT_EQ(combineDateAndTime(date("1999-12-31Z"), time("12:00:00+00:00")).toString(), "1999-12-31T12:00:00Z");
    EXPECT_EQ(combineDateAndTime(date("1999-12-31"), time("24:00:00")).toString(), "1999-12-31T00:00:00");
    EXPECT_EQ(errorCodeOf([] { combineDateAndTime(date("1999-12-31Z"), time("12:00:00+01:00")); }), "FORG0008");
}

}  // namespace
}  // namespace quillmark::xpath
