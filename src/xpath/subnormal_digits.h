#pragma once
// Digits of subnormal xs:double and xs:float values as the reference processor writes them.
// Its shortest-digits conversion does not cover subnormals; for those it uses an older digit
// generator whose output differs from the shortest form: at least two digits (4.9E-324, not
// 5.0E-324), a halved margin at powers of two (1.58E-322), and an estimated decimal exponent
// that can carry into the next power of ten (1.0E-323 for 9.88E-324).

#include <string>

namespace quillmark::xpath {

// A positive number as significant digits d1 d2 ... and the decimal exponent of d1:
// digits "15", exponent -1 is 0.15.
struct ScientificDigits {
    std::string digits;
    int exponent = 0;
};

// The digits for a positive subnormal value.
ScientificDigits subnormalDigits(double magnitude);
ScientificDigits subnormalDigits(float magnitude);

}  // namespace quillmark::xpath
