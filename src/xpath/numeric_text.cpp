#include "xpath/numeric_text.h"

#include "xpath/numeral_scan.h"
#include "xpath/subnormal_digits.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

namespace quillmark::xpath {

namespace {

// Reads the digits of std::to_chars scientific output, "-1.2345e-07" or "5e+00".
ScientificDigits readScientific(std::string_view text)
{
    ScientificDigits result;
    size_t position = text.front() == '-' ? 1 : 0;
    for (; text[position] != 'e'; ++position)
        if (text[position] != '.')
            result.digits += text[position];
    const std::string_view exponent = text.substr(position + 1);
    const size_t digitsStart = exponent.front() == '+' ? 1 : 0;
    std::from_chars(exponent.data() + digitsStart, exponent.data() + exponent.size(), result.exponent);
    return result;
}

// The shortest digits that read back to the same value.
template <typename Binary>
ScientificDigits shortestDigits(Binary value)
{
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::scientific);
    return readScientific(std::string_view(buffer.data(), static_cast<size_t>(result.ptr - buffer.data())));
}

// "d.ddd" followed by "E" and the exponent: "1.0E6", "1.2345E-7".
template <typename Binary>
std::string scientificText(Binary magnitude)
{
    const bool subnormal = std::fpclassify(magnitude) == FP_SUBNORMAL;
    const ScientificDigits number = subnormal ? subnormalDigits(magnitude) : shortestDigits(magnitude);
    const std::string fraction = number.digits.size() > 1 ? number.digits.substr(1) : "0";
    return number.digits.substr(0, 1) + "." + fraction + "E" + std::to_string(number.exponent);
}

// Plain notation without a trailing ".0": "123456.789", "0.000001", "100".
std::string plainText(const ScientificDigits& number)
{
    const auto digitCount = static_cast<int>(number.digits.size());
    if (number.exponent < 0)
        return "0." + std::string(static_cast<size_t>(-number.exponent - 1), '0') + number.digits;
    const int integerDigits = number.exponent + 1;
    if (digitCount <= integerDigits)
        return number.digits + std::string(static_cast<size_t>(integerDigits - digitCount), '0');
    const auto split = static_cast<size_t>(integerDigits);
    return number.digits.substr(0, split) + "." + number.digits.substr(split);
}

template <typename Binary>
std::string formatBinary(Binary value)
{
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value > 0 ? "INF" : "-INF";
    const std::string sign = std::signbit(value) ? "-" : "";
    if (value == 0)
        return sign + "0";
    // The bounds are compared in the value's own type: xs:float("0.000001") is plain.
    const Binary magnitude = std::fabs(value);
    const bool plain = magnitude >= static_cast<Binary>(1e-6) && magnitude < static_cast<Binary>(1e6);
    if (!plain)
        return sign + scientificText(magnitude);
    return sign + plainText(shortestDigits(magnitude));
}

// What the text conversion needs besides the text: where the first significant digit is,
// so that an out-of-range result can be told apart as overflow or underflow.
struct FloatingNumeral {
    bool negative = false;
    std::string_view unsignedText;  // the numeral without its sign
    int64_t magnitudeOrder = 0;     // the value lies in [10^(order-1), 10^order)
};

// Exponent digits, saturated far beyond any float or double exponent.
int64_t saturatedExponent(std::string_view digits)
{
    constexpr int64_t saturation = int64_t{1} << 40;
    int64_t exponent = 0;
    for (const char digit : digits) {
        exponent = exponent * 10 + (digit - '0');
        if (exponent > saturation)
            return saturation;
    }
    return exponent;
}

// The order of magnitude of digits '.' digits: the count of integer digits after leading
// zeros, or minus the fraction's leading zeros.
int64_t mantissaOrder(std::string_view integerDigits, std::string_view fractionDigits)
{
    const size_t firstInteger = integerDigits.find_first_not_of('0');
    if (firstInteger != std::string_view::npos)
        return static_cast<int64_t>(integerDigits.size() - firstInteger);
    const size_t firstFraction = fractionDigits.find_first_not_of('0');
    return -static_cast<int64_t>(firstFraction == std::string_view::npos ? 0 : firstFraction);
}

// numeral ::= [+-]? (digits ('.' digits?)? | '.' digits) ([eE] [+-]? digits)?
std::optional<FloatingNumeral> scanFloatingNumeral(std::string_view text)
{
    const std::string_view whole = text;
    const auto mantissa = takeMantissa(text, true);
    if (!mantissa)
        return std::nullopt;
    int64_t exponent = 0;
    if (!text.empty() && (text.front() == 'e' || text.front() == 'E')) {
        text.remove_prefix(1);
        const bool negativeExponent = !text.empty() && text.front() == '-';
        if (!text.empty() && (text.front() == '+' || text.front() == '-'))
            text.remove_prefix(1);
        const std::string_view exponentDigits = takeDigits(text);
        if (exponentDigits.empty())
            return std::nullopt;
        exponent = negativeExponent ? -saturatedExponent(exponentDigits) : saturatedExponent(exponentDigits);
    }
    if (!text.empty())
        return std::nullopt;
    FloatingNumeral numeral;
    numeral.negative = mantissa->negative;
    numeral.unsignedText = whole.substr(whole.front() == '+' || whole.front() == '-' ? 1 : 0);
    numeral.magnitudeOrder = mantissaOrder(mantissa->integerDigits, mantissa->fractionDigits) + exponent;
    return numeral;
}

template <typename Binary>
std::optional<Binary> parseBinary(std::string_view text)
{
    if (text == "INF" || text == "+INF")
        return std::numeric_limits<Binary>::infinity();
    if (text == "-INF")
        return -std::numeric_limits<Binary>::infinity();
    if (text == "NaN")
        return std::numeric_limits<Binary>::quiet_NaN();
    const auto numeral = scanFloatingNumeral(text);
    if (!numeral)
        return std::nullopt;
    const std::string_view digits = numeral->unsignedText;
    Binary magnitude = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    if (error == std::errc::result_out_of_range)
        magnitude = numeral->magnitudeOrder > 0 ? std::numeric_limits<Binary>::infinity() : Binary{0};
    else if (error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return numeral->negative ? -magnitude : magnitude;
}

}  // namespace

std::string formatDouble(double value) { return formatBinary(value); }

std::string formatFloat(float value) { return formatBinary(value); }

std::optional<double> parseDouble(std::string_view text) { return parseBinary<double>(text); }

std::optional<float> parseFloat(std::string_view text) { return parseBinary<float>(text); }

}  // namespace quillmark::xpath
