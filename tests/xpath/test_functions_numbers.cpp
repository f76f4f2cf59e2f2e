// The numeric functions through whole expressions: the type each keeps, the rounding
// direction of halves, round-half-to-even on decimals and doubles, and fn:number's
// lenient reading. Expected values are those of the reference processor.

#include <cmath>

#include "expression_test_support.h"
#include "xpath/numeric_helpers.h"

namespace quillmark::xpath::testing {
namespace {

TEST(NumberFunctions, AbsCeilingFloorKeepTheNumericType) {
    expectOutcomes({
        {"abs(-3)", "xs:integer 3"},
        {"abs(xs:int('-2147483648'))", "xs:integer 2147483648"},  // derived types widen to xs:integer
        {"abs(xs:byte(5)) instance of xs:byte", "xs:boolean true"},
        {"abs(-1.50)", "xs:decimal 1.5"},
        {"abs(-0e0)", "xs:double 0"},
        {"abs(xs:float('-INF'))", "xs:float INF"},
        {"abs(())", "()"},
        {"ceiling(1.2)", "xs:decimal 2"},
        {"ceiling(-0.5)", "xs:decimal 0"},  // no negative zero among decimals
        {"ceiling(-0.5e0)", "xs:double -0"},
        {"ceiling(xs:float(1.1))", "xs:float 2"},
        {"ceiling(7)", "xs:integer 7"},
        {"floor(-0.5)", "xs:decimal -1"},
        {"floor(xs:float(-1.5))", "xs:float -2"},
        {"floor(1e300)", "xs:double 1.0E300"},
        {"floor(xs:double('NaN'))", "xs:double NaN"},
        {"floor(xs:short(-4)) instance of xs:short", "xs:boolean true"},
    });
}

TEST(NumberFunctions, RoundTakesHalvesTowardsPositiveInfinity) {
    expectOutcomes({
        {"round(2.5)", "xs:decimal 3"},
        {"round(-2.5)", "xs:decimal -2"},
        {"round(-2.51)", "xs:decimal -3"},
        {"round(-0.5)", "xs:decimal 0"},
        {"round(1.23456789012345678901234567890)", "xs:decimal 1"},
        {"round(2.5e0)", "xs:double 3"},
        {"round(-2.5e0)", "xs:double -2"},
        {"round(-1.5e0)", "xs:double -1"},
        {"round(-0.5e0)", "xs:double -0"},
        {"round(-0.3e0)", "xs:double -0"},
        {"round(0.49999999999999994e0)", "xs:double 0"},  // not 1, as floor(x + 0.5) would give
        {"round(4503599627370497e0)", "xs:double 4.503599627370497E15"},
        {"round(-1.5e300)", "xs:double -1.5E300"},
        {"round(xs:float(2.5))", "xs:float 3"},
        {"round(xs:float(-0.5))", "xs:float -0"},
        {"round(xs:double('INF'))", "xs:double INF"},
        {"round(12)", "xs:integer 12"},
        {"round(xs:byte(5)) instance of xs:byte", "xs:boolean true"},
        {"round(())", "()"},
    });
}

TEST(NumberFunctions, RoundHalfToEven) {
    expectOutcomes({
        {"round-half-to-even(0.5)", "xs:decimal 0"},
        {"round-half-to-even(1.5)", "xs:decimal 2"},
        {"round-half-to-even(2.5)", "xs:decimal 2"},
        {"round-half-to-even(-2.5)", "xs:decimal -2"},
        {"round-half-to-even(3.567812, 2)", "xs:decimal 3.57"},
        {"round-half-to-even(0.125, 2)", "xs:decimal 0.12"},
        {"round-half-to-even(35612.25, -2)", "xs:decimal 35600"},
        {"round-half-to-even(12345, -2)", "xs:integer 12300"},
        {"round-half-to-even(12350, -2)", "xs:integer 12400"},
        {"round-half-to-even(450, -2)", "xs:integer 400"},
        {"round-half-to-even(12345, 2)", "xs:integer 12345"},
        {"round-half-to-even(600, -3)", "xs:integer 1000"},
        {"round-half-to-even(600, -4)", "xs:integer 0"},
        {"round-half-to-even(0.006, -5)", "xs:decimal 0"},
        {"round-half-to-even(1.5, 99999999999999999999)", "xs:decimal 1.5"},
        {"round-half-to-even(1.5, -99999999999999999999)", "xs:decimal 0"},
        // Doubles are scaled in binary before the decision: 2.675e0 is just below 2.675
        // but scales to 2675 exactly.
        {"round-half-to-even(2.675e0, 2)", "xs:double 2.68"},
        {"round-half-to-even(3.567812e0, 2)", "xs:double 3.57"},
        {"round-half-to-even(-0.5e0)", "xs:double -0"},
        {"round-half-to-even(-4e0, -1)", "xs:double -0"},
        {"round-half-to-even(2.5e0)", "xs:double 2"},
        {"round-half-to-even(1.5e300, -299)", "xs:double 1.5E300"},
        {"round-half-to-even(1.5e0, 400)", "xs:double 1.5"},
        {"round-half-to-even(1.5e0, -400)", "xs:double NaN"},
        {"round-half-to-even(xs:float(150.0150), 2)", "xs:float 150.01"},
        {"round-half-to-even(xs:double('NaN'), 2)", "xs:double NaN"},
        {"round-half-to-even((), 2)", "()"},
        {"round-half-to-even(1.5, 1.0)", "XPTY0004"},
    });
}

TEST(NumberFunctions, NumericArgumentsAcceptNumbersAndUntypedValuesOnly) {
    const auto document = parseDocument("<r><a>-2.5</a><b>x</b><c>1</c><c>2</c></r>");
    expectOutcomes({
        {"abs(/r/a)", "xs:double 2.5"},  // untyped values are read as doubles
        {"round(/r/a)", "xs:double -2"},
        {"floor(/r/b)", "FORG0001"},
        {"abs('1')", "XPTY0004"},
        {"ceiling(true())", "XPTY0004"},
        {"round(xs:date('2020-01-01'))", "XPTY0004"},
        {"abs(/r/c)", "XPTY0004"},
        {"abs(/r/missing)", "()"},
    },
                   document.get());
}

TEST(NumberFunctions, NumberReadsAnythingAsDoubleOrNaN) {
    const auto document = parseDocument("<r><a> 12 </a><b>abc</b></r>");
    expectOutcomes({
        {"number('abc')", "xs:double NaN"},
        {"number(' 12 ')", "xs:double 12"},
        {"number('+5')", "xs:double 5"},
        {"number('1e3')", "xs:double 1000"},
        {"number('INF')", "xs:double INF"},
        {"number('-0')", "xs:double -0"},
        {"number(true())", "xs:double 1"},
        {"number(xs:date('2020-01-01'))", "xs:double NaN"},
        {"number(xs:float(1.1))", "xs:double 1.100000023841858"},
        {"number(1.5)", "xs:double 1.5"},
        {"number(())", "xs:double NaN"},
        {"number(/r/a)", "xs:double 12"},
        {"number(/r/b)", "xs:double NaN"},
        {"/r/a/number()", "xs:double 12"},  // the context item
        {"number(/r/*)", "XPTY0004"},
    },
                   document.get());
    EXPECT_EQ(evaluationOutcome("number()"), "XPDY0002");
}

// The helpers fn:substring and fn:subsequence share with fn:round.
TEST(NumberFunctions, RoundingHelpersOnDoubles) {
    EXPECT_EQ(roundHalfUp(2.5), 3);
    EXPECT_EQ(roundHalfUp(-2.5), -2);
    EXPECT_TRUE(std::signbit(roundHalfUp(-0.5)));
    EXPECT_TRUE(std::isnan(roundHalfUp(NAN)));
    EXPECT_EQ(roundHalfToEven(0.125, 2), 0.12);
    EXPECT_EQ(roundHalfToEven(2.675, 2), 2.68);
    EXPECT_EQ(roundHalfToEven(-1234.5, -1), -1230);
    EXPECT_TRUE(isNaN(AtomicValue::fromFloat(NAN)));
    EXPECT_FALSE(isNaN(AtomicValue::fromDouble(INFINITY)));
    EXPECT_FALSE(isNaN(AtomicValue::fromInteger(1)));
}

}  // namespace
}  // namespace quillmark::xpath::testing
