// Regular-expression functions: the tags of their results and the fallbacks for missing
// arguments and for patterns that do not compile. The matching itself is the
// regular-expression wrapper's; runaway patterns are the evaluation budget's
// (test_evaluation_budget.cpp).

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using RegexFunctions = FunctionTest;

TEST_F(RegexFunctions, Matches) {
    expectAll({
        {"matches('abc', 'b')", "integer 1"}, {"matches('abc', '^b')", "integer 0"},
        {"matches('ABC', 'b', 'i')", "integer 0"},  // flags are ignored
        {"matches('', '[')", "boolean true"},       // the pattern is not even compiled
        {"matches('', 'x')", "boolean true"}, {"matches('a', '[')", "boolean false"},
        {"matches('a')", "boolean false"}, {"matches()", "boolean false"},
        {"matches(cbc:ID, '^[A-Z]+-[0-9]+$')", "integer 1"}, {"matches('DE123', '^[A-Z]{2}\\d+$')", "integer 1"},
        {"matches('\xC3\xA9t\xC3\xA9', '^\\p{L}+$')", "integer 1"},
    });
}

TEST_F(RegexFunctions, Tokenize) {
    expectAll({
        {"tokenize(' a  b ', '\\s+')", "sequence(string \"a\", string \"b\")"},
        {"tokenize(',,', ',')", "sequence(string \",,\")"}, {"tokenize('a,b', '[')", "sequence(string \"a,b\")"},
        {"count(tokenize('0088 0192 9930', ' '))", "integer 3"},
        {"tokenize('a')", "sequence()"}, {"tokenize()", "sequence()"},
    });
}

TEST_F(RegexFunctions, Replace) {
    expectAll({
        {"replace('2024-01-31', '(\\d+)-(\\d+)-(\\d+)', '$3.$2.$1')", "string \"31.01.2024\""},
        {"replace('abc', '[', 'x')", "string \"abc\""}, {"replace('abc', 'b', '$7')", "string \"abc\""},
        {"replace(12, '2', '3')", "string \"13\""}, {"replace('abc', 'b')", "string \"abc\""},
        {"replace(2.5, '5')", "double 2.5"},  // the first argument itself, not converted
        {"replace(2.5)", "double 2.5"}, {"replace()", "string \"\""},
    });
}

}  // namespace
}  // namespace quillmark::testing
