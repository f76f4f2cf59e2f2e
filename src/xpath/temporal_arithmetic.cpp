// Date/time arithmetic, timezone adjustment and fn:dateTime.
#include <cstdlib>

#include "xpath/error.h"
#include "xpath/temporal.h"
#include "xpath/temporal_calendar.h"

namespace quillmark::xpath {

namespace {

using calendar::kNanosPerDay;
using calendar::kNanosPerMinute;

bool isDateOrTime(TemporalKind kind) {
    switch (kind) {
    case TemporalKind::DateTime:
    case TemporalKind::Date:
    case TemporalKind::Time: return true;
    case TemporalKind::GYearMonth:
    case TemporalKind::GYear:
    case TemporalKind::GMonthDay:
    case TemporalKind::GDay:
    case TemporalKind::GMonth: return false;
    }
    return false;
}

void requireDateOrTime(const TemporalValue& value) {
    if (!isDateOrTime(value.kind))
        throw XPathError(ErrorCode::XPTY0004, "arithmetic needs an xs:dateTime, xs:date or xs:time, not " + value.toString());
}

// Moves the local time of a dateTime, date or time by `nanoseconds`: a date moves as its
// midnight and keeps only its date, a time wraps around midnight.
void shiftLocalTime(TemporalValue& value, __int128 nanoseconds) {
    requireDateOrTime(value);
    if (value.kind == TemporalKind::Time) {
        __int128 timeOfDay = calendar::timeOfDayNanoseconds(value) + nanoseconds;
        calendar::setTimeOfDay(value, static_cast<int64_t>(calendar::floorMod(timeOfDay, kNanosPerDay)));
        return;
    }
    calendar::setLocalNanoseconds(value, calendar::localNanoseconds(value) + nanoseconds);
    if (value.kind == TemporalKind::Date) calendar::setTimeOfDay(value, 0);
}

void checkTimezone(int minutes) {
    if (std::abs(minutes) > calendar::kMaxTimezoneMinutes)
        throw XPathError(ErrorCode::FODT0003, "timezone " + std::to_string(minutes) + " minutes is outside -14:00..+14:00");
}

}  // namespace

TemporalValue addDuration(const TemporalValue& value, const DurationValue& duration) {
    TemporalValue result = value;
    if (value.kind == TemporalKind::DateTime || value.kind == TemporalKind::Date) calendar::addMonths(result, duration.months);
    shiftLocalTime(result, duration.nanoseconds);
    return result;
}

TemporalValue subtractDuration(const TemporalValue& value, const DurationValue& duration) {
    return addDuration(value, DurationValue{duration.kind, -duration.months, -duration.nanoseconds});
}

DurationValue subtractTemporals(const TemporalValue& a, const TemporalValue& b, int implicitTimezoneMinutes) {
    if (a.kind != b.kind) throw XPathError(ErrorCode::XPTY0004, "cannot subtract values of different date/time types");
    requireDateOrTime(a);
    __int128 difference = calendar::instantNanoseconds(a, implicitTimezoneMinutes) -
                          calendar::instantNanoseconds(b, implicitTimezoneMinutes);
    return DurationValue::fromParts(DurationKind::DayTimeDuration, 0, difference);
}

int timezoneFromDuration(const DurationValue& timezone) {
    bool wholeMinutes = timezone.months == 0 && timezone.nanoseconds % kNanosPerMinute == 0;
    if (!wholeMinutes || timezone.nanoseconds > calendar::kMaxTimezoneMinutes * kNanosPerMinute ||
        timezone.nanoseconds < -calendar::kMaxTimezoneMinutes * kNanosPerMinute)
        throw XPathError(ErrorCode::FODT0003, "invalid timezone " + timezone.toString());
    return static_cast<int>(timezone.nanoseconds / kNanosPerMinute);
}

TemporalValue adjustToTimezone(const TemporalValue& value, std::optional<int> timezoneMinutes) {
    if (timezoneMinutes) checkTimezone(*timezoneMinutes);
    TemporalValue result = value;
    result.timezoneMinutes = timezoneMinutes;
    // A value without a timezone gets the new one as it is; removing one keeps the local time.
    int shift = value.timezoneMinutes && timezoneMinutes ? *timezoneMinutes - *value.timezoneMinutes : 0;
    shiftLocalTime(result, shift * kNanosPerMinute);
    return result;
}

TemporalValue combineDateAndTime(const TemporalValue& date, const TemporalValue& time) {
    if (date.kind != TemporalKind::Date || time.kind != TemporalKind::Time)
        throw XPathError(ErrorCode::XPTY0004, "fn:dateTime needs an xs:date and an xs:time");
    if (date.timezoneMinutes && time.timezoneMinutes && *date.timezoneMinutes != *time.timezoneMinutes)
        throw XPathError(ErrorCode::FORG0008, "the date and the time have different timezones");
    TemporalValue result = date;
    result.kind = TemporalKind::DateTime;
    calendar::setTimeOfDay(result, calendar::timeOfDayNanoseconds(time));
    result.timezoneMinutes = date.timezoneMinutes ? date.timezoneMinutes : time.timezoneMinutes;
    return result;
}

}  // namespace quillmark::xpath
