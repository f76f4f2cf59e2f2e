#pragma once
// Scanning and writing the pieces that date/time and duration lexical forms share:
// fixed-width digit fields, digit runs, fractions of a second cut to nanoseconds, and
// seconds written as decimal text without trailing zeros.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath::temporal_lexical {

constexpr int64_t kNanosPerSecond = 1'000'000'000;

// A read position in a lexical form. Every scan either consumes what it matched or
// leaves the position where it was.
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text) {}

    bool atEnd() const { return position_ == text_.size(); }
    bool next(char c) const { return !atEnd() && text_[position_] == c; }
    // Consumes `c` when it comes next.
    bool accept(char c);
    // Exactly `count` ASCII digits, as a number.
    std::optional<int> fixedDigits(int count);
    // One or more ASCII digits; empty when none comes next.
    std::string_view digitRun();
    // '.' digit+ as nanoseconds, digits beyond the ninth dropped; 0 when no '.' comes
    // next, nullopt for a '.' without digits.
    std::optional<int> fraction();

private:
    std::string_view text_;
    size_t position_ = 0;
};

// The value of a digit run when it does not exceed `limit`.
std::optional<int64_t> digitValue(std::string_view digits, int64_t limit);

// Seconds and nanoseconds (both of one sign) as decimal text: "5", "5.25", "-0.5".
std::string secondsDecimalText(int64_t seconds, int nanoseconds);
// The fraction of a second without trailing zeros: ".25" for 250000000, "" for 0.
std::string fractionText(int nanoseconds);
// A non-negative number in at least `width` digits, zero-padded: paddedNumber(5, 2) = "05".
std::string paddedNumber(int64_t value, int width);

}  // namespace quillmark::xpath::temporal_lexical
