// The string functions through whole expressions: argument conversion, code point
// counting, the rounding rules of substring, case mapping, collations and URI escaping.

#include "expression_test_support.h"

namespace quillmark::xpath::testing {
namespace {

constexpr const char* kCodepoint = "'http://www.w3.org/2005/xpath-functions/collation/codepoint'";

TEST(StringFunctions, ConcatAndStringJoin) {
    expectOutcomes({
        {"concat('a', 'b')", R"(xs:string "ab")"},
        // Any atomic value in its canonical form; () adds nothing.
        {"concat('a', (), 1, 2.50, 1e6, true(), xs:date('2024-02-29'))", R"(xs:string "a12.51.0E6true2024-02-29")"},
        {"concat((), ())", R"(xs:string "")"},
        {"concat('a')", "XPST0017"},
        {"concat((1, 2), 'a')", "XPTY0004"},
        {"string-join(('a', 'b', 'c'), '-')", R"(xs:string "a-b-c")"},
        {"string-join(('a', 'b'), '')", R"(xs:string "ab")"},
        {"string-join((), '-')", R"(xs:string "")"},
        {"string-join(('a', 1, 2.50, true()), '-')", R"(xs:string "a-1-2.5-true")"},  // as the reference does
        {"string-join('a', ())", "XPTY0004"},
    });
}

TEST(StringFunctions, ConcatAndJoinAtomizeNodes) {
    const auto document = parseDocument("<r><a>x</a><a>y</a><b>2</b></r>");
    expectOutcomes({
        {"concat(/r/a[1], /r/b)", R"(xs:string "x2")"},
        {"string-join(/r/a, '+')", R"(xs:string "x+y")"},
        {"concat(/r/a, 'z')", "XPTY0004"},
    },
                   document.get());
}

TEST(StringFunctions, SubstringRoundsPositionsAndLengths) {
    expectOutcomes({
        {"substring('motor car', 6)", R"(xs:string " car")"},
        {"substring('metadata', 4, 3)", R"(xs:string "ada")"},
        {"substring('12345', 1.5, 2.6)", R"(xs:string "234")"},
        {"substring('12345', 0, 3)", R"(xs:string "12")"},
        {"substring('12345', 5, -3)", R"(xs:string "")"},
        {"substring('12345', -3, 5)", R"(xs:string "1")"},
        {"substring('12345', 2.5)", R"(xs:string "345")"},
        {"substring('12345', -0.5, 2)", R"(xs:string "1")"},   // round(-0.5) is 0: halves go up
        {"substring('12345', -1.5, 4)", R"(xs:string "12")"},  // round(-1.5) is -1
        {"substring('12345', 0 div 0e0, 3)", R"(xs:string "")"},
        {"substring('12345', 1, 0 div 0e0)", R"(xs:string "")"},
        {"substring('12345', -42, 1 div 0e0)", R"(xs:string "12345")"},
        {"substring('12345', -1 div 0e0, 1 div 0e0)", R"(xs:string "")"},  // -INF + INF is NaN
        {"substring('12345', 3, 1 div 0e0)", R"(xs:string "345")"},
        {"substring('12345', 6)", R"(xs:string "")"},
        {"substring((), 1, 2)", R"(xs:string "")"},
        {"substring('abc', '2')", "XPTY0004"},
        // Code points, not UTF-16 units: the emoji counts as one.
        {"substring('😀a😀b', 2, 2)", R"(xs:string "a😀")"},
        {"substring('😀a😀b', 3)", R"(xs:string "😀b")"},
    });
}

TEST(StringFunctions, SubstringReadsUntypedNodes) {
    const auto document = parseDocument("<r><s>hello</s><n>2</n></r>");
    expectOutcomes({
        {"substring(/r/s, /r/n)", R"(xs:string "ello")"},
        {"substring(/r/s, /r/n, /r/n)", R"(xs:string "el")"},
        {"substring(/r/s, /r/s)", "FORG0001"},
    },
                   document.get());
}

TEST(StringFunctions, StringLengthCountsCodePoints) {
    expectOutcomes({
        {"string-length('😀')", "xs:integer 1"},
        {"string-length('a😀é')", "xs:integer 3"},
        {"string-length('')", "xs:integer 0"},
        {"string-length(())", "xs:integer 0"},
        {"string-length()", "XPDY0002"},
    });
    const auto document = parseDocument("<r><a>abc</a><b>😀😀</b></r>");
    expectOutcomes({
        {"string-length()", "xs:integer 5"},
        {"/r/a/string-length()", "xs:integer 3"},
        {"string-length(/r/b)", "xs:integer 2"},
        {"/r/*[string-length() = 2]/name()", R"(xs:string "b")"},
    },
                   document.get());
}

TEST(StringFunctions, NormalizeSpace) {
    expectOutcomes({
        {"normalize-space(' a  b ')", R"(xs:string "a b")"},
        {"normalize-space(concat(codepoints-to-string((9, 10, 13)), 'a', codepoints-to-string((9, 10)), 'b '))",
         R"(xs:string "a b")"},
        // Only XML white space: a no-break space stays.
        {"string-to-codepoints(normalize-space(codepoints-to-string((160, 97, 32, 32))))",
         "xs:integer 160, xs:integer 97"},
        {"normalize-space(())", R"(xs:string "")"},
        {"normalize-space()", "XPDY0002"},
    });
    const auto document = parseDocument("<r>\n\t<a>  x\n y  </a>\n</r>");
    expectOutcomes({
        {"normalize-space()", R"(xs:string "x y")"},
        {"/r/a/normalize-space()", R"(xs:string "x y")"},
        {"normalize-space(/r/a) = 'x y'", "xs:boolean true"},
    },
                   document.get());
}

TEST(StringFunctions, NormalizeUnicode) {
    expectOutcomes({
        {"string-to-codepoints(normalize-unicode(codepoints-to-string((101, 769))))", "xs:integer 233"},
        {"string-to-codepoints(normalize-unicode('é', 'NFD'))", "xs:integer 101, xs:integer 769"},
        {"normalize-unicode('ﬁ', ' nfkc ')", R"(xs:string "fi")"},
        {"string-to-codepoints(normalize-unicode('ﬁé', 'NFKD'))",
         "xs:integer 102, xs:integer 105, xs:integer 101, xs:integer 769"},
        {"normalize-unicode('ﬁ', 'NFC')", R"(xs:string "ﬁ")"},
        {"string-to-codepoints(normalize-unicode(codepoints-to-string((101, 769)), ''))",
         "xs:integer 101, xs:integer 769"},
        {"normalize-unicode((), 'NFC')", R"(xs:string "")"},
        {"normalize-unicode('a', 'NFX')", "FOCH0003"},
        {"normalize-unicode('a', 'FULLY-NORMALIZED')", "FOCH0003"},
    });
}

TEST(StringFunctions, CaseMappingIsFullAndLocaleIndependent) {
    expectOutcomes({
        {"upper-case('abCd0')", R"(xs:string "ABCD0")"},
        {"upper-case('ß')", R"(xs:string "SS")"},
        {"upper-case('straße') = 'STRASSE'", "xs:boolean true"},
        {"upper-case('i')", R"(xs:string "I")"},
        {"lower-case('ABc!D')", R"(xs:string "abc!d")"},
        {"lower-case('ÀÉ')", R"(xs:string "àé")"},
        {"string-to-codepoints(lower-case('İ'))", "xs:integer 105, xs:integer 775"},
        {"upper-case(())", R"(xs:string "")"},
        {"lower-case(())", R"(xs:string "")"},
        {"upper-case(1)", "XPTY0004"},
    });
}

TEST(StringFunctions, Translate) {
    expectOutcomes({
        {"translate('bar', 'abc', 'ABC')", R"(xs:string "BAr")"},
        {"translate('--aaa--', 'abc-', 'ABC')", R"(xs:string "AAA")"},  // longer map: "-" is removed
        {"translate('abcdabc', 'abc', 'AB')", R"(xs:string "ABdAB")"},
        {"translate('aaa', 'aa', 'xy')", R"(xs:string "xxx")"},  // the first occurrence decides
        {"translate('abc', '', 'xyz')", R"(xs:string "abc")"},
        {"translate('a😀b', '😀', 'x')", R"(xs:string "axb")"},
        {"translate('axb', 'x', '😀')", R"(xs:string "a😀b")"},
        {"translate((), 'a', 'b')", R"(xs:string "")"},
        {"translate('a', (), 'b')", "XPTY0004"},
    });
}

TEST(StringFunctions, SubstringMatching) {
    expectOutcomes({
        {"contains('tattoo', 't')", "xs:boolean true"},
        {"contains('tattoo', 'ttt')", "xs:boolean false"},
        {"contains('abc', 'B')", "xs:boolean false"},
        {"contains('abc', '')", "xs:boolean true"},
        {"contains((), '')", "xs:boolean true"},
        {"contains((), 'a')", "xs:boolean false"},
        {"contains('a😀b', '😀')", "xs:boolean true"},
        {"starts-with('tattoo', 'tat')", "xs:boolean true"},
        {"starts-with('tattoo', 'att')", "xs:boolean false"},
        {"starts-with('abc', ())", "xs:boolean true"},
        {"ends-with('tattoo', 'too')", "xs:boolean true"},
        {"ends-with('tattoo', 'tat')", "xs:boolean false"},
        {"ends-with((), ())", "xs:boolean true"},
        {"substring-before('tattoo', 'attoo')", R"(xs:string "t")"},
        {"substring-before('tattoo', 'tatto')", R"(xs:string "")"},
        {"substring-before('abc', '')", R"(xs:string "")"},
        {"substring-before('abc', 'x')", R"(xs:string "")"},
        {"substring-before('a-b-c', '-')", R"(xs:string "a")"},
        {"substring-after('tattoo', 'tat')", R"(xs:string "too")"},
        {"substring-after('tattoo', 'tattoo')", R"(xs:string "")"},
        {"substring-after('abc', '')", R"(xs:string "abc")"},
        {"substring-after('abc', 'x')", R"(xs:string "")"},
        {"substring-after('a-b-c', '-')", R"(xs:string "b-c")"},
        {"substring-after((), 'a')", R"(xs:string "")"},
    });
}

TEST(StringFunctions, CollationArgumentAcceptsOnlyCodepoints) {
    const std::string codepoint = kCodepoint;
    expectOutcomes({
        {"contains('abc', 'b', " + codepoint + ")", "xs:boolean true"},
        {"starts-with('abc', 'a', " + codepoint + ")", "xs:boolean true"},
        {"ends-with('abc', 'c', " + codepoint + ")", "xs:boolean true"},
        {"substring-before('abc', 'b', " + codepoint + ")", R"(xs:string "a")"},
        {"substring-after('abc', 'b', " + codepoint + ")", R"(xs:string "c")"},
        {"compare('a', 'b', " + codepoint + ")", "xs:integer -1"},
        {"contains('abc', 'b', 'http://example.com/collation')", "FOCH0002"},
        {"starts-with('abc', 'a', '')", "FOCH0002"},
        {"compare('a', 'b', 'urn:collation:german')", "FOCH0002"},
        {"substring-after('abc', 'b', 'codepoint')", "FOCH0002"},
    });
}

TEST(StringFunctions, CompareOrdersByCodePoint) {
    expectOutcomes({
        {"compare('abc', 'abc')", "xs:integer 0"},
        {"compare('a', 'b')", "xs:integer -1"},
        {"compare('b', 'a')", "xs:integer 1"},
        {"compare('Z', 'a')", "xs:integer -1"},
        {"compare('abc', 'abcd')", "xs:integer -1"},
        {"compare('', 'a')", "xs:integer -1"},
        // U+FB01 is below U+1F600 as a code point, though above its UTF-16 lead surrogate.
        {"compare('ﬁ', '😀')", "xs:integer -1"},
        {"compare((), 'a')", "()"},
        {"compare('a', ())", "()"},
        {"codepoint-equal('abc', 'abc')", "xs:boolean true"},
        {"codepoint-equal('abc', 'ABC')", "xs:boolean false"},
        {"codepoint-equal('a', ())", "()"},
    });
}

TEST(StringFunctions, CodepointConversions) {
    expectOutcomes({
        {"codepoints-to-string((72, 105, 128512))", R"(xs:string "Hi😀")"},
        {"codepoints-to-string(())", R"(xs:string "")"},
        {"codepoints-to-string((9, 10, 13, 32, 55295, 57344, 65533, 65536, 1114111)) != ''", "xs:boolean true"},
        {"codepoints-to-string(0)", "FOCH0001"},
        {"codepoints-to-string(8)", "FOCH0001"},
        {"codepoints-to-string(55296)", "FOCH0001"},   // a surrogate
        {"codepoints-to-string(65534)", "FOCH0001"},
        {"codepoints-to-string(1114112)", "FOCH0001"},
        {"codepoints-to-string(-1)", "FOCH0001"},
        {"codepoints-to-string(99999999999999999999)", "FOCH0001"},
        {"codepoints-to-string(65.0)", "XPTY0004"},
        {"string-to-codepoints('Hi😀')", "xs:integer 72, xs:integer 105, xs:integer 128512"},
        {"string-to-codepoints('')", "()"},
        {"string-to-codepoints(())", "()"},
        {"codepoints-to-string(string-to-codepoints('aé😀')) = 'aé😀'", "xs:boolean true"},
    });
}

TEST(StringFunctions, UriEscaping) {
    expectOutcomes({
        {"encode-for-uri('http://www.example.com/00/Weather/CA/Los%20Angeles#ocean')",
         R"(xs:string "http%3A%2F%2Fwww.example.com%2F00%2FWeather%2FCA%2FLos%2520Angeles%23ocean")"},
        {"encode-for-uri('~bébé')", R"(xs:string "~b%C3%A9b%C3%A9")"},
        {"encode-for-uri('100% organic')", R"(xs:string "100%25%20organic")"},
        {"encode-for-uri('A-z_0.9~')", R"(xs:string "A-z_0.9~")"},
        {"encode-for-uri('😀')", R"(xs:string "%F0%9F%98%80")"},
        {"encode-for-uri(())", R"(xs:string "")"},
        {"iri-to-uri('http://www.example.com/00/Weather/CA/Los%20Angeles#ocean')",
         R"(xs:string "http://www.example.com/00/Weather/CA/Los%20Angeles#ocean")"},
        {"iri-to-uri('http://www.example.com/~bébé')", R"(xs:string "http://www.example.com/~b%C3%A9b%C3%A9")"},
        {R"(iri-to-uri('a b<c>"{d}|\e^f`'))", R"(xs:string "a%20b%3Cc%3E%22%7Bd%7D%7C%5Ce%5Ef%60")"},
        {"iri-to-uri(concat('a', codepoints-to-string((9, 127))))", R"(xs:string "a%09%7F")"},
        {"iri-to-uri('[a]?b=c&d;e')", R"(xs:string "[a]?b=c&d;e")"},
        {"escape-html-uri('http://www.example.com/00/Weather/CA/Los Angeles#ocean')",
         R"(xs:string "http://www.example.com/00/Weather/CA/Los Angeles#ocean")"},
        {"escape-html-uri(\"javascript:window.open('http://www.example.com/~bébé');\")",
         R"(xs:string "javascript:window.open('http://www.example.com/~b%C3%A9b%C3%A9');")"},
        {"escape-html-uri(concat('<', codepoints-to-string(10), '>'))", R"(xs:string "<%0A>")"},
    });
}

}  // namespace
}  // namespace quillmark::xpath::testing
