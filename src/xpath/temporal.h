#pragma once
// XML Schema date/time, gregorian and duration values as XPath 2.0 uses them: their
// lexical and canonical forms, casts between kinds, comparison, arithmetic, component
// accessors and timezone adjustment. Fractional seconds travel as integer nanoseconds;
// where XPath wants an xs:decimal the functions return its text and callers parse it.
//
// Operations raise the W3C errors of their definitions as XPathError: FODT0001 when a
// date/time leaves the supported range, FODT0002 when a duration does, FODT0003 for a
// bad timezone, FOCA0005 for a NaN factor, FORG0008 for fn:dateTime with two timezones.

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath {

enum class TemporalKind { DateTime, Date, Time, GYearMonth, GYear, GMonthDay, GDay, GMonth };
enum class DurationKind { Duration, YearMonthDuration, DayTimeDuration };

struct DurationValue;

// A value of xs:dateTime, xs:date, xs:time or one of the gregorian types. Fields the kind
// does not have are 0 (time fields of a date) or 1 (month/day of a gYear...).
struct TemporalValue {
    TemporalKind kind = TemporalKind::DateTime;
    int64_t year = 1970;  // no year 0 (XML Schema 1.0): "-0001" is 1 BCE, "0000" is invalid
    int month = 1, day = 1, hour = 0, minute = 0, second = 0;
    int nanosecond = 0;
    std::optional<int> timezoneMinutes;  // -840..840

    // Lexical forms of XML Schema 1.0 (with "24:00:00" accepted and normalized to the next
    // day's 00:00:00 for dateTime, 00:00:00 for time); nullopt when invalid (bad day of month,
    // Feb 29 in a non-leap year, timezone out of range, missing digits...). No surrounding
    // white space (callers strip it). Throws FODT0001 for a year beyond the supported range.
    static std::optional<TemporalValue> parse(TemporalKind kind, std::string_view text);
    // Canonical form as XPath casts it to xs:string: "2013-05-01", "2002-10-10T12:00:00-05:00",
    // "12:00:00Z", fractional seconds without trailing zeros ("12:00:00.5"), years padded to 4
    // digits, "--05-01", "---05", "--05", "2004-04", "-0044".
    std::string toString() const;
    // Casting between kinds as XPath 2.0 defines (dateTime -> date/time/gregorian,
    // date -> dateTime at 00:00:00, date -> gregorian...). nullopt when XPath does not allow it.
    std::optional<TemporalValue> convertTo(TemporalKind target) const;

    // fn:year-from-dateTime ... fn:minutes-from-time read the fields above.
    // Seconds with their fraction as decimal text: "5", "5.25" (fn:seconds-from-dateTime).
    std::string secondsText() const;
    // The timezone as an xs:dayTimeDuration ("-PT5H"), nullopt without one
    // (fn:timezone-from-dateTime).
    std::optional<DurationValue> timezoneDuration() const;

    // Field-by-field identity (not XPath eq: "12:00:00Z" and "13:00:00+01:00" differ here).
    friend bool operator==(const TemporalValue&, const TemporalValue&) = default;
};

// Ordering of two values of the same kind. A value without a timezone is taken in
// `implicitTimezoneMinutes`. Equal instants compare equal whatever their timezones.
// Times and gregorian values are placed on the reference date 1972-12-31 as XPath does.
std::strong_ordering compareTemporal(const TemporalValue& a, const TemporalValue& b, int implicitTimezoneMinutes);

struct DurationValue {
    DurationKind kind = DurationKind::Duration;
    int64_t months = 0;        // total months, signed
    __int128 nanoseconds = 0;  // day/time part in nanoseconds, same sign as months (or either is 0)

    // Lexical forms of xs:duration and its two subtypes; nullopt when invalid ("P", "PT",
    // "P1Y" as a dayTimeDuration...). Throws FODT0002 for a value beyond the supported range:
    // like the reference processor, each written component and the total months must fit
    // in 31 bits.
    static std::optional<DurationValue> parse(DurationKind kind, std::string_view text);
    // A duration from its two parts (of one sign); FODT0002 when the months leave
    // -2147483647..2147483647 or the seconds the 64-bit range.
    static DurationValue fromParts(DurationKind kind, __int128 months, __int128 nanoseconds);
    // Canonical: "P1Y2M", "-P3DT4H5M6.5S", "PT0S" for zero dayTime/duration, "P0M" for zero
    // yearMonth (XPath 2.0 casts).
    std::string toString() const;
    DurationValue convertTo(DurationKind target) const;  // drops the other part
    // Seconds part of the canonical form as decimal text, e.g. "6.5", "-6.5" (for seconds-from-duration).
    std::string secondsText() const;

    // Components of the canonical form, each with the sign of the duration
    // (fn:years-from-duration ... fn:minutes-from-duration).
    int64_t years() const;
    int64_t monthsPart() const;  // 0..11 with the sign (fn:months-from-duration)
    int64_t days() const;
    int64_t hours() const;
    int64_t minutes() const;

    // Field-by-field identity, kind included (XPath eq is equalDurations).
    friend bool operator==(const DurationValue&, const DurationValue&) = default;
};
bool equalDurations(const DurationValue& a, const DurationValue& b);                    // eq on any two durations
std::strong_ordering compareDurations(const DurationValue& a, const DurationValue& b);  // only same ordered kind

// --- Arithmetic (op:add-*, op:subtract-*, op:multiply-*, op:divide-*) -------------------

// dateTime/date/time plus or minus a yearMonthDuration or dayTimeDuration. Adding months
// clamps the day to the month's end (2001-01-31 + P1M = 2001-02-28); a time wraps around
// midnight and ignores months. The timezone is kept. FODT0001 when the year leaves the range;
// XPTY0004 for a gregorian value.
TemporalValue addDuration(const TemporalValue& value, const DurationValue& duration);
TemporalValue subtractDuration(const TemporalValue& value, const DurationValue& duration);
// a - b for two dateTimes, two dates or two times, as an xs:dayTimeDuration; a side without
// a timezone is taken in `implicitTimezoneMinutes`. XPTY0004 for other kinds or two kinds.
DurationValue subtractTemporals(const TemporalValue& a, const TemporalValue& b, int implicitTimezoneMinutes);

// Sum and difference of two yearMonthDurations or two dayTimeDurations (the kind of `a`).
DurationValue addDurations(const DurationValue& a, const DurationValue& b);
DurationValue subtractDurations(const DurationValue& a, const DurationValue& b);
// Duration times / divided by a double, as the reference processor computes them: the
// double counts as its shortest decimal form, months are rounded half up, nanoseconds cut
// toward zero, and dividing by d scales by the double 1/d. FOCA0005 for NaN; FODT0002 for
// an infinite factor, a zero divisor or a result out of range (but a zero
// yearMonthDuration stays zero).
DurationValue multiplyDuration(const DurationValue& duration, double factor);
DurationValue divideDuration(const DurationValue& duration, double divisor);
// Ratio of two yearMonthDurations or two dayTimeDurations as xs:decimal text ("1.5"), with
// at most 20 fractional digits, the last rounded half to even; FOAR0001 when `b` is zero,
// XPTY0004 when `a` is a plain xs:duration.
std::string divideDurations(const DurationValue& a, const DurationValue& b);

// --- Timezones ----------------------------------------------------------------------------

// The offset in minutes a dayTimeDuration names as a timezone; FODT0003 unless it is whole
// minutes within -PT14H..PT14H.
int timezoneFromDuration(const DurationValue& timezone);
// fn:adjust-dateTime/date/time-to-timezone: with a timezone, a value that has one is moved
// to it and one without gets it; with nullopt the timezone is removed (local time kept).
// A date is adjusted as its midnight and keeps only the date. The one-argument functions
// pass the implicit timezone. FODT0003 for an offset beyond 14 hours, XPTY0004 for a
// gregorian value.
TemporalValue adjustToTimezone(const TemporalValue& value, std::optional<int> timezoneMinutes);

// fn:dateTime($date, $time): the date's fields, the time's, and the timezone of either;
// FORG0008 when both have a timezone and they differ.
TemporalValue combineDateAndTime(const TemporalValue& date, const TemporalValue& time);

// --- The clock ----------------------------------------------------------------------------

// The local offset from UTC in minutes at this moment (the implicit timezone).
int localTimezoneMinutes();
// The current xs:dateTime in the local timezone, with its fraction of a second (to
// microseconds); current-date() and current-time() are its convertTo(Date / Time).
TemporalValue currentDateTime();

}  // namespace quillmark::xpath
