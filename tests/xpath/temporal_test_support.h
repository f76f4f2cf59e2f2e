#pragma once
// Helpers of the date/time and duration tests: values from their lexical forms and the
// W3C code of the error an operation raises.

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "xpath/error.h"
#include "xpath/temporal.h"

namespace quillmark::xpath::testing {

template <class Value, class Kind>
Value parsed(Kind kind, std::string_view text) {
    std::optional<Value> value = Value::parse(kind, text);
    if (!value) throw std::invalid_argument("not a valid lexical form: " + std::string(text));
    return *value;
}

inline TemporalValue temporal(TemporalKind kind, std::string_view text) { return parsed<TemporalValue>(kind, text); }
inline TemporalValue dateTime(std::string_view text) { return temporal(TemporalKind::DateTime, text); }
inline TemporalValue date(std::string_view text) { return temporal(TemporalKind::Date, text); }
inline TemporalValue time(std::string_view text) { return temporal(TemporalKind::Time, text); }

inline DurationValue duration(DurationKind kind, std::string_view text) { return parsed<DurationValue>(kind, text); }
inline DurationValue yearMonths(std::string_view text) { return duration(DurationKind::YearMonthDuration, text); }
inline DurationValue dayTime(std::string_view text) { return duration(DurationKind::DayTimeDuration, text); }

// A lexical form and its canonical form; nullptr when the form is invalid.
template <class Kind>
struct LexicalCase {
    Kind kind;
    const char* text;
    const char* canonical;
};

// Each valid form parses to a value of its kind with the canonical text, which reads back
// as the same value; each invalid form does not parse.
template <class Value, class Kind, size_t count>
void expectLexicalForms(const LexicalCase<Kind> (&cases)[count]) {
    for (const LexicalCase<Kind>& c : cases) {
        std::optional<Value> value = Value::parse(c.kind, c.text);
        if (!c.canonical) {
            EXPECT_FALSE(value) << c.text << " parsed as " << value->toString();
            continue;
        }
        ASSERT_TRUE(value) << c.text;
        EXPECT_EQ(value->kind, c.kind) << c.text;
        EXPECT_EQ(value->toString(), c.canonical) << c.text;
        EXPECT_EQ(Value::parse(c.kind, value->toString()), value) << c.text;
    }
}

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
