// String functions: results with enough arguments, the fallback with too few, and
// UTF-16 counting.

#include "expression_test_support.h"

namespace quillmark::testing {
namespace {

using StringFunctions = FunctionTest;

TEST_F(StringFunctions, LengthAndSubstringCountCodeUnits) {
    expectAll({
        {"string-length('abc')", "integer 3"}, {"string-length(())", "integer 0"}, {"string-length(12.5)", "integer 4"},
        {"string-length('a\xF0\x9F\x98\x80')", "integer 3"},  // a character beyond the basic plane counts twice
        {"string-length(cbc:ID)", "integer 5"},
        {"string-length()", "integer 0"},  // not the context node's text
        {"substring('12345', 2, 3)", "string \"234\""},
        {"substring('12345', 0, 2)", "string \"12\""},  // a start below 1 does not shorten the length
        {"substring('12345', -5, 2)", "string \"12\""},
        {"substring('12345', 1.9)", "string \"12345\""},  // truncated, not rounded
        {"substring('12345', 2.9, 1.9)", "string \"2\""}, {"substring('12345', 4)", "string \"45\""},
        {"substring('12345', 5, 10)", "string \"5\""}, {"substring('12345', 6)", "string \"\""},
        {"substring('12345', 2, -1)", "string \"\""}, {"substring('12345', 2, 0)", "string \"\""},
        {"substring('12345', 'x')", "string \"12345\""}, {"substring('12345', 0 div 0)", "string \"12345\""},
        {"substring('12345', 2, 1 div 0)", "string \"2345\""},
        {"substring('a\xF0\x9F\x98\x80" "b', 2, 2)", "string \"\xF0\x9F\x98\x80\""},
        {"substring('12345')", "string \"\""}, {"substring()", "string \"\""},
    });
}

TEST_F(StringFunctions, SubstringAfterNormalizeSpaceAndUpperCase) {
    expectAll({
        {"substring-after('a=b=c', '=')", "string \"b=c\""}, {"substring-after('abc', 'x')", "string \"\""},
        {"substring-after('abc', '')", "string \"\""}, {"substring-after('abc', 'c')", "string \"\""},
        {"substring-after('abc')", "string \"\""},
        {"normalize-space('  a   b  ')", "string \"a b\""}, {"normalize-space('a\t\n b')", "string \"a b\""},
        {"normalize-space(())", "string \"\""}, {"normalize-space(Note)", "string \"first second\""},
        {"upper-case('stra\xC3\x9F" "e')", "string \"STRASSE\""}, {"upper-case('i')", "string \"I\""},
        {"upper-case(cac:Line/cbc:Amount)", "string \"10.50\""}, {"upper-case()", "string \"\""},
    });
    EXPECT_EQ(typedAt("normalize-space()", select("Note")), "string \"first second\"");
    EXPECT_EQ(typedAt("normalize-space()", xml::Node()), "string \"\"");
}

TEST_F(StringFunctions, ConcatAndStringJoin) {
    expectAll({
        {"concat('a', 'b', 'c')", "string \"abc\""}, {"concat('n=', 1, ' ', 1 = 1, ' ', 2.5)", "string \"n=1 true 2.5\""},
        {"concat(('x', 'y'), 'z')", "string \"xz\""},  // a sequence gives its first item
        {"concat(cbc:ID, '/', $unset)", "string \"INV-1/0\""}, {"concat('only')", "string \"only\""},
        {"concat()", "string \"\""},
        {"string-join(('a', 2, 1 = 1), ', ')", "string \"a, 2, true\""}, {"string-join('a', '-')", "string \"a\""},
        {"string-join((), '-')", "string \"\""}, {"string-join(//cbc:Amount/@currency, '+')", "string \"EUR+EUR+USD\""},
        {"string-join(('a', 'b'))", "string \"\""},
    });
}

TEST_F(StringFunctions, ContainsStartsEnds) {
    // contains() accepts an empty needle; starts-with() and ends-with() do not.
    expectAll({
        {"contains('abc', 'b')", "boolean true"}, {"contains('abc', 'B')", "boolean false"},
        {"contains('abc', '')", "boolean true"}, {"contains('abc')", "boolean false"},
        {"starts-with('abc', 'ab')", "boolean true"}, {"starts-with('abc', 'bc')", "boolean false"},
        {"starts-with('abc', '')", "boolean false"}, {"starts-with('abc')", "boolean false"},
        {"ends-with('abc', 'bc')", "boolean true"}, {"ends-with('abc', 'ab')", "boolean false"},
        {"ends-with('abc', '')", "boolean false"}, {"ends-with('abc')", "boolean false"},
        {"starts-with(cbc:ID, 'INV')", "boolean true"},
    });
}

TEST_F(StringFunctions, CastsAndString) {
    expectAll({
        {"xs:date('2024-01-31')", "string \"2024-01-31\""}, {"xs:date('not a date')", "string \"not a date\""},
        {"xs:date()", "string \"\""}, {"xs:string(2.50)", "string \"2.5\""}, {"xs:string(1 = 1)", "string \"true\""},
        {"xs:string()", "string \"\""}, {"string(3)", "string \"3\""}, {"string(cbc:ID)", "string \"INV-1\""},
        {"string()", "string \"" + root().stringValue().value_or("") + "\""}, {"fn:string('x')", "absent"},
    });
    EXPECT_EQ(typedAt("string()", select("cbc:ID")), "string \"INV-1\"");
    EXPECT_EQ(typedAt("string()", select("Mixed/Empty")), "string \"\"");
    EXPECT_EQ(typedAt("string()", xml::Node()), "string \"\"");
}

TEST_F(StringFunctions, Codepoints) {
    expectAll({
        {"string-to-codepoints('Hi')", "sequence(integer 72, integer 105)"},
        {"string-to-codepoints('\xF0\x9F\x98\x80')", "sequence(integer 55357, integer 56832)"},
        {"string-to-codepoints('')", "sequence()"}, {"string-to-codepoints()", "sequence()"},
        {"codepoints-to-string((72, 105))", "string \"Hi\""}, {"codepoints-to-string('66')", "string \"B\""},
        {"codepoints-to-string(65.9)", "string \"A\""},
        {"codepoints-to-string(65601)", "string \"A\""},  // 65601 wraps to its low 16 bits, 65
        {"codepoints-to-string((55357, 56832))", "string \"\xF0\x9F\x98\x80\""},
        {"codepoints-to-string(55357)", "string \"\xEF\xBF\xBD\""},  // an unpaired surrogate
        {"codepoints-to-string(())", "string \"\""}, {"codepoints-to-string()", "string \"\""},
    });
}

}  // namespace
}  // namespace quillmark::testing
