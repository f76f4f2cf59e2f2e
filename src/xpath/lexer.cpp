#include "xpath/lexer.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "xpath/error.h"

namespace quillmark::xpath {
namespace {

// Reads the code point at `offset` (U+FFFD for broken UTF-8) and its length in bytes.
UChar32 codePointAt(std::string_view text, size_t offset, size_t* length) {
    int32_t index = static_cast<int32_t>(offset);
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), index, static_cast<int32_t>(text.size()), c);
    *length = static_cast<size_t>(index) - offset;
    return c < 0 ? 0xFFFD : c;
}

// XML 1.0 (fifth edition) name characters, without the colon.
bool isNameStartChar(UChar32 c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || (c >= 0xC0 && c <= 0xD6) ||
           (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) || (c >= 0x370 && c <= 0x37D) ||
           (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool isNameChar(UChar32 c) {
    return isNameStartChar(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

class Lexer {
public:
    explicit Lexer(std::string_view text) : text_(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        for (;;) {
            const bool spaced = skipSpaceAndComments();
            Token token = next();
            token.spaceBefore = spaced;
            const bool end = token.kind == TokenKind::End;
            tokens.push_back(std::move(token));
            if (end) return tokens;
        }
    }

private:
    char peek(size_t ahead = 0) const { return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0'; }

    [[noreturn]] void fail(const std::string& what, size_t at) const {
        throw XPathError(ErrorCode::XPST0003, what + " at offset " + std::to_string(at));
    }

    bool skipSpaceAndComments() {
        const size_t start = pos_;
        for (;;) {
            while (pos_ < text_.size() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r')) ++pos_;
            if (peek() == '(' && peek(1) == ':') {
                skipComment();
                continue;
            }
            return pos_ != start;
        }
    }

    // Comment ::= "(:" (CommentContents | Comment)* ":)"
    void skipComment() {
        const size_t start = pos_;
        int depth = 0;
        while (pos_ < text_.size()) {
            if (peek() == '(' && peek(1) == ':') {
                ++depth;
                pos_ += 2;
            } else if (peek() == ':' && peek(1) == ')') {
                pos_ += 2;
                if (--depth == 0) return;
            } else {
                ++pos_;
            }
        }
        fail("unterminated comment", start);
    }

    Token make(TokenKind kind, size_t start, std::string text) const { return Token{kind, std::move(text), start, false}; }

    Token symbol(TokenKind kind, size_t length) {
        const size_t start = pos_;
        pos_ += length;
        return make(kind, start, std::string(text_.substr(start, length)));
    }

    Token next() {
        if (pos_ >= text_.size()) return make(TokenKind::End, pos_, "");
        const char c = peek();
        if (isDigit(c) || (c == '.' && isDigit(peek(1)))) return number();
        if (c == '"' || c == '\'') return stringLiteral(c);
        if (Token token; punctuation(token)) return token;
        return nameOrWildcard();
    }

    bool punctuation(Token& token) {
        const char c = peek();
        const char d = peek(1);
        switch (c) {
        case '$': token = symbol(TokenKind::Dollar, 1); return true;
        case '(': token = symbol(TokenKind::LeftParen, 1); return true;
        case ')': token = symbol(TokenKind::RightParen, 1); return true;
        case '[': token = symbol(TokenKind::LeftBracket, 1); return true;
        case ']': token = symbol(TokenKind::RightBracket, 1); return true;
        case ',': token = symbol(TokenKind::Comma, 1); return true;
        case '@': token = symbol(TokenKind::At, 1); return true;
        case '+': token = symbol(TokenKind::Plus, 1); return true;
        case '-': token = symbol(TokenKind::Minus, 1); return true;
        case '|': token = symbol(TokenKind::Pipe, 1); return true;
        case '=': token = symbol(TokenKind::Equals, 1); return true;
        case '?': token = symbol(TokenKind::QuestionMark, 1); return true;
        case '.': token = d == '.' ? symbol(TokenKind::DotDot, 2) : symbol(TokenKind::Dot, 1); return true;
        case '/': token = d == '/' ? symbol(TokenKind::DoubleSlash, 2) : symbol(TokenKind::Slash, 1); return true;
        case '!':
            if (d != '=') fail("unexpected '!'", pos_);
            token = symbol(TokenKind::NotEquals, 2);
            return true;
        case '<':
            token = d == '=' ? symbol(TokenKind::LessOrEqual, 2)
                  : d == '<' ? symbol(TokenKind::Precedes, 2)
                             : symbol(TokenKind::Less, 1);
            return true;
        case '>':
            token = d == '=' ? symbol(TokenKind::GreaterOrEqual, 2)
                  : d == '>' ? symbol(TokenKind::Follows, 2)
                             : symbol(TokenKind::Greater, 1);
            return true;
        case ':':
            if (d != ':') fail("unexpected ':'", pos_);
            token = symbol(TokenKind::DoubleColon, 2);
            return true;
        case '*':
            if (d == ':' && peek(2) != ':') return false;  // *:local
            token = symbol(TokenKind::Star, 1);
            return true;
        default:
            return false;
        }
    }

    // IntegerLiteral ::= Digits
    // DecimalLiteral ::= ("." Digits) | (Digits "." [0-9]*)
    // DoubleLiteral  ::= (("." Digits) | (Digits ("." [0-9]*)?)) [eE] [+-]? Digits
    Token number() {
        const size_t start = pos_;
        TokenKind kind = TokenKind::IntegerLiteral;
        while (isDigit(peek())) ++pos_;
        if (peek() == '.' && peek(1) != '.') {
            kind = TokenKind::DecimalLiteral;
            ++pos_;
            while (isDigit(peek())) ++pos_;
        }
        if (peek() == 'e' || peek() == 'E') {
            size_t exponent = pos_ + 1;
            if (exponent < text_.size() && (text_[exponent] == '+' || text_[exponent] == '-')) ++exponent;
            if (exponent >= text_.size() || !isDigit(text_[exponent])) fail("malformed number", start);
            pos_ = exponent;
            while (isDigit(peek())) ++pos_;
            kind = TokenKind::DoubleLiteral;
        }
        size_t length = 0;
        if (pos_ < text_.size() && isNameStartChar(codePointAt(text_, pos_, &length))) {
            fail("a number must not be followed directly by a name", start);
        }
        return make(kind, start, std::string(text_.substr(start, pos_ - start)));
    }

    // StringLiteral ::= ('"' (EscapeQuot | [^"])* '"') | ("'" (EscapeApos | [^'])* "'")
    Token stringLiteral(char quote) {
        const size_t start = pos_++;
        std::string value;
        for (;;) {
            if (pos_ >= text_.size()) fail("unterminated string literal", start);
            const char c = text_[pos_++];
            if (c != quote) {
                value += c;
                continue;
            }
            if (peek() != quote) break;
            value += quote;
            ++pos_;
        }
        return make(TokenKind::StringLiteral, start, std::move(value));
    }

    size_t scanNCName(size_t from) const {
        size_t length = 0;
        if (from >= text_.size() || !isNameStartChar(codePointAt(text_, from, &length))) return from;
        size_t end = from + length;
        while (end < text_.size() && isNameChar(codePointAt(text_, end, &length))) end += length;
        return end;
    }

    // QName ::= (NCName ":")? NCName ; Wildcard ::= "*" | NCName ":" "*" | "*" ":" NCName
    Token nameOrWildcard() {
        const size_t start = pos_;
        if (peek() == '*') {  // *:local
            const size_t end = scanNCName(pos_ + 2);
            if (end == pos_ + 2) fail("expected a local name after '*:'", start);
            pos_ = end;
            return make(TokenKind::LocalWildcard, start, std::string(text_.substr(start + 2, end - start - 2)));
        }
        const size_t end = scanNCName(pos_);
        if (end == pos_) {
            size_t length = 0;
            codePointAt(text_, pos_, &length);
            fail("unexpected character '" + std::string(text_.substr(pos_, length)) + "'", start);
        }
        pos_ = end;
        if (peek() == ':' && peek(1) == '*') {
            pos_ += 2;
            return make(TokenKind::PrefixWildcard, start, std::string(text_.substr(start, end - start)));
        }
        if (peek() == ':' && peek(1) != ':') {
            const size_t localEnd = scanNCName(pos_ + 1);
            if (localEnd > pos_ + 1) pos_ = localEnd;
        }
        return make(TokenKind::Name, start, std::string(text_.substr(start, pos_ - start)));
    }

    std::string_view text_;
    size_t pos_ = 0;
};

}  // namespace

std::vector<Token> tokenize(std::string_view expression) { return Lexer(expression).run(); }

std::string_view tokenKindName(TokenKind kind) {
    switch (kind) {
    case TokenKind::End: return "end of expression";
    case TokenKind::Name: return "name";
    case TokenKind::PrefixWildcard: return "prefix:*";
    case TokenKind::LocalWildcard: return "*:name";
    case TokenKind::Star: return "'*'";
    case TokenKind::IntegerLiteral: return "integer";
    case TokenKind::DecimalLiteral: return "decimal";
    case TokenKind::DoubleLiteral: return "double";
    case TokenKind::StringLiteral: return "string literal";
    case TokenKind::Dollar: return "'$'";
    case TokenKind::LeftParen: return "'('";
    case TokenKind::RightParen: return "')'";
    case TokenKind::LeftBracket: return "'['";
    case TokenKind::RightBracket: return "']'";
    case TokenKind::Comma: return "','";
    case TokenKind::Dot: return "'.'";
    case TokenKind::DotDot: return "'..'";
    case TokenKind::Slash: return "'/'";
    case TokenKind::DoubleSlash: return "'//'";
    case TokenKind::At: return "'@'";
    case TokenKind::DoubleColon: return "'::'";
    case TokenKind::Plus: return "'+'";
    case TokenKind::Minus: return "'-'";
    case TokenKind::Pipe: return "'|'";
    case TokenKind::Equals: return "'='";
    case TokenKind::NotEquals: return "'!='";
    case TokenKind::Less: return "'<'";
    case TokenKind::LessOrEqual: return "'<='";
    case TokenKind::Greater: return "'>'";
    case TokenKind::GreaterOrEqual: return "'>='";
    case TokenKind::Precedes: return "'<<'";
    case TokenKind::Follows: return "'>>'";
    case TokenKind::QuestionMark: return "'?'";
    }
    return "token";
}

}  // namespace quillmark::xpath
