#include "xpath/temporal_calendar.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "xpath/error.h"

namespace quillmark::xpath::calendar {

namespace {

// Lexical years skip 0; astronomical years count 1 BCE as 0 and make the arithmetic plain.
int64_t astronomicalYear(int64_t year) { return year > 0 ? year : year + 1; }
int64_t lexicalYear(int64_t astronomical) { return astronomical > 0 ? astronomical : astronomical - 1; }

// Days from 1970-01-01 to the given day of the astronomical year (the era-based method
// of counting 400-year cycles, exact for any year).
int64_t daysFromCivil(int64_t year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    int64_t era = (year >= 0 ? year : year - 399) / 400;
    int64_t yearOfEra = year - era * 400;
    int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

struct CivilDate {
    int64_t year;  // astronomical
    int month;
    int day;
};

CivilDate civilFromDays(int64_t days) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    int64_t dayOfEra = days - era * 146097;
    int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    int day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    int month = static_cast<int>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

void setLexicalYear(TemporalValue& value, int64_t astronomical) {
    int64_t year = lexicalYear(astronomical);
    if (!isYearInRange(year)) throw XPathError(ErrorCode::FODT0001, "year " + std::to_string(year) + " is out of range");
    value.year = year;
}

}  // namespace

bool isLeapYear(int64_t year) {
    int64_t astronomical = astronomicalYear(year);
    return astronomical % 4 == 0 && (astronomical % 100 != 0 || astronomical % 400 == 0);
}

int daysInMonth(int64_t year, int month) {
    static constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == 2 && isLeapYear(year)) return 29;
    return kLengths[month - 1];
}

bool isYearInRange(int64_t year) { return year != 0 && year >= -kMaxYear && year <= kMaxYear; }

__int128 floorDiv(__int128 value, __int128 divisor) {
    __int128 quotient = value / divisor;
    return (value % divisor != 0 && (value < 0) != (divisor < 0)) ? quotient - 1 : quotient;
}

__int128 floorMod(__int128 value, __int128 divisor) { return value - floorDiv(value, divisor) * divisor; }

int64_t timeOfDayNanoseconds(const TemporalValue& value) {
    return static_cast<int64_t>(value.hour * kNanosPerHour + value.minute * kNanosPerMinute +
                                value.second * kNanosPerSecond + value.nanosecond);
}

void setTimeOfDay(TemporalValue& value, int64_t nanoseconds) {
    value.hour = static_cast<int>(nanoseconds / kNanosPerHour);
    value.minute = static_cast<int>(nanoseconds / kNanosPerMinute % 60);
    value.second = static_cast<int>(nanoseconds / kNanosPerSecond % 60);
    value.nanosecond = static_cast<int>(nanoseconds % kNanosPerSecond);
}

__int128 localNanoseconds(const TemporalValue& value) {
    __int128 days = daysFromCivil(astronomicalYear(value.year), value.month, value.day);
    return days * kNanosPerDay + timeOfDayNanoseconds(value);
}

void setLocalNanoseconds(TemporalValue& value, __int128 nanoseconds) {
    __int128 days = floorDiv(nanoseconds, kNanosPerDay);
    // Far outside any supported year: refuse before the day count can overflow.
    if (days > INT64_MAX / 2 || days < INT64_MIN / 2) throw XPathError(ErrorCode::FODT0001, "date/time out of range");
    CivilDate date = civilFromDays(static_cast<int64_t>(days));
    setLexicalYear(value, date.year);
    value.month = date.month;
    value.day = date.day;
    setTimeOfDay(value, static_cast<int64_t>(nanoseconds - days * kNanosPerDay));
}

void addMonths(TemporalValue& value, int64_t months) {
    __int128 monthIndex = static_cast<__int128>(astronomicalYear(value.year)) * 12 + (value.month - 1) + months;
    __int128 year = floorDiv(monthIndex, 12);
    if (year > kMaxYear || year < -kMaxYear) throw XPathError(ErrorCode::FODT0001, "date/time out of range");
    setLexicalYear(value, static_cast<int64_t>(year));
    value.month = static_cast<int>(floorMod(monthIndex, 12)) + 1;
    value.day = std::min(value.day, daysInMonth(value.year, value.month));
}

TemporalValue onReferenceDate(const TemporalValue& value) {
    TemporalValue reference = value;
    reference.kind = TemporalKind::DateTime;
    auto clearTime = [&] { reference.hour = reference.minute = reference.second = reference.nanosecond = 0; };
    switch (value.kind) {
    case TemporalKind::DateTime: break;
    case TemporalKind::Date: clearTime(); break;
    case TemporalKind::Time:
        reference.year = 1972, reference.month = 12, reference.day = 31;
        break;
    case TemporalKind::GYearMonth:
        reference.day = 1;
        clearTime();
        break;
    case TemporalKind::GYear:
        reference.month = 1, reference.day = 1;
        clearTime();
        break;
    case TemporalKind::GMonthDay:
        reference.year = 1972;
        clearTime();
        break;
    case TemporalKind::GDay:
        reference.year = 1972, reference.month = 12;
        clearTime();
        break;
    case TemporalKind::GMonth:
        reference.year = 1972, reference.day = 1;
        clearTime();
        break;
    }
    return reference;
}

__int128 instantNanoseconds(const TemporalValue& value, int implicitTimezoneMinutes) {
    int timezone = value.timezoneMinutes.value_or(implicitTimezoneMinutes);
    return localNanoseconds(onReferenceDate(value)) - timezone * kNanosPerMinute;
}

}  // namespace quillmark::xpath::calendar
