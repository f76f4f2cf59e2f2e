#include "xpath/temporal.h"

#include <cstdlib>

#include "xpath/error.h"
#include "xpath/temporal_calendar.h"
#include "xpath/temporal_lexical.h"

namespace quillmark::xpath {

namespace {

using temporal_lexical::Cursor;
using temporal_lexical::paddedNumber;

// The components a kind's lexical form carries.
struct KindFields {
    bool year = false, month = false, day = false, time = false;
};

KindFields fieldsOf(TemporalKind kind) {
    switch (kind) {
    case TemporalKind::DateTime: return {true, true, true, true};
    case TemporalKind::Date: return {true, true, true, false};
    case TemporalKind::Time: return {false, false, false, true};
    case TemporalKind::GYearMonth: return {true, true, false, false};
    case TemporalKind::GYear: return {true, false, false, false};
    case TemporalKind::GMonthDay: return {false, true, true, false};
    case TemporalKind::GDay: return {false, false, true, false};
    case TemporalKind::GMonth: return {false, true, false, false};
    }
    return {};
}

// The value relabelled as `kind`, the components that kind lacks set to their defaults.
TemporalValue keepFieldsOf(TemporalValue value, TemporalKind kind) {
    const TemporalValue defaults;
    KindFields fields = fieldsOf(kind);
    value.kind = kind;
    if (!fields.year) value.year = defaults.year;
    if (!fields.month) value.month = defaults.month;
    if (!fields.day) value.day = defaults.day;
    if (!fields.time) value.hour = value.minute = value.second = value.nanosecond = 0;
    return value;
}

// year ::= '-'? [0-9]{4,}   (no leading zero beyond four digits, not 0000)
std::optional<int64_t> parseYear(Cursor& cursor) {
    bool negative = cursor.accept('-');
    std::string_view digits = cursor.digitRun();
    if (digits.size() < 4 || (digits.size() > 4 && digits.front() == '0')) return std::nullopt;
    std::optional<int64_t> magnitude = temporal_lexical::digitValue(digits, calendar::kMaxYear);
    if (!magnitude) throw XPathError(ErrorCode::FODT0001, "year " + std::string(digits) + " is out of range");
    if (*magnitude == 0) return std::nullopt;
    return negative ? -*magnitude : *magnitude;
}

bool assign(std::optional<int> field, int& target) {
    if (!field) return false;
    target = *field;
    return true;
}

// datePart ::= year '-' mm '-' dd | year '-' mm | year | '--' mm '-' dd | '---' dd | '--' mm
bool parseDatePart(Cursor& cursor, TemporalValue& value) {
    KindFields fields = fieldsOf(value.kind);
    if (fields.year) {
        std::optional<int64_t> year = parseYear(cursor);
        if (!year) return false;
        value.year = *year;
    } else if (fields.month || fields.day) {
        if (!cursor.accept('-') || !cursor.accept('-')) return false;
    }
    if (fields.month) {
        if (fields.year && !cursor.accept('-')) return false;
        if (!assign(cursor.fixedDigits(2), value.month)) return false;
    }
    if (fields.day) return cursor.accept('-') && assign(cursor.fixedDigits(2), value.day);
    return true;
}

// time ::= hh ':' mm ':' ss ('.' [0-9]+)?
bool parseTime(Cursor& cursor, TemporalValue& value) {
    return assign(cursor.fixedDigits(2), value.hour) && cursor.accept(':') &&
           assign(cursor.fixedDigits(2), value.minute) && cursor.accept(':') &&
           assign(cursor.fixedDigits(2), value.second) && assign(cursor.fraction(), value.nanosecond);
}

// timezone ::= ('Z' | ('+' | '-') hh ':' mm)?
bool parseTimezone(Cursor& cursor, std::optional<int>& timezone) {
    if (cursor.atEnd()) return true;
    if (cursor.accept('Z')) {
        timezone = 0;
        return true;
    }
    bool negative = cursor.next('-');
    if (!cursor.accept('-') && !cursor.accept('+')) return false;
    std::optional<int> hours = cursor.fixedDigits(2);
    if (!hours || !cursor.accept(':')) return false;
    std::optional<int> minutes = cursor.fixedDigits(2);
    if (!minutes || *minutes > 59) return false;
    int total = *hours * 60 + *minutes;
    if (total > calendar::kMaxTimezoneMinutes) return false;
    timezone = negative ? -total : total;
    return true;
}

bool hasValidFields(const TemporalValue& value) {
    TemporalValue reference = calendar::onReferenceDate(value);
    if (value.month < 1 || value.month > 12) return false;
    if (value.day < 1 || value.day > calendar::daysInMonth(reference.year, reference.month)) return false;
    if (value.hour == 24) return value.minute == 0 && value.second == 0 && value.nanosecond == 0;
    return value.hour < 24 && value.minute < 60 && value.second < 60;
}

// 24:00:00 is the midnight that ends the day: 00:00:00 of the next day.
void normalizeEndOfDay(TemporalValue& value) {
    if (value.hour != 24) return;
    if (value.kind == TemporalKind::DateTime) {
        calendar::setLocalNanoseconds(value, calendar::localNanoseconds(value));
        return;
    }
    value.hour = 0;
}

std::string yearText(int64_t year) {
    return year < 0 ? "-" + paddedNumber(-year, 4) : paddedNumber(year, 4);
}

std::string timeText(const TemporalValue& value) {
    return paddedNumber(value.hour, 2) + ":" + paddedNumber(value.minute, 2) + ":" + paddedNumber(value.second, 2) +
           temporal_lexical::fractionText(value.nanosecond);
}

std::string timezoneText(std::optional<int> timezone) {
    if (!timezone) return "";
    if (*timezone == 0) return "Z";
    int magnitude = std::abs(*timezone);
    return (*timezone < 0 ? "-" : "+") + paddedNumber(magnitude / 60, 2) + ":" + paddedNumber(magnitude % 60, 2);
}

bool isCastAllowed(TemporalKind from, TemporalKind to) {
    switch (from) {
    case TemporalKind::DateTime: return true;
    case TemporalKind::Date: return to != TemporalKind::Time;
    case TemporalKind::Time:
    case TemporalKind::GYearMonth:
    case TemporalKind::GYear:
    case TemporalKind::GMonthDay:
    case TemporalKind::GDay:
    case TemporalKind::GMonth: return to == from;
    }
    return false;
}

}  // namespace

// dateTime ::= datePart 'T' time timezone;  date, gregorian ::= datePart timezone;
// time ::= time timezone
std::optional<TemporalValue> TemporalValue::parse(TemporalKind kind, std::string_view text) {
    TemporalValue value;
    value.kind = kind;
    Cursor cursor(text);
    if (!parseDatePart(cursor, value)) return std::nullopt;
    if (kind == TemporalKind::DateTime && !cursor.accept('T')) return std::nullopt;
    if (fieldsOf(kind).time && !parseTime(cursor, value)) return std::nullopt;
    if (!parseTimezone(cursor, value.timezoneMinutes) || !cursor.atEnd()) return std::nullopt;
    if (!hasValidFields(value)) return std::nullopt;
    normalizeEndOfDay(value);
    return value;
}

std::string TemporalValue::toString() const {
    std::string text;
    switch (kind) {
    case TemporalKind::DateTime:
        text = yearText(year) + "-" + paddedNumber(month, 2) + "-" + paddedNumber(day, 2) + "T" + timeText(*this);
        break;
    case TemporalKind::Date: text = yearText(year) + "-" + paddedNumber(month, 2) + "-" + paddedNumber(day, 2); break;
    case TemporalKind::Time: text = timeText(*this); break;
    case TemporalKind::GYearMonth: text = yearText(year) + "-" + paddedNumber(month, 2); break;
    case TemporalKind::GYear: text = yearText(year); break;
    case TemporalKind::GMonthDay: text = "--" + paddedNumber(month, 2) + "-" + paddedNumber(day, 2); break;
    case TemporalKind::GDay: text = "---" + paddedNumber(day, 2); break;
    case TemporalKind::GMonth: text = "--" + paddedNumber(month, 2); break;
    }
    return text + timezoneText(timezoneMinutes);
}

std::optional<TemporalValue> TemporalValue::convertTo(TemporalKind target) const {
    if (!isCastAllowed(kind, target)) return std::nullopt;
    return keepFieldsOf(*this, target);
}

std::string TemporalValue::secondsText() const { return temporal_lexical::secondsDecimalText(second, nanosecond); }

std::optional<DurationValue> TemporalValue::timezoneDuration() const {
    if (!timezoneMinutes) return std::nullopt;
    return DurationValue{DurationKind::DayTimeDuration, 0, *timezoneMinutes * calendar::kNanosPerMinute};
}

std::strong_ordering compareTemporal(const TemporalValue& a, const TemporalValue& b, int implicitTimezoneMinutes) {
    return calendar::instantNanoseconds(a, implicitTimezoneMinutes) <=>
           calendar::instantNanoseconds(b, implicitTimezoneMinutes);
}

}  // namespace quillmark::xpath
