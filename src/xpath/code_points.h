#pragma once
// Strings of the data model are UTF-8, but XPath measures and indexes them in code
// points: string-length of an emoji is 1, substring counts characters beyond the BMP as
// one. These helpers convert between the two views.

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmark::xpath {

// The code points of the text; a malformed byte sequence becomes U+FFFD.
std::u32string toCodePoints(std::string_view utf8);
std::string fromCodePoints(std::u32string_view codePoints);
void appendCodePoint(std::string& into, char32_t codePoint);

size_t codePointLength(std::string_view utf8);
// The part of the text from code point `start` (0-based) that is `count` code points
// long, shortened at the end of the text.
std::string_view codePointSlice(std::string_view utf8, size_t start, size_t count);

// Char ::= #x9 | #xA | #xD | [#x20-#xD7FF] | [#xE000-#xFFFD] | [#x10000-#x10FFFF]
constexpr bool isXmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

}  // namespace quillmark::xpath
