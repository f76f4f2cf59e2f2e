#pragma once
// Exact decimal numbers for xs:decimal and xs:integer. Invoice validation does a lot of
// small-number arithmetic (amounts, quantities, percentages), so values whose unscaled
// integer fits in 64 bits are kept inline and computed with overflow checks; only values
// beyond that range are held in a GMP integer.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// An exact decimal number: an arbitrary-precision integer and a scale (digits after the point).
// xs:decimal and xs:integer (and its subtypes) values. Values whose unscaled integer fits in 64
// bits must not allocate (a small-value fast path); larger ones use GMP.
//
// The value is always normalized: no trailing zero digits after the point, a scale of at
// least zero, and the inline form whenever the unscaled integer fits in int64. Equal values
// therefore have equal representations.
class Decimal {
public:
    Decimal();                                    // 0
    Decimal(const Decimal& other);
    Decimal(Decimal&& other) noexcept;
    Decimal& operator=(const Decimal& other);
    Decimal& operator=(Decimal&& other) noexcept;
    ~Decimal();

    static Decimal fromInt64(int64_t value);
    // xs:decimal lexical form: [+-]? (digits ('.' digits?)? | '.' digits). No exponent, no
    // surrounding white space (callers strip it). nullopt when the text is not of that form.
    static std::optional<Decimal> parseDecimal(std::string_view text);
    // xs:integer lexical form: [+-]? digits.
    static std::optional<Decimal> parseInteger(std::string_view text);
    // The exact value of a finite double (xs:decimal(1.005e0) is
    // 1.00499999999999989341858963598497211933135986328125); nullopt for NaN and infinities.
    static std::optional<Decimal> fromDouble(double value);
    double toDouble() const;   // nearest double (round half to even); out of range gives +-INF
    float toFloat() const;     // nearest float, rounded directly (not via double)
    // Canonical text: no exponent, no leading zeros, no trailing fractional zeros, no point
    // when the value is integral ("100", "-1.5", "0.001", "0"; never "-0").
    std::string toString() const;
    bool isInteger() const;
    bool isZero() const;
    int sign() const;                             // -1, 0, 1
    int64_t scale() const;                        // fraction digits of the normalized value
    std::optional<int64_t> toInt64() const;       // when integral and within int64
    Decimal operator-() const;
    Decimal abs() const;
    friend Decimal operator+(const Decimal& a, const Decimal& b);
    friend Decimal operator-(const Decimal& a, const Decimal& b);
    friend Decimal operator*(const Decimal& a, const Decimal& b);
    // a div b as the reference processor computes it: max(18, scale(a) - scale(b) + 18)
    // fraction digits, the last one rounded to nearest with ties towards zero ("half down"):
    // 1 div 3 = 0.333333333333333333, 2 div 3 = 0.666666666666666667; exact quotients come out
    // exact and normalized (1 div 4 = 0.25). nullopt when b is zero.
    static std::optional<Decimal> divide(const Decimal& a, const Decimal& b);
    // a idiv b: the quotient truncated towards zero, an integer; nullopt when b is zero.
    static std::optional<Decimal> integerDivide(const Decimal& a, const Decimal& b);
    // a mod b = a - b * (a idiv b): the sign of a; nullopt when b is zero.
    static std::optional<Decimal> modulo(const Decimal& a, const Decimal& b);
    Decimal floor() const;
    Decimal ceiling() const;
    Decimal round() const;                        // half towards positive infinity: round(-2.5) = -2
    // fn:round-half-to-even with a precision (digits after the point; negative rounds to tens,
    // hundreds...): round-half-to-even(2.5) = 2, (3.567812, 2) = 3.57, (35612.25, -2) = 35600.
    Decimal roundHalfToEven(int64_t precision) const;
    Decimal truncate() const;                     // towards zero (cast to xs:integer)
    // Number of significant digits of the unscaled value (limits: casts refuse huge values).
    int64_t digitCount() const;
    friend bool operator==(const Decimal& a, const Decimal& b);   // by value: 1.0 == 1
    friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);
    size_t hash() const;                          // equal values hash equal

private:
    struct Big;  // the GMP integer of a value beyond int64 (defined in decimal.cpp)
    friend struct DecimalAccess;

    union {
        int64_t small_;  // the unscaled integer when big_ is not in use
        Big* big_;
    };
    int32_t scale_ = 0;
    bool isBig_ = false;
};

}  // namespace quillmark::xpath

template <>
struct std::hash<quillmark::xpath::Decimal> {
    size_t operator()(const quillmark::xpath::Decimal& value) const { return value.hash(); }
};
