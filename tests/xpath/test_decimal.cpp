#include "xpath/decimal.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using quillmark::xpath::Decimal;

Decimal dec(const std::string& text)
{
    auto value = Decimal::parseDecimal(text);
    if (!value)
        ADD_FAILURE() << "not a decimal: " << text;
    return value.value_or(Decimal());
}

struct TextCase {
    std::string text;
    std::string canonical;
};

TEST(DecimalParse, AcceptsLexicalFormsAndGivesCanonicalText)
{
    const std::vector<TextCase> cases = {
        {"0", "0"},
        {"-0", "0"},
        {"+0.000", "0"},
        {".0", "0"},
        {"00012.3400", "12.34"},
        {".5", "0.5"},
        {"-.5", "-0.5"},
        {"5.", "5"},
        {"+5", "5"},
        {"0.001", "0.001"},
        {"100", "100"},
        {"1000.000", "1000"},
        {"-1.5", "-1.5"},
        {"9223372036854775807", "9223372036854775807"},
        {"9223372036854775808", "9223372036854775808"},
        {"-9223372036854775808", "-9223372036854775808"},
        {"-9223372036854775809", "-9223372036854775809"},
        {"0.0000000000000000000000000001", "0.0000000000000000000000000001"},
        {"123456789012345678901234567890.123456789", "123456789012345678901234567890.123456789"},
        {"-12345678901234567890.50", "-12345678901234567890.5"},
        {"000000000000000000000000000001", "1"},
        {"1.000000000000000000000000000000", "1"},
    };
    for (const auto& c : cases) {
        const auto value = Decimal::parseDecimal(c.text);
        ASSERT_TRUE(value) << c.text;
        EXPECT_EQ(value->toString(), c.canonical) << c.text;
    }
}

TEST(DecimalParse, RejectsOtherForms)
{
    for (const char* text : {"", "+", "-", ".", "+.", "-.", "1e3", "1.5e0", "1E3", " 1", "1 ", "1,5", "1.2.3",
                             "--1", "+-1", "0x10", "INF", "NaN", "1_000", "1.-5", "\xd9\xa1" /* Arabic-Indic one */}) {
        EXPECT_FALSE(Decimal::parseDecimal(text)) << text;
    }
}

TEST(DecimalParse, IntegerFormHasNoPoint)
{
    const std::vector<TextCase> valid = {
        {"0", "0"}, {"-12", "-12"}, {"+007", "7"}, {"-0", "0"},
        {"123456789012345678901234567890", "123456789012345678901234567890"},
    };
    for (const auto& c : valid) {
        const auto value = Decimal::parseInteger(c.text);
        ASSERT_TRUE(value) << c.text;
        EXPECT_EQ(value->toString(), c.canonical) << c.text;
    }
    for (const char* text : {"1.0", "1.", ".5", "", "+", "-", "1e3", " 1"})
        EXPECT_FALSE(Decimal::parseInteger(text)) << text;
}

struct PropertyCase {
    std::string text;
    int sign;
    int64_t scale;
    int64_t digitCount;
    std::optional<int64_t> int64Value;
};

TEST(DecimalProperties, SignScaleDigitsAndInt64)
{
    const std::vector<PropertyCase> cases = {
        {"0", 0, 0, 1, 0},
        {"-1.50", -1, 1, 2, std::nullopt},
        {"1200", 1, 0, 4, 1200},
        {"0.001", 1, 3, 1, std::nullopt},
        {"9223372036854775807", 1, 0, 19, INT64_MAX},
        {"-9223372036854775808", -1, 0, 19, INT64_MIN},
        {"9223372036854775808", 1, 0, 19, std::nullopt},
        {"99999999999999999999", 1, 0, 20, std::nullopt},
        {"100000000000000000000", 1, 0, 21, std::nullopt},
        {"-1000000000000000000000.5", -1, 1, 23, std::nullopt},
    };
    for (const auto& c : cases) {
        const Decimal value = dec(c.text);
        EXPECT_EQ(value.sign(), c.sign) << c.text;
        EXPECT_EQ(value.isZero(), c.sign == 0) << c.text;
        EXPECT_EQ(value.scale(), c.scale) << c.text;
        EXPECT_EQ(value.isInteger(), c.scale == 0) << c.text;
        EXPECT_EQ(value.digitCount(), c.digitCount) << c.text;
        EXPECT_EQ(value.toInt64(), c.int64Value) << c.text;
    }
}

struct DoubleToDecimalCase {
    double value;
    std::string exact;
};

TEST(DecimalFromDouble, GivesTheExactBinaryValue)
{
    const std::string tenPow300 =
        "1000000000000000052504760255204420248704468581108159154915854115511802457988908195786371375080447864043"
        "7044438328838781769425232353604305756447921847867069828483872009265758037378302337947880900593689532349"
        "70799945081119038967640880074652742780142494579258788820056842838115669472196386865459400540160";
    const std::string tenPowMinus320Digits =
        "9999888671826830054133752367652800576668810404913933231973854213813672267149025137753668687959512485767"
        "0824694358213268739555318176042214791112018712582252132763264349719028276435993394772633977786596651937"
        "9365430983453212928116126815528399920446156080895301043424191940045702031506856756530157956918734018810"
        "5680700687048622572297011807295865142440458678820197825330390728703465639787631241688381084672868858070"
        "0304253500294977747284233762278736722315026487855632075444271337807514989648422386509829763597369536545"
        "6728848769494023056476929229839775968463005509138487674969830391559108435856667185610156437669970039229"
        "4336955627042165899589336900634182050515934614876820804363177575320916352342137470725187361510200023673"
        "178293392993509769439697265625";
    const std::vector<DoubleToDecimalCase> cases = {
        {1.005, "1.00499999999999989341858963598497211933135986328125"},
        {0.1, "0.1000000000000000055511151231257827021181583404541015625"},
        {-2.5, "-2.5"},
        {123.0, "123"},
        {-0.0, "0"},
        {9223372036854775808.0, "9223372036854775808"},
        {-9223372036854775808.0, "-9223372036854775808"},
        {4611686018427387904.0, "4611686018427387904"},
        {1e300, tenPow300},
        {1e-320, "0." + std::string(320, '0') + tenPowMinus320Digits},
    };
    for (const auto& c : cases) {
        const auto value = Decimal::fromDouble(c.value);
        ASSERT_TRUE(value) << c.exact;
        EXPECT_EQ(value->toString(), c.exact);
    }
    EXPECT_FALSE(Decimal::fromDouble(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(Decimal::fromDouble(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(Decimal::fromDouble(-std::numeric_limits<double>::infinity()));
}

TEST(DecimalToDouble, RoundTripsEveryKindOfDouble)
{
    for (const double value : {0.1, -1.005, 1e300, 1e-320, DBL_MAX, -DBL_MAX, DBL_MIN, DBL_TRUE_MIN, 123456.789,
                               9007199254740993.0, 0.30000000000000004, 1.0 / 3.0, 4503599627370497.5}) {
        const auto exact = Decimal::fromDouble(value);
        ASSERT_TRUE(exact);
        EXPECT_EQ(exact->toDouble(), value) << exact->toString();
    }
}

struct DecimalToDoubleCase {
    std::string text;
    double expected;
};

TEST(DecimalToDouble, RoundsToNearestEven)
{
    const std::string tiny = "0." + std::string(400, '0') + "1";
    const std::vector<DecimalToDoubleCase> cases = {
        {"0.1", 0.1},
        {"-1.5", -1.5},
        {"1.00499999999999989341858963598497211933135986328125", 1.005},
        {"9007199254740993", 9007199254740992.0},   // halfway: to even
        {"9007199254740995", 9007199254740996.0},   // halfway: to even
        {"9007199254740993.0000000000000000000000001", 9007199254740994.0},  // just above halfway
        {"900719925474099.3", 900719925474099.3},
        {"12345678901234567890.123456789", 12345678901234567890.123456789},
        {"1" + std::string(400, '0'), std::numeric_limits<double>::infinity()},
        {"-1" + std::string(400, '0'), -std::numeric_limits<double>::infinity()},
        {tiny, 0.0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dec(c.text).toDouble(), c.expected) << c.text;
    const double negativeTiny = dec("-" + tiny).toDouble();
    EXPECT_EQ(negativeTiny, 0.0);
    EXPECT_TRUE(std::signbit(negativeTiny));
}

TEST(DecimalToFloat, RoundsOnceFromTheDecimal)
{
    // 1 + 2^-24 + 2^-60: through double it becomes the tie 1 + 2^-24 and then 1.0f.
    const Decimal aboveTie = dec("1.000000059604644776257986737988403547205962240695953369140625");
    EXPECT_EQ(aboveTie.toFloat(), 1.00000012f);
    EXPECT_EQ(static_cast<float>(aboveTie.toDouble()), 1.0f);
    EXPECT_EQ(dec("16777217").toFloat(), 16777216.0f);
    EXPECT_EQ(dec("16777219").toFloat(), 16777220.0f);
    EXPECT_EQ(dec("1.1").toFloat(), 1.1f);
    EXPECT_EQ(dec("-0.1").toFloat(), -0.1f);
    EXPECT_EQ(dec("123456789012345678901234567890").toFloat(), 123456789012345678901234567890.0f);
    EXPECT_EQ(dec("340282356779733661637539395458142568448").toFloat(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(dec("340282356779733661637539395458142568447").toFloat(), FLT_MAX);
}

struct BinaryCase {
    std::string a;
    char op;
    std::string b;
    std::string expected;
};

Decimal apply(const BinaryCase& c)
{
    const Decimal a = dec(c.a);
    const Decimal b = dec(c.b);
    switch (c.op) {
    case '+':
        return a + b;
    case '-':
        return a - b;
    case '*':
        return a * b;
    case '/':
        return Decimal::divide(a, b).value();
    case 'i':
        return Decimal::integerDivide(a, b).value();
    case '%':
        return Decimal::modulo(a, b).value();
    }
    ADD_FAILURE() << "unknown operator " << c.op;
    return Decimal();
}

void expectResults(const std::vector<BinaryCase>& cases)
{
    for (const auto& c : cases) {
        const Decimal result = apply(c);
        EXPECT_EQ(result.toString(), c.expected) << c.a << ' ' << c.op << ' ' << c.b;
        EXPECT_EQ(result, dec(c.expected)) << c.a << ' ' << c.op << ' ' << c.b;
    }
}

TEST(DecimalArithmetic, AddSubtractMultiplyAcrossTheInt64Boundary)
{
    expectResults({
        {"9223372036854775807", '+', "1", "9223372036854775808"},
        {"-9223372036854775808", '-', "1", "-9223372036854775809"},
        {"9223372036854775808", '-', "1", "9223372036854775807"},
        {"-9223372036854775809", '+', "1", "-9223372036854775808"},
        {"0.1", '+', "0.2", "0.3"},
        {"1.25", '+', "-1.25", "0"},
        {"1.5", '+', "0.5", "2"},
        {"99999999999999999.99", '+', "0.01", "100000000000000000"},
        {"0.000000000000000000001", '+', "1", "1.000000000000000000001"},
        {"1", '-', "0.999999999999999999999", "0.000000000000000000001"},
        {"922337203685477580.7", '+', "0.01", "922337203685477580.71"},
        {"123456789012345678901234567890", '-', "123456789012345678901234567890", "0"},
        {"3037000500", '*', "3037000500", "9223372037000250000"},
        {"-9223372036854775808", '*', "-1", "9223372036854775808"},
        {"1.5", '*', "2", "3"},
        {"0.1", '*', "0.1", "0.01"},
        {"2.5", '*', "4", "10"},
        {"-0.5", '*', "0.2", "-0.1"},
        {"123456789012345678901234567890", '*', "0", "0"},
        {"123456789.123456789", '*', "-987654321.987654321", "-121932631356500531.347203169112635269"},
        {"19.99", '*', "3", "59.97"},
    });
}

TEST(DecimalArithmetic, NegationAndAbsoluteValue)
{
    const Decimal minimum = Decimal::fromInt64(INT64_MIN);
    EXPECT_EQ((-minimum).toString(), "9223372036854775808");
    EXPECT_EQ(minimum.abs().toString(), "9223372036854775808");
    EXPECT_EQ((-dec("9223372036854775808")).toInt64(), INT64_MIN);
    EXPECT_EQ((-dec("1.5")).toString(), "-1.5");
    EXPECT_EQ((-Decimal()).toString(), "0");
    EXPECT_EQ(dec("-0.25").abs().toString(), "0.25");
}

TEST(DecimalDivision, KeepsEighteenOrMoreDigitsRoundingTiesTowardsZero)
{
    expectResults({
        {"1", '/', "3", "0.333333333333333333"},
        {"2", '/', "3", "0.666666666666666667"},
        {"10", '/', "4", "2.5"},
        {"1", '/', "4", "0.25"},
        {"-2", '/', "3", "-0.666666666666666667"},
        {"1", '/', "-3", "-0.333333333333333333"},
        {"1", '/', "7", "0.142857142857142857"},
        {"1.5", '/', "0.5", "3"},
        {"100", '/', "3", "33.333333333333333333"},
        {"0", '/', "5", "0"},
        {"-2.5", '/', "3", "-0.8333333333333333333"},
        {"0.123456789012345678901", '/', "3", "0.041152263004115226300333333333333333333"},
        {"1", '/', "0.0000000000000000000003", "3333333333333333333333.333333333333333333"},
        {"123456789012345678901234567890", '/', "7", "17636684144620811271604938270"},
        {"9223372036854775807", '/', "0.01", "922337203685477580700"},
        {"-9223372036854775808", '/', "-1", "9223372036854775808"},
        // 1 / 2^19 has 19 fraction digits; the last is a tie and goes towards zero.
        {"1", '/', "524288", "0.000001907348632812"},
        {"-1", '/', "524288", "-0.000001907348632812"},
        {"3", '/', "524288", "0.000005722045898437"},
    });
    for (const char* divisor : {"0", "0.000", "-0"}) {
        EXPECT_FALSE(Decimal::divide(dec("1"), dec(divisor)));
        EXPECT_FALSE(Decimal::integerDivide(dec("1"), dec(divisor)));
        EXPECT_FALSE(Decimal::modulo(dec("1"), dec(divisor)));
    }
}

TEST(DecimalDivision, IntegerDivisionTruncatesAndModuloKeepsTheDividendSign)
{
    expectResults({
        {"-7", 'i', "2", "-3"},
        {"-7", '%', "2", "-1"},
        {"7", 'i', "-2", "-3"},
        {"7", '%', "-2", "1"},
        {"-7", '%', "-2", "-1"},
        {"10", 'i', "3", "3"},
        {"10", '%', "3", "1"},
        {"5.5", 'i', "2", "2"},
        {"5.5", '%', "2", "1.5"},
        {"-5.5", '%', "2", "-1.5"},
        {"1", '%', "0.3", "0.1"},
        {"0.5", 'i', "0.2", "2"},
        {"3214282912345698765432161182", '%', "97", "1"},
        {"3214282912345698765432161182", 'i', "97", "33136937240677306860125373"},
        {"-9223372036854775808", 'i', "-1", "9223372036854775808"},
        {"-9223372036854775808", '%', "-1", "0"},
        {"12345678901234567890.5", '%', "0.0000000000000000000007", "0.0000000000000000000006"},
    });
}

struct RoundingCase {
    std::string value;
    std::string floor;
    std::string ceiling;
    std::string round;
    std::string truncate;
};

TEST(DecimalRounding, FloorCeilingRoundTruncate)
{
    const std::vector<RoundingCase> cases = {
        {"2.5", "2", "3", "3", "2"},
        {"-2.5", "-3", "-2", "-2", "-2"},
        {"2.4", "2", "3", "2", "2"},
        {"-2.6", "-3", "-2", "-3", "-2"},
        {"-0.5", "-1", "0", "0", "0"},
        {"0.5", "0", "1", "1", "0"},
        {"7", "7", "7", "7", "7"},
        {"-7", "-7", "-7", "-7", "-7"},
        {"0.0000000000000000000000001", "0", "1", "0", "0"},
        {"-0.0000000000000000000000001", "-1", "0", "0", "0"},
        {"-9223372036854775808.5", "-9223372036854775809", "-9223372036854775808", "-9223372036854775808",
         "-9223372036854775808"},
        {"12345678901234567890.5", "12345678901234567890", "12345678901234567891", "12345678901234567891",
         "12345678901234567890"},
        {"9223372036854775807.5", "9223372036854775807", "9223372036854775808", "9223372036854775808",
         "9223372036854775807"},
        {"-1234567890123456789012345678901234567890.5", "-1234567890123456789012345678901234567891",
         "-1234567890123456789012345678901234567890", "-1234567890123456789012345678901234567890",
         "-1234567890123456789012345678901234567890"},
    };
    for (const auto& c : cases) {
        const Decimal value = dec(c.value);
        EXPECT_EQ(value.floor().toString(), c.floor) << c.value;
        EXPECT_EQ(value.ceiling().toString(), c.ceiling) << c.value;
        EXPECT_EQ(value.round().toString(), c.round) << c.value;
        EXPECT_EQ(value.truncate().toString(), c.truncate) << c.value;
    }
}

struct HalfEvenCase {
    std::string value;
    int64_t precision;
    std::string expected;
};

TEST(DecimalRounding, HalfToEvenWithPrecision)
{
    const std::vector<HalfEvenCase> cases = {
        {"2.5", 0, "2"},
        {"3.5", 0, "4"},
        {"-2.5", 0, "-2"},
        {"-3.5", 0, "-4"},
        {"0.5", 0, "0"},
        {"1.5", 0, "2"},
        {"999.5", 0, "1000"},
        {"3.567812", 2, "3.57"},
        {"1.125", 2, "1.12"},
        {"1.135", 2, "1.14"},
        {"-1.125", 2, "-1.12"},
        {"12.34", 5, "12.34"},
        {"35612.25", -2, "35600"},
        {"35650", -2, "35600"},
        {"35750", -2, "35800"},
        {"150", -2, "200"},
        {"250", -2, "200"},
        {"-150", -2, "-200"},
        {"5", -1, "0"},
        {"15", -1, "20"},
        {"12345", -10, "0"},
        {"9223372036854775807", -1, "9223372036854775810"},
        {"12345678901234567890.125", 2, "12345678901234567890.12"},
        {"12345678901234567890.135", 2, "12345678901234567890.14"},
        {"55555555555555555555555", -22, "60000000000000000000000"},
        {"1234567890123456789012345678901234567891.5", 0, "1234567890123456789012345678901234567892"},
        {"-1234567890123456789012345678901234567890.5", 0, "-1234567890123456789012345678901234567890"},
        {"1234567890123456789012345678901234567890.12345", -38, "1200000000000000000000000000000000000000"},
        {"0.0000000000000000000000005", 24, "0"},
        {"0.0000000000000000000000015", 24, "0.000000000000000000000002"},
        {"123", INT64_MIN, "0"},
        {"123456789012345678901234567890", INT64_MIN, "0"},
        {"1.5", INT64_MAX, "1.5"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dec(c.value).roundHalfToEven(c.precision).toString(), c.expected) << c.value << ", " << c.precision;
}

TEST(DecimalComparison, OrdersByValue)
{
    // Each entry is strictly less than the next.
    const std::vector<std::string> ascending = {
        "-9223372036854775809", "-9223372036854775808", "-1.5", "-1", "-0.000000000000000000001", "0", "0.1",
        "0.2", "0.99999999999999999999", "1", "1.000000000000000000001", "9223372036854775807",
        "9223372036854775807.5", "9223372036854775808", "123456789012345678901234567890",
    };
    for (size_t i = 0; i < ascending.size(); ++i) {
        for (size_t j = 0; j < ascending.size(); ++j) {
            const Decimal a = dec(ascending[i]);
            const Decimal b = dec(ascending[j]);
            EXPECT_EQ(a <=> b, i <=> j) << ascending[i] << " vs " << ascending[j];
            EXPECT_EQ(a == b, i == j) << ascending[i] << " vs " << ascending[j];
        }
    }
}

TEST(DecimalComparison, EqualValuesAreEqualAndHashEqual)
{
    const std::vector<std::pair<Decimal, Decimal>> pairs = {
        {dec("1.0"), Decimal::fromInt64(1)},
        {dec("0.50"), dec(".5")},
        {dec("9223372036854775807") + dec("1"), dec("9223372036854775808")},
        {dec("9223372036854775808") - dec("1"), Decimal::fromInt64(INT64_MAX)},
        {dec("1.5") + dec("1.5"), Decimal::fromInt64(3)},
        {Decimal::fromDouble(0.25).value(), dec("0.25")},
        {dec("123456789012345678901234567890.5") * dec("2"), dec("246913578024691357802469135781")},
        {Decimal::divide(dec("20000000000000000000"), dec("2")).value(), dec("10000000000000000000")},
    };
    for (const auto& [a, b] : pairs) {
        EXPECT_EQ(a, b) << a.toString() << " vs " << b.toString();
        EXPECT_EQ(a <=> b, std::strong_ordering::equal) << a.toString();
        EXPECT_EQ(a.hash(), b.hash()) << a.toString();
    }
    std::unordered_set<Decimal> set = {dec("1"), dec("1.00"), dec("2"), dec("99999999999999999999"),
                                       dec("99999999999999999999.0")};
    EXPECT_EQ(set.size(), 3u);
}

TEST(DecimalValueSemantics, CopiesAndMovesOfLargeValuesAreIndependent)
{
    Decimal big = dec("123456789012345678901234567890");
    Decimal copy = big;
    Decimal assigned;
    assigned = big;
    assigned = assigned;  // self-assignment keeps the value
    big = big + Decimal::fromInt64(1);
    EXPECT_EQ(copy.toString(), "123456789012345678901234567890");
    EXPECT_EQ(assigned.toString(), "123456789012345678901234567890");
    Decimal moved = std::move(copy);
    EXPECT_EQ(moved.toString(), "123456789012345678901234567890");
    moved = Decimal::fromInt64(5);
    EXPECT_EQ(moved.toString(), "5");
    big = std::move(assigned);
    EXPECT_EQ(big.toString(), "123456789012345678901234567890");
    EXPECT_LE(sizeof(Decimal), 16u);
}

}  // namespace
