#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xpath/error.h"
#include "xpath/xpath_regex.h"

namespace quillmark::xpath {
namespace {

// The outcome of an operation as one comparable string: its result, or the error code.
template <class Operation>
std::string outcome(Operation&& operation) {
    try {
        return operation();
    } catch (const XPathError& error) {
        return error.codeText();
    }
}

std::string matchOutcome(const std::string& pattern, const std::string& flags, const std::string& input) {
    return outcome([&] { return XPathRegex::compile(pattern, flags)->matches(input) ? "true" : "false"; });
}

std::string replaceOutcome(const std::string& pattern, const std::string& input, const std::string& replacement) {
    return outcome([&] { return XPathRegex::compile(pattern, "")->replace(input, replacement); });
}

// The tokens joined by "|" and enclosed in brackets ("[a|b]", "[]" for none), or the error code.
std::string tokenizeOutcome(const std::string& pattern, const std::string& input) {
    return outcome([&] {
        std::string joined = "[";
        const std::vector<std::string> tokens = XPathRegex::compile(pattern, "")->tokenize(input);
        for (size_t i = 0; i < tokens.size(); ++i) joined += (i ? "|" : "") + tokens[i];
        return joined + "]";
    });
}

struct MatchCase {
    std::string pattern;
    std::string flags;
    std::string input;
    std::string expected;
};

TEST(XPathRegexMatches, FollowsTheXPathDialectWhereIcuDiffers) {
    const std::string nbsp = "\xC2\xA0";
    const std::string lineSeparator = "\xE2\x80\xA8";
    const std::vector<MatchCase> cases = {
        // a search, not a whole-text match
        {"bra", "", "abracadabra", "true"},
        {"^bra", "", "abracadabra", "false"},
        {"a*", "", "", "true"},
        // "$" only at the very end; with "m" at each \n, and "^" not after a final \n
        {"a$", "", "a\n", "false"},
        {"a$", "", "a", "true"},
        {"a$", "m", "a\nb", "true"},
        {"a$", "m", "a\r\nb", "false"},
        {"^b", "", "a\nb", "false"},
        {"^b", "m", "a\nb", "true"},
        {"^b", "m", "a\rb", "false"},
        {"^$", "m", "abcd\ndefg\n", "false"},
        {"^$", "m", "a\n\n", "true"},
        {"^$", "m", "", "true"},
        {"a$\\n^b", "m", "a\nb", "true"},
        // "." excludes only \n and \r; with "s" it matches those too
        {".", "", lineSeparator, "true"},
        {".", "", "\xC2\x85", "true"},
        {".", "", "\r", "false"},
        {".", "", "\n", "false"},
        {"^.$", "s", "\n", "true"},
        {"^a.b$", "s", "a\r\nb", "false"},
        {"^a..b$", "s", "a\r\nb", "true"},
        // \s is space, tab, CR and LF only
        {"\\s", "", nbsp, "false"},
        {"[\\s]", "", nbsp, "false"},
        {"\\S", "", nbsp, "true"},
        {"\\s", "", "\t", "true"},
        {"[^\\S]", "", " ", "true"},
        // \w is everything but punctuation, separators and other characters; \d is Nd
        {"\\w", "", "$", "true"},
        {"\\w", "", "+", "true"},
        {"\\w", "", "_", "false"},
        {"\\w", "", "\xC3\xA9", "true"},
        {"\\w", "", nbsp, "false"},
        {"\\W", "", "-", "true"},
        {"\\d", "", "\xD9\xA1", "true"},   // ARABIC-INDIC DIGIT ONE
        {"\\d", "", "\xC2\xB2", "false"},  // SUPERSCRIPT TWO
        // XML name characters
        {"\\i", "", "_", "true"},
        {"\\i", "", ":", "true"},
        {"\\i", "", "-", "false"},
        {"\\i", "", "\xE0\xB8\x81", "true"},  // THAI CHARACTER KO KAI
        {"\\i", "", "\xC2\xAA", "false"},
        {"\\I", "", "1", "true"},
        {"\\c", "", "-", "true"},
        {"\\c", "", "\xC2\xB7", "true"},
        {"\\c", "", "\xC2\xBD", "false"},
        {"\\C", "", "!", "true"},
        // subtraction
        {"[a-z-[aeiou]]", "", "e", "false"},
        {"[a-z-[aeiou]]", "", "z", "true"},
        {"[a-z-[b-y-[c]]]", "", "c", "true"},
        {"[a-z-[b-y-[c]]]", "", "b", "false"},
        {"[^a-c-[b]]", "", "z", "true"},
        {"[^a-c-[b]]", "", "a", "false"},
        {"[a-c-e]", "", "-", "true"},
        {"[a-c-e]", "", "d", "false"},
        {"[&&a]", "", "&", "true"},
        // blocks and categories
        {"\\p{IsBasicLatin}", "", "a", "true"},
        {"\\p{IsBasicLatin}", "", "\xC3\xA9", "false"},
        {"\\P{IsBasicLatin}", "", "\xC3\xA9", "true"},
        {"\\p{IsLatin-1Supplement}", "", "\xC3\xA9", "true"},
        {"\\p{IsGreek}", "", "\xCE\x91", "true"},
        {"\\p{IsPrivateUse}", "", "\xEE\x80\x80", "true"},
        {"\\p{IsPrivateUse}", "", "\xF3\xB0\x80\x80", "true"},  // U+F0000
        {"\\p{IsSpecials}", "", "\xEF\xBB\xBF", "true"},        // U+FEFF
        {"\\p{Lu}", "", "A", "true"},
        {"\\P{Lu}", "", "A", "false"},
        // "i" folds literal characters and ranges, not categories
        {"ABC", "i", "abc", "true"},
        {"[A-Z]", "i", "a", "true"},
        {"k", "i", "\xE2\x84\xAA", "true"},  // KELVIN SIGN
        {"[^a]", "i", "A", "false"},
        {"\\p{Lu}", "i", "a", "false"},
        {"[\\p{Lu}x]", "i", "X", "true"},
        {"(a)\\1", "i", "aA", "true"},
        // back-references
        {"(a)\\1", "", "aa", "true"},
        {"(a)\\1", "", "ab", "false"},
        {"^(a)?b\\1$", "", "b", "true"},
        {"^(a)?b\\1$", "", "aba", "true"},
        {"^(a)?b\\1$", "", "ab", "false"},
        {"(a){0}\\1", "", "a", "true"},
        {"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)\\11", "", "abcdefghija1", "true"},
        {"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)\\11", "", "abcdefghijkk", "true"},
        {"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)\\11", "", "abcdefghijka1", "false"},
        // characters outside the BMP are one character
        {"^.$", "", "\xF0\x9D\x90\x80", "true"},
        {"^..$", "", "\xF0\x9D\x90\x80", "false"},
        {"^[\xF0\x9D\x90\x80-\xF0\x9D\x90\x81]$", "", "\xF0\x9D\x90\x81", "true"},
        // reluctant quantifiers and large counts
        {"^(a{0,3}?)b", "", "aaaab", "false"},
        {"^(a{3,}?)b", "", "aaaab", "true"},
        {"a{2147483647}", "", "aaa", "false"},
        // "x" removes white space outside classes only
        {"hello[ ]world", "x", "hello world", "true"},
        {"he ll o\n wor\tld", "x", "helloworld", "true"},
        {"a b", "x", "a b", "false"},
    };
    for (const MatchCase& c : cases) {
        EXPECT_EQ(matchOutcome(c.pattern, c.flags, c.input), c.expected)
            << "matches(\"" << c.input << "\", \"" << c.pattern << "\", \"" << c.flags << "\")";
    }
}

TEST(XPathRegexMatches, InvalidPatternsAndFlagsRaiseTheirCodes) {
    EXPECT_EQ(matchOutcome("[", "", "a"), "FORX0002");
    EXPECT_EQ(matchOutcome("(?:a)", "", "a"), "FORX0002");
    EXPECT_EQ(matchOutcome("a", "q", "a"), "FORX0001");
    EXPECT_EQ(matchOutcome("a\\ b", "x", "a b"), "FORX0002");  // "\b" once white space is gone
}

struct ReplaceCase {
    std::string pattern;
    std::string input;
    std::string replacement;
    std::string expected;
};

TEST(XPathRegexReplace, SubstitutesGroupsAndEscapes) {
    const std::string twelveGroups = "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)(l)";
    const std::string elevenGroups = "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)";
    const std::vector<ReplaceCase> cases = {
        {"bra", "abracadabra", "*", "a*cada*"},
        {"a.*a", "abracadabra", "*", "*"},
        {"a.*?a", "abracadabra", "*", "*c*bra"},
        {"a(.)", "abracadabra", "a$1$1", "abbraccaddabbra"},
        {"^(.*?)d(.*)$", "darted", "$1c$2", "carted"},
        {"(ab)|(a)", "abcd", "[1=$1][2=$2]", "[1=ab][2=]cd"},
        {"a+", "baaac", "<$0>", "b<aaa>c"},
        {"x", "abc", "$0$0", "abc"},
        // $N: a missing group up to 9 is "", beyond that the last digit is literal
        {twelveGroups, "abcdefghijkl", "$12", "l"},
        {elevenGroups, "abcdefghijk", "$12", "a2"},
        {"(a)", "a", "$2", ""},
        {"(a)", "a", "$10", "a0"},
        {"(a)", "a", "$01", "a1"},
        {"a", "a", "$00", "a0"},
        {"(a)", "a", "$99999999999999999999999", "9999999999999999999999"},
        {"(a)", "a", "$1$", "FORX0004"},
        // escapes
        {"a", "a", "\\$\\\\", "$\\"},
        // byte offsets of multi-byte characters
        {"\xC3\xA9+", "x\xC3\xA9\xC3\xA9y", "-", "x-y"},
        {"(\xF0\x9D\x90\x80)", "a\xF0\x9D\x90\x80" "b", "[$1]", "a[\xF0\x9D\x90\x80]b"},
        // invalid replacement strings
        {"a", "a", "$", "FORX0004"},
        {"a", "a", "$x", "FORX0004"},
        {"a", "a", "\\", "FORX0004"},
        {"a", "a", "\\n", "FORX0004"},
        {"a", "abc", "\\1", "FORX0004"},
        {"a", "xyz", "$", "FORX0004"},  // raised even when nothing matches
        // patterns that match ""
        {"a*", "baaa", "x", "FORX0003"},
        {"", "abc", "x", "FORX0003"},
        {"^", "abc", "x", "FORX0003"},
        {".?", "", "x", "FORX0003"},
    };
    for (const ReplaceCase& c : cases) {
        EXPECT_EQ(replaceOutcome(c.pattern, c.input, c.replacement), c.expected)
            << "replace(\"" << c.input << "\", \"" << c.pattern << "\", \"" << c.replacement << "\")";
    }
}

struct TokenizeCase {
    std::string pattern;
    std::string input;
    std::string expected;
};

TEST(XPathRegexTokenize, SplitsByXPathRules) {
    const std::vector<TokenizeCase> cases = {
        {"\\s+", "The cat sat", "[The|cat|sat]"},
        {"\\s+", " The cat ", "[|The|cat|]"},
        {",\\s*", "1, 15, 24", "[1|15|24]"},
        {"(ab)|(a)", "abracadabra", "[|r|c|d|r|]"},
        {"^a", "abracadabra", "[|bracadabra]"},
        {",", "", "[]"},
        {",", ",", "[|]"},
        {"ww", "abracadabra", "[abracadabra]"},
        {",", "\xC3\xA9,\xF0\x9D\x90\x80", "[\xC3\xA9|\xF0\x9D\x90\x80]"},
        {".?", "abba", "FORX0003"},
        {"a*", "", "[]"},
        {"[", "a", "FORX0002"},
    };
    for (const TokenizeCase& c : cases) {
        EXPECT_EQ(tokenizeOutcome(c.pattern, c.input), c.expected)
            << "tokenize(\"" << c.input << "\", \"" << c.pattern << "\")";
    }
}

TEST(XPathRegex, KnowsWhetherThePatternMatchesTheEmptyString) {
    for (const std::string pattern : {"", "a*", "^", "$", "^$", "(a|)", "a?b?", "(a)?\\1"}) {
        EXPECT_TRUE(XPathRegex::compile(pattern, "")->matchesEmptyString()) << pattern;
    }
    for (const std::string pattern : {"a", "a+", "^a", ".", "\\s", "(a)\\1"}) {
        EXPECT_FALSE(XPathRegex::compile(pattern, "")->matchesEmptyString()) << pattern;
    }
}

TEST(XPathRegex, CompiledPatternsAndFailuresAreCached) {
    const auto first = XPathRegex::compile("a+b", "i");
    EXPECT_EQ(XPathRegex::compile("a+b", "i"), first);
    EXPECT_NE(XPathRegex::compile("a+b", ""), first);
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            XPathRegex::compile("a{", "");
            FAIL() << "no error";
        } catch (const XPathError& error) {
            EXPECT_EQ(error.code(), ErrorCode::FORX0002);
            EXPECT_NE(error.description().find("a{"), std::string::npos);
        }
    }
}

// A pattern with catastrophic backtracking on a text that never matches it.
const std::string kCatastrophicPattern = "(a*)*b";
const std::string kCatastrophicInput(40, 'a');

TEST(XPathRegexLimits, CatastrophicBacktrackingThrowsInsteadOfCountingAsNoMatch) {
    const auto regex = XPathRegex::compile(kCatastrophicPattern, "");
    try {
        regex->matches(kCatastrophicInput);
        FAIL() << "the match was not stopped";
    } catch (const XPathError& error) {
        EXPECT_EQ(error.code(), ErrorCode::QMXP0001);
        EXPECT_NE(error.description().find("time limit"), std::string::npos) << error.description();
    }
}

TEST(XPathRegexLimits, StopCheckAbortsEveryOperation) {
    const auto regex = XPathRegex::compile(kCatastrophicPattern, "");
    int calls = 0;
    const RegexStopCheck stopAtOnce = [&calls] {
        ++calls;
        return true;
    };
    const std::vector<std::function<void()>> operations = {
        [&] { regex->matches(kCatastrophicInput, stopAtOnce); },
        [&] { regex->replace(kCatastrophicInput, "x", stopAtOnce); },
        [&] { regex->tokenize(kCatastrophicInput, stopAtOnce); },
    };
    for (size_t i = 0; i < operations.size(); ++i) {
        calls = 0;
        EXPECT_EQ(outcome([&] {
                      operations[i]();
                      return std::string("finished");
                  }),
                  "QMXP0001")
            << "operation " << i;
        EXPECT_EQ(calls, 1) << "operation " << i;
    }
}

TEST(XPathRegexLimits, StopCheckThatLetsGoChangesNoResult) {
    // Enough backtracking to reach the check several times, little enough to finish.
    const auto regex = XPathRegex::compile("(x+x+)+y", "");
    int calls = 0;
    const RegexStopCheck neverStop = [&calls] {
        ++calls;
        return false;
    };
    EXPECT_FALSE(regex->matches(std::string(18, 'x'), neverStop));
    EXPECT_GT(calls, 0);
    EXPECT_TRUE(regex->matches(std::string(18, 'x') + "y", neverStop));
}

}  // namespace
}  // namespace quillmark::xpath
