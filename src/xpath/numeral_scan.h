#pragma once
// Reading the sign and digits of number literals in lexical forms (xs:decimal, xs:integer,
// xs:double, xs:float). Only ASCII digits count, whatever the locale.

#include <optional>
#include <string_view>

namespace quillmark::xpath {

// The parts of [+-]? digits ('.' digits)? as read off the front of a text.
struct NumeralParts {
    bool negative = false;
    std::string_view integerDigits;
    std::string_view fractionDigits;
};

inline std::string_view takeDigits(std::string_view& text)
{
    size_t end = 0;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9')
        ++end;
    const std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    return digits;
}

// mantissa ::= [+-]? (digits ('.' digits?)? | '.' digits), the point only when allowed.
// Consumes what it reads; nullopt when there is no digit.
inline std::optional<NumeralParts> takeMantissa(std::string_view& text, bool allowPoint)
{
    NumeralParts parts;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        parts.negative = text.front() == '-';
        text.remove_prefix(1);
    }
    parts.integerDigits = takeDigits(text);
    if (allowPoint && !text.empty() && text.front() == '.') {
        text.remove_prefix(1);
        parts.fractionDigits = takeDigits(text);
    }
    if (parts.integerDigits.empty() && parts.fractionDigits.empty())
        return std::nullopt;
    return parts;
}

}  // namespace quillmark::xpath
