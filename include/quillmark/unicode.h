#pragma once
// Text helpers for strings stored as UTF-8. Lengths, indexes and code points of the
// expression language count UTF-16 code units, so everything here converts through
// UTF-16. Malformed input never fails: invalid UTF-8 bytes and unpaired surrogates
// become U+FFFD.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::unicode {

inline constexpr size_t npos = static_cast<size_t>(-1);

// UTF-8 -> UTF-16 (each malformed byte sequence becomes one U+FFFD). With
// `byteOffsets`, also the UTF-8 offset at which the character of each code unit
// starts, plus one last entry holding utf8.size().
std::u16string toUtf16(std::string_view utf8, std::vector<size_t>* byteOffsets = nullptr);
// UTF-16 -> UTF-8 (each unpaired surrogate becomes U+FFFD).
std::string fromUtf16(std::u16string_view utf16);

// Number of UTF-16 code units of the text.
size_t utf16Length(std::string_view utf8);

// The `length` code units from code unit `start` (everything to the end with npos);
// "" when `start` is at or past the end. A surrogate pair cut in half yields U+FFFD.
std::string substringUtf16(std::string_view utf8, size_t start, size_t length = npos);

// The UTF-16 code units of the text, in order.
std::vector<uint16_t> codeUnits(std::string_view utf8);
// The text made of these code units.
std::string fromCodeUnits(const std::vector<uint16_t>& units);

// The text without white space and line breaks (separators of the Unicode Z
// categories, U+0009 to U+000D, U+0085) at both ends.
std::string trimWhiteSpace(std::string_view utf8);

// Case mapping by the Unicode rules of the root locale (independent of the user's
// locale; "ß" upper-cases to "SS").
std::string upperCase(std::string_view utf8);
std::string lowerCase(std::string_view utf8);

}  // namespace quillmark::unicode
