#include "xpath/decimal.h"

#include <gmpxx.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <utility>

#include "xpath/error.h"
#include "xpath/numeral_scan.h"

namespace quillmark::xpath {

struct Decimal::Big {
    mpz_class unscaled;
};

namespace {

// GMP's signed-long functions carry the inline int64 values unchanged.
static_assert(sizeof(long) == sizeof(int64_t), "the small-value path assumes a 64-bit long");

using Int128 = __int128;

constexpr int64_t kMaxSmallPowerOfTen = 18;  // 10^18 is the largest power of ten in int64
constexpr int64_t kMaxWidePowerOfTen = 36;   // the largest one the 128-bit division path uses
// Decimal division keeps max(18, scale(a) - scale(b) + 18) fraction digits.
constexpr int64_t kDivisionFractionDigits = 18;
// No value holds this many digits, so a rounding position further left gives zero.
constexpr int64_t kLowestRoundingScale = -(int64_t{1} << 40);

constexpr std::array<int64_t, kMaxSmallPowerOfTen + 1> kPowersOfTen = [] {
    std::array<int64_t, kMaxSmallPowerOfTen + 1> powers{};
    int64_t power = 1;
    for (auto& entry : powers) {
        entry = power;
        if (power <= std::numeric_limits<int64_t>::max() / 10)
            power *= 10;
    }
    return powers;
}();

constexpr std::array<Int128, kMaxWidePowerOfTen + 1> kPowersOfTen128 = [] {
    std::array<Int128, kMaxWidePowerOfTen + 1> powers{};
    Int128 power = 1;
    for (auto& entry : powers) {
        entry = power;
        power *= 10;
    }
    return powers;
}();

mpz_class powerOfTen(int64_t exponent)
{
    mpz_class power;
    mpz_ui_pow_ui(power.get_mpz_t(), 10, static_cast<unsigned long>(exponent));
    return power;
}

// How a value is rounded when digits are dropped (or a quotient is cut off).
enum class Rounding {
    TowardZero,
    Floor,
    Ceiling,
    HalfUp,    // ties towards positive infinity (fn:round)
    HalfEven,  // ties to the even neighbour (fn:round-half-to-even)
    HalfDown,  // ties towards zero (decimal division)
};

// The step (-1, 0 or +1) that turns the truncated quotient q of n / d into the rounded one.
// fractionSign is the sign of the dropped part (sign(r) * sign(d)); halfComparison compares
// 2|r| with |d|; quotientOdd tells whether q is odd.
int roundingStep(Rounding mode, int fractionSign, int halfComparison, bool quotientOdd)
{
    if (fractionSign == 0)
        return 0;
    switch (mode) {
    case Rounding::TowardZero:
        return 0;
    case Rounding::Floor:
        return fractionSign < 0 ? -1 : 0;
    case Rounding::Ceiling:
        return fractionSign > 0 ? 1 : 0;
    case Rounding::HalfUp:
        if (halfComparison == 0)
            return fractionSign > 0 ? 1 : 0;
        return halfComparison > 0 ? fractionSign : 0;
    case Rounding::HalfEven:
        if (halfComparison == 0)
            return quotientOdd ? fractionSign : 0;
        return halfComparison > 0 ? fractionSign : 0;
    case Rounding::HalfDown:
        return halfComparison > 0 ? fractionSign : 0;
    }
    return 0;
}

template <typename Integer>
int signOf(Integer value)
{
    return (value > 0) - (value < 0);
}

template <typename Integer>
int compareHalf(Integer remainder, Integer divisor)
{
    const Integer twice = 2 * (remainder < 0 ? -remainder : remainder);
    const Integer magnitude = divisor < 0 ? -divisor : divisor;
    return (twice > magnitude) - (twice < magnitude);
}

// The rounded quotient n / d, for int64 (|d| at most 10^18) or 128-bit integers (|n| and |d|
// below 2^126).
template <typename Integer>
Integer roundedQuotient(Integer numerator, Integer divisor, Rounding mode)
{
    const Integer quotient = numerator / divisor;
    const Integer remainder = numerator - quotient * divisor;  // one division, also for 128 bits
    return quotient + roundingStep(mode, signOf(remainder) * signOf(divisor), compareHalf(remainder, divisor),
                                   (quotient & 1) != 0);
}

mpz_class roundedQuotient(const mpz_class& numerator, const mpz_class& divisor, Rounding mode)
{
    mpz_class quotient;
    mpz_class remainder;
    mpz_tdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), numerator.get_mpz_t(), divisor.get_mpz_t());
    const mpz_class twice = 2 * abs(remainder);
    const int halfComparison = mpz_cmpabs(twice.get_mpz_t(), divisor.get_mpz_t());
    quotient += roundingStep(mode, sgn(remainder) * sgn(divisor), (halfComparison > 0) - (halfComparison < 0),
                             mpz_odd_p(quotient.get_mpz_t()) != 0);
    return quotient;
}

// value * 10^digits, when it fits in int64.
std::optional<int64_t> scaleUp(int64_t value, int64_t digits)
{
    if (digits == 0)
        return value;
    if (digits > kMaxSmallPowerOfTen)
        return value == 0 ? std::optional<int64_t>(0) : std::nullopt;
    int64_t product = 0;
    if (__builtin_mul_overflow(value, kPowersOfTen[digits], &product))
        return std::nullopt;
    return product;
}

// The magnitude of an int64 without overflow for INT64_MIN.
uint64_t magnitude(int64_t value)
{
    return value < 0 ? uint64_t{0} - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

std::string decimalDigits(uint64_t value)
{
    std::array<char, 24> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), result.ptr);
}

// Text of ±digits / 10^scale without exponent: "0.05", "-12.5", "100".
std::string placePoint(bool negative, const std::string& digits, int64_t scale)
{
    std::string text = negative ? "-" : "";
    const auto digitCount = static_cast<int64_t>(digits.size());
    if (scale == 0)
        return text + digits;
    if (digitCount > scale) {
        const auto integerDigits = static_cast<size_t>(digitCount - scale);
        return text + digits.substr(0, integerDigits) + "." + digits.substr(integerDigits);
    }
    return text + "0." + std::string(static_cast<size_t>(scale - digitCount), '0') + digits;
}

// numeral ::= [+-]? (digits ('.' digits?)? | '.' digits), the point only when allowed
std::optional<NumeralParts> scanNumeral(std::string_view text, bool allowPoint)
{
    const auto numeral = takeMantissa(text, allowPoint);
    if (!numeral || !text.empty())
        return std::nullopt;
    return numeral;
}

}  // namespace

// The representation, for the helpers below: construction keeps values normalized.
struct DecimalAccess {
    static bool isBig(const Decimal& value) { return value.isBig_; }
    static int64_t small(const Decimal& value) { return value.small_; }
    static const mpz_class& big(const Decimal& value) { return value.big_->unscaled; }

    static mpz_class unscaled(const Decimal& value)
    {
        return value.isBig_ ? value.big_->unscaled : mpz_class(static_cast<long>(value.small_));
    }

    static int32_t checkedScale(int64_t scale)
    {
        if (scale > std::numeric_limits<int32_t>::max())
            throw XPathError(ErrorCode::FOAR0002, "decimal value with too many fraction digits");
        return static_cast<int32_t>(scale);
    }

    // unscaled / 10^scale, scale >= 0.
    static Decimal fromSmall(int64_t unscaled, int64_t scale)
    {
        Decimal value;
        if (unscaled == 0)
            return value;
        while (scale > 0 && unscaled % 10 == 0) {
            unscaled /= 10;
            --scale;
        }
        value.small_ = unscaled;
        value.scale_ = checkedScale(scale);
        return value;
    }

    // unscaled / 10^scale, any scale.
    static Decimal fromWide(mpz_class unscaled, int64_t scale)
    {
        if (unscaled == 0)
            return Decimal();
        if (scale < 0) {
            unscaled *= powerOfTen(-scale);
            scale = 0;
        }
        stripTrailingZeros(unscaled, scale);
        if (mpz_fits_slong_p(unscaled.get_mpz_t()))
            return fromSmall(unscaled.get_si(), scale);
        Decimal value;
        value.scale_ = checkedScale(scale);
        value.big_ = new Decimal::Big{std::move(unscaled)};
        value.isBig_ = true;
        return value;
    }

    // unscaled / 10^scale, any scale.
    static Decimal fromInt128(Int128 unscaled, int64_t scale)
    {
        if (unscaled >= std::numeric_limits<int64_t>::min() && unscaled <= std::numeric_limits<int64_t>::max())
            return fromScaled(static_cast<int64_t>(unscaled), scale);
        const bool negative = unscaled < 0;
        const auto bits = static_cast<unsigned __int128>(negative ? -unscaled : unscaled);
        mpz_class wide(static_cast<unsigned long>(bits >> 64));
        wide <<= 64;
        wide += static_cast<unsigned long>(bits & std::numeric_limits<uint64_t>::max());
        return fromWide(negative ? mpz_class(-wide) : wide, scale);
    }

    // q / 10^scale for a rounded q; a negative scale multiplies by a power of ten.
    static Decimal fromScaled(int64_t unscaled, int64_t scale)
    {
        if (scale >= 0)
            return fromSmall(unscaled, scale);
        if (auto product = scaleUp(unscaled, -scale))
            return fromSmall(*product, 0);
        return fromWide(mpz_class(static_cast<long>(unscaled)), scale);
    }

private:
    static void stripTrailingZeros(mpz_class& unscaled, int64_t& scale)
    {
        const auto chunk = static_cast<unsigned long>(kPowersOfTen[kMaxSmallPowerOfTen]);
        while (scale >= kMaxSmallPowerOfTen && mpz_divisible_ui_p(unscaled.get_mpz_t(), chunk)) {
            mpz_divexact_ui(unscaled.get_mpz_t(), unscaled.get_mpz_t(), chunk);
            scale -= kMaxSmallPowerOfTen;
        }
        while (scale > 0 && mpz_divisible_ui_p(unscaled.get_mpz_t(), 10)) {
            mpz_divexact_ui(unscaled.get_mpz_t(), unscaled.get_mpz_t(), 10);
            --scale;
        }
    }
};

namespace {

using Access = DecimalAccess;

// Two inline values brought to a common scale.
struct AlignedSmall {
    int64_t a;
    int64_t b;
    int64_t scale;
};

// Two values brought to a common scale as GMP integers.
struct AlignedWide {
    mpz_class a;
    mpz_class b;
    int64_t scale;
};

std::optional<AlignedSmall> alignSmall(const Decimal& a, const Decimal& b)
{
    if (Access::isBig(a) || Access::isBig(b))
        return std::nullopt;
    const int64_t scale = std::max(a.scale(), b.scale());
    const auto scaledA = scaleUp(Access::small(a), scale - a.scale());
    const auto scaledB = scaleUp(Access::small(b), scale - b.scale());
    if (!scaledA || !scaledB)
        return std::nullopt;
    return AlignedSmall{*scaledA, *scaledB, scale};
}

AlignedWide alignWide(const Decimal& a, const Decimal& b)
{
    const int64_t scale = std::max(a.scale(), b.scale());
    AlignedWide aligned{Access::unscaled(a), Access::unscaled(b), scale};
    if (a.scale() < scale)
        aligned.a *= powerOfTen(scale - a.scale());
    if (b.scale() < scale)
        aligned.b *= powerOfTen(scale - b.scale());
    return aligned;
}

// The magnitude fits in 126 bits: 128-bit arithmetic cannot overflow on it.
std::optional<Int128> narrowTo128(const mpz_class& value)
{
    static_assert(GMP_LIMB_BITS == 64, "two limbs make 128 bits");
    if (mpz_sizeinbase(value.get_mpz_t(), 2) > 126)
        return std::nullopt;
    const size_t limbs = mpz_size(value.get_mpz_t());
    const Int128 low = limbs > 0 ? mpz_getlimbn(value.get_mpz_t(), 0) : 0;
    const Int128 high = limbs > 1 ? mpz_getlimbn(value.get_mpz_t(), 1) : 0;
    const Int128 magnitude = (high << 64) | low;
    return sgn(value) < 0 ? -magnitude : magnitude;
}

// unscaled / 10^(targetScale + dropped) rounded to targetScale fraction digits; quotients of
// two small values (up to 38 digits) stay in 128-bit arithmetic.
Decimal roundWide(const mpz_class& unscaled, int64_t dropped, int64_t targetScale, Rounding mode)
{
    // Fewer digits than are dropped: below half a unit of the target position.
    const bool belowHalfUnit = static_cast<int64_t>(mpz_sizeinbase(unscaled.get_mpz_t(), 10)) < dropped;
    if (belowHalfUnit && mode != Rounding::Floor && mode != Rounding::Ceiling)
        return Decimal();
    if (dropped <= kMaxWidePowerOfTen) {
        if (const auto narrow = narrowTo128(unscaled))
            return Access::fromInt128(roundedQuotient(*narrow, kPowersOfTen128[dropped], mode), targetScale);
    }
    return Access::fromWide(roundedQuotient(unscaled, powerOfTen(dropped), mode), targetScale);
}

// The value rounded to targetScale fraction digits (a negative one rounds to tens, hundreds...).
Decimal roundToScale(const Decimal& value, int64_t targetScale, Rounding mode)
{
    targetScale = std::max(targetScale, kLowestRoundingScale);
    if (targetScale >= value.scale())
        return value;
    const int64_t dropped = value.scale() - targetScale;
    if (!Access::isBig(value) && dropped <= kMaxSmallPowerOfTen) {
        const int64_t rounded = roundedQuotient(Access::small(value), kPowersOfTen[dropped], mode);
        return Access::fromScaled(rounded, targetScale);
    }
    if (Access::isBig(value))
        return roundWide(Access::big(value), dropped, targetScale, mode);
    return roundWide(mpz_class(static_cast<long>(Access::small(value))), dropped, targetScale, mode);
}

// a div b with the given number of fraction digits, through 128-bit integers when the
// shifted dividend fits.
std::optional<Decimal> divideSmall(const Decimal& a, const Decimal& b, int64_t shift, int64_t resultScale)
{
    if (Access::isBig(a) || Access::isBig(b) || shift > kMaxWidePowerOfTen)
        return std::nullopt;
    Int128 numerator = 0;
    if (__builtin_mul_overflow(Int128{Access::small(a)}, kPowersOfTen128[shift], &numerator))
        return std::nullopt;
    return Access::fromInt128(roundedQuotient(numerator, Int128{Access::small(b)}, Rounding::HalfDown), resultScale);
}

template <typename Binary>
struct BinaryTraits;

template <>
struct BinaryTraits<double> {
    static constexpr int64_t kExactIntegerLimit = int64_t{1} << 53;
    static constexpr std::array<double, 23> kPowersOfTen = {
        1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
};

template <>
struct BinaryTraits<float> {
    static constexpr int64_t kExactIntegerLimit = int64_t{1} << 24;
    static constexpr std::array<float, 11> kPowersOfTen = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f,
                                                           1e6f, 1e7f, 1e8f, 1e9f, 1e10f};
};

std::string unscaledDigits(const Decimal& value)
{
    if (Access::isBig(value))
        return mpz_class(abs(Access::big(value))).get_str();
    return decimalDigits(magnitude(Access::small(value)));
}

// The nearest float or double. Integers convert exactly rounded in hardware, and an exact
// integer divided by an exact power of ten is rounded once; everything else goes through
// the correctly rounded, locale-independent text conversion.
template <typename Binary>
Binary toBinary(const Decimal& value)
{
    using Traits = BinaryTraits<Binary>;
    if (!Access::isBig(value)) {
        const int64_t unscaled = Access::small(value);
        if (value.scale() == 0)
            return static_cast<Binary>(unscaled);
        const bool exactUnscaled = magnitude(unscaled) <= static_cast<uint64_t>(Traits::kExactIntegerLimit);
        if (exactUnscaled && value.scale() < static_cast<int64_t>(Traits::kPowersOfTen.size()))
            return static_cast<Binary>(unscaled) / Traits::kPowersOfTen[value.scale()];
    }
    const std::string digits = unscaledDigits(value);
    const std::string text = (value.sign() < 0 ? "-" : "") + digits + "e-" + std::to_string(value.scale());
    Binary result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc::result_out_of_range)
        return result;
    const bool overflows = static_cast<int64_t>(digits.size()) > value.scale();
    const Binary magnitudeLimit = overflows ? std::numeric_limits<Binary>::infinity() : Binary{0};
    return value.sign() < 0 ? -magnitudeLimit : magnitudeLimit;
}

std::optional<Decimal> numeralValue(const NumeralParts& numeral)
{
    std::string_view integerDigits = numeral.integerDigits;
    std::string_view fractionDigits = numeral.fractionDigits;
    while (!integerDigits.empty() && integerDigits.front() == '0')
        integerDigits.remove_prefix(1);
    while (!fractionDigits.empty() && fractionDigits.back() == '0')
        fractionDigits.remove_suffix(1);
    const auto scale = static_cast<int64_t>(fractionDigits.size());
    if (scale > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    if (integerDigits.size() + fractionDigits.size() <= static_cast<size_t>(kMaxSmallPowerOfTen)) {
        int64_t unscaled = 0;
        for (const std::string_view part : {integerDigits, fractionDigits})
            for (const char digit : part)
                unscaled = unscaled * 10 + (digit - '0');
        return Access::fromSmall(numeral.negative ? -unscaled : unscaled, scale);
    }
    mpz_class unscaled(std::string(integerDigits) + std::string(fractionDigits), 10);
    return Access::fromWide(numeral.negative ? mpz_class(-unscaled) : unscaled, scale);
}

}  // namespace

Decimal::Decimal() : small_(0) {}

Decimal::Decimal(const Decimal& other) : small_(other.small_), scale_(other.scale_), isBig_(other.isBig_)
{
    if (isBig_)
        big_ = new Big(*other.big_);
}

Decimal::Decimal(Decimal&& other) noexcept : small_(other.small_), scale_(other.scale_), isBig_(other.isBig_)
{
    other.small_ = 0;
    other.scale_ = 0;
    other.isBig_ = false;
}

Decimal& Decimal::operator=(const Decimal& other)
{
    if (this != &other)
        *this = Decimal(other);
    return *this;
}

Decimal& Decimal::operator=(Decimal&& other) noexcept
{
    if (this == &other)
        return *this;
    if (isBig_)
        delete big_;
    small_ = other.small_;
    scale_ = other.scale_;
    isBig_ = other.isBig_;
    other.small_ = 0;
    other.scale_ = 0;
    other.isBig_ = false;
    return *this;
}

Decimal::~Decimal()
{
    if (isBig_)
        delete big_;
}

Decimal Decimal::fromInt64(int64_t value)
{
    Decimal result;
    result.small_ = value;
    return result;
}

std::optional<Decimal> Decimal::parseDecimal(std::string_view text)
{
    const auto numeral = scanNumeral(text, true);
    return numeral ? numeralValue(*numeral) : std::nullopt;
}

std::optional<Decimal> Decimal::parseInteger(std::string_view text)
{
    const auto numeral = scanNumeral(text, false);
    return numeral ? numeralValue(*numeral) : std::nullopt;
}

// A finite double is m * 2^e; for e < 0 that is m * 5^-e / 10^-e, exactly.
std::optional<Decimal> Decimal::fromDouble(double value)
{
    if (!std::isfinite(value))
        return std::nullopt;
    if (value == 0)
        return Decimal();
    int binaryExponent = 0;
    const double fraction = std::frexp(std::fabs(value), &binaryExponent);
    auto mantissa = static_cast<int64_t>(std::ldexp(fraction, 53));
    int64_t exponent = binaryExponent - 53;
    const int trailingZeros = std::countr_zero(static_cast<uint64_t>(mantissa));
    mantissa >>= trailingZeros;
    exponent += trailingZeros;
    const int64_t signedMantissa = value < 0 ? -mantissa : mantissa;
    if (exponent >= 0) {
        if (exponent + std::bit_width(static_cast<uint64_t>(mantissa)) < 63)
            return fromInt64(signedMantissa << exponent);
        mpz_class wide(static_cast<long>(signedMantissa));
        wide <<= static_cast<mp_bitcnt_t>(exponent);
        return DecimalAccess::fromWide(std::move(wide), 0);
    }
    mpz_class fives;
    mpz_ui_pow_ui(fives.get_mpz_t(), 5, static_cast<unsigned long>(-exponent));
    return DecimalAccess::fromWide(fives * static_cast<long>(signedMantissa), -exponent);
}

double Decimal::toDouble() const { return toBinary<double>(*this); }

float Decimal::toFloat() const { return toBinary<float>(*this); }

std::string Decimal::toString() const { return placePoint(sign() < 0, unscaledDigits(*this), scale_); }

bool Decimal::isInteger() const { return scale_ == 0; }

bool Decimal::isZero() const { return !isBig_ && small_ == 0; }

int Decimal::sign() const
{
    if (isBig_)
        return sgn(big_->unscaled);
    return (small_ > 0) - (small_ < 0);
}

int64_t Decimal::scale() const { return scale_; }

std::optional<int64_t> Decimal::toInt64() const
{
    if (isBig_ || scale_ != 0)
        return std::nullopt;
    return small_;
}

Decimal Decimal::operator-() const
{
    if (!isBig_ && small_ != std::numeric_limits<int64_t>::min())
        return DecimalAccess::fromSmall(-small_, scale_);
    return DecimalAccess::fromWide(-DecimalAccess::unscaled(*this), scale_);
}

Decimal Decimal::abs() const { return sign() < 0 ? -*this : *this; }

Decimal operator+(const Decimal& a, const Decimal& b)
{
    if (const auto aligned = alignSmall(a, b)) {
        int64_t sum = 0;
        if (!__builtin_add_overflow(aligned->a, aligned->b, &sum))
            return Access::fromSmall(sum, aligned->scale);
    }
    AlignedWide aligned = alignWide(a, b);
    return Access::fromWide(aligned.a + aligned.b, aligned.scale);
}

Decimal operator-(const Decimal& a, const Decimal& b)
{
    if (const auto aligned = alignSmall(a, b)) {
        int64_t difference = 0;
        if (!__builtin_sub_overflow(aligned->a, aligned->b, &difference))
            return Access::fromSmall(difference, aligned->scale);
    }
    AlignedWide aligned = alignWide(a, b);
    return Access::fromWide(aligned.a - aligned.b, aligned.scale);
}

Decimal operator*(const Decimal& a, const Decimal& b)
{
    const int64_t scale = a.scale() + b.scale();
    int64_t product = 0;
    if (!Access::isBig(a) && !Access::isBig(b) && !__builtin_mul_overflow(Access::small(a), Access::small(b), &product))
        return Access::fromSmall(product, scale);
    return Access::fromWide(Access::unscaled(a) * Access::unscaled(b), scale);
}

std::optional<Decimal> Decimal::divide(const Decimal& a, const Decimal& b)
{
    if (b.isZero())
        return std::nullopt;
    const int64_t resultScale = std::max(kDivisionFractionDigits, a.scale() - b.scale() + kDivisionFractionDigits);
    // a / b * 10^resultScale == (ua * 10^shift) / ub for the unscaled integers.
    const int64_t shift = resultScale - a.scale() + b.scale();
    if (auto quotient = divideSmall(a, b, shift, resultScale))
        return quotient;
    const mpz_class numerator = Access::unscaled(a) * powerOfTen(shift);
    return Access::fromWide(roundedQuotient(numerator, Access::unscaled(b), Rounding::HalfDown), resultScale);
}

std::optional<Decimal> Decimal::integerDivide(const Decimal& a, const Decimal& b)
{
    if (b.isZero())
        return std::nullopt;
    const auto aligned = alignSmall(a, b);
    if (aligned && !(aligned->a == std::numeric_limits<int64_t>::min() && aligned->b == -1))
        return fromInt64(aligned->a / aligned->b);
    AlignedWide wide = alignWide(a, b);
    mpz_class quotient;
    mpz_tdiv_q(quotient.get_mpz_t(), wide.a.get_mpz_t(), wide.b.get_mpz_t());
    return Access::fromWide(std::move(quotient), 0);
}

std::optional<Decimal> Decimal::modulo(const Decimal& a, const Decimal& b)
{
    if (b.isZero())
        return std::nullopt;
    if (const auto aligned = alignSmall(a, b)) {
        // INT64_MIN % -1 overflows in hardware; every value is a multiple of -1.
        if (aligned->b == -1)
            return Decimal();
        return Access::fromSmall(aligned->a % aligned->b, aligned->scale);
    }
    AlignedWide wide = alignWide(a, b);
    mpz_class remainder;
    mpz_tdiv_r(remainder.get_mpz_t(), wide.a.get_mpz_t(), wide.b.get_mpz_t());
    return Access::fromWide(std::move(remainder), wide.scale);
}

Decimal Decimal::floor() const { return roundToScale(*this, 0, Rounding::Floor); }

Decimal Decimal::ceiling() const { return roundToScale(*this, 0, Rounding::Ceiling); }

Decimal Decimal::round() const { return roundToScale(*this, 0, Rounding::HalfUp); }

Decimal Decimal::roundHalfToEven(int64_t precision) const { return roundToScale(*this, precision, Rounding::HalfEven); }

Decimal Decimal::truncate() const { return roundToScale(*this, 0, Rounding::TowardZero); }

int64_t Decimal::digitCount() const
{
    if (!isBig_)
        return static_cast<int64_t>(decimalDigits(magnitude(small_)).size());
    // mpz_sizeinbase may count one digit too many.
    auto count = static_cast<int64_t>(mpz_sizeinbase(big_->unscaled.get_mpz_t(), 10));
    if (mpz_cmpabs(big_->unscaled.get_mpz_t(), powerOfTen(count - 1).get_mpz_t()) < 0)
        --count;
    return count;
}

// Normalized values are equal exactly when their representations are.
bool operator==(const Decimal& a, const Decimal& b)
{
    if (a.isBig_ != b.isBig_ || a.scale_ != b.scale_)
        return false;
    return a.isBig_ ? a.big_->unscaled == b.big_->unscaled : a.small_ == b.small_;
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b)
{
    if (const auto aligned = alignSmall(a, b))
        return aligned->a <=> aligned->b;
    if (a.sign() != b.sign())
        return a.sign() <=> b.sign();
    const AlignedWide aligned = alignWide(a, b);
    return cmp(aligned.a, aligned.b) <=> 0;
}

size_t Decimal::hash() const
{
    size_t seed = std::hash<int64_t>{}(scale_);
    const auto mix = [&seed](uint64_t word) { seed ^= std::hash<uint64_t>{}(word) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2); };
    if (!isBig_) {
        mix(static_cast<uint64_t>(small_));
        return seed;
    }
    const mpz_srcptr unscaled = big_->unscaled.get_mpz_t();
    mix(static_cast<uint64_t>(mpz_sgn(unscaled)));
    for (size_t limb = 0; limb < mpz_size(unscaled); ++limb)
        mix(mpz_getlimbn(unscaled, static_cast<mp_size_t>(limb)));
    return seed;
}

}  // namespace quillmark::xpath
