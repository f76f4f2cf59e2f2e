#include "xpath/subnormal_digits.h"

#include <gmpxx.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace quillmark::xpath {

namespace {

constexpr int kDoubleFractionBits = 52;
constexpr uint64_t kDoubleFractionMask = (uint64_t{1} << kDoubleFractionBits) - 1;

// A subnormal value as fraction * 2^(binaryExponent - 52), the fraction's leading one moved
// to bit 52 as for a normal double; significantBits counts the bits the value really has.
struct NormalizedBinary {
    uint64_t fraction;
    int binaryExponent;
    int significantBits;
};

NormalizedBinary normalize(double magnitude)
{
    const uint64_t raw = std::bit_cast<uint64_t>(magnitude) & kDoubleFractionMask;
    const int leadingZeros = std::countl_zero(raw);
    const int shift = leadingZeros - (63 - kDoubleFractionBits);
    return {raw << shift, 1 - shift - 1023, 64 - leadingZeros};
}

NormalizedBinary normalize(float magnitude)
{
    constexpr int floatFractionBits = 23;
    const uint32_t raw = std::bit_cast<uint32_t>(magnitude) & ((uint32_t{1} << floatFractionBits) - 1);
    const int leadingZeros = std::countl_zero(raw);
    const int shift = leadingZeros - (31 - floatFractionBits);
    const uint64_t fraction = uint64_t{raw << shift} << (kDoubleFractionBits - floatFractionBits);
    return {fraction, 1 - shift - 127, 32 - leadingZeros};
}

// floor(log10(value)) estimated from a tangent of log10 at 1.5; it can come out one too high.
int estimateDecimalExponent(const NormalizedBinary& value)
{
    const double significand = 1.0 + std::ldexp(static_cast<double>(value.fraction & kDoubleFractionMask), -kDoubleFractionBits);
    const double estimate = (significand - 1.5) * 0.289529654 + 0.176091259 + value.binaryExponent * 0.301029995663981;
    return static_cast<int>(std::floor(estimate));
}

mpz_class powerProduct(unsigned long base5Exponent, int base2Exponent)
{
    mpz_class product;
    mpz_ui_pow_ui(product.get_mpz_t(), 5, base5Exponent);
    return product << static_cast<mp_bitcnt_t>(base2Exponent);
}

// Increments the last digit with carry; a carry out of the first digit makes "10..." and
// raises the exponent.
void roundUp(ScientificDigits& number)
{
    auto position = number.digits.size();
    while (position > 0 && number.digits[position - 1] == '9')
        number.digits[--position] = '0';
    if (position == 0) {
        number.digits.front() = '1';
        ++number.exponent;
        return;
    }
    ++number.digits[position - 1];
}

// The value is b / s * 10^decimalExponent; digits are taken off b / s until the remainder is
// within the margin m of either neighbour, and the last one is then rounded.
ScientificDigits generateDigits(const NormalizedBinary& value)
{
    const int tailZeros = std::countr_zero(value.fraction);
    const int fractionBits = kDoubleFractionBits + 1 - tailZeros;
    const int tinyBits = std::max(0, fractionBits - value.binaryExponent - 1);
    int decimalExponent = estimateDecimalExponent(value);
    const int b5 = std::max(0, -decimalExponent);
    const int s5 = std::max(0, decimalExponent);
    int b2 = b5 + tinyBits + value.binaryExponent;
    int s2 = s5 + tinyBits;
    int m2 = b2 - value.significantBits;
    b2 -= fractionBits - 1;
    const int common2 = std::min(b2, s2);
    b2 -= common2;
    s2 -= common2;
    m2 -= common2;
    if (fractionBits == 1)
        m2 -= 1;  // below a power of two the neighbour is half as far away
    if (m2 < 0) {
        b2 -= m2;
        s2 -= m2;
        m2 = 0;
    }
    mpz_class b = powerProduct(static_cast<unsigned long>(b5), b2) * static_cast<unsigned long>(value.fraction >> tailZeros);
    const mpz_class s = powerProduct(static_cast<unsigned long>(s5), s2);
    mpz_class m = powerProduct(static_cast<unsigned long>(b5), m2);
    const mpz_class tens = s * 10;

    ScientificDigits number;
    bool low = false;
    bool high = false;
    const auto nextDigit = [&] {
        mpz_class quotient;
        mpz_tdiv_qr(quotient.get_mpz_t(), b.get_mpz_t(), b.get_mpz_t(), s.get_mpz_t());
        b *= 10;
        m *= 10;
        low = b < m;
        high = b + m >= tens;
        return static_cast<char>('0' + quotient.get_ui());
    };
    const char first = nextDigit();
    if (first == '0' && !high)
        --decimalExponent;
    else
        number.digits += first;
    // Scientific notation wants a digit after the point, so a second one is always taken.
    do
        number.digits += nextDigit();
    while (!low && !high);

    number.exponent = decimalExponent;
    const int halfComparison = high && low ? cmp(mpz_class(b * 2), tens) : 0;
    const bool lastOdd = (number.digits.back() - '0') % 2 != 0;
    if (high && (!low || halfComparison > 0 || (halfComparison == 0 && lastOdd)))
        roundUp(number);
    return number;
}

}  // namespace

ScientificDigits subnormalDigits(double magnitude) { return generateDigits(normalize(magnitude)); }

ScientificDigits subnormalDigits(float magnitude) { return generateDigits(normalize(magnitude)); }

}  // namespace quillmark::xpath
