#pragma once
// The proleptic Gregorian calendar under date/time values: leap years, month lengths,
// day numbers and the instant a value stands for. Years are those of the lexical forms
// (no year 0: -1 is 1 BCE, a leap year); the supported range is that of the reference
// processor, years -2147483647..2147483647, and leaving it raises FODT0001.

#include <cstdint>

#include "xpath/temporal.h"

namespace quillmark::xpath::calendar {

constexpr int64_t kMaxYear = 2'147'483'647;
constexpr __int128 kNanosPerSecond = 1'000'000'000;
constexpr __int128 kNanosPerMinute = 60 * kNanosPerSecond;
constexpr __int128 kNanosPerHour = 60 * kNanosPerMinute;
constexpr __int128 kNanosPerDay = 24 * kNanosPerHour;
// Timezones lie within -14:00..+14:00.
constexpr int kMaxTimezoneMinutes = 14 * 60;

bool isLeapYear(int64_t year);
int daysInMonth(int64_t year, int month);
bool isYearInRange(int64_t year);

// Floor division and the matching non-negative remainder.
__int128 floorDiv(__int128 value, __int128 divisor);
__int128 floorMod(__int128 value, __int128 divisor);

// Nanoseconds from 1970-01-01T00:00:00 to the value's date and time fields, taken as a
// local time (the timezone is not applied).
__int128 localNanoseconds(const TemporalValue& value);
// Sets the date and time fields to the local time `nanoseconds` after 1970-01-01T00:00:00;
// FODT0001 when its year is out of range.
void setLocalNanoseconds(TemporalValue& value, __int128 nanoseconds);
// The time fields as nanoseconds since midnight, and setting them from such a count
// (0 <= nanoseconds < one day).
int64_t timeOfDayNanoseconds(const TemporalValue& value);
void setTimeOfDay(TemporalValue& value, int64_t nanoseconds);
// Moves year and month by `months`, clamping the day to the new month's length
// (01-31 plus one month is 02-28 or 02-29); FODT0001 when the year is out of range.
void addMonths(TemporalValue& value, int64_t months);

// The value as the xs:dateTime XPath compares it by: a time on 1972-12-31, a gDay in
// 1972-12, the other gregorian values in 1972 or on the first day/month they lack.
TemporalValue onReferenceDate(const TemporalValue& value);
// Nanoseconds from 1970-01-01T00:00:00Z to the value placed on its reference date, a
// value without a timezone taken in `implicitTimezoneMinutes`.
__int128 instantNanoseconds(const TemporalValue& value, int implicitTimezoneMinutes);

}  // namespace quillmark::xpath::calendar
