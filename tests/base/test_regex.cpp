// The regular-expression wrapper: ICU syntax without flags, match positions as UTF-8
// offsets, replacement templates, and the time limit that stops runaway patterns.

#include <gtest/gtest.h>

#include "quillmark/log.h"
#include "quillmark/regex.h"

namespace quillmark {
namespace {

std::shared_ptr<const Regex> compiled(const std::string& pattern) {
    auto regex = Regex::compile(pattern);
    EXPECT_TRUE(regex) << pattern;
    return regex;
}

TEST(RegexCompile, RejectsMalformedPatterns) {
    for (const char* pattern : {"[", "(", "a{2,1}", "\\", "*a", "(?<n>", "\\p{NoSuchClass}"}) {
        EXPECT_FALSE(Regex::compile(pattern)) << pattern;
    }
    for (const char* pattern : {"", "a", "\\s+", "^[A-Z]{2}$", "\\p{L}+", "[0-9]+(\\.[0-9]{1,2})?"}) {
        EXPECT_TRUE(Regex::compile(pattern)) << pattern;
    }
}

TEST(RegexCompile, RepeatedPatternsShareOneCompilation) {
    EXPECT_EQ(Regex::compile("ab+c").get(), Regex::compile("ab+c").get());
    EXPECT_EQ(Regex::compile("ab+c")->pattern(), "ab+c");
}

TEST(RegexFind, NoFlagsSemantics) {
    struct Case {
        const char* pattern;
        std::string text;
        bool found;
    } cases[] = {
        {"b", "abc", true},
        {"B", "abc", false},         // case-sensitive
        {"a.b", "a\nb", false},      // "." stops at line breaks
        {"a.b", "a-b", true},
        {"^b$", "a\nb", false},      // anchors hold the whole text, not lines
        {"^a", "a\nb", true},
        {"b$", "a\nb", true},
        {"\\d{3}", "ab123", true},
        {"\\p{Lu}", "abc", false},
        {"\\s", "a\xC2\xA0" "b", true},  // Unicode white space
        {"", "", true},
    };
    for (const auto& c : cases) EXPECT_EQ(compiled(c.pattern)->find(c.text), c.found) << c.pattern << " in " << c.text;
}

TEST(RegexFind, MatchesEntireText) {
    EXPECT_TRUE(compiled("[A-Z]{2}")->matchesEntire("DE"));
    EXPECT_FALSE(compiled("[A-Z]{2}")->matchesEntire("DEU"));
    EXPECT_FALSE(compiled("[A-Z]{2}")->matchesEntire("xDE"));
}

TEST(RegexFindAll, SpansAreUtf8Offsets) {
    const std::string text = "\xE2\x82\xAC" "1 \xF0\x9F\x98\x80" "22";
    const auto spans = compiled("\\d+")->findAll(text);
    ASSERT_EQ(spans.size(), 2u);
    EXPECT_EQ(text.substr(spans[0].begin, spans[0].end - spans[0].begin), "1");
    EXPECT_EQ(text.substr(spans[1].begin, spans[1].end - spans[1].begin), "22");
    EXPECT_EQ(compiled("x*")->findAll("ab").size(), 3u);  // empty matches at 0, 1 and 2
}

TEST(RegexReplace, Templates) {
    struct Case {
        const char* pattern;
        const char* text;
        const char* replacement;
        const char* expected;
    } cases[] = {
        {"[0-9]", "a1b2", "X", "aXbX"},
        {"(\\w)(\\d)", "a1b2", "$2$1", "1a2b"},
        {"b", "abc", "\\$", "a$c"},
        {"b", "abc", "\\\\", "a\\c"},
        {"x", "abc", "y", "abc"},
        {"", "ab", "-", "-a-b-"},
        {"\\s+", "a \t b", " ", "a b"},
        {"\xC3\xA4", "\xC3\xA4pfel", "ae", "aepfel"},
    };
    for (const auto& c : cases) {
        bool failed = false;
        EXPECT_EQ(compiled(c.pattern)->replaceAll(c.text, c.replacement, &failed), c.expected) << c.pattern;
        EXPECT_FALSE(failed) << c.pattern;
    }
}

TEST(RegexReplace, MalformedTemplateLeavesTextUnchanged) {
    for (const char* replacement : {"$9", "$", "${nope}"}) {
        bool failed = false;
        EXPECT_EQ(compiled("b")->replaceAll("abc", replacement, &failed), "abc") << replacement;
        EXPECT_TRUE(failed) << replacement;
    }
}

TEST(RegexSplit, DropsEmptyPieces) {
    struct Case {
        const char* pattern;
        const char* text;
        std::vector<std::string> pieces;
    } cases[] = {
        {"\\s+", " a  b ", {"a", "b"}},
        {",", "a,b,,c", {"a", "b", "c"}},
        {",", "", {""}},
        {",", ",,", {",,"}},
        {",", "abc", {"abc"}},
        {"", "ab", {"a", "b"}},
    };
    for (const auto& c : cases) EXPECT_EQ(compiled(c.pattern)->split(c.text), c.pieces) << c.pattern << " " << c.text;
}

TEST(RegexTimeLimit, CatastrophicBacktrackingGivesUpAsNoMatch) {
    const std::string text = std::string(64, 'a') + "b";
    auto regex = compiled("(a+)+$");
    ScopedLogCapture capture;
    EXPECT_FALSE(regex->find(text));
    EXPECT_TRUE(regex->findAll(text).empty());
    EXPECT_EQ(regex->split(text), std::vector<std::string>{text});
    bool failed = false;
    EXPECT_EQ(regex->replaceAll(text, "x", &failed), text);
    EXPECT_TRUE(failed);
    ASSERT_EQ(capture.lines().size(), 4u);
    EXPECT_NE(capture.lines()[0].find("(a+)+$"), std::string::npos);
}

TEST(RegexInput, MalformedUtf8IsSearchedNotRejected) {
    EXPECT_TRUE(compiled("b")->find("\xFF" "b"));
    EXPECT_EQ(compiled(",")->split("\xFF,x"), (std::vector<std::string>{"\xFF", "x"}));
}

}  // namespace
}  // namespace quillmark
