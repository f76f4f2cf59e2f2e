// Sequence functions: counting, emptiness (with its integer and boolean answers),
// last() inside and outside predicates, reverse and text().

#include "function_test_support.h"

namespace quillmark::testing {
namespace {

using SequenceFunctions = FunctionTest;

TEST_F(SequenceFunctions, Count) {
    expectAll({
        {"count(cac:Line)", "integer 3"},
        {"count(//cbc:Amount[@currency = 'EUR'])", "integer 2"},
        {"count('abc')", "integer 1"},
        {"count(())", "integer 0"},
        {"count((1, 2, (3, 4)))", "integer 4"},
        {"count(nothing)", "integer 0"},
        {"count()", "integer 0"},
        {"fn:count(cac:Line)", "absent"},
        {"Count(cac:Line)", "absent"},
    });
}

TEST_F(SequenceFunctions, LastReadsThePredicateSize) {
    expectAll({
        {"last()", "integer 0"},  // a fresh evaluator has filtered nothing yet
        {"last((1, 2, 5))", "integer 3"},
        {"last('x')", "integer 1"},
        {"string(cac:Line[last()]/cbc:Amount)", "string \"n/a\""},
        {"count(cac:Line[last()])", "integer 1"},
    });
}

TEST_F(SequenceFunctions, EmptyAndExists) {
    expectAll({
        {"empty(())", "integer 1"},
        {"empty(nothing)", "integer 1"},
        {"empty('')", "integer 0"},
        {"empty(cac:Line)", "integer 0"},
        {"empty()", "boolean true"},
        {"exists('x')", "integer 1"},
        {"exists('')", "integer 1"},
        {"exists(())", "integer 0"},
        {"exists(cac:Line)", "integer 1"},
        {"exists()", "boolean false"},
        {"string(exists('x'))", "string \"1\""},
    });
    evaluator.setVariable("marker", Value::nullMarker());
    expectAll({
        {"empty($marker)", "integer 1"},
        {"exists($marker)", "integer 0"},
        {"count($marker)", "integer 1"},
    });
}

TEST_F(SequenceFunctions, Reverse) {
    expectAll({
        {"reverse((1, 2, 3))", "sequence(double 3, double 2, double 1)"},
        {"reverse('a')", "sequence(string \"a\")"},
        {"reverse(())", "sequence()"},
        {"reverse(cac:Line/cbc:Amount/@currency)", "sequence(string \"USD\", string \"EUR\", string \"EUR\")"},
        {"reverse()", "sequence()"},
    });
}

TEST_F(SequenceFunctions, TextGivesTheTextChildren) {
    EXPECT_EQ(typed(evalAt("text()", select("Mixed"))), "sequence(string \"a\", string \"c\")");
    EXPECT_EQ(typed(evalAt("text('ignored')", select("cbc:ID"))), "sequence(string \"INV-1\")");
    EXPECT_EQ(typed(evalAt("text()", select("Mixed/Empty"))), "sequence()");
    EXPECT_EQ(typed(evaluator.evaluate("text()", xml::Node())), "sequence()");
}

}  // namespace
}  // namespace quillmark::testing
