#include "xpath/xml_text.h"

#include <unicode/utf8.h>

namespace quillmark::xpath {
namespace {

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

// Every code point satisfies its test (the first one `first`, the others `rest`); false
// for empty or malformed UTF-8.
template <typename FirstTest, typename RestTest>
bool allCodePoints(std::string_view text, FirstTest first, RestTest rest) {
    if (text.empty()) return false;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t index = 0;
    bool atStart = true;
    while (index < length) {
        UChar32 c = 0;
        U8_NEXT(bytes, index, length, c);
        if (c < 0 || !(atStart ? first(c) : rest(c))) return false;
        atStart = false;
    }
    return true;
}

bool isNameWithColons(std::string_view text, bool colonAllowed) {
    if (!colonAllowed && text.find(':') != std::string_view::npos) return false;
    return allCodePoints(text, isXmlNameStartChar, isXmlNameChar);
}

}  // namespace

bool isXmlNameStartChar(char32_t c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || (c >= 0xC0 && c <= 0xD6) ||
           (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) || (c >= 0x370 && c <= 0x37D) ||
           (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool isXmlNameChar(char32_t c) {
    return isXmlNameStartChar(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

std::string_view trimXmlWhiteSpace(std::string_view text) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && isXmlWhiteSpace(text[begin])) ++begin;
    while (end > begin && isXmlWhiteSpace(text[end - 1])) --end;
    return text.substr(begin, end - begin);
}

std::string replaceXmlWhiteSpace(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (isXmlWhiteSpace(c)) c = ' ';
    }
    return result;
}

std::string collapseXmlWhiteSpace(std::string_view text) {
    const std::string_view trimmed = trimXmlWhiteSpace(text);
    std::string result;
    result.reserve(trimmed.size());
    bool inSpace = false;
    for (const char c : trimmed) {
        if (isXmlWhiteSpace(c)) {
            inSpace = true;
            continue;
        }
        if (inSpace) result.push_back(' ');
        inSpace = false;
        result.push_back(c);
    }
    return result;
}

bool isXmlName(std::string_view text) { return isNameWithColons(text, true); }

bool isXmlNCName(std::string_view text) { return isNameWithColons(text, false); }

bool isXmlNmtoken(std::string_view text) { return allCodePoints(text, isXmlNameChar, isXmlNameChar); }

bool isLanguageTag(std::string_view text) {
    size_t partStart = 0;
    for (bool first = true;; first = false) {
        size_t end = partStart;
        while (end < text.size() && text[end] != '-') {
            if (!isAsciiLetter(text[end]) && (first || !isAsciiDigit(text[end]))) return false;
            ++end;
        }
        const size_t length = end - partStart;
        if (length < 1 || length > 8) return false;
        if (end == text.size()) return true;
        partStart = end + 1;
    }
}

}  // namespace quillmark::xpath
