// Numeric functions: lenient reading of text, rounding, truncation and the tags of
// their results.

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using NumberFunctions = FunctionTest;

TEST_F(NumberFunctions, SumAndNumberNeverGiveNaNForText) {
    expectAll({
        {"sum(//cbc:Amount)", "double 12.5"},  // "n/a" adds 0
        {"sum((1, '2', 'x', 3.5))", "double 6.5"}, {"sum(())", "double 0"}, {"sum('4 EUR')", "double 4"},
        {"sum(cbc:ID)", "double 0"}, {"sum()", "integer 0"},
        {"number('12 EUR')", "double 12"}, {"number('EUR')", "double 0"}, {"number('  3.5  ')", "double 3.5"},
        {"number('1e3')", "double 1000"}, {"number('Infinity')", "double 0"}, {"number(1 = 1)", "double 1"},
        {"number(())", "double 0"}, {"number(//cbc:Amount)", "double 10.5"}, {"number()", "integer 0"},
    });
}

TEST_F(NumberFunctions, Decimal) {
    expectAll({
        {"xs:decimal('1.50')", "double 1.5"}, {"xs:decimal('abc')", "double 0"}, {"xs:decimal(cbc:ID)", "double 0"},
        {"decimal('1.5')", "absent"},  // only the prefixed name is built in
    });
    EXPECT_EQ(typedAt("xs:decimal()", select("cac:Line/cbc:Amount")), "double 10.5");
    EXPECT_EQ(typedAt("xs:decimal()", xml::Node()), "double 0");
}

TEST_F(NumberFunctions, RoundAbsAndIntegerTruncation) {
    expectAll({
        // Halves round away from zero.
        {"round(2.5)", "double 3"}, {"round(-2.5)", "double -3"}, {"round(2.4)", "double 2"},
        {"round(-2.4)", "double -2"}, {"round('7.5 kg')", "double 8"}, {"round(1 div 0)", "double inf"},
        {"round()", "integer 0"},
        {"abs(-3)", "double 3"}, {"abs(2.5)", "double 2.5"}, {"abs('-7')", "double 7"}, {"abs()", "integer 0"},
        // xs:integer truncates toward zero.
        {"xs:integer(2.9)", "integer 2"}, {"xs:integer(-2.9)", "integer -2"}, {"xs:integer('42abc')", "integer 42"},
        {"xs:integer('abc')", "integer 0"}, {"xs:integer(0 div 0)", "integer 0"}, {"xs:integer()", "integer 0"},
    });
}

TEST_F(NumberFunctions, SlackIsAToleranceTest) {
    expectAll({
        {"u:slack(10.0, 10.005, 0.01)", "boolean true"}, {"u:slack(10, 10.02, 0.01)", "boolean false"},
        {"u:slack(10, 9.99, 0.01)", "boolean true"}, {"u:slack(10, 10, 0)", "boolean true"},
        {"u:slack(cbc:Amount, '10.5', 0)", "boolean false"},  // cbc:Amount is not a child of the root
        {"u:slack(//cbc:Amount, '10.5', 0)", "boolean true"},
        {"u:slack(1, 2)", "boolean false"}, {"u:slack()", "boolean false"}, {"slack(1, 1, 1)", "absent"},
    });
}

}  // namespace
}  // namespace quillmark::testing
