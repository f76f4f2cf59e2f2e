#include "xpath/temporal_lexical.h"

#include <cstdlib>

namespace quillmark::xpath::temporal_lexical {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool Cursor::accept(char c) {
    if (!next(c)) return false;
    ++position_;
    return true;
}

// digits ::= [0-9]{count}
std::optional<int> Cursor::fixedDigits(int count) {
    if (text_.size() - position_ < static_cast<size_t>(count)) return std::nullopt;
    int value = 0;
    for (int i = 0; i < count; ++i) {
        char c = text_[position_ + i];
        if (!isDigit(c)) return std::nullopt;
        value = value * 10 + (c - '0');
    }
    position_ += count;
    return value;
}

// digitRun ::= [0-9]+
std::string_view Cursor::digitRun() {
    size_t end = position_;
    while (end < text_.size() && isDigit(text_[end])) ++end;
    std::string_view run = text_.substr(position_, end - position_);
    position_ = end;
    return run;
}

// fraction ::= ('.' [0-9]+)?
std::optional<int> Cursor::fraction() {
    if (!next('.')) return 0;
    size_t start = position_;
    ++position_;
    std::string_view digits = digitRun();
    if (digits.empty()) {
        position_ = start;
        return std::nullopt;
    }
    int nanoseconds = 0;
    for (size_t i = 0; i < 9; ++i) nanoseconds = nanoseconds * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return nanoseconds;
}

std::optional<int64_t> digitValue(std::string_view digits, int64_t limit) {
    int64_t value = 0;
    for (char c : digits) {
        int digit = c - '0';
        if (value > (limit - digit) / 10) return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

std::string secondsDecimalText(int64_t seconds, int nanoseconds) {
    bool negative = seconds < 0 || nanoseconds < 0;
    // Through unsigned so that the most negative value has a magnitude too.
    uint64_t wholeMagnitude = seconds < 0 ? 0 - static_cast<uint64_t>(seconds) : static_cast<uint64_t>(seconds);
    return (negative ? "-" : "") + std::to_string(wholeMagnitude) + fractionText(std::abs(nanoseconds));
}

std::string fractionText(int nanoseconds) {
    if (nanoseconds == 0) return "";
    std::string digits = paddedNumber(nanoseconds, 9);
    digits.erase(digits.find_last_not_of('0') + 1);
    return "." + digits;
}

std::string paddedNumber(int64_t value, int width) {
    std::string digits = std::to_string(value);
    if (digits.size() < static_cast<size_t>(width)) digits.insert(0, width - digits.size(), '0');
    return digits;
}

}  // namespace quillmark::xpath::temporal_lexical
