// Functions with boolean-tagged results, which act as truth tests inside predicates.

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using BooleanFunctions = FunctionTest;

TEST_F(BooleanFunctions, TruthValues) {
    expectAll({
        {"not(())", "boolean true"}, {"not('')", "boolean true"}, {"not('false')", "boolean false"},
        {"not(0)", "boolean true"}, {"not(cac:Line)", "boolean false"}, {"not()", "boolean true"},
        {"boolean('0')", "boolean true"}, {"boolean(0)", "boolean false"}, {"boolean((1 = 2))", "boolean false"},
        {"boolean(())", "boolean false"}, {"boolean()", "boolean false"},
        {"true()", "boolean true"}, {"true(0)", "boolean true"}, {"false()", "boolean false"},
        {"false('x')", "boolean false"}, {"string(true())", "string \"true\""},
    });
}

TEST_F(BooleanFunctions, BooleanResultsFilterByTruthNotPosition) {
    // The integer from exists() would be read as position 1; not() gives a truth test.
    expectAll({
        {"count(cac:Line[not(cbc:Amount = 'x')])", "integer 3"},
        {"count(cac:Line[exists(cbc:Amount)])", "integer 1"},
        {"count(cac:Line[boolean(cbc:Amount)])", "integer 3"},
    });
}

}  // namespace
}  // namespace quillmark::testing
