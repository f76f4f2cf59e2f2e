#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quillmark/value.h"

namespace quillmark {
namespace {

struct NumberTextCase {
    double number;
    const char* text;
};

class NumberText : public ::testing::TestWithParam<NumberTextCase> {};

TEST_P(NumberText, PrintsSixteenSignificantDigitsWithoutTrailingZeros) {
    EXPECT_EQ(formatNumber(GetParam().number), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Values, NumberText,
    ::testing::Values(NumberTextCase{3, "3"}, NumberTextCase{-12, "-12"}, NumberTextCase{0, "0"},
                      NumberTextCase{2.5, "2.5"}, NumberTextCase{0.1, "0.1"},
                      NumberTextCase{1.0 / 3.0, "0.3333333333333333"}, NumberTextCase{0.1 + 0.2, "0.3"},
                      NumberTextCase{1e21, "1e+21"}, NumberTextCase{1e-5, "1e-05"}, NumberTextCase{1e15, "1000000000000000"},
                      NumberTextCase{1e16, "1e+16"}, NumberTextCase{123456.789, "123456.789"},
                      NumberTextCase{std::numeric_limits<double>::infinity(), "inf"},
                      NumberTextCase{-std::numeric_limits<double>::infinity(), "-inf"},
                      NumberTextCase{std::numeric_limits<double>::quiet_NaN(), "nan"},
                      NumberTextCase{-std::numeric_limits<double>::quiet_NaN(), "nan"}));

struct ScanCase {
    const char* text;
    size_t consumed;
    double value;
};

class NumberScan : public ::testing::TestWithParam<ScanCase> {};

TEST_P(NumberScan, AcceptsOnlyPlainDecimalForms) {
    double value = -999;
    size_t consumed = scanNumber(GetParam().text, &value);
    EXPECT_EQ(consumed, GetParam().consumed) << GetParam().text;
    if (consumed > 0) {
        EXPECT_DOUBLE_EQ(value, GetParam().value) << GetParam().text;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, NumberScan,
                         ::testing::Values(ScanCase{"1", 1, 1}, ScanCase{"007", 3, 7}, ScanCase{"1.0", 3, 1},
                                           ScanCase{".5", 2, 0.5}, ScanCase{"-3", 2, -3}, ScanCase{"+4", 2, 4},
                                           ScanCase{"1e3", 3, 1000}, ScanCase{"2.5E-1x", 6, 0.25},
                                           ScanCase{"1e", 1, 1}, ScanCase{"1e+", 1, 1}, ScanCase{"1.", 2, 1},
                                           ScanCase{"12abc", 2, 12}, ScanCase{"1e999", 5, HUGE_VAL},
                                           ScanCase{"1e-999", 6, 0},
                                           // Never names, hexadecimal or locale forms.
                                           ScanCase{"inf", 0, 0}, ScanCase{"nan", 0, 0}, ScanCase{"Information", 0, 0},
                                           ScanCase{"0x1A", 1, 0}, ScanCase{".", 0, 0}, ScanCase{"-", 0, 0},
                                           ScanCase{"-.", 0, 0}, ScanCase{"", 0, 0}, ScanCase{" 1", 0, 0}));

TEST(LenientNumberReading, SkipsLeadingBlanksAndReadsLongestPrefix) {
    EXPECT_EQ(readNumberPrefix(" 42abc"), 42);
    EXPECT_EQ(readNumberPrefix("\n\t 3.5 "), 3.5);
    EXPECT_EQ(readNumberPrefix("2024-05-31"), 2024);
    EXPECT_EQ(readNumberPrefix("abc"), 0);
    EXPECT_EQ(readNumberPrefix(""), 0);
    EXPECT_EQ(readNumberPrefix("12 EUR"), 12);
    EXPECT_FALSE(std::isnan(readNumberPrefix("nan")));
}

TEST(ValueKinds, TagsAreFixedAtCreation) {
    EXPECT_TRUE(Value().isAbsent());
    EXPECT_TRUE(Value::nullMarker().isNull());
    EXPECT_TRUE(Value::boolean(true).isBoolean());
    EXPECT_TRUE(Value::integer(1).isInteger());
    EXPECT_TRUE(Value::number(1).isDouble());
    EXPECT_TRUE(Value::boolean(false).isNumber());
    EXPECT_FALSE(Value::string("1").isNumber());
    EXPECT_EQ(Value::boolean(true).numberValue(), 1);
    EXPECT_TRUE(Value::emptySequence().items().empty());
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
