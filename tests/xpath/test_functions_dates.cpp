// The date, time and duration functions through whole expressions: component accessors
// (values as written, not normalized to UTC), timezones, the implicit timezone of the
// one-argument adjustments, fn:dateTime, and a clock that stands still during one
// evaluation.

#include "expression_test_support.h"

namespace quillmark::xpath::testing {
namespace {

// The outcome of `expression` under the given implicit timezone.
std::string outcomeInTimezone(const std::string& expression, int implicitTimezoneMinutes) {
    return evaluationOutcome(expression,
                             [=](DynamicContext& context) { context.setImplicitTimezone(implicitTimezoneMinutes); });
}

TEST(DateFunctions, ComponentsOfDateTimesDatesAndTimes) {
    expectOutcomes({
        {"year-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:integer 1999"},
        {"month-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:integer 5"},
        {"day-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:integer 31"},
        {"hours-from-dateTime(xs:dateTime('1999-05-31T21:30:00-05:00'))", "xs:integer 21"},  // not moved to UTC
        {"minutes-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:integer 20"},
        {"seconds-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:decimal 0"},
        {"seconds-from-dateTime(xs:dateTime('1999-05-31T13:20:07.25'))", "xs:decimal 7.25"},
        {"year-from-dateTime(xs:dateTime('1999-12-31T24:00:00'))", "xs:integer 2000"},  // 24:00 is the next day
        {"hours-from-dateTime(xs:dateTime('1999-12-31T24:00:00'))", "xs:integer 0"},
        {"year-from-dateTime(xs:dateTime('-0044-03-15T12:00:00'))", "xs:integer -44"},
        {"year-from-date(xs:date('2000-01-01+05:00'))", "xs:integer 2000"},
        {"month-from-date(xs:date('2000-02-29'))", "xs:integer 2"},
        {"day-from-date(xs:date('2000-02-29'))", "xs:integer 29"},
        {"hours-from-time(xs:time('01:23:00+05:00'))", "xs:integer 1"},
        {"hours-from-time(xs:time('24:00:00'))", "xs:integer 0"},
        {"minutes-from-time(xs:time('13:45:00Z'))", "xs:integer 45"},
        {"seconds-from-time(xs:time('13:20:10.5'))", "xs:decimal 10.5"},
        // Fractions are reported to the microsecond, rounded half up, as by the reference processor.
        {"seconds-from-time(xs:time('00:00:10.0000005'))", "xs:decimal 10.000001"},
        {"seconds-from-time(xs:time('00:00:10.1234564'))", "xs:decimal 10.123456"},
        {"seconds-from-dateTime(xs:dateTime('2000-01-01T00:00:59.999999999'))", "xs:decimal 60"},
        {"year-from-date(())", "()"},
        {"seconds-from-time(())", "()"},
        {"year-from-date(xs:dateTime('2000-01-01T00:00:00'))", "XPTY0004"},  // no conversion between kinds
        {"hours-from-time('12:00:00')", "XPTY0004"},
    });
}

TEST(DateFunctions, ComponentsOfUntypedValuesAreCastFirst) {
    const auto document = parseDocument("<r><d>2024-02-29</d><bad>2023-02-29</bad><t>10:15:00Z</t></r>");
    expectOutcomes({
        {"year-from-date(/r/d)", "xs:integer 2024"},
        {"day-from-date(/r/d)", "xs:integer 29"},
        {"minutes-from-time(/r/t)", "xs:integer 15"},
        {"year-from-date(/r/bad)", "FORG0001"},
    },
                      document.get());
}

TEST(DateFunctions, Timezones) {
    expectOutcomes({
        {"timezone-from-dateTime(xs:dateTime('1999-05-31T13:20:00-05:00'))", "xs:dayTimeDuration -PT5H"},
        {"timezone-from-dateTime(xs:dateTime('2000-06-12T13:20:00Z'))", "xs:dayTimeDuration PT0S"},
        {"timezone-from-dateTime(xs:dateTime('2004-08-27T00:00:00'))", "()"},  // not the implicit one
        {"timezone-from-date(xs:date('1999-05-31+05:30'))", "xs:dayTimeDuration PT5H30M"},
        {"timezone-from-date(xs:date('1999-05-31'))", "()"},
        {"timezone-from-time(xs:time('13:20:00-14:00'))", "xs:dayTimeDuration -PT14H"},
        {"timezone-from-time(())", "()"},
    });
}

TEST(DateFunctions, DurationComponents) {
    expectOutcomes({
        {"years-from-duration(xs:yearMonthDuration('P20Y15M'))", "xs:integer 21"},
        {"years-from-duration(xs:yearMonthDuration('-P15M'))", "xs:integer -1"},
        {"years-from-duration(xs:dayTimeDuration('-P2DT15H'))", "xs:integer 0"},
        {"months-from-duration(xs:yearMonthDuration('P20Y15M'))", "xs:integer 3"},
        {"months-from-duration(xs:yearMonthDuration('-P20Y18M'))", "xs:integer -6"},
        {"months-from-duration(xs:duration('P1Y2M3D'))", "xs:integer 2"},
        {"days-from-duration(xs:dayTimeDuration('P3DT55H'))", "xs:integer 5"},
        {"days-from-duration(xs:yearMonthDuration('P3Y'))", "xs:integer 0"},
        {"hours-from-duration(xs:dayTimeDuration('P3DT12H32M12S'))", "xs:integer 12"},
        {"hours-from-duration(xs:dayTimeDuration('PT123H'))", "xs:integer 3"},
        {"hours-from-duration(xs:dayTimeDuration('-P3DT10H'))", "xs:integer -10"},
        {"minutes-from-duration(xs:dayTimeDuration('-P5DT12H30M'))", "xs:integer -30"},
        {"seconds-from-duration(xs:dayTimeDuration('P3DT10H12.5S'))", "xs:decimal 12.5"},
        {"seconds-from-duration(xs:dayTimeDuration('-PT256S'))", "xs:decimal -16"},
        {"seconds-from-duration(xs:duration('P1Y'))", "xs:decimal 0"},
        {"years-from-duration(xs:untypedAtomic('P2Y'))", "xs:integer 2"},
        {"years-from-duration(())", "()"},
        {"years-from-duration('P1Y')", "XPTY0004"},
    });
}

TEST(DateFunctions, DateTimeCombinesADateAndATime) {
    expectOutcomes({
        {"dateTime(xs:date('1999-12-31'), xs:time('12:00:00'))", "xs:dateTime 1999-12-31T12:00:00"},
        {"dateTime(xs:date('1999-12-31'), xs:time('24:00:00'))", "xs:dateTime 1999-12-31T00:00:00"},
        {"dateTime(xs:date('2000-01-01Z'), xs:time('10:00:00'))", "xs:dateTime 2000-01-01T10:00:00Z"},
        {"dateTime(xs:date('2000-01-01'), xs:time('10:00:00+01:00'))", "xs:dateTime 2000-01-01T10:00:00+01:00"},
        {"dateTime(xs:date('2000-01-01+01:00'), xs:time('10:00:00+01:00'))", "xs:dateTime 2000-01-01T10:00:00+01:00"},
        {"dateTime(xs:date('2000-01-01Z'), xs:time('10:00:00+01:00'))", "FORG0008"},
        {"dateTime((), xs:time('10:00:00'))", "()"},
        {"dateTime(xs:date('2000-01-01'), ())", "()"},
    });
}

TEST(DateFunctions, OneArgumentAdjustmentsUseTheImplicitTimezone) {
    constexpr int minusFive = -5 * 60;
    const std::vector<OutcomeCase> cases = {
        {"implicit-timezone()", "xs:dayTimeDuration -PT5H"},
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T10:00:00'))", "xs:dateTime 2002-03-07T10:00:00-05:00"},
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T10:00:00-07:00'))",
         "xs:dateTime 2002-03-07T12:00:00-05:00"},
        {"adjust-date-to-timezone(xs:date('2002-03-07'))", "xs:date 2002-03-07-05:00"},
        {"adjust-date-to-timezone(xs:date('2002-03-07-07:00'))", "xs:date 2002-03-07-05:00"},
        {"adjust-time-to-timezone(xs:time('10:00:00'))", "xs:time 10:00:00-05:00"},
        {"adjust-time-to-timezone(xs:time('10:00:00-07:00'))", "xs:time 12:00:00-05:00"},
    };
    for (const OutcomeCase& testCase : cases) {
        EXPECT_EQ(outcomeInTimezone(testCase.expression, minusFive), testCase.expected) << testCase.expression;
    }
    EXPECT_EQ(outcomeInTimezone("implicit-timezone()", 90), "xs:dayTimeDuration PT1H30M");
    EXPECT_EQ(outcomeInTimezone("adjust-time-to-timezone(xs:time('10:00:00Z'))", 90), "xs:time 11:30:00+01:30");
}

TEST(DateFunctions, AdjustToTimezone) {
    expectOutcomes({
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T10:00:00'), xs:dayTimeDuration('-PT10H'))",
         "xs:dateTime 2002-03-07T10:00:00-10:00"},
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T10:00:00-07:00'), xs:dayTimeDuration('PT10H'))",
         "xs:dateTime 2002-03-08T03:00:00+10:00"},
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T00:00:00+01:00'), xs:dayTimeDuration('-PT8H'))",
         "xs:dateTime 2002-03-06T15:00:00-08:00"},
        {"adjust-dateTime-to-timezone(xs:dateTime('2002-03-07T10:00:00-07:00'), ())",
         "xs:dateTime 2002-03-07T10:00:00"},
        {"adjust-dateTime-to-timezone((), xs:dayTimeDuration('PT1H'))", "()"},
        {"adjust-date-to-timezone(xs:date('2002-03-07-07:00'), xs:dayTimeDuration('-PT10H'))",
         "xs:date 2002-03-06-10:00"},
        {"adjust-date-to-timezone(xs:date('2002-03-07-07:00'), ())", "xs:date 2002-03-07"},
        {"adjust-time-to-timezone(xs:time('10:00:00-07:00'), xs:dayTimeDuration('PT10H'))", "xs:time 03:00:00+10:00"},
        {"adjust-time-to-timezone(xs:time('10:00:00-07:00'), ())", "xs:time 10:00:00"},
        {"adjust-time-to-timezone(xs:time('10:00:00'), xs:dayTimeDuration('PT14H1M'))", "FODT0003"},
        {"adjust-time-to-timezone(xs:time('10:00:00'), xs:dayTimeDuration('-PT15H'))", "FODT0003"},
        {"adjust-time-to-timezone(xs:time('10:00:00'), xs:dayTimeDuration('PT10H30S'))", "FODT0003"},
        {"adjust-date-to-timezone(xs:date('2002-03-07'), xs:yearMonthDuration('P1M'))", "XPTY0004"},
    });
}

TEST(DateFunctions, TheClockStandsStillDuringAnEvaluation) {
    expectOutcomes({
        {"every $i in 1 to 2000 satisfies current-dateTime() eq current-dateTime()", "xs:boolean true"},
        {"current-date() eq xs:date(current-dateTime())", "xs:boolean true"},
        {"current-time() eq xs:time(current-dateTime())", "xs:boolean true"},
        {"exists(timezone-from-dateTime(current-dateTime()))", "xs:boolean true"},
        {"current-dateTime() instance of xs:dateTime", "xs:boolean true"},
        {"year-from-date(current-date()) ge 2024", "xs:boolean true"},
    });
}

}  // namespace
}  // namespace quillmark::xpath::testing
