// Control and type expressions through whole expressions: for, some and every with
// several bindings, if, instance of, treat as, castable as, cast as, ranges and the
// unary operators.

#include "engine_test_support.h"

namespace quillmark::xpath::testing {
namespace {

TEST(XPathIteration, ForWithSeveralBindingsNestsLeftToRight) {
    expectOutcomes({
        {"for $a in (1, 2), $b in (10, 20) return $a + $b", "xs:integer 11, xs:integer 21, xs:integer 12, xs:integer 22"},
        // A later binding sees the earlier ones.
        {"for $x in (1, 2), $y in ($x, $x * 10) return $y", "xs:integer 1, xs:integer 10, xs:integer 2, xs:integer 20"},
        {"for $x in () return 1", "()"},
        {"for $x in (1, 2) return ()", "()"},
        // An inner binding hides an outer one of the same name, for its body only.
        {"for $x in 1 return (for $x in 2 return $x, $x)", "xs:integer 2, xs:integer 1"},
        {"for $x in (1, 2, 3) return $x[. > 1]", "xs:integer 2, xs:integer 3"},
        {"sum(for $i in 1 to 4 return $i * $i)", "xs:integer 30"},
        // The context item is not changed by for.
        {"for $x in (1, 2) return position()", "XPDY0002"},
    });
}

TEST(XPathIteration, SomeAndEveryWithSeveralBindings) {
    expectOutcomes({
        {"some $a in (1, 2), $b in (2, 3) satisfies $a = $b", "xs:boolean true"},
        {"some $a in (1, 2), $b in (3, 4) satisfies $a = $b", "xs:boolean false"},
        {"every $a in (1, 2), $b in (1, 2) satisfies $a le $b", "xs:boolean false"},
        {"every $a in (1, 2), $b in (2, 3) satisfies $a lt $b", "xs:boolean false"},
        {"every $a in (1, 2), $b in (3, 4) satisfies $a lt $b", "xs:boolean true"},
        {"some $x in () satisfies true()", "xs:boolean false"},
        {"every $x in () satisfies false()", "xs:boolean true"},
        {"every $x in (1, 2) satisfies $x", "xs:boolean true"},
        {"some $x in ('', 0) satisfies $x", "xs:boolean false"},
        {"every $x in (1, 2) satisfies ($x, $x)", "FORG0006"},
    });
}

TEST(XPathConditionals, IfTakesTheEffectiveBooleanValue) {
    expectOutcomes({
        {"if (()) then 1 else 2", "xs:integer 2"},
        {"if ('0') then 1 else 2", "xs:integer 1"},
        {"if ('') then 1 else 2", "xs:integer 2"},
        {"if (0) then 1 else 2", "xs:integer 2"},
        {"if (0e0 div 0) then 1 else 2", "xs:integer 2"},
        {"if (xs:untypedAtomic('false')) then 1 else 2", "xs:integer 1"},
        {"if ((1, 2)) then 1 else 2", "FORG0006"},
        {"if (xs:date('2020-01-01')) then 1 else 2", "FORG0006"},
        // Only the branch taken is evaluated.
        {"if (true()) then 1 else 1 div 0", "xs:integer 1"},
        {"if (1 = 1, 2) then 'a' else 'b'", "FORG0006"},
    });
    const auto document = parseDocument("<r><a/><a/></r>");
    expectOutcomes({{"if (/r/a) then 1 else 2", "xs:integer 1"}, {"if (/r/b) then 1 else 2", "xs:integer 2"}},
                   document.get());
}

TEST(XPathTypes, InstanceOf) {
    const auto document = parseDocument("<r><a>1</a><a>2</a></r>");
    expectOutcomes({
        {"1 instance of xs:integer", "xs:boolean true"},
        {"1 instance of xs:decimal", "xs:boolean true"},
        {"1.0 instance of xs:integer", "xs:boolean false"},
        {"1e0 instance of xs:decimal", "xs:boolean false"},
        {"(1, 2) instance of xs:integer", "xs:boolean false"},
        {"(1, 2) instance of xs:integer+", "xs:boolean true"},
        {"() instance of xs:integer?", "xs:boolean true"},
        {"() instance of xs:integer", "xs:boolean false"},
        {"() instance of empty-sequence()", "xs:boolean true"},
        {"('a', 1) instance of xs:anyAtomicType*", "xs:boolean true"},
        {"'a' instance of item()", "xs:boolean true"},
        {"/r/a instance of element()+", "xs:boolean true"},
        {"/r/a[1] instance of element(a)", "xs:boolean true"},
        {"/r/a[1] instance of element(b)", "xs:boolean false"},
        {"/r/a[1] instance of xs:untypedAtomic", "xs:boolean false"},
        {"data(/r/a[1]) instance of xs:untypedAtomic", "xs:boolean true"},
        // A lone "/" followed by a name is a path: "(/)" stands alone.
        {"(/) instance of document-node()", "xs:boolean true"},
        {"/ instance of document-node()", "XPST0003"},
        {"(/) instance of document-node(element(r))", "xs:boolean true"},
        {"/r/a/text() instance of text()+", "xs:boolean true"},
        {"xs:date('2020-01-01') instance of xs:date", "xs:boolean true"},
    },
                   document.get());
}

TEST(XPathTypes, TreatAsChecksWithoutConverting) {
    expectOutcomes({
        {"1 treat as xs:integer", "xs:integer 1"},
        {"1 treat as xs:decimal", "xs:integer 1"},
        {"'a' treat as xs:integer", "XPDY0050"},
        {"() treat as xs:integer", "XPDY0050"},
        {"() treat as xs:integer?", "()"},
        {"(1, 2) treat as xs:integer+", "xs:integer 1, xs:integer 2"},
        {"xs:untypedAtomic('1') treat as xs:integer", "XPDY0050"},
    });
}

TEST(XPathTypes, CastableAndCast) {
    expectOutcomes({
        {"'12' castable as xs:integer", "xs:boolean true"},
        {"' 12 ' castable as xs:integer", "xs:boolean true"},
        {"'1.5' castable as xs:integer", "xs:boolean false"},
        {"'' castable as xs:decimal", "xs:boolean false"},
        {"'1e3' castable as xs:decimal", "xs:boolean false"},
        {"'1e3' castable as xs:double", "xs:boolean true"},
        {"() castable as xs:integer", "xs:boolean false"},
        {"() castable as xs:integer?", "xs:boolean true"},
        {"('1', '2') castable as xs:integer", "xs:boolean false"},
        {"'yes' castable as xs:boolean", "xs:boolean false"},
        {"'2020-02-29' castable as xs:date", "xs:boolean true"},
        {"'2019-02-29' castable as xs:date", "xs:boolean false"},
        {"'1' cast as xs:boolean", "xs:boolean true"},
        {"'0' cast as xs:boolean", "xs:boolean false"},
        {"' true ' cast as xs:boolean", "xs:boolean true"},
        {"'no' cast as xs:boolean", "FORG0001"},
        {"0 cast as xs:boolean", "xs:boolean false"},
        {"() cast as xs:integer?", "()"},
        {"() cast as xs:integer", "XPTY0004"},
        {"(1, 2) cast as xs:integer", "XPTY0004"},
        {"1.5 cast as xs:integer", "xs:integer 1"},
        {"-1.5 cast as xs:integer", "xs:integer -1"},
        {"'1.5' cast as xs:integer", "FORG0001"},
        {"1e300 cast as xs:integer", "xs:integer 1000000000000000052504760255204420248704468581108159154915854115511802457988908195786371375080447864043704443832883878176942523235360430575644792184786706982848387200926575803737830233794788090059368953234970799945081119038967640880074652742780142494579258788820056842838115669472196386865459400540160"},
        {"(0e0 div 0) cast as xs:integer", "FOCA0002"},
        {"'abc' cast as xs:string", R"(xs:string "abc")"},
        {"xs:decimal('')", "FORG0001"},
        {"xs:decimal(())", "()"},
        {"xs:decimal('  2.50 ')", "xs:decimal 2.5"},
        {"xs:integer('+7')", "xs:integer 7"},
        {"xs:string(1e6)", R"(xs:string "1.0E6")"},
        {"xs:boolean('1') and xs:boolean('true')", "xs:boolean true"},
    });
}

TEST(XPathRanges, ToMakesIntegerSequences) {
    expectOutcomes({
        {"1 to 3", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"3 to 1", "()"},
        {"5 to 5", "xs:integer 5"},
        {"-2 to -1", "xs:integer -2, xs:integer -1"},
        {"() to 3", "()"},
        {"1 to ()", "()"},
        {"count(1 to 100000)", "xs:integer 100000"},
        {"(1 to 100000)[last()]", "xs:integer 100000"},
        {"xs:untypedAtomic('2') to 3", "xs:integer 2, xs:integer 3"},
        {"1.5 to 3", "XPTY0004"},
        {"'1' to 3", "XPTY0004"},
        {"(1, 2) to 3", "XPTY0004"},
        {"reverse(1 to 3)", "xs:integer 3, xs:integer 2, xs:integer 1"},
    });
}

TEST(XPathOperators, UnaryAndLogical) {
    expectOutcomes({
        {"-(1)", "xs:integer -1"},
        {"- -1", "xs:integer 1"},
        {"--1", "xs:integer 1"},
        {"+-+1.5", "xs:decimal -1.5"},
        {"-()", "()"},
        {"-'1'", "XPTY0004"},
        {"-xs:untypedAtomic('2')", "xs:double -2"},
        {"-0e0", "xs:double -0"},
        {"-0.0", "xs:decimal 0"},
        {"1 - -1", "xs:integer 2"},
        {"1 and ()", "xs:boolean false"},
        {"0 or 'a'", "xs:boolean true"},
        {"true() and (1, 2)", "FORG0006"},
        {"not(())", "xs:boolean true"},
        {"not('false')", "xs:boolean false"},
        // Precedence: and binds tighter than or, comparison tighter than and.
        {"1 = 1 or 1 = 2 and 1 = 2", "xs:boolean true"},
        {"2 + 3 * 4", "xs:integer 14"},
        {"10 - 4 - 3", "xs:integer 3"},
        {"2 * 3 idiv 4", "xs:integer 1"},
        {"1 to 2 + 1", "xs:integer 1, xs:integer 2, xs:integer 3"},
        {"-1 to 1", "xs:integer -1, xs:integer 0, xs:integer 1"},
        {"- 3 cast as xs:string", R"(xs:string "-3")"},
    });
}

}  // namespace
}  // namespace quillmark::xpath::testing
