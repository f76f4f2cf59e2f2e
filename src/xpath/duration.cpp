#include "xpath/temporal.h"

#include <array>
#include <cstdint>

#include "xpath/error.h"
#include "xpath/temporal_calendar.h"
#include "xpath/temporal_lexical.h"

namespace quillmark::xpath {

namespace {

using calendar::kNanosPerDay;
using calendar::kNanosPerHour;
using calendar::kNanosPerMinute;
using calendar::kNanosPerSecond;
using temporal_lexical::Cursor;

constexpr int64_t kMaxComponent = INT32_MAX;
constexpr __int128 kMaxMonths = INT32_MAX;
constexpr __int128 kMaxNanoseconds = static_cast<__int128>(INT64_MAX) * kNanosPerSecond + (kNanosPerSecond - 1);

// The digits written before each designator, empty when the component is absent.
enum Component { Years, Months, Days, Hours, Minutes, Seconds, ComponentCount };

struct WrittenDuration {
    bool negative = false;
    bool hasTimePart = false;
    std::array<std::string_view, ComponentCount> digits;
    int nanoseconds = 0;

    bool has(Component component) const { return !digits[component].empty(); }
    bool hasAny(Component first, Component last) const {
        for (int c = first; c <= last; ++c)
            if (has(static_cast<Component>(c))) return true;
        return false;
    }
};

// part ::= ([0-9]+ letters[0])? ([0-9]+ letters[1])? ([0-9]+ ('.' [0-9]+)? letters[2])?
// (a fraction only before 'S'). Components go to `first` onwards; false for a malformed part.
bool parsePart(Cursor& cursor, std::string_view letters, Component first, WrittenDuration& written) {
    size_t letter = 0;
    for (std::string_view digits = cursor.digitRun(); !digits.empty(); digits = cursor.digitRun()) {
        bool hasFraction = cursor.next('.');
        std::optional<int> fraction = cursor.fraction();
        if (!fraction) return false;
        while (letter < letters.size() && !cursor.accept(letters[letter])) ++letter;
        if (letter == letters.size()) return false;
        if (hasFraction && letters[letter] != 'S') return false;
        written.digits[first + letter] = digits;
        if (hasFraction) written.nanoseconds = *fraction;
        ++letter;
    }
    return true;
}

// duration ::= '-'? 'P' (n 'Y')? (n 'M')? (n 'D')? ('T' (n 'H')? (n 'M')? (n ('.' n)? 'S')?)?
std::optional<WrittenDuration> parseWritten(std::string_view text) {
    Cursor cursor(text);
    WrittenDuration written;
    written.negative = cursor.accept('-');
    if (!cursor.accept('P') || !parsePart(cursor, "YMD", Years, written)) return std::nullopt;
    written.hasTimePart = cursor.accept('T');
    if (written.hasTimePart && !parsePart(cursor, "HMS", Hours, written)) return std::nullopt;
    if (!cursor.atEnd()) return std::nullopt;
    // At least one component, and one after a 'T'.
    if (!written.hasAny(Years, Seconds)) return std::nullopt;
    if (written.hasTimePart && !written.hasAny(Hours, Seconds)) return std::nullopt;
    return written;
}

bool allowsComponents(DurationKind kind, const WrittenDuration& written) {
    switch (kind) {
    case DurationKind::Duration: return true;
    case DurationKind::YearMonthDuration: return !written.hasAny(Days, Seconds) && !written.hasTimePart;
    case DurationKind::DayTimeDuration: return !written.hasAny(Years, Months);
    }
    return false;
}

__int128 componentValue(const WrittenDuration& written, Component component) {
    std::optional<int64_t> value = temporal_lexical::digitValue(written.digits[component], kMaxComponent);
    if (!value) throw XPathError(ErrorCode::FODT0002, "duration component " + std::string(written.digits[component]) + " is too large");
    return *value;
}

__int128 magnitude(__int128 value) { return value < 0 ? -value : value; }

}  // namespace

std::optional<DurationValue> DurationValue::parse(DurationKind kind, std::string_view text) {
    std::optional<WrittenDuration> written = parseWritten(text);
    if (!written || !allowsComponents(kind, *written)) return std::nullopt;
    __int128 months = componentValue(*written, Years) * 12 + componentValue(*written, Months);
    __int128 nanoseconds = componentValue(*written, Days) * kNanosPerDay + componentValue(*written, Hours) * kNanosPerHour +
                           componentValue(*written, Minutes) * kNanosPerMinute +
                           componentValue(*written, Seconds) * kNanosPerSecond + written->nanoseconds;
    int sign = written->negative ? -1 : 1;
    return fromParts(kind, sign * months, sign * nanoseconds);
}

DurationValue DurationValue::fromParts(DurationKind kind, __int128 months, __int128 nanoseconds) {
    if (magnitude(months) > kMaxMonths || magnitude(nanoseconds) > kMaxNanoseconds)
        throw XPathError(ErrorCode::FODT0002, "duration out of range");
    return DurationValue{kind, static_cast<int64_t>(months), nanoseconds};
}

std::string DurationValue::toString() const {
    if (months == 0 && nanoseconds == 0) return kind == DurationKind::YearMonthDuration ? "P0M" : "PT0S";
    const DurationValue size{kind, months < 0 ? -months : months, magnitude(nanoseconds)};
    std::string text = months < 0 || nanoseconds < 0 ? "-P" : "P";
    auto append = [&](int64_t value, char designator) {
        if (value != 0) text += std::to_string(value) + designator;
    };
    append(size.years(), 'Y');
    append(size.monthsPart(), 'M');
    append(size.days(), 'D');
    if (size.nanoseconds % kNanosPerDay == 0) return text;
    text += 'T';
    append(size.hours(), 'H');
    append(size.minutes(), 'M');
    if (size.nanoseconds % kNanosPerMinute == 0) return text;
    return text + size.secondsText() + 'S';
}

DurationValue DurationValue::convertTo(DurationKind target) const {
    switch (target) {
    case DurationKind::Duration: return DurationValue{target, months, nanoseconds};
    case DurationKind::YearMonthDuration: return DurationValue{target, months, 0};
    case DurationKind::DayTimeDuration: return DurationValue{target, 0, nanoseconds};
    }
    return *this;
}

std::string DurationValue::secondsText() const {
    __int128 secondsPart = nanoseconds % kNanosPerMinute;
    return temporal_lexical::secondsDecimalText(static_cast<int64_t>(secondsPart / kNanosPerSecond),
                                                static_cast<int>(secondsPart % kNanosPerSecond));
}

int64_t DurationValue::years() const { return months / 12; }
int64_t DurationValue::monthsPart() const { return months % 12; }
int64_t DurationValue::days() const { return static_cast<int64_t>(nanoseconds / kNanosPerDay); }
int64_t DurationValue::hours() const { return static_cast<int64_t>(nanoseconds % kNanosPerDay / kNanosPerHour); }
int64_t DurationValue::minutes() const { return static_cast<int64_t>(nanoseconds % kNanosPerHour / kNanosPerMinute); }

bool equalDurations(const DurationValue& a, const DurationValue& b) {
    return a.months == b.months && a.nanoseconds == b.nanoseconds;
}

std::strong_ordering compareDurations(const DurationValue& a, const DurationValue& b) {
    if (a.months != b.months) return a.months <=> b.months;
    return a.nanoseconds <=> b.nanoseconds;
}

}  // namespace quillmark::xpath
