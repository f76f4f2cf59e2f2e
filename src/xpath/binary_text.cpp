#include "xpath/binary_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quillmark::xpath {
namespace {

constexpr std::string_view base64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Value of a base64 alphabet character, -1 for any other.
constexpr std::array<int8_t, 256> makeBase64Values() {
    std::array<int8_t, 256> values{};
    for (int8_t& value : values) value = -1;
    for (size_t i = 0; i < base64Alphabet.size(); ++i) values[static_cast<unsigned char>(base64Alphabet[i])] = static_cast<int8_t>(i);
    return values;
}
constexpr std::array<int8_t, 256> base64Values = makeBase64Values();

// The characters without their separating spaces; nullopt when a space is not a single
// one between two characters.
std::optional<std::string> withoutSeparators(std::string_view text) {
    std::string packed;
    packed.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != ' ') {
            packed.push_back(text[i]);
            continue;
        }
        if (i == 0 || i + 1 == text.size() || text[i + 1] == ' ') return std::nullopt;
    }
    return packed;
}

}  // namespace

std::optional<std::string> decodeHex(std::string_view text) {
    if (text.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = hexDigitValue(text[i]);
        const int low = hexDigitValue(text[i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
    }
    return bytes;
}

std::string encodeHex(std::string_view bytes) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text.push_back(digits[value >> 4]);
        text.push_back(digits[value & 0x0F]);
    }
    return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
    const std::optional<std::string> packed = withoutSeparators(text);
    if (!packed || packed->size() % 4 != 0) return std::nullopt;
    const std::string_view chars = *packed;
    const size_t padding = chars.ends_with("==") ? 2 : chars.ends_with('=') ? 1 : 0;
    const size_t dataChars = chars.size() - padding;
    uint32_t accumulator = 0;
    int bits = 0;
    std::string bytes;
    bytes.reserve(chars.size() / 4 * 3);
    for (size_t i = 0; i < dataChars; ++i) {
        const int value = base64Values[static_cast<unsigned char>(chars[i])];
        if (value < 0) return std::nullopt;  // '=' inside the text included
        accumulator = (accumulator << 6) | static_cast<uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<char>((accumulator >> bits) & 0xFF));
        }
    }
    // The bits left over after the last byte must be zero ("AQI=", not "AQJ=").
    if (padding > 0 && (accumulator & ((1u << bits) - 1)) != 0) return std::nullopt;
    return bytes;
}

std::string encodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j) {
            group = (group << 8) | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0u);
        }
        for (size_t j = 0; j < 4; ++j) {
            text.push_back(j <= count ? base64Alphabet[(group >> (18 - 6 * j)) & 0x3F] : '=');
        }
    }
    return text;
}

}  // namespace quillmark::xpath
