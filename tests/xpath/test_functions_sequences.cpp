// The sequence functions through whole expressions: equality across numeric and string
// types in distinct-values and index-of, positions out of range, the double-based
// rounding of subsequence, the cardinality checks, and deep-equal on atomic values and
// trees. Expected values are those of the reference processor.

#include "expression_test_support.h"
#include "xpath/deep_equal.h"

namespace quillmark::xpath::testing {
namespace {

TEST(SequenceFunctions, EmptyAndExists) {
    const auto document = parseDocument("<r><a/></r>");
    expectOutcomes({
        {"empty(())", "xs:boolean true"},
        {"empty((0, ''))", "xs:boolean false"},
        {"empty(//missing)", "xs:boolean true"},
        {"exists(//a)", "xs:boolean true"},
        {"exists(())", "xs:boolean false"},
        {"exists(('', 0, false()))", "xs:boolean true"},
    },
                   document.get());
}

TEST(SequenceFunctions, DistinctValuesKeepsFirstOccurrences) {
    const auto document = parseDocument("<r><c>DE</c><c>FR</c><c>DE</c></r>");
    expectOutcomes({
        {"distinct-values(())", "()"},
        {"distinct-values((3, 1, 3, 2, 1))", "xs:integer 3, xs:integer 1, xs:integer 2"},
        // 1, 1.0 and 1e0 are one value; "1" and untyped "1" another; the two NaNs one.
        {"distinct-values((1, 1.0, 1e0, '1', xs:untypedAtomic('1'), xs:float('NaN'), xs:double('NaN'), 2))",
         R"(xs:integer 1, xs:string "1", xs:float NaN, xs:integer 2)"},
        {"distinct-values(('a', xs:anyURI('a'), 'A'))", R"(xs:string "a", xs:string "A")"},
        {"distinct-values(//c)", R"(xs:untypedAtomic "DE", xs:untypedAtomic "FR")"},
        // Equal instants in different timezones are one value; a date is never equal to a dateTime.
        {"distinct-values((xs:dateTime('2000-01-01T12:00:00Z'), xs:dateTime('2000-01-01T13:00:00+01:00'), "
         "xs:date('2000-01-01')))",
         "xs:dateTime 2000-01-01T12:00:00Z, xs:date 2000-01-01"},
        {"distinct-values((xs:dayTimeDuration('PT24H'), xs:dayTimeDuration('P1D')))", "xs:dayTimeDuration P1D"},
        {"count(distinct-values(1 to 20000))", "xs:integer 20000"},
        {"distinct-values((1, 2), 'http://www.w3.org/2005/xpath-functions/collation/codepoint')",
         "xs:integer 1, xs:integer 2"},
        {"distinct-values((1, 2), 'http://example.com/collation')", "FOCH0002"},
    },
                   document.get());
}

TEST(SequenceFunctions, IndexOfComparesWithEq) {
    const auto document = parseDocument("<r><c>10</c></r>");
    expectOutcomes({
        {"index-of((10, 20, 10e0, '10', 10.0), 10)", "xs:integer 1, xs:integer 3, xs:integer 5"},
        {"index-of(('a', xs:untypedAtomic('a'), xs:anyURI('a'), 'A'), 'a')",
         "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"index-of(//c, 10)", "()"},  // the untyped value is compared as a string
        {"index-of(//c, '10')", "xs:integer 1"},
        {"index-of((xs:double('NaN'), 1), xs:double('NaN'))", "()"},  // NaN eq NaN is false
        {"index-of((), 1)", "()"},
        {"index-of((1, 2), ())", "XPTY0004"},
        {"index-of(('a', 'b'), 'b', 'http://example.com/collation')", "FOCH0002"},
    },
                   document.get());
}

TEST(SequenceFunctions, InsertBeforeAndRemoveClampPositions) {
    expectOutcomes({
        {"insert-before((1, 2, 3), 2, ('a', 'b'))",
         R"(xs:integer 1, xs:string "a", xs:string "b", xs:integer 2, xs:integer 3)"},
        {"insert-before((1, 2, 3), 0, 'a')", R"(xs:string "a", xs:integer 1, xs:integer 2, xs:integer 3)"},
        {"insert-before((1, 2, 3), 4, 'z')", R"(xs:integer 1, xs:integer 2, xs:integer 3, xs:string "z")"},
        {"insert-before((1, 2), 99999999999999999999, 'z')", R"(xs:integer 1, xs:integer 2, xs:string "z")"},
        {"insert-before((), 3, 'z')", R"(xs:string "z")"},
        {"insert-before((1, 2), 1, ())", "xs:integer 1, xs:integer 2"},
        {"remove((1, 2, 3), 2)", "xs:integer 1, xs:integer 3"},
        {"remove((1, 2, 3), 0)", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"remove((1, 2, 3), 4)", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"remove((1, 2, 3), -99999999999999999999)", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"remove((), 1)", "()"},
        {"remove((1, 2), 1.0)", "XPTY0004"},
    });
}

TEST(SequenceFunctions, ReverseAndUnordered) {
    const auto document = parseDocument("<r><a/><b/></r>");
    expectOutcomes({
        {"reverse((1, 2, 3))", "xs:integer 3, xs:integer 2, xs:integer 1"},
        {"reverse(())", "()"},
        {"reverse(/r/*)", "element b, element a"},
        {"unordered((1, 2, 3))", "xs:integer 1, xs:integer 2, xs:integer 3"},
    },
                   document.get());
}

TEST(SequenceFunctions, SubsequenceRoundsInDoubles) {
    expectOutcomes({
        {"subsequence((1, 2, 3, 4, 5), 4)", "xs:integer 4, xs:integer 5"},
        {"subsequence((1, 2, 3, 4, 5), 2, 2)", "xs:integer 2, xs:integer 3"},
        {"subsequence((1, 2, 3, 4, 5), 1.5, 2.6)", "xs:integer 2, xs:integer 3, xs:integer 4"},
        {"subsequence((1, 2, 3, 4, 5), 0, 3)", "xs:integer 1, xs:integer 2"},
        {"subsequence((1, 2, 3, 4, 5), -0.5, 2)", "xs:integer 1"},  // round(-0.5) is -0
        {"subsequence((1, 2, 3, 4, 5), 2.5)", "xs:integer 3, xs:integer 4, xs:integer 5"},
        {"subsequence((1, 2, 3, 4, 5), 6)", "()"},
        {"subsequence((1, 2, 3, 4, 5), 3, -1)", "()"},
        {"subsequence((1, 2, 3), xs:double('-INF'))", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"subsequence((1, 2, 3), 2, xs:double('INF'))", "xs:integer 2, xs:integer 3"},
        {"subsequence((1, 2, 3), xs:double('-INF'), xs:double('INF'))", "()"},  // -INF + INF is NaN
        {"subsequence((1, 2, 3), xs:double('NaN'))", "()"},
        {"subsequence((1, 2, 3), 1, xs:double('NaN'))", "()"},
        {"subsequence((1, 2, 3), 1e300, 1)", "()"},
        {"subsequence((), 1, 2)", "()"},
        {"subsequence((1, 2, 3), '2')", "XPTY0004"},
    });
    const auto document = parseDocument("<r><p>2</p><p>1.5</p></r>");
    expectOutcomes({
        {"subsequence(('a', 'b', 'c'), /r/p[1])", R"(xs:string "b", xs:string "c")"},
        {"subsequence(('a', 'b', 'c'), 1, /r/p[2])", R"(xs:string "a", xs:string "b")"},
    },
                   document.get());
}

TEST(SequenceFunctions, CardinalityChecks) {
    expectOutcomes({
        {"zero-or-one(())", "()"},
        {"zero-or-one(1)", "xs:integer 1"},
        {"zero-or-one((1, 2))", "FORG0003"},
        {"one-or-more((1, 2))", "xs:integer 1, xs:integer 2"},
        {"one-or-more(())", "FORG0004"},
        {"exactly-one('a')", R"(xs:string "a")"},
        {"exactly-one(())", "FORG0005"},
        {"exactly-one((1, 2))", "FORG0005"},
    });
}

TEST(SequenceFunctions, DeepEqualOnAtomicValues) {
    expectOutcomes({
        {"deep-equal((), ())", "xs:boolean true"},
        {"deep-equal((1, 'a', xs:double('NaN')), (1.0, xs:untypedAtomic('a'), xs:float('NaN')))", "xs:boolean true"},
        {"deep-equal((1, 2), (2, 1))", "xs:boolean false"},
        {"deep-equal((1, 2), 1)", "xs:boolean false"},
        {"deep-equal(1, '1')", "xs:boolean false"},  // not comparable: unequal, no error
        {"deep-equal(xs:date('2000-01-01'), xs:dateTime('2000-01-01T00:00:00'))", "xs:boolean false"},
        {"deep-equal(xs:dayTimeDuration('PT1H'), xs:duration('PT60M'))", "xs:boolean true"},
        {"deep-equal(1, 1, 'http://example.com/collation')", "FOCH0002"},
    });
}

TEST(SequenceFunctions, DeepEqualOnTrees) {
    const auto document = parseDocument(
        "<r xmlns:p='urn:x' xmlns:q='urn:x'>"
        "<a x='1' y='2'><b>t</b></a>"              // 1
        "<a y='2' x='1'><b>t</b></a>"              // 2: attributes in another order
        "<a x='1' y='3'><b>t</b></a>"              // 3: another attribute value
        "<a x='1'><b>t</b></a>"                    // 4: an attribute fewer
        "<a x='1' y='2'><!--c--><b>t</b><?pi x?></a>"  // 5: comments and PIs do not count
        "<a x='1' y='2'> <b>t</b></a>"             // 6: white space counts
        "<a x='1' y='2'><b>u</b></a>"              // 7: other text
        "<a x='1' p:y='2'><b>t</b></a>"            // 8: an attribute in a namespace
        "<p:e><p:f/></p:e><q:e><q:f/></q:e><e><p:f/></e>"  // 9-11: names by namespace, not prefix
        "<c>x<!--c-->y</c><c>xy</c><c>x<![CDATA[y]]></c>"  // 12-14: text split by a comment stays split
        "</r>");
    expectOutcomes({
        {"deep-equal(/r/*[1], /r/*[2])", "xs:boolean true"},
        {"deep-equal(/r/*[1], /r/*[3])", "xs:boolean false"},
        {"deep-equal(/r/*[1], /r/*[4])", "xs:boolean false"},
        {"deep-equal(/r/*[4], /r/*[1])", "xs:boolean false"},
        {"deep-equal(/r/*[1], /r/*[5])", "xs:boolean true"},
        {"deep-equal(/r/*[1], /r/*[6])", "xs:boolean false"},
        {"deep-equal(/r/*[1], /r/*[7])", "xs:boolean false"},
        {"deep-equal(/r/*[1], /r/*[8])", "xs:boolean false"},
        {"deep-equal(/r/*[9], /r/*[10])", "xs:boolean true"},
        {"deep-equal(/r/*[9], /r/*[11])", "xs:boolean false"},
        {"deep-equal(/r/*[12], /r/*[13])", "xs:boolean false"},
        {"deep-equal(/r/*[13], /r/*[14])", "xs:boolean true"},
        {"deep-equal(/r/*[1]/@x, /r/*[2]/@x)", "xs:boolean true"},
        {"deep-equal(/r/*[1]/@x, /r/*[1]/@y)", "xs:boolean false"},
        {"deep-equal(/r/*[5]/comment(), /r/*[5]/comment())", "xs:boolean true"},
        {"deep-equal(/r/*[1]/b/text(), /r/*[2]/b/text())", "xs:boolean true"},
        {"deep-equal(/r/*[13], 'xy')", "xs:boolean false"},  // a node never equals an atomic value
        {"deep-equal(/r/*[1], /r/*[1]/b)", "xs:boolean false"},
        {"deep-equal(/, /)", "xs:boolean true"},
        {"deep-equal(/, /r)", "xs:boolean false"},
    },
                   document.get());
    const auto same = parseDocument("<r xmlns:p='urn:x'><a x='1'><b>t</b><!--other--></a><p:e/></r>");
    const auto other = parseDocument("<r xmlns:z='urn:x'><a x='1'><b>t</b></a><z:e/></r>");
    DynamicContext context;
    EXPECT_TRUE(deepEqual({Item(same->node())}, {Item(other->node())}, context));
    EXPECT_FALSE(deepEqual({Item(same->node())}, {Item(other->rootElement())}, context));
}

TEST(SequenceFunctions, DeepEqualChargesTheBudget) {
    std::string text = "<r>";
    for (int index = 0; index < 5000; ++index) text += "<a><b/></a>";
    text += "</r>";
    const auto document = parseDocument(text);
    DynamicContext context(EvaluationLimits{.maxSteps = 1000});
    EXPECT_THROW(deepEqual({Item(document->node())}, {Item(document->node())}, context), XPathError);
}

}  // namespace
}  // namespace quillmark::xpath::testing
