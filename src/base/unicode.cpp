#include "quillmark/unicode.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <limits>

namespace quillmark::unicode {
namespace {

void appendUtf8(std::string& out, UChar32 c) {
    uint8_t buffer[U8_MAX_LENGTH];
    int32_t length = 0;
    UBool error = false;
    U8_APPEND(buffer, length, U8_MAX_LENGTH, c, error);
    if (error) {
        return;
    }
    out.append(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
}

// ICU strings are indexed by int32_t; longer texts are mapped as they are.
bool fitsIcu(size_t length) { return length <= static_cast<size_t>(std::numeric_limits<int32_t>::max() / 2); }

icu::UnicodeString toIcu(std::string_view utf8) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

bool isWhiteSpaceOrLineBreak(UChar32 c) {
    if ((c >= 0x09 && c <= 0x0D) || c == 0x85) return true;
    const int8_t type = u_charType(c);
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

}  // namespace

std::u16string toUtf16(std::string_view utf8, std::vector<size_t>* byteOffsets) {
    std::u16string out;
    out.reserve(utf8.size());
    if (byteOffsets) {
        byteOffsets->clear();
        byteOffsets->reserve(utf8.size() + 1);
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const int64_t length = static_cast<int64_t>(utf8.size());
    int64_t index = 0;
    while (index < length) {
        const int64_t start = index;
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(bytes, index, length, c);
        const size_t unitsBefore = out.size();
        if (U_IS_BMP(c)) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            out.push_back(static_cast<char16_t>(U16_LEAD(c)));
            out.push_back(static_cast<char16_t>(U16_TRAIL(c)));
        }
        if (byteOffsets) {
            byteOffsets->insert(byteOffsets->end(), out.size() - unitsBefore, static_cast<size_t>(start));
        }
    }
    if (byteOffsets) {
        byteOffsets->push_back(utf8.size());
    }
    return out;
}

std::string fromUtf16(std::u16string_view utf16) {
    std::string out;
    out.reserve(utf16.size());
    const char16_t* units = utf16.data();
    const int64_t length = static_cast<int64_t>(utf16.size());
    int64_t index = 0;
    while (index < length) {
        UChar32 c = 0;
        U16_NEXT_OR_FFFD(units, index, length, c);
        appendUtf8(out, c);
    }
    return out;
}

size_t utf16Length(std::string_view utf8) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const int64_t length = static_cast<int64_t>(utf8.size());
    int64_t index = 0;
    size_t count = 0;
    while (index < length) {
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(bytes, index, length, c);
        count += static_cast<size_t>(U16_LENGTH(c));
    }
    return count;
}

std::string substringUtf16(std::string_view utf8, size_t start, size_t length) {
    const std::u16string units = toUtf16(utf8);
    if (start >= units.size()) {
        return "";
    }
    const size_t count = std::min(length, units.size() - start);
    return fromUtf16(std::u16string_view(units).substr(start, count));
}

std::vector<uint16_t> codeUnits(std::string_view utf8) {
    const std::u16string units = toUtf16(utf8);
    return std::vector<uint16_t>(units.begin(), units.end());
}

std::string fromCodeUnits(const std::vector<uint16_t>& units) {
    const std::u16string text(units.begin(), units.end());
    return fromUtf16(text);
}

std::string trimWhiteSpace(std::string_view utf8) {
    // One forward pass: where the first kept character starts and the last one ends.
    const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
    const int64_t length = static_cast<int64_t>(utf8.size());
    int64_t index = 0;
    int64_t begin = -1;
    int64_t end = 0;
    while (index < length) {
        const int64_t start = index;
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(bytes, index, length, c);
        if (isWhiteSpaceOrLineBreak(c)) continue;
        if (begin < 0) begin = start;
        end = index;
    }
    if (begin < 0) return "";
    return std::string(utf8.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin)));
}

std::string upperCase(std::string_view utf8) {
    if (!fitsIcu(utf8.size())) {
        return std::string(utf8);
    }
    icu::UnicodeString text = toIcu(utf8);
    text.toUpper(icu::Locale::getRoot());
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string lowerCase(std::string_view utf8) {
    if (!fitsIcu(utf8.size())) {
        return std::string(utf8);
    }
    icu::UnicodeString text = toIcu(utf8);
    text.toLower(icu::Locale::getRoot());
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace quillmark::unicode
