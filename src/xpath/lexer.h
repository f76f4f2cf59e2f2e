#pragma once
// The lexer of XPath 2.0 expressions. It knows no keywords: `div`, `and`, `if`,
// `child` are names until the parser sees where they stand, as the grammar reuses them
// as element names. Names may contain `-` and `.` ("line-total" is one name, "a - b" a
// subtraction); comments `(: ... :)` nest and count as white space; a quote inside a
// string literal is written twice.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::xpath {

enum class TokenKind {
    End,
    Name,            // NCName or prefix:local
    PrefixWildcard,  // prefix:*
    LocalWildcard,   // *:local
    Star,            // * (wildcard or multiplication)
    IntegerLiteral,
    DecimalLiteral,
    DoubleLiteral,
    StringLiteral,   // text holds the value with doubled quotes undone
    Dollar,
    LeftParen,
    RightParen,
    LeftBracket,
    RightBracket,
    Comma,
    Dot,
    DotDot,
    Slash,
    DoubleSlash,
    At,
    DoubleColon,
    Plus,
    Minus,
    Pipe,
    Equals,
    NotEquals,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Precedes,  // <<
    Follows,   // >>
    QuestionMark,
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;      // names and literal values; the symbol otherwise
    size_t offset = 0;     // position in the expression text, in bytes
    bool spaceBefore = false;  // white space or a comment came right before the token
};

// Splits the expression into tokens, ending with an End token. XPST0003 for a
// character that starts no token, an unterminated literal or comment.
std::vector<Token> tokenize(std::string_view expression);

std::string_view tokenKindName(TokenKind kind);

}  // namespace quillmark::xpath
