#pragma once
// Text forms of xs:double and xs:float: the XPath cast to xs:string and the lexical forms
// accepted when casting from a string. Independent of the process locale.

#include <optional>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// xs:double / xs:float as XPath 2.0 casts them to xs:string: "NaN", "INF", "-INF", "0", "-0";
// magnitudes in [1e-6, 1e6) in plain decimal notation with the shortest digits that read back
// to the same value and no trailing ".0" ("1", "1.5", "0.30000000000000004", "0.000001");
// others in scientific notation with at least one fraction digit ("1.0E6", "1.0E7",
// "1.2345E-7", "1.7976931348623157E308"). Floats use the shortest digits for the float value
// ("1.1" for xs:float(1.1), not the double expansion).
std::string formatDouble(double value);
std::string formatFloat(float value);
// xs:double / xs:float lexical forms: [+-]? (digits ('.' digits?)? | '.' digits) ([eE] [+-]? digits)?,
// "INF", "+INF", "-INF", "NaN". No surrounding white space (callers strip it). Correctly
// rounded; floats are rounded once, directly from the text. nullopt when not of that form
// (never accept "inf", "nan", hex floats, "1e", ".", "+", locale commas).
std::optional<double> parseDouble(std::string_view text);
std::optional<float> parseFloat(std::string_view text);

}  // namespace quillmark::xpath
