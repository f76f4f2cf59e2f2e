#include "xpath/code_points.h"

#include <unicode/utf8.h>

namespace quillmark::xpath {
namespace {

// Byte offset of the code point `count` code points after `offset`, or the end.
size_t advanceCodePoints(std::string_view utf8, size_t offset, size_t count) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const size_t length = utf8.size();
    for (; count > 0 && offset < length; --count) U8_FWD_1(bytes, offset, length);
    return offset;
}

}  // namespace

std::u32string toCodePoints(std::string_view utf8) {
    std::u32string codePoints;
    codePoints.reserve(utf8.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const size_t length = utf8.size();
    size_t offset = 0;
    while (offset < length) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(bytes, offset, length, c);
        codePoints.push_back(static_cast<char32_t>(c));
    }
    return codePoints;
}

void appendCodePoint(std::string& into, char32_t codePoint) {
    uint8_t buffer[U8_MAX_LENGTH];
    size_t length = 0;
    UBool failed = false;
    U8_APPEND(buffer, length, U8_MAX_LENGTH, static_cast<UChar32>(codePoint), failed);
    if (failed) {
        length = 0;
        U8_APPEND_UNSAFE(buffer, length, 0xFFFD);
    }
    into.append(reinterpret_cast<const char*>(buffer), length);
}

std::string fromCodePoints(std::u32string_view codePoints) {
    std::string utf8;
    utf8.reserve(codePoints.size());
    for (char32_t c : codePoints) appendCodePoint(utf8, c);
    return utf8;
}

size_t codePointLength(std::string_view utf8) {
    // Every byte that does not continue a sequence starts a code point.
    size_t count = 0;
    for (char byte : utf8) count += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    return count;
}

std::string_view codePointSlice(std::string_view utf8, size_t start, size_t count) {
    const size_t first = advanceCodePoints(utf8, 0, start);
    const size_t end = advanceCodePoints(utf8, first, count);
    return utf8.substr(first, end - first);
}

}  // namespace quillmark::xpath
