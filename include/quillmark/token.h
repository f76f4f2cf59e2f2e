#pragma once
// Tokens of the expression language. Token type numbers double as operator codes in
// binary and unary nodes and as the quantifier code of quantified expressions.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark {

enum QMXPTokenType : int64_t {
    QMXPTokenNumber = 0,
    QMXPTokenString = 1,
    QMXPTokenIdent = 2,
    QMXPTokenLParen = 3,
    QMXPTokenRParen = 4,
    QMXPTokenLBracket = 5,
    QMXPTokenRBracket = 6,
    QMXPTokenSlash = 7,
    QMXPTokenDoubleSlash = 8,
    QMXPTokenAt = 9,
    QMXPTokenColon = 10,
    QMXPTokenComma = 11,
    QMXPTokenDot = 12,
    QMXPTokenDoubleDot = 13,
    QMXPTokenDollar = 14,
    QMXPTokenPipe = 15,
    QMXPTokenLessEqual = 16,
    QMXPTokenGreaterEqual = 17,
    QMXPTokenNotEqual = 18,
    QMXPTokenLess = 19,
    QMXPTokenGreater = 20,
    QMXPTokenEqual = 21,
    QMXPTokenPlus = 22,
    QMXPTokenMinus = 23,
    QMXPTokenStar = 24,
    QMXPTokenOr = 25,
    QMXPTokenAnd = 26,
    QMXPTokenDiv = 27,
    QMXPTokenIf = 28,
    QMXPTokenThen = 29,
    QMXPTokenElse = 30,
    QMXPTokenEvery = 31,
    QMXPTokenSome = 32,
    QMXPTokenFor = 33,
    QMXPTokenReturn = 34,
    QMXPTokenIn = 35,
    QMXPTokenSatisfies = 36,
    QMXPTokenEOF = 37,
};

struct QMXPToken {
    int64_t type = QMXPTokenEOF;
    std::optional<std::string> value;  // none for the end token

    // Printed name of a token type: "NUMBER", "(", "OR", ...; "UNKNOWN" for the
    // keywords 31 to 36 and for any value outside 0 to 37.
    static std::string tokenTypeName(int64_t type);
    // "<NAME: value>", with an empty value text when there is none ("<EOF: >").
    std::string description() const;
};

// Spelling of an operator code 15..27 ("|", "<=", ..., "or", "and", "div");
// "Token(N)" for every other value.
std::string tokenTypeToString(int64_t type);

// Turns an expression into tokens, always ending with one EOF token. Unknown characters
// are logged ("Unknown character: %C (0x%04x)") and skipped; `logged` (when given) is
// set to true when that happened.
std::vector<QMXPToken> tokenize(std::string_view expression, bool* logged = nullptr);

}  // namespace quillmark
