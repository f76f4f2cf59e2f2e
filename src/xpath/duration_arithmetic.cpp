// Sums, differences, scaling and ratios of durations. Scaling follows the reference
// processor: the double factor is taken as the shortest decimal that reads back as it
// ("1.1", not its binary expansion), months are rounded half up and nanoseconds cut
// toward zero; dividing by d scales by the double 1/d. Products are computed exactly.
#include <charconv>
#include <cmath>
#include <gmpxx.h>

#include "xpath/error.h"
#include "xpath/temporal.h"

namespace quillmark::xpath {

namespace {

// digits × 10^exponent
struct ExactDecimal {
    mpz_class digits;
    int exponent = 0;
};

ExactDecimal shortestDecimal(double value) {
    char text[64];
    auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    (void)error;  // 64 characters hold any double
    std::string_view written(text, end - text);
    size_t exponentMark = written.find('e');
    std::string mantissa;
    int fractionDigits = 0;
    bool afterPoint = false;
    for (char c : written.substr(0, exponentMark)) {
        if (c == '.') {
            afterPoint = true;
            continue;
        }
        mantissa += c;
        if (afterPoint) ++fractionDigits;
    }
    int exponent = std::stoi(std::string(written.substr(exponentMark + 1)));
    return ExactDecimal{mpz_class(mantissa), exponent - fractionDigits};
}

mpz_class powerOfTen(int exponent) {
    mpz_class power;
    mpz_ui_pow_ui(power.get_mpz_t(), 10, static_cast<unsigned long>(exponent));
    return power;
}

mpz_class toMpz(__int128 value) {
    unsigned __int128 magnitude = value < 0 ? -static_cast<unsigned __int128>(value) : static_cast<unsigned __int128>(value);
    mpz_class result = static_cast<unsigned long>(magnitude >> 64);
    result <<= 64;
    result += static_cast<unsigned long>(magnitude & UINT64_MAX);
    return value < 0 ? mpz_class(-result) : result;
}

// `value` when it fits the range of duration parts, which fromParts then checks exactly.
__int128 toInt128(const mpz_class& value) {
    static const mpz_class kLimit = toMpz(static_cast<__int128>(1) << 120);
    if (abs(value) > kLimit) throw XPathError(ErrorCode::FODT0002, "duration out of range");
    mpz_class magnitude = abs(value);
    mpz_class high = magnitude >> 64;
    mpz_class low = magnitude - (high << 64);
    auto result = static_cast<__int128>((static_cast<unsigned __int128>(high.get_ui()) << 64) | low.get_ui());
    return value < 0 ? -result : result;
}

// value × factor cut toward zero.
__int128 truncatedProduct(__int128 value, const ExactDecimal& factor) {
    mpz_class product = toMpz(value) * factor.digits;
    if (factor.exponent >= 0) return toInt128(product * powerOfTen(factor.exponent));
    mpz_class quotient;
    mpz_tdiv_q(quotient.get_mpz_t(), product.get_mpz_t(), powerOfTen(-factor.exponent).get_mpz_t());
    return toInt128(quotient);
}

// value × factor rounded half up (toward positive infinity on a tie, as fn:round).
__int128 roundedProduct(__int128 value, const ExactDecimal& factor) {
    mpz_class product = toMpz(value) * factor.digits;
    if (factor.exponent >= 0) return toInt128(product * powerOfTen(factor.exponent));
    mpz_class scale = powerOfTen(-factor.exponent);
    mpz_class numerator = 2 * product + scale;
    mpz_class denominator = 2 * scale;
    mpz_class quotient;
    mpz_fdiv_q(quotient.get_mpz_t(), numerator.get_mpz_t(), denominator.get_mpz_t());
    return toInt128(quotient);
}

// a / b as decimal text with at most 20 fractional digits, the last rounded half to even.
std::string decimalRatio(__int128 a, __int128 b) {
    if (b == 0) throw XPathError(ErrorCode::FOAR0001, "division by a zero duration");
    constexpr int kScale = 20;
    mpz_class numerator = abs(toMpz(a)) * powerOfTen(kScale);
    mpz_class denominator = abs(toMpz(b));
    mpz_class quotient, remainder;
    mpz_tdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), numerator.get_mpz_t(), denominator.get_mpz_t());
    int half = cmp(2 * remainder, denominator);
    if (half > 0 || (half == 0 && mpz_odd_p(quotient.get_mpz_t()))) ++quotient;
    std::string digits = quotient.get_str();
    if (digits.size() <= kScale) digits.insert(0, kScale + 1 - digits.size(), '0');
    std::string text = digits.substr(0, digits.size() - kScale);
    std::string fraction = digits.substr(digits.size() - kScale);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    if (!fraction.empty()) text += "." + fraction;
    bool negative = (a < 0) != (b < 0) && quotient != 0;
    return negative ? "-" + text : text;
}

// The reference processor keeps a zero yearMonthDuration zero even when it is scaled by
// infinity or divided by zero, while a zero dayTimeDuration overflows.
bool isZeroYearMonthDuration(const DurationValue& duration) {
    return duration.kind == DurationKind::YearMonthDuration && duration.months == 0;
}

}  // namespace

DurationValue addDurations(const DurationValue& a, const DurationValue& b) {
    return DurationValue::fromParts(a.kind, static_cast<__int128>(a.months) + b.months, a.nanoseconds + b.nanoseconds);
}

DurationValue subtractDurations(const DurationValue& a, const DurationValue& b) {
    return DurationValue::fromParts(a.kind, static_cast<__int128>(a.months) - b.months, a.nanoseconds - b.nanoseconds);
}

DurationValue multiplyDuration(const DurationValue& duration, double factor) {
    if (std::isnan(factor)) throw XPathError(ErrorCode::FOCA0005, "a duration multiplied by NaN");
    if (isZeroYearMonthDuration(duration)) return duration;
    if (std::isinf(factor)) throw XPathError(ErrorCode::FODT0002, "a duration multiplied by infinity");
    ExactDecimal exact = shortestDecimal(factor);
    return DurationValue::fromParts(duration.kind, roundedProduct(duration.months, exact),
                                    truncatedProduct(duration.nanoseconds, exact));
}

DurationValue divideDuration(const DurationValue& duration, double divisor) {
    if (std::isnan(divisor)) throw XPathError(ErrorCode::FOCA0005, "a duration divided by NaN");
    if (isZeroYearMonthDuration(duration)) return duration;
    if (divisor == 0) throw XPathError(ErrorCode::FODT0002, "a duration divided by zero");
    return multiplyDuration(duration, 1.0 / divisor);
}

std::string divideDurations(const DurationValue& a, const DurationValue& b) {
    switch (a.kind) {
    case DurationKind::YearMonthDuration: return decimalRatio(a.months, b.months);
    case DurationKind::DayTimeDuration: return decimalRatio(a.nanoseconds, b.nanoseconds);
    case DurationKind::Duration: break;
    }
    throw XPathError(ErrorCode::XPTY0004, "only xs:yearMonthDuration and xs:dayTimeDuration values can be divided");
}

}  // namespace quillmark::xpath
