// The value model: number text, number scanning, tags and descriptions.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quillmark/value.h"

namespace quillmark {
namespace {

TEST(NumberText, PrintsSixteenSignificantDigitsWithoutTrailingZeros) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::pair<double, std::string>> cases = {
        {3, "3"}, {-12, "-12"}, {0, "0"}, {2.5, "2.5"}, {-0.25, "-0.25"}, {0.1, "0.1"},
        {1.0 / 3.0, "0.3333333333333333"}, {0.1 + 0.2, "0.3"}, {1e21, "1e+21"}, {1e-5, "1e-05"},
        {1e15, "1000000000000000"}, {1e16, "1e+16"}, {123456.789, "123456.789"},
        {inf, "inf"}, {-inf, "-inf"}, {nan, "nan"}, {-nan, "nan"},
    };
    for (const auto& [number, text] : cases) EXPECT_EQ(formatNumber(number), text);
}

TEST(NumberScan, AcceptsOnlyPlainDecimalForms) {
    struct Case {
        const char* text;
        size_t consumed;
        double value;
    } cases[] = {
        {"1", 1, 1}, {"007", 3, 7}, {"1.0", 3, 1}, {".5", 2, 0.5}, {"-3", 2, -3}, {"+4", 2, 4},
        {"1e3", 3, 1000}, {"2.5E-1x", 6, 0.25}, {"1e", 1, 1}, {"1e+", 1, 1}, {"1.", 2, 1},
        {"12abc", 2, 12}, {"1e999", 5, HUGE_VAL}, {"1e-999", 6, 0},
        // Never names, hexadecimal or locale forms.
        {"inf", 0, 0}, {"nan", 0, 0}, {"Information", 0, 0}, {"0x1A", 1, 0}, {".", 0, 0}, {"-", 0, 0},
        {"-.", 0, 0}, {"", 0, 0}, {" 1", 0, 0},
    };
    for (const auto& c : cases) {
        double value = -999;
        const size_t consumed = scanNumber(c.text, &value);
        EXPECT_EQ(consumed, c.consumed) << c.text;
        if (consumed > 0) {
            EXPECT_DOUBLE_EQ(value, c.value) << c.text;
        }
    }
}

TEST(LenientNumberReading, SkipsLeadingBlanksAndReadsLongestPrefix) {
    EXPECT_EQ(readNumberPrefix("\n\t 3.5 "), 3.5);
    EXPECT_EQ(readNumberPrefix("2024-05-31"), 2024);
    EXPECT_EQ(readNumberPrefix("abc"), 0);
    EXPECT_EQ(readNumberPrefix(""), 0);
    EXPECT_EQ(readNumberPrefix("nan"), 0);
}

TEST(ValueKinds, BooleansAreNumbersAndStringsAreNot) {
    EXPECT_TRUE(Value::boolean(false).isNumber());
    EXPECT_FALSE(Value::string("1").isNumber());
    EXPECT_EQ(Value::boolean(true).numberValue(), 1);
    EXPECT_TRUE(Value::string("x").items().empty());
}

TEST(ValueDescriptions, ShortAndLongForms) {
    EXPECT_EQ(Value().shortDescription(), "nil");
    EXPECT_EQ(Value::nullMarker().shortDescription(), "<value>");
    EXPECT_EQ(Value::string("a").shortDescription(), "\"a\"");
    EXPECT_EQ(Value::number(2.5).shortDescription(), "2.5");
    EXPECT_EQ(Value::integer(3).shortDescription(), "3");
    EXPECT_EQ(Value::sequence({Value::integer(1), Value::integer(2)}).shortDescription(), "[Array count=2]");
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value::string("a").description(), "a");
    EXPECT_EQ(Value::sequence({Value::integer(1), Value::string("b")}).description(), "(\n    1,\n    b\n)");
}

}  // namespace
}  // namespace quillmark
