// The regular-expression wrapper: ICU syntax without flags, match positions as UTF-8
// offsets, replacement templates, and the time limit that stops runaway patterns.

#include <gtest/gtest.h>

#include "quillmark/log.h"
#include "quillmark/regex.h"

namespace quillmark {
namespace {

using Pieces = std::vector<std::string>;

std::shared_ptr<const Regex> compiled(const std::string& pattern) {
    auto regex = Regex::compile(pattern);
    EXPECT_TRUE(regex) << pattern;
    return regex;
}

TEST(RegexCompile, RejectsMalformedPatternsAndSharesCompilations) {
    for (const char* pattern : {"[", "(", "a{2,1}", "\\", "*a", "(?<n>", "\\p{NoSuchClass}"}) {
        EXPECT_FALSE(Regex::compile(pattern)) << pattern;
    }
    for (const char* pattern : {"", "a", "\\s+", "^[A-Z]{2}$", "\\p{L}+", "[0-9]+(\\.[0-9]{1,2})?"}) {
        EXPECT_TRUE(Regex::compile(pattern)) << pattern;
    }
    EXPECT_EQ(Regex::compile("ab+c").get(), Regex::compile("ab+c").get());
    EXPECT_EQ(Regex::compile("ab+c")->pattern(), "ab+c");
}

TEST(RegexFind, NoFlagsSemantics) {
    struct Case {
        const char* pattern;
        std::string text;
        bool found;
    } cases[] = {
        {"b", "abc", true}, {"B", "abc", false},  // case-sensitive
        {"a.b", "a\nb", false}, {"a.b", "a-b", true},  // "." stops at line breaks
        {"^b$", "a\nb", false}, {"^a", "a\nb", true}, {"b$", "a\nb", true},  // anchors hold the whole text
        {"\\d{3}", "ab123", true}, {"\\p{Lu}", "abc", false},
        {"\\s", "a\xC2\xA0" "b", true},  // Unicode white space
        {"", "", true},
    };
    for (const auto& c : cases) EXPECT_EQ(compiled(c.pattern)->find(c.text), c.found) << c.pattern << " in " << c.text;
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

TEST(RegexReplace, TemplatesAndMalformedTemplates) {
    struct Case {
        const char* pattern;
        const char* text;
        const char* replacement;
        const char* expected;
        bool failed;
    } cases[] = {
        {"[0-9]", "a1b2", "X", "aXbX", false}, {"(\\w)(\\d)", "a1b2", "$2$1", "1a2b", false},
        {"b", "abc", "\\$", "a$c", false}, {"b", "abc", "\\\\", "a\\c", false}, {"x", "abc", "y", "abc", false},
        {"", "ab", "-", "-a-b-", false}, {"\\s+", "a \t b", " ", "a b", false},
        {"\xC3\xA4", "\xC3\xA4pfel", "ae", "aepfel", false},
        // A malformed template leaves the text unchanged.
        {"b", "abc", "$9", "abc", true}, {"b", "abc", "$", "abc", true}, {"b", "abc", "${nope}", "abc", true},
    };
    for (const auto& c : cases) {
        bool failed = false;
        EXPECT_EQ(compiled(c.pattern)->replaceAll(c.text, c.replacement, &failed), c.expected) << c.replacement;
        EXPECT_EQ(failed, c.failed) << c.replacement;
    }
}

TEST(RegexSplit, DropsEmptyPieces) {
    struct Case {
        const char* pattern;
        const char* text;
        Pieces pieces;
    } cases[] = {
        {"\\s+", " a  b ", {"a", "b"}}, {",", "a,b,,c", {"a", "b", "c"}}, {",", "", {""}}, {",", ",,", {",,"}},
        {",", "abc", {"abc"}}, {"", "ab", {"a", "b"}},
    };
    for (const auto& c : cases) EXPECT_EQ(compiled(c.pattern)->split(c.text), c.pieces) << c.pattern << " " << c.text;
}

TEST(RegexTimeLimit, CatastrophicBacktrackingGivesUpAsNoMatch) {
    const std::string text = std::string(64, 'a') + "b";
    auto regex = compiled("(a+)+$");
    ScopedLogCapture capture;
    EXPECT_FALSE(regex->find(text));
    EXPECT_TRUE(regex->findAll(text).empty());
    EXPECT_EQ(regex->split(text), Pieces{text});
    bool failed = false;
    EXPECT_EQ(regex->replaceAll(text, "x", &failed), text);
    EXPECT_TRUE(failed);
    ASSERT_EQ(capture.lines().size(), 4u);
    EXPECT_NE(capture.lines()[0].find("(a+)+$"), std::string::npos);
}

TEST(RegexInput, MalformedUtf8IsSearchedNotRejected) {
    EXPECT_TRUE(compiled("b")->find("\xFF" "b"));
    EXPECT_EQ(compiled(",")->split("\xFF,x"), (Pieces{"\xFF", "x"}));
}

}  // namespace
}  // namespace quillmark
