// Tokens of the expression language: what text becomes which token, what is reported
// as unknown, how tokens print, and the parser's cursor over a token list.

#include <gtest/gtest.h>

#include <limits>

#include "expression_test_support.h"
#include "quillmark/log.h"
#include "quillmark/token.h"

namespace quillmark::testing {
namespace {

std::vector<std::string> descriptions(const std::vector<QMXPToken>& tokens) {
    std::vector<std::string> out;
    for (const auto& token : tokens) out.push_back(token.description());
    return out;
}

// The descriptions of the tokens before the end token, which must come last and only there.
std::vector<std::string> tokensBeforeTheEnd(const std::string& expression, bool* logged) {
    auto tokens = tokenize(expression, logged);
    EXPECT_FALSE(tokens.empty());
    if (tokens.empty()) return {};
    EXPECT_EQ(tokens.back().type, QMXPTokenEOF);
    EXPECT_FALSE(tokens.back().value.has_value());
    tokens.pop_back();
    for (const auto& token : tokens) EXPECT_NE(token.type, QMXPTokenEOF);
    return descriptions(tokens);
}

struct TokenCase {
    std::string expression;
    std::vector<std::string> tokens;
};

TEST(Tokenizer, TurnsExpressionsIntoTokens) {
    const std::vector<TokenCase> cases = {
        {"count(//cac:InvoiceLine) >= 1",
         {"<IDENT: count>", "<(: (>", "<//: //>", "<IDENT: cac>", "<:: :>", "<IDENT: InvoiceLine>", "<): )>",
          "<>=: >=>", "<NUMBER: 1>"}},
        {R"('a' != "b")", {"<STRING: a>", "<!=: !=>", "<STRING: b>"}},
        // A sign directly before a digit belongs to the number.
        {"5-3", {"<NUMBER: 5>", "<NUMBER: -3>"}}, {"5 - 3", {"<NUMBER: 5>", "<-: ->", "<NUMBER: 3>"}},
        {"$x -1", {"<$: $>", "<IDENT: x>", "<NUMBER: -1>"}}, {"1+2", {"<NUMBER: 1>", "<NUMBER: 2>"}},
        // Number text is normalised.
        {"1.0 007 .5 1e3 2.50 +4 1E-2", {"<NUMBER: 1>", "<NUMBER: 7>", "<NUMBER: 0.5>", "<NUMBER: 1000>",
                                         "<NUMBER: 2.5>", "<NUMBER: 4>", "<NUMBER: 0.01>"}},
        {"1x 1e", {"<NUMBER: 1>", "<IDENT: x>", "<NUMBER: 1>", "<IDENT: e>"}},
        {"1e999 -1e999", {"<NUMBER: inf>", "<NUMBER: -inf>"}},
        // Words that a lenient float reader would take for numbers stay names.
        {"Information inf nan infinity", {"<IDENT: Information>", "<IDENT: inf>", "<IDENT: nan>", "<IDENT: infinity>"}},
        {"../x", {"<..: ..>", "</: />", "<IDENT: x>"}}, {"a//b", {"<IDENT: a>", "<//: //>", "<IDENT: b>"}},
        {"<=>=!=<>=", {"<<=: <=>", "<>=: >=>", "<!=: !=>", "<<: <>", "<>=: >=>"}},
        {"$()*,-./:=<>@[]|", {"<$: $>", "<(: (>", "<): )>", "<*: *>", "<,: ,>", "<-: ->", "<.: .>", "</: />",
                              "<:: :>", "<=: =>", "<<: <>", "<>: >>", "<@: @>", "<[: [>", "<]: ]>", "<|: |>"}},
        // Keywords, recognised case-sensitively wherever they stand.
        {"or and div if then else",
         {"<OR: or>", "<AND: and>", "<DIV: div>", "<IF: if>", "<THEN: then>", "<ELSE: else>"}},
        {"every some for return in satisfies", {"<UNKNOWN: every>", "<UNKNOWN: some>", "<UNKNOWN: for>",
                                                "<UNKNOWN: return>", "<UNKNOWN: in>", "<UNKNOWN: satisfies>"}},
        {"Or AND Div", {"<IDENT: Or>", "<IDENT: AND>", "<IDENT: Div>"}},
        {"/in/div", {"</: />", "<UNKNOWN: in>", "</: />", "<DIV: div>"}},
        {"order android", {"<IDENT: order>", "<IDENT: android>"}},
        // Hyphens and underscores continue a name; colons and points do not.
        {"a-b sum-of_2 x1", {"<IDENT: a-b>", "<IDENT: sum-of_2>", "<IDENT: x1>"}},
        {"ancestor::cbc:ID", {"<IDENT: ancestor>", "<:: :>", "<:: :>", "<IDENT: cbc>", "<:: :>", "<IDENT: ID>"}},
        {"a.b", {"<IDENT: a>", "<.: .>", "<IDENT: b>"}},
        // String literals have no escapes; an unterminated one takes the rest.
        {"'it''s'", {"<STRING: it>", "<STRING: s>"}},
        {R"("it's" 'say "hi"')", {"<STRING: it's>", "<STRING: say \"hi\">"}},
        {"'' '  two  spaces ' 'line\nbreak'", {"<STRING: >", "<STRING:   two  spaces >", "<STRING: line\nbreak>"}},
        {"'unterminated (", {"<STRING: unterminated (>"}},
        // Line breaks and other white space between tokens vanish.
        {"a\nb\r\n\tc", {"<IDENT: a>", "<IDENT: b>", "<IDENT: c>"}}, {"a\xC2\xA0" "b", {"<IDENT: a>", "<IDENT: b>"}},
        {"", {}}, {" \t \n ", {}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        ScopedLogCapture capture;
        bool logged = false;
        EXPECT_EQ(tokensBeforeTheEnd(testCase.expression, &logged), testCase.tokens);
        EXPECT_FALSE(logged);
        EXPECT_TRUE(capture.lines().empty());
    }
}

struct UnknownCase {
    std::string expression;
    std::vector<std::string> tokens;
    std::vector<std::string> log;
};

TEST(Tokenizer, ReportsAndSkipsUnknownCharacters) {
    const std::vector<UnknownCase> cases = {
        {"a #?;%&\\^`{", {"<IDENT: a>"},
         {"Unknown character: # (0x0023)", "Unknown character: ? (0x003f)", "Unknown character: ; (0x003b)",
          "Unknown character: % (0x0025)", "Unknown character: & (0x0026)", "Unknown character: \\ (0x005c)",
          "Unknown character: ^ (0x005e)", "Unknown character: ` (0x0060)", "Unknown character: { (0x007b)"}},
        // A name must start with a letter; "!" only begins "!=".
        {"_x", {"<IDENT: x>"}, {"Unknown character: _ (0x005f)"}},
        {"!a", {"<IDENT: a>"}, {"Unknown character: ! (0x0021)"}},
        // Letters outside ASCII cannot start or continue a name.
        {"\xC3\xA9t\xC3\xA9", {"<IDENT: t>"},
         {"Unknown character: \xC3\xA9 (0x00e9)", "Unknown character: \xC3\xA9 (0x00e9)"}},
        {"\xF0\x9F\x98\x80", {}, {"Unknown character: \xF0\x9F\x98\x80 (0x1f600)"}},
        // Bytes that are not UTF-8 are reported one by one as the replacement character.
        {"a\xFF\xFE" "b", {"<IDENT: a>", "<IDENT: b>"},
         {"Unknown character: \xEF\xBF\xBD (0xfffd)", "Unknown character: \xEF\xBF\xBD (0xfffd)"}},
        {"x\xE2\x82", {"<IDENT: x>"}, {"Unknown character: \xEF\xBF\xBD (0xfffd)"}},
        {std::string("a\0b", 3), {"<IDENT: a>", "<IDENT: b>"}, {std::string("Unknown character: \0 (0x0000)", 29)}},
        {"'open #", {"<STRING: open #>"}, {}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.expression);
        ScopedLogCapture capture;
        bool logged = false;
        EXPECT_EQ(tokensBeforeTheEnd(testCase.expression, &logged), testCase.tokens);
        EXPECT_EQ(logged, !testCase.log.empty());
        EXPECT_EQ(capture.lines(), testCase.log);
    }
}

TEST(TokenNames, NamesOutsideTheTableAreUnknown) {
    // The names inside the table show in the token lists above.
    for (int64_t type : {int64_t{38}, int64_t{-1}, std::numeric_limits<int64_t>::min(),
                         std::numeric_limits<int64_t>::max()}) {
        EXPECT_EQ(QMXPToken::tokenTypeName(type), "UNKNOWN") << type;
    }
    EXPECT_EQ((QMXPToken{QMXPTokenEOF, std::nullopt}).description(), "<EOF: >");
    EXPECT_EQ((QMXPToken{99, "x"}).description(), "<UNKNOWN: x>");
}

TEST(TokenNames, OperatorSpellings) {
    const std::vector<std::string> spellings = {"|", "<=", ">=", "!=", "<", ">", "=", "+", "-", "*", "or", "and", "div"};
    for (int64_t op = QMXPTokenPipe; op <= QMXPTokenDiv; ++op) {
        EXPECT_EQ(tokenTypeToString(op), spellings[static_cast<size_t>(op - QMXPTokenPipe)]) << op;
    }
    EXPECT_EQ(tokenTypeToString(QMXPTokenIf), "Token(28)");
    EXPECT_EQ(tokenTypeToString(QMXPTokenDollar), "Token(14)");
    EXPECT_EQ(tokenTypeToString(-3), "Token(-3)");
}

// ---- The cursor ----

TEST(TokenCursor, ConsumeMatchAndPeekStopAtTheEndToken) {
    QMXPath2Evaluator parser;
    EXPECT_EQ(parser.peek().type, QMXPTokenEOF) << "before any token list";
    EXPECT_EQ(parser.consume().type, QMXPTokenEOF);
    parser.setTokens({{QMXPTokenIdent, "a"}, {QMXPTokenSlash, "/"}, {QMXPTokenEOF, std::nullopt}});
    EXPECT_EQ(parser.currentIndex(), 0);
    EXPECT_FALSE(parser.match(QMXPTokenSlash));
    EXPECT_EQ(parser.currentIndex(), 0);
    EXPECT_TRUE(parser.match(QMXPTokenIdent));
    EXPECT_EQ(parser.peek().type, QMXPTokenSlash);
    EXPECT_EQ(parser.currentIndex(), 1) << "peek never advances";
    EXPECT_EQ(parser.consume().type, QMXPTokenSlash);
    EXPECT_EQ(parser.consume().type, QMXPTokenEOF);
    EXPECT_EQ(parser.currentIndex(), 3);
    // Past the end the end token keeps coming and the index stays put.
    EXPECT_EQ(parser.consume().type, QMXPTokenEOF);
    EXPECT_EQ(parser.currentIndex(), 3);
    for (int64_t index : {int64_t{-1}, int64_t{1000}}) {
        parser.setCurrentIndex(index);
        EXPECT_EQ(parser.peek().type, QMXPTokenEOF) << index;
        parser.consume();
        EXPECT_EQ(parser.currentIndex(), index) << "consume does not move an index outside the list";
    }
}

TEST(TokenCursor, InstalledListsEndWithTheEndTokenAndTokenizingLeavesThemAlone) {
    QMXPath2Evaluator parser;
    parser.setTokens({});
    EXPECT_EQ(parser.peek().type, QMXPTokenEOF);
    parser.setTokens({{QMXPTokenNumber, "1"}, {QMXPTokenSlash, "/"}});
    EXPECT_EQ(parser.consume().type, QMXPTokenNumber);
    EXPECT_EQ(descriptions(parser.tokenize("x = 1")), descriptions(tokenize("x = 1")));
    EXPECT_EQ(parser.consume().type, QMXPTokenSlash);
    EXPECT_EQ(parser.consume().type, QMXPTokenEOF);
}

}  // namespace
}  // namespace quillmark::testing
