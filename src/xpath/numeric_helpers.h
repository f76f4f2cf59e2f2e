#pragma once
// Helpers on numbers shared by the function families: rounding of xs:double values as
// fn:round, fn:round-half-to-even, fn:subsequence and fn:substring need it (with the
// results of the reference processor), and the NaN test on atomic values.

#include <cstdint>

#include "xpath/atomic_value.h"

namespace quillmark::xpath {

// fn:round: to the nearest whole number, halves towards positive infinity
// (round(2.5) = 3, round(-2.5) = -2). NaN, infinities and zeros come back unchanged, and
// a negative value that rounds to zero gives -0.
double roundHalfUp(double value);

// fn:round-half-to-even on a double: `precision` digits after the point (negative: tens,
// hundreds...). The value is scaled by a power of ten in double arithmetic before the
// half-even decision, so 2.675e0 rounds to 2.68 although its binary value lies below
// 2.675; only when scaling overflows is the exact binary value rounded.
double roundHalfToEven(double value, int64_t precision);

// True for a double or float NaN.
bool isNaN(const AtomicValue& value);

}  // namespace quillmark::xpath
