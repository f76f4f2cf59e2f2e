// Lexical and canonical forms, casts, comparison and accessors of xs:dateTime, xs:date,
// xs:time and the gregorian types.
#include <gtest/gtest.h>

#include "xpath/temporal.h"
#include "xpath/temporal_test_support.h"

namespace quillmark::xpath {
namespace {

using testing::date;
using testing::dateTime;
using testing::errorCodeOf;
using testing::temporal;
using testing::time;
using Kind = TemporalKind;

using LexicalCase = testing::LexicalCase<Kind>;

const LexicalCase kLexicalCases[] = {
    // xs:dateTime
    {Kind::DateTime, "2002-10-10T12:00:00-05:00", "2002-10-10T12:00:00-05:00"},
    {Kind::DateTime, "2002-10-10T12:00:00+00:00", "2002-10-10T12:00:00Z"},
    {Kind::DateTime, "2002-10-10T12:00:00-00:00", "2002-10-10T12:00:00Z"},
    {Kind::DateTime, "2002-10-10T12:00:00+14:00", "2002-10-10T12:00:00+14:00"},
    {Kind::DateTime, "2002-10-10T12:00:00-14:00", "2002-10-10T12:00:00-14:00"},
    {Kind::DateTime, "2002-10-10T12:00:00+05:30", "2002-10-10T12:00:00+05:30"},
    {Kind::DateTime, "2002-10-10T12:00:00.500", "2002-10-10T12:00:00.5"},
    {Kind::DateTime, "2002-10-10T12:00:00.000", "2002-10-10T12:00:00"},
    {Kind::DateTime, "2002-10-10T12:00:09.000000001", "2002-10-10T12:00:09.000000001"},
    {Kind::DateTime, "2002-10-10T12:00:00.1234567899", "2002-10-10T12:00:00.123456789"},  // cut, not rounded
    {Kind::DateTime, "2002-02-28T24:00:00Z", "2002-03-01T00:00:00Z"},
    {Kind::DateTime, "1999-12-31T24:00:00", "2000-01-01T00:00:00"},
    {Kind::DateTime, "2000-02-29T00:00:00", "2000-02-29T00:00:00"},
    {Kind::DateTime, "-0044-03-15T12:00:00", "-0044-03-15T12:00:00"},
    {Kind::DateTime, "12345-01-01T00:00:00+14:00", "12345-01-01T00:00:00+14:00"},
    {Kind::DateTime, "1900-02-29T00:00:00", nullptr},
    {Kind::DateTime, "2001-02-29T00:00:00", nullptr},
    {Kind::DateTime, "2002-04-31T00:00:00", nullptr},
    {Kind::DateTime, "2002-13-01T00:00:00", nullptr},
    {Kind::DateTime, "2002-00-01T00:00:00", nullptr},
    {Kind::DateTime, "2002-10-00T00:00:00", nullptr},
    {Kind::DateTime, "0000-01-01T00:00:00", nullptr},
    {Kind::DateTime, "02002-01-01T00:00:00", nullptr},
    {Kind::DateTime, "202-01-01T00:00:00", nullptr},
    {Kind::DateTime, "+2002-01-01T00:00:00", nullptr},
    {Kind::DateTime, "2002-1-10T12:00:00", nullptr},
    {Kind::DateTime, "2002-10-10T24:00:01", nullptr},
    {Kind::DateTime, "2002-10-10T24:00:00.5", nullptr},
    {Kind::DateTime, "2002-10-10T25:00:00", nullptr},
    {Kind::DateTime, "2002-10-10T12:60:00", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:60", nullptr},
    {Kind::DateTime, "2002-10-10T12:00", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00.", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00-14:01", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00+15:00", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00+05:60", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00+0500", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00+05", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00z", nullptr},
    {Kind::DateTime, "2002-10-10 12:00:00", nullptr},
    {Kind::DateTime, "2002-10-10", nullptr},
    {Kind::DateTime, "2002-10-10T12:00:00Z ", nullptr},
    {Kind::DateTime, "", nullptr},
    // xs:date
    {Kind::Date, "2013-05-01", "2013-05-01"},
    {Kind::Date, "2002-10-10-05:00", "2002-10-10-05:00"},
    {Kind::Date, "2002-10-10+14:00", "2002-10-10+14:00"},
    {Kind::Date, "2000-02-29", "2000-02-29"},
    {Kind::Date, "2004-02-29Z", "2004-02-29Z"},
    {Kind::Date, "0005-01-01", "0005-01-01"},
    {Kind::Date, "-0001-02-29", "-0001-02-29"},  // 1 BCE, a leap year
    {Kind::Date, "-0044-03-15Z", "-0044-03-15Z"},
    {Kind::Date, "10000-01-01", "10000-01-01"},
    {Kind::Date, "1900-02-29", nullptr},
    {Kind::Date, "-0002-02-29", nullptr},
    {Kind::Date, "-0000-01-01", nullptr},
    {Kind::Date, "2002-10-10T00:00:00", nullptr},
    {Kind::Date, "2002-10", nullptr},
    {Kind::Date, "2002-10-10+14:01", nullptr},
    {Kind::Date, "2002-10-10-14:01", nullptr},
    {Kind::Date, "2002-10-1", nullptr},
    // xs:time
    {Kind::Time, "12:00:00Z", "12:00:00Z"},
    {Kind::Time, "13:20:00-05:00", "13:20:00-05:00"},
    {Kind::Time, "00:00:00+14:00", "00:00:00+14:00"},
    {Kind::Time, "24:00:00", "00:00:00"},
    {Kind::Time, "24:00:00.000Z", "00:00:00Z"},
    {Kind::Time, "12:00:00.50", "12:00:00.5"},
    {Kind::Time, "23:59:59.999999999", "23:59:59.999999999"},
    {Kind::Time, "24:00:01", nullptr},
    {Kind::Time, "12:00", nullptr},
    {Kind::Time, "1:00:00", nullptr},
    {Kind::Time, "12:00:00+14:30", nullptr},
    {Kind::Time, "T12:00:00", nullptr},
    {Kind::Time, "12:00:00.5.5", nullptr},
    // gregorian types
    {Kind::GYearMonth, "2004-04", "2004-04"},
    {Kind::GYearMonth, "-0044-03Z", "-0044-03Z"},
    {Kind::GYearMonth, "2004-13", nullptr},
    {Kind::GYearMonth, "2004", nullptr},
    {Kind::GYearMonth, "2004-04-01", nullptr},
    {Kind::GYear, "2004", "2004"},
    {Kind::GYear, "-0044", "-0044"},
    {Kind::GYear, "12345+01:00", "12345+01:00"},
    {Kind::GYear, "0000", nullptr},
    {Kind::GYear, "04", nullptr},
    {Kind::GYear, "2004-01", nullptr},
    {Kind::GMonthDay, "--05-01", "--05-01"},
    {Kind::GMonthDay, "--02-29", "--02-29"},
    {Kind::GMonthDay, "--12-31Z", "--12-31Z"},
    {Kind::GMonthDay, "--02-30", nullptr},
    {Kind::GMonthDay, "--04-31", nullptr},
    {Kind::GMonthDay, "-05-01", nullptr},
    {Kind::GMonthDay, "--5-01", nullptr},
    {Kind::GDay, "---05", "---05"},
    {Kind::GDay, "---31-14:00", "---31-14:00"},
    {Kind::GDay, "---32", nullptr},
    {Kind::GDay, "---00", nullptr},
    {Kind::GDay, "--05", nullptr},
    {Kind::GMonth, "--05", "--05"},
    {Kind::GMonth, "--12-05:00", "--12-05:00"},
    {Kind::GMonth, "--13", nullptr},
    {Kind::GMonth, "--05--", nullptr},
    {Kind::GMonth, "---05", nullptr},
};

TEST(TemporalLexical, ParsesValidFormsToTheirCanonicalText) {
    testing::expectLexicalForms<TemporalValue>(kLexicalCases);
}

TEST(TemporalLexical, KeepsComponentsInTheirFields) {
    TemporalValue value = dateTime("-0044-03-15T12:34:56.789+05:30");
    EXPECT_EQ(value.year, -44);
    EXPECT_EQ(value.month, 3);
    EXPECT_EQ(value.day, 15);
    EXPECT_EQ(value.hour, 12);
    EXPECT_EQ(value.minute, 34);
    EXPECT_EQ(value.second, 56);
    EXPECT_EQ(value.nanosecond, 789'000'000);
    EXPECT_EQ(value.timezoneMinutes, 330);
    EXPECT_FALSE(date("2002-10-10").timezoneMinutes);
    // Fields a kind lacks keep their defaults, so equal values compare equal field by field.
    TemporalValue gDay = temporal(Kind::GDay, "---05");
    EXPECT_EQ(gDay.month, 1);
    EXPECT_EQ(gDay.hour, 0);
}

TEST(TemporalLexical, YearsBeyondTheSupportedRangeOverflow) {
    EXPECT_EQ(date("2147483647-12-31").year, 2147483647);
    EXPECT_EQ(date("-2147483647-01-01").year, -2147483647);
    EXPECT_EQ(errorCodeOf([] { TemporalValue::parse(Kind::Date, "2147483648-01-01"); }), "FODT0001");
    EXPECT_EQ(errorCodeOf([] { TemporalValue::parse(Kind::GYear, "-99999999999999999999999"); }), "FODT0001");
    EXPECT_EQ(errorCodeOf([] { TemporalValue::parse(Kind::DateTime, "2147483647-12-31T24:00:00"); }), "FODT0001");
}

struct CastCase {
    Kind from;
    const char* text;
    Kind to;
    const char* expected;  // nullptr: XPath does not allow the cast
};

const CastCase kCastCases[] = {
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::DateTime, "2002-10-10T12:30:15.5-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::Date, "2002-10-10-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::Time, "12:30:15.5-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::GYearMonth, "2002-10-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::GYear, "2002-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::GMonthDay, "--10-10-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::GDay, "---10-05:00"},
    {Kind::DateTime, "2002-10-10T12:30:15.5-05:00", Kind::GMonth, "--10-05:00"},
    {Kind::Date, "-0012-12-03Z", Kind::DateTime, "-0012-12-03T00:00:00Z"},
    {Kind::Date, "-0012-12-03Z", Kind::Date, "-0012-12-03Z"},
    {Kind::Date, "-0012-12-03Z", Kind::Time, nullptr},
    {Kind::Date, "-0012-12-03Z", Kind::GYearMonth, "-0012-12Z"},
    {Kind::Date, "-0012-12-03Z", Kind::GYear, "-0012Z"},
    {Kind::Date, "-0012-12-03Z", Kind::GMonthDay, "--12-03Z"},
    {Kind::Date, "-0012-12-03Z", Kind::GDay, "---03Z"},
    {Kind::Date, "-0012-12-03Z", Kind::GMonth, "--12Z"},
    {Kind::Time, "12:00:00", Kind::Time, "12:00:00"},
    {Kind::Time, "12:00:00", Kind::DateTime, nullptr},
    {Kind::Time, "12:00:00", Kind::Date, nullptr},
    {Kind::GYear, "2004", Kind::GYear, "2004"},
    {Kind::GYear, "2004", Kind::GYearMonth, nullptr},
    {Kind::GYear, "2004", Kind::Date, nullptr},
    {Kind::GYearMonth, "2004-04", Kind::GYear, nullptr},
    {Kind::GMonthDay, "--04-01", Kind::GMonth, nullptr},
    {Kind::GDay, "---01", Kind::DateTime, nullptr},
    {Kind::GMonth, "--04", Kind::GMonth, "--04"},
};

TEST(TemporalCast, ConvertsBetweenKindsAsXPathAllows) {
    for (const CastCase& c : kCastCases) {
        std::optional<TemporalValue> converted = temporal(c.from, c.text).convertTo(c.to);
        if (!c.expected) {
            EXPECT_FALSE(converted) << c.text << " to kind " << static_cast<int>(c.to);
            continue;
        }
        ASSERT_TRUE(converted) << c.text;
        EXPECT_EQ(converted->toString(), c.expected);
        // The same fields as the value read from that text, those the kind lacks included.
        EXPECT_EQ(converted, TemporalValue::parse(c.to, c.expected)) << c.text;
    }
}

struct ComparisonCase {
    Kind kind;
    const char* a;
    const char* b;
    int implicitTimezone;
    std::strong_ordering expected;
};

const ComparisonCase kComparisonCases[] = {
    {Kind::DateTime, "2002-04-02T12:00:00-01:00", "2002-04-02T17:00:00+04:00", 0, std::strong_ordering::equal},
    {Kind::DateTime, "2002-04-02T12:00:00", "2002-04-02T23:00:00+06:00", -300, std::strong_ordering::equal},
    {Kind::DateTime, "2002-04-02T12:00:00", "2002-04-02T23:00:00+06:00", 0, std::strong_ordering::less},
    {Kind::DateTime, "2002-04-02T12:00:00Z", "2002-04-02T12:00:00.000000001Z", 0, std::strong_ordering::less},
    {Kind::DateTime, "1999-12-31T24:00:00Z", "2000-01-01T00:00:00Z", 0, std::strong_ordering::equal},
    {Kind::DateTime, "-0001-12-31T23:59:59Z", "0001-01-01T00:00:00Z", 0, std::strong_ordering::less},
    {Kind::DateTime, "-2147483647-01-01T00:00:00+14:00", "2147483647-12-31T23:59:59-14:00", 0,
     std::strong_ordering::less},
    {Kind::Date, "2004-12-25Z", "2004-12-25+07:00", 0, std::strong_ordering::greater},
    {Kind::Date, "2004-12-25-12:00", "2004-12-26+12:00", 0, std::strong_ordering::equal},
    {Kind::Date, "2000-01-01", "2000-01-01Z", 0, std::strong_ordering::equal},
    {Kind::Date, "2000-01-01", "2000-01-01Z", 60, std::strong_ordering::less},
    {Kind::Date, "2000-01-02", "2000-01-01", -840, std::strong_ordering::greater},
    {Kind::Time, "08:00:00+09:00", "17:00:00-06:00", 0, std::strong_ordering::less},  // on 1972-12-31, no wrap
    {Kind::Time, "21:30:00+10:30", "06:00:00-05:00", 0, std::strong_ordering::equal},
    {Kind::Time, "24:00:00", "00:00:00", 0, std::strong_ordering::equal},
    {Kind::Time, "12:00:00.000000001", "12:00:00", 0, std::strong_ordering::greater},
    {Kind::Time, "12:00:00", "11:00:00Z", 60, std::strong_ordering::equal},
    {Kind::GDay, "---12Z", "---12+14:00", 0, std::strong_ordering::greater},
    {Kind::GDay, "---31", "---01", 0, std::strong_ordering::greater},
    {Kind::GMonthDay, "--12-25-14:00", "--12-26+10:00", 0, std::strong_ordering::equal},
    {Kind::GMonthDay, "--02-29", "--03-01", 0, std::strong_ordering::less},
    {Kind::GYear, "2005-12:00", "2005+12:00", 0, std::strong_ordering::greater},
    {Kind::GYearMonth, "1986-02", "1986-03", 0, std::strong_ordering::less},
    {Kind::GMonth, "--12-14:00", "--12+10:00", 0, std::strong_ordering::greater},
};

TEST(TemporalComparison, ComparesInstantsWithTheImplicitTimezone) {
    for (const ComparisonCase& c : kComparisonCases) {
        TemporalValue a = temporal(c.kind, c.a);
        TemporalValue b = temporal(c.kind, c.b);
        EXPECT_TRUE(compareTemporal(a, b, c.implicitTimezone) == c.expected) << c.a << " vs " << c.b;
        EXPECT_TRUE(compareTemporal(b, a, c.implicitTimezone) == 0 <=> c.expected) << c.b << " vs " << c.a;
    }
}

TEST(TemporalAccessors, SecondsAsDecimalText) {
    EXPECT_EQ(dateTime("2000-01-01T00:00:05.250Z").secondsText(), "5.25");
    EXPECT_EQ(time("12:00:00").secondsText(), "0");
    EXPECT_EQ(time("00:00:59.000000001").secondsText(), "59.000000001");
    EXPECT_EQ(date("2000-01-01").secondsText(), "0");
}

TEST(TemporalAccessors, TimezoneAsDayTimeDuration) {
    EXPECT_EQ(dateTime("2000-01-01T00:00:00-05:00").timezoneDuration()->toString(), "-PT5H");
    EXPECT_EQ(time("10:00:00-00:00").timezoneDuration()->toString(), "PT0S");
    EXPECT_EQ(date("2000-01-01+05:30").timezoneDuration()->toString(), "PT5H30M");
    EXPECT_EQ(date("2000-01-01+05:30").timezoneDuration()->kind, DurationKind::DayTimeDuration);
    EXPECT_FALSE(date("2000-01-01").timezoneDuration());
}

TEST(TemporalClock, CurrentDateTimeIsInTheLocalTimezone) {
    TemporalValue now = currentDateTime();
    EXPECT_EQ(now.kind, Kind::DateTime);
    EXPECT_EQ(now.timezoneMinutes, localTimezoneMinutes());
    EXPECT_GE(now.year, 2024);
    EXPECT_EQ(TemporalValue::parse(Kind::DateTime, now.toString()), now);
    EXPECT_EQ(now.nanosecond % 1000, 0);  // microseconds
}

}  // namespace
}  // namespace quillmark::xpath
