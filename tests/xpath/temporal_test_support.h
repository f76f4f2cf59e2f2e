#pragma once
// Helpers of the date/time and duration tests: values from their lexical forms and the
// W3C code of the error an operation raises.

#include <stdexcept>
#include <string>
#include <string_view>

#include "xpath/error.h"
#include "xpath/temporal.h"

namespace quillmark::xpath::testing {

inline TemporalValue temporal(TemporalKind kind, std::string_view text) {
    std::optional<TemporalValue> value = TemporalValue::parse(kind, text);
    if (!value) throw std::invalid_argument("not a valid lexical form: " + std::string(text));
    return *value;
}
inline TemporalValue dateTime(std::string_view text) { return temporal(TemporalKind::DateTime, text); }
inline TemporalValue date(std::string_view text) { return temporal(TemporalKind::Date, text); }
inline TemporalValue time(std::string_view text) { return temporal(TemporalKind::Time, text); }

inline DurationValue duration(DurationKind kind, std::string_view text) {
    std::optional<DurationValue> value = DurationValue::parse(kind, text);
    if (!value) throw std::invalid_argument("not a valid duration: " + std::string(text));
    return *value;
}
inline DurationValue yearMonths(std::string_view text) { return duration(DurationKind::YearMonthDuration, text); }
inline DurationValue dayTime(std::string_view text) { return duration(DurationKind::DayTimeDuration, text); }

// "FODT0001" for an operation that raises it, "no error" when it returns.
template <class Operation>
std::string errorCodeOf(Operation&& operation) {
    try {
        operation();
    } catch (const XPathError& error) {
        return error.codeText();
    }
    return "no error";
}

}  // namespace quillmark::xpath::testing
