// UTF-8 text measured and cut in UTF-16 code units, case mapping, trimming.

#include <gtest/gtest.h>

#include "quillmark/unicode.h"

namespace quillmark::unicode {
namespace {

const std::string kEuro = "\xE2\x82\xAC";           // U+20AC, one code unit
const std::string kGrinning = "\xF0\x9F\x98\x80";  // U+1F600, a surrogate pair
const std::string kReplacement = "\xEF\xBF\xBD";   // U+FFFD

TEST(UnicodeLength, CountsUtf16CodeUnits) {
    const std::vector<std::pair<std::string, size_t>> cases = {
        {"", 0}, {"abc", 3}, {"\xC3\xA4", 1}, {kEuro, 1}, {kGrinning, 2}, {"a" + kGrinning + "b", 4},
        // A stray byte or a truncated sequence counts as one replacement character.
        {"\xFF", 1}, {"\xE2\x82", 1}, {"a\xC3", 2},
    };
    for (const auto& [text, length] : cases) EXPECT_EQ(utf16Length(text), length) << text;
}

TEST(UnicodeSubstring, CutsByCodeUnits) {
    struct Case {
        std::string text;
        size_t start;
        size_t length;
        std::string expected;
    } cases[] = {
        {"12345", 1, 3, "234"}, {"12345", 0, npos, "12345"}, {"12345", 4, 10, "5"}, {"12345", 5, 1, ""},
        {"12345", 99, 1, ""}, {"a" + kEuro + "b", 1, 1, kEuro}, {"a" + kGrinning + "b", 1, 2, kGrinning},
        {"a" + kGrinning + "b", 3, 1, "b"},
        // Half a surrogate pair cannot be written as UTF-8.
        {"a" + kGrinning + "b", 1, 1, kReplacement}, {"a" + kGrinning + "b", 2, 2, kReplacement + "b"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(substringUtf16(c.text, c.start, c.length), c.expected) << c.text << " " << c.start;
    }
}

TEST(UnicodeCodeUnits, RoundTripAndDamagedUnits) {
    EXPECT_EQ(codeUnits("A" + kGrinning), (std::vector<uint16_t>{0x41, 0xD83D, 0xDE00}));
    EXPECT_TRUE(codeUnits("").empty());
    EXPECT_EQ(fromCodeUnits({0x48, 0x69}), "Hi");
    EXPECT_EQ(fromCodeUnits({0xD83D, 0xDE00}), kGrinning);
    EXPECT_EQ(fromCodeUnits({0xD83D}), kReplacement);
    EXPECT_EQ(fromCodeUnits({0xDE00, 0xD83D, 0x41}), kReplacement + kReplacement + "A");
    EXPECT_EQ(fromCodeUnits({0x0}), std::string(1, '\0'));
    EXPECT_EQ(fromCodeUnits({}), "");
    // Offsets point at the start of the character each code unit belongs to.
    std::vector<size_t> offsets;
    EXPECT_EQ(toUtf16("a" + kEuro + kGrinning, &offsets).size(), 4u);
    EXPECT_EQ(offsets, (std::vector<size_t>{0, 1, 4, 4, 8}));
}

TEST(UnicodeCase, RootLocaleMapping) {
    struct Case {
        std::string text;
        std::string upper;
        std::string lower;
    } cases[] = {
        {"stra\xC3\x9F" "e", "STRASSE", "stra\xC3\x9F" "e"},  // ß widens to SS
        {"istanbul", "ISTANBUL", "istanbul"},                  // no Turkish dotted I
        {"\xC3\xA4\xC3\xB6\xC3\xBC", "\xC3\x84\xC3\x96\xC3\x9C", "\xC3\xA4\xC3\xB6\xC3\xBC"},
        {"MiXeD 12", "MIXED 12", "mixed 12"}, {"", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(upperCase(c.text), c.upper) << c.text;
        EXPECT_EQ(lowerCase(c.text), c.lower) << c.text;
    }
}

TEST(UnicodeTrim, WhiteSpaceAndLineBreaksAtBothEnds) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"  a b  ", "a b"}, {"\t\r\n a\n", "a"},
        {"\xC2\xA0" "a" "\xE2\x80\xA8", "a"},  // no-break space, line separator
        {"\xC2\x85" "a", "a"},                  // next line
        {"   ", ""}, {"", ""}, {"a", "a"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(trimWhiteSpace(text), expected) << text;
}

}  // namespace
}  // namespace quillmark::unicode
