// Sequence functions: counting, emptiness (with its integer and boolean answers),
// last() inside and outside predicates, reverse and text().

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using SequenceFunctions = FunctionTest;

TEST_F(SequenceFunctions, CountAndLast) {
    expectAll({
        {"count(cac:Line)", "integer 3"}, {"count(//cbc:Amount[@currency = 'EUR'])", "integer 2"},
        {"count('abc')", "integer 1"}, {"count(())", "integer 0"}, {"count((1, 2, (3, 4)))", "integer 4"},
        {"count(nothing)", "integer 0"}, {"count()", "integer 0"},
        {"fn:count(cac:Line)", "absent"}, {"Count(cac:Line)", "absent"},
        {"last()", "integer 0"},  // a fresh evaluator has filtered nothing yet
        {"last((1, 2, 5))", "integer 3"}, {"last('x')", "integer 1"},
        {"string(cac:Line[last()]/cbc:Amount)", "string \"n/a\""}, {"count(cac:Line[last()])", "integer 1"},
    });
}

TEST_F(SequenceFunctions, EmptyAndExists) {
    evaluator.setVariable("marker", Value::nullMarker());
    expectAll({
        {"empty(())", "integer 1"}, {"empty(nothing)", "integer 1"}, {"empty('')", "integer 0"},
        {"empty(cac:Line)", "integer 0"}, {"empty()", "boolean true"},
        {"exists('x')", "integer 1"}, {"exists('')", "integer 1"}, {"exists(())", "integer 0"},
        {"exists(cac:Line)", "integer 1"}, {"exists()", "boolean false"}, {"string(exists('x'))", "string \"1\""},
        {"empty($marker)", "integer 1"}, {"exists($marker)", "integer 0"}, {"count($marker)", "integer 1"},
    });
}

TEST_F(SequenceFunctions, ReverseAndText) {
    expectAll({
        {"reverse((1, 2, 3))", "sequence(double 3, double 2, double 1)"}, {"reverse('a')", "sequence(string \"a\")"},
        {"reverse(())", "sequence()"}, {"reverse()", "sequence()"},
        {"reverse(cac:Line/cbc:Amount/@currency)", "sequence(string \"USD\", string \"EUR\", string \"EUR\")"},
    });
    EXPECT_EQ(typedAt("text()", select("Mixed")), "sequence(string \"a\", string \"c\")");
    EXPECT_EQ(typedAt("text('ignored')", select("cbc:ID")), "sequence(string \"INV-1\")");
    EXPECT_EQ(typedAt("text()", select("Mixed/Empty")), "sequence()");
    EXPECT_EQ(typedAt("text()", xml::Node()), "sequence()");
}

}  // namespace
}  // namespace quillmark::testing
