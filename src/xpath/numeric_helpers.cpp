#include "xpath/numeric_helpers.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "xpath/decimal.h"

namespace quillmark::xpath {
namespace {

// A double has at most 1074 binary fraction digits, hence at most 1074 decimal ones:
// rounding to more places never changes it.
constexpr int64_t kMaxSignificantPlaces = 1100;

}  // namespace

double roundHalfUp(double value) {
    if (!std::isfinite(value) || value == 0) return value;
    // value - floor(value) is exact in binary, so the tie test is too (unlike
    // floor(value + 0.5), which rounds 0.49999999999999994 up).
    const double whole = std::floor(value);
    const double rounded = value - whole >= 0.5 ? whole + 1 : whole;
    return rounded == 0 && value < 0 ? -0.0 : rounded;
}

double roundHalfToEven(double value, int64_t precision) {
    if (!std::isfinite(value) || value == 0) return value;
    if (precision >= kMaxSignificantPlaces) return value;
    // Far below the smallest double the factor becomes 0 and the result NaN, as with the
    // reference processor.
    const double factor = std::pow(10.0, static_cast<double>(std::max<int64_t>(precision, -kMaxSignificantPlaces) + 1));
    double scaled = std::fabs(value * factor);
    if (std::isinf(scaled)) {
        const std::optional<Decimal> exact = Decimal::fromDouble(value);
        return exact ? exact->roundHalfToEven(precision).toDouble() : value;
    }
    // `scaled` holds one digit beyond the kept ones; decide on it.
    const double last = std::fmod(scaled, 10);
    if (last > 5) {
        scaled += 10 - last;
    } else if (last < 5) {
        scaled -= last;
    } else {
        scaled += std::fmod(scaled, 20) == 15 ? 5 : -5;  // ties go to the even kept digit
    }
    scaled /= factor;
    return value < 0 ? -scaled : scaled;  // -0.5 rounds to -0
}

bool isNaN(const AtomicValue& value) {
    if (value.type() == AtomicType::Double) return std::isnan(value.doubleValue());
    if (value.type() == AtomicType::Float) return std::isnan(value.floatValue());
    return false;
}

}  // namespace quillmark::xpath
