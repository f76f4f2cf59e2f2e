#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/unicode.h"
#include "xpath/error.h"
#include "xpath/regex_translation.h"

namespace quillmark::xpath {
namespace {

// The ICU pattern as UTF-8 text, or the code of the error the translation raises.
std::string translation(const std::string& pattern, const std::string& flags = "") {
    try {
        return unicode::fromUtf16(translateRegex(pattern, flags).pattern);
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

struct TranslationCase {
    std::string pattern;
    std::string flags;
    std::string icu;
};

TEST(RegexTranslation, GivesEachConstructItsXPathMeaningInIcu) {
    const std::vector<TranslationCase> cases = {
        {"abc019", "", "abc019"},
        {"a.b", "", "a[^\\n\\r]b"},
        {".", "s", "[\\x{0}-\\x{10FFFF}]"},
        {"^a$", "", "\\Aa\\z"},
        {"^a$", "m", "(?:\\A|(?<=\\n)(?!\\z))a(?=\\n|\\z)"},
        {"\\s\\S", "", "[\\t\\n\\r\\x{20}][^\\t\\n\\r\\x{20}]"},
        {"[\\s]", "", "[[\\t\\n\\r\\x{20}]]"},
        {"\\d\\D", "", "\\p{Nd}\\P{Nd}"},
        {"\\w\\W", "", "[^\\p{P}\\p{Z}\\p{C}][\\p{P}\\p{Z}\\p{C}]"},
        {"\\i", "", "[\\:A-Z\\_a-z\\x{C0}-\\x{D6}\\x{D8}-\\x{F6}\\x{F8}-\\x{2FF}\\x{370}-\\x{37D}\\x{37F}-\\x{1FFF}"
                    "\\x{200C}-\\x{200D}\\x{2070}-\\x{218F}\\x{2C00}-\\x{2FEF}\\x{3001}-\\x{D7FF}\\x{F900}-\\x{FDCF}"
                    "\\x{FDF0}-\\x{FFFD}\\x{10000}-\\x{EFFFF}]"},
        {"[a-z-[aeiou]]", "", "[[a-z]--[aeiou]]"},
        {"[^a-c-[b]]", "", "[[^a-c]--[b]]"},
        {"[a-z-[b-y-[c]]]", "", "[[a-z]--[[b-y]--[c]]]"},
        {"[a-c-e]", "", "[a-c\\-e]"},
        {"[-a]", "", "[\\-a]"},
        {"[a--[b]]", "", "[[a\\-]--[b]]"},
        {"[&&a]", "", "[\\&\\&a]"},
        {"\\p{L}\\P{Lu}", "", "\\p{L}[^\\p{Lu}]"},
        {"\\p{IsBasicLatin}", "", "\\p{blk=Basic_Latin}"},
        {"\\p{IsLatin-1Supplement}", "", "\\p{blk=Latin_1_Supplement}"},
        {"\\P{IsPrivateUse}", "", "[^[\\p{blk=PUA}\\p{blk=Sup_PUA_A}\\p{blk=Sup_PUA_B}]]"},
        {"a{2,3}?b{2,}c{0}", "", "a{2,3}?b{2,}c{0}"},
        {"a{0099}", "", "a{99}"},
        {"a{2147483647}", "", "a{16777215}"},
        {"a*?b+?c??", "", "a*?b+?c??"},
        {"^*", "", "(?:\\A)*"},
        {"\\.\\$\\^\\{\\}\\n\\t", "", "\\.\\$\\^\\{\\}\\x{A}\\x{9}"},
        {"a}", "", "a\\}"},
        {"\xC3\xA9\xF0\x9D\x90\x80", "", "\\x{E9}\\x{1D400}"},
        {"(a)|b", "", "(a)|b"},
        {"(a)\\1", "", "(a())(?:\\1|(?!\\2))"},
        {"(a)(b)\\2", "", "(a)(b())(?:\\2|(?!\\3))"},
        {"(a)\\1", "i", "([Aa]())(?:(?i:\\1)|(?!\\2))"},
        {"k", "i", "[Kk\\x{212A}]"},
        {"[a-b]", "i", "[A-Ba-b]"},
        {"\\p{Lu}\\s", "i", "\\p{Lu}[\\t\\n\\r\\x{20}]"},
        {" a b\t\n", "x", "ab"},
        {"[ ]", "x", "[\\x{20}]"},
        {"a\\ .", "x", "a\\."},
    };
    for (const TranslationCase& c : cases) {
        EXPECT_EQ(translation(c.pattern, c.flags), c.icu) << c.pattern << " flags " << c.flags;
    }
}

TEST(RegexTranslation, MapsXPathGroupsToIcuGroupsAroundMarkerGroups) {
    EXPECT_EQ(translateRegex("(a)(b)", "").groupNumbers, (std::vector<int32_t>{0, 1, 2}));
    // Group 1 is referenced, so a marker group (ICU 2) follows it inside.
    EXPECT_EQ(translateRegex("(a)(b)\\1", "").groupNumbers, (std::vector<int32_t>{0, 1, 3}));
    EXPECT_EQ(translateRegex("((a)\\2)(c)", "").groupNumbers, (std::vector<int32_t>{0, 1, 2, 4}));
    EXPECT_EQ(translateRegex("", "").groupNumbers, (std::vector<int32_t>{0}));
}

TEST(RegexTranslation, RejectsWhatXPathRegularExpressionsDoNotAllow) {
    const std::vector<std::string> invalid = {
        // syntax of other dialects
        "\\b", "\\Qa", "(?i)a", "(?:a)", "(?=a)", "(?<n>a)", "\\x{41}", "\\u0061", "\\a", "\\z", "\\A", "\\/",
        "\\0", "a*+", "a++",
        // quantifiers
        "*a", "a**", "a???", "a{1}{2}", "a|*", "{", "a{", "a{1", "a{,2}", "a{2,1}", "a{ 1}", "a{1,2", "a{a}",
        "a{99999999999}",
        // classes
        "[]", "[^]", "[a", "[[a]]", "[a[]", "[a-[b]-[c]]", "[a-[b]x]", "[--a]", "[a--]", "[--]", "[!--]",
        "[z-a]", "[a-\\d]", "[a-\\-]", "[-[a]]", "[\\1]", "]", "a]",
        // groups and escapes
        "(", ")", "a|b)", "((a)", "\\", "a\\", "\\p{L", "\\pL", "\\p{}", "\\p{Cs}", "\\p{LC}", "\\p{Lx}",
        "\\p{IsFoo}", "\\p{Is}", "\\p{IsBasic Latin}",
        // back-references to groups that are missing or not yet closed
        "(a)\\2", "\\1(a)", "(a\\1)",
    };
    for (const std::string& pattern : invalid) {
        EXPECT_EQ(translation(pattern), "FORX0002") << pattern;
    }
}

TEST(RegexTranslation, AcceptsWhatXPathRegularExpressionsAllow) {
    const std::vector<std::string> valid = {
        "",        "a|",          "|",        "()",       "a}",         "}",       "a{1,}?",     "^^",
        "$*",      "[a-]",        "[-]",      "[a-c-]",   "[\\s-a]",    "[\\--/]", "[a-c-e-g]",  "[a^]",
        "[\\[-\\]]", "[\\^]",     "\\-",      "a{0,0}",   "(a)|\\1b",   "(a){0}\\1",
        "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)\\11",  "\\p{IsGreek}", "\\p{IsGreekandCoptic}", "\\p{IsHighSurrogates}",
        "\\p{IsCyrillicSupplementary}", "\\p{IsSpecials}", "\\p{Cn}", "\\p{Co}",
    };
    for (const std::string& pattern : valid) {
        EXPECT_NE(translation(pattern), "FORX0002") << pattern;
    }
}

TEST(RegexTranslation, FlagsAreAnyCombinationOfSmixAndNothingElse) {
    for (const std::string flags : {"", "s", "m", "x", "sm", "xs", "mm"}) {
        EXPECT_EQ(translation("a", flags), "a") << flags;
    }
    for (const std::string flags : {"i", "smix", "xims", "ii"}) {
        EXPECT_EQ(translation("a", flags), "[Aa]") << flags;
    }
    for (const std::string flags : {"q", "A", "g", "S", " ", "im-", "u"}) {
        EXPECT_EQ(translation("a", flags), "FORX0001") << flags;
        // Bad flags are reported before a bad pattern.
        EXPECT_EQ(translation("[", flags), "FORX0001") << flags;
    }
}

TEST(RegexTranslation, ErrorMessagesNameThePatternAndWhereItWentWrong) {
    try {
        translateRegex("ab{", "");
        FAIL() << "no error";
    } catch (const XPathError& error) {
        EXPECT_EQ(error.code(), ErrorCode::FORX0002);
        EXPECT_NE(error.description().find("\"ab{\""), std::string::npos) << error.description();
        EXPECT_NE(error.description().find("at character 4"), std::string::npos) << error.description();
    }
}

}  // namespace
}  // namespace quillmark::xpath
