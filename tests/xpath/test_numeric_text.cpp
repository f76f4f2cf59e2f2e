#include "xpath/numeric_text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using quillmark::xpath::formatDouble;
using quillmark::xpath::formatFloat;
using quillmark::xpath::parseDouble;
using quillmark::xpath::parseFloat;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr float kFloatInfinity = std::numeric_limits<float>::infinity();

struct DoubleTextCase {
    double value;
    std::string text;
};

TEST(NumericTextFormat, DoublesAsCastToString)
{
    const std::vector<DoubleTextCase> cases = {
        {std::numeric_limits<double>::quiet_NaN(), "NaN"},
        {kInfinity, "INF"},
        {-kInfinity, "-INF"},
        {0.0, "0"},
        {-0.0, "-0"},
        {1.0, "1"},
        {100.0, "100"},
        {1.5, "1.5"},
        {-1.5, "-1.5"},
        {0.5, "0.5"},
        {0.001, "0.001"},
        {999999.0, "999999"},
        {999999.5, "999999.5"},
        {-999999.0, "-999999"},
        {0.000001, "0.000001"},
        {0.1 + 0.2, "0.30000000000000004"},
        {123456.789, "123456.789"},
        {1e6, "1.0E6"},
        {-1e6, "-1.0E6"},
        {1e7, "1.0E7"},
        {12345678.9, "1.23456789E7"},
        {0.0000001, "1.0E-7"},
        {-0.0000001, "-1.0E-7"},
        {1.2345e-7, "1.2345E-7"},
        {9.999999999999997e-7, "9.999999999999997E-7"},  // the double below 1e-6
        {1e21, "1.0E21"},
        {1e23, "1.0E23"},
        {DBL_MAX, "1.7976931348623157E308"},
        {DBL_MIN, "2.2250738585072014E-308"},
        // Subnormals are written with the reference's own digits, not the shortest ones.
        {DBL_TRUE_MIN, "4.9E-324"},
        {2 * DBL_TRUE_MIN, "1.0E-323"},
        {1e-322, "1.0E-322"},
        {1e-320, "1.0E-320"},
        {2e-323, "2.0E-323"},
        {1.5e-323, "1.5E-323"},
        {1.23456e-315, "1.23456E-315"},
        {32 * DBL_TRUE_MIN, "1.58E-322"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatDouble(c.value), c.text);
}

struct FloatTextCase {
    float value;
    std::string text;
};

TEST(NumericTextFormat, FloatsUseTheirOwnShortestDigits)
{
    const std::vector<FloatTextCase> cases = {
        {std::numeric_limits<float>::quiet_NaN(), "NaN"},
        {kFloatInfinity, "INF"},
        {-kFloatInfinity, "-INF"},
        {0.0f, "0"},
        {-0.0f, "-0"},
        {1.1f, "1.1"},
        {0.1f, "0.1"},
        {0.1f + 0.2f, "0.3"},
        {-2.5f, "-2.5"},
        {16777216.0f, "1.6777216E7"},
        {999999.0f, "999999"},
        {1e6f, "1.0E6"},
        // The float nearest 1e-6 lies below 1e-6 but counts as in range for floats.
        {1e-6f, "0.000001"},
        {9.999999e-7f, "9.999999E-7"},
        {FLT_MAX, "3.4028235E38"},
        {FLT_MIN, "1.1754944E-38"},
        {FLT_TRUE_MIN, "1.4E-45"},
        {3e-45f, "2.8E-45"},
        {9e-44f, "9.0E-44"},
        {1e-43f, "1.0E-43"},
        {7 * FLT_TRUE_MIN, "9.8E-45"},
        {16 * FLT_TRUE_MIN, "2.24E-44"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatFloat(c.value), c.text);
}

TEST(NumericTextFormat, DoublesReadBackExactly)
{
    for (const double value : {0.1, 1.0 / 3.0, 2.0 / 3.0 * 1e-5, 123456.789e100, DBL_MAX, DBL_MIN, DBL_TRUE_MIN,
                               5e-324 * 12345, 9007199254740993.0, 0.000123456789012345678}) {
        const auto text = formatDouble(value);
        EXPECT_EQ(parseDouble(text), value) << text;
        EXPECT_EQ(parseDouble(formatDouble(-value)), -value) << text;
    }
}

struct ParseCase {
    std::string text;
    double expected;
};

TEST(NumericTextParse, DoubleLexicalForms)
{
    const std::string longDigits = "9007199254740993." + std::string(300, '0') + "1";
    const std::vector<ParseCase> cases = {
        {"1", 1.0},
        {"-5", -5.0},
        {"+5", 5.0},
        {".5", 0.5},
        {"+.5", 0.5},
        {"5.", 5.0},
        {"5.e2", 500.0},
        {".5e3", 500.0},
        {"1e3", 1000.0},
        {"1E+3", 1000.0},
        {"1e-3", 0.001},
        {"0.1", 0.1},
        {"00012.5000e-0001", 1.25},
        {"INF", kInfinity},
        {"+INF", kInfinity},
        {"-INF", -kInfinity},
        {"1e400", kInfinity},
        {"-1e400", -kInfinity},
        {"1e99999999999999999999999", kInfinity},
        {"1e-400", 0.0},
        {"1e-99999999999999999999999", 0.0},
        {"0e99999999999999999999", 0.0},
        {"0.000000000000000000000000000001e330", 1e300},
        {"4.9e-324", DBL_TRUE_MIN},
        {"2.4703282292062328e-324", DBL_TRUE_MIN},
        {"2.4703282292062327e-324", 0.0},
        {"1.7976931348623157e308", DBL_MAX},
        {"1.7976931348623159e308", kInfinity},
        {"9007199254740993", 9007199254740992.0},
        {longDigits, 9007199254740994.0},
    };
    for (const auto& c : cases) {
        const auto value = parseDouble(c.text);
        ASSERT_TRUE(value) << c.text;
        EXPECT_EQ(*value, c.expected) << c.text;
    }
    EXPECT_TRUE(std::isnan(parseDouble("NaN").value()));
    for (const char* negativeZero : {"-0", "-0.0e5", "-1e-400"}) {
        const auto value = parseDouble(negativeZero);
        ASSERT_TRUE(value) << negativeZero;
        EXPECT_EQ(*value, 0.0) << negativeZero;
        EXPECT_TRUE(std::signbit(*value)) << negativeZero;
    }
}

TEST(NumericTextParse, RejectsOtherForms)
{
    for (const char* text : {"", " 1", "1 ", "NaN ", " NaN", "inf", "nan", "Inf", "INFINITY", "infinity", "-NaN",
                             "+NaN", "+-INF", "0x1p3", "0x10", "1e", "1e+", "1e-", "e3", ".e3", ".", "+", "-", "+.",
                             "1.5.5", "1,5", "1e3.5", "1e3e3", "--1", "1d3", "1f", "\xef\xbc\x91" /* fullwidth one */}) {
        EXPECT_FALSE(parseDouble(text)) << text;
        EXPECT_FALSE(parseFloat(text)) << text;
    }
}

TEST(NumericTextParse, FloatsAreRoundedOnceFromTheText)
{
    // 1 + 2^-24 + 2^-60: as a double it is the tie 1 + 2^-24, which would then round to 1.0f.
    const std::string aboveTie = "1.000000059604644776257986737988403547205962240695953369140625";
    EXPECT_EQ(parseFloat(aboveTie), 1.00000012f);
    EXPECT_EQ(static_cast<float>(parseDouble(aboveTie).value()), 1.0f);
    EXPECT_EQ(parseFloat("1.1"), 1.1f);
    EXPECT_EQ(parseFloat("-0.1"), -0.1f);
    EXPECT_EQ(parseFloat("16777217"), 16777216.0f);
    EXPECT_EQ(parseFloat("3.4028235e38"), FLT_MAX);
    EXPECT_EQ(parseFloat("3.4028236e38"), kFloatInfinity);
    EXPECT_EQ(parseFloat("1e-46"), 0.0f);
    EXPECT_EQ(parseFloat("1.4e-45"), FLT_TRUE_MIN);
    EXPECT_EQ(parseFloat("-INF"), -kFloatInfinity);
    EXPECT_TRUE(std::isnan(parseFloat("NaN").value()));
}

TEST(NumericTextParse, IgnoresTheProcessLocale)
{
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous ? previous : "C";
    const bool switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    EXPECT_EQ(parseDouble("1.5"), 1.5);
    EXPECT_FALSE(parseDouble("1,5"));
    EXPECT_EQ(formatDouble(1.5), "1.5");
    EXPECT_EQ(formatFloat(1.5e7f), "1.5E7");
    std::setlocale(LC_NUMERIC, saved.c_str());
    if (!switched)
        GTEST_LOG_(INFO) << "de_DE.UTF-8 is not installed; checked under the current locale only";
}

}  // namespace
