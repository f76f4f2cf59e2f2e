// Turns an expression string into a flat list of tokens. The tokenizer never fails:
// characters it does not know are logged and skipped, and every list ends with one
// EOF token.

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "quillmark/log.h"
#include "quillmark/token.h"
#include "quillmark/value.h"

namespace quillmark {

namespace {

// Compared in this order; every one of them is recognised wherever it stands, so an
// element called "in" or "div" written in a path becomes a keyword token.
constexpr std::array<std::pair<std::string_view, QMXPTokenType>, 12> kKeywords = {{
    {"or", QMXPTokenOr},
    {"and", QMXPTokenAnd},
    {"div", QMXPTokenDiv},
    {"if", QMXPTokenIf},
    {"then", QMXPTokenThen},
    {"else", QMXPTokenElse},
    {"every", QMXPTokenEvery},
    {"some", QMXPTokenSome},
    {"for", QMXPTokenFor},
    {"return", QMXPTokenReturn},
    {"in", QMXPTokenIn},
    {"satisfies", QMXPTokenSatisfies},
}};

constexpr std::array<std::pair<std::string_view, QMXPTokenType>, 5> kTwoCharacterSymbols = {{
    {"//", QMXPTokenDoubleSlash},
    {"..", QMXPTokenDoubleDot},
    {"<=", QMXPTokenLessEqual},
    {">=", QMXPTokenGreaterEqual},
    {"!=", QMXPTokenNotEqual},
}};

std::optional<QMXPTokenType> singleCharacterType(char c) {
    switch (c) {
        case '$': return QMXPTokenDollar;
        case '(': return QMXPTokenLParen;
        case ')': return QMXPTokenRParen;
        case '*': return QMXPTokenStar;
        case '+': return QMXPTokenPlus;
        case ',': return QMXPTokenComma;
        case '-': return QMXPTokenMinus;
        case '.': return QMXPTokenDot;
        case '/': return QMXPTokenSlash;
        case ':': return QMXPTokenColon;
        case '<': return QMXPTokenLess;
        case '=': return QMXPTokenEqual;
        case '>': return QMXPTokenGreater;
        case '@': return QMXPTokenAt;
        case '[': return QMXPTokenLBracket;
        case ']': return QMXPTokenRBracket;
        case '|': return QMXPTokenPipe;
        default: return std::nullopt;
    }
}

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isNameCharacter(char c) { return isAsciiLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-'; }

// Skipped between tokens.
bool isBlank(char c) { return c == ' ' || c == '\t'; }

// White space and line breaks outside the blanks: dropped one character at a time.
bool isSpaceOrNewline(UChar32 c) {
    if (c == ' ' || (c >= '\t' && c <= '\r') || c == 0x85) return true;
    int8_t type = u_charType(c);
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

int64_t keywordOrIdent(std::string_view name) {
    for (const auto& [keyword, type] : kKeywords) {
        if (name == keyword) return type;
    }
    return QMXPTokenIdent;
}

class Tokenizer {
public:
    Tokenizer(std::string_view text, bool* logged) : text_(text), logged_(logged) {}

    std::vector<QMXPToken> run() {
        for (skipBlanks(); at_ < text_.size(); skipBlanks()) {
            if (scanString() || scanNumber() || scanTwoCharacterSymbol() || scanName()) continue;
            scanSingleCharacter();
        }
        tokens_.push_back(QMXPToken{QMXPTokenEOF, std::nullopt});
        return std::move(tokens_);
    }

private:
    void skipBlanks() {
        while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    }

    void emit(int64_t type, std::string value) { tokens_.push_back(QMXPToken{type, std::move(value)}); }

    // A literal in single or double quotes. There is no escape: the next quote of the
    // same kind ends it, and an unterminated literal takes the rest of the text.
    bool scanString() {
        char quote = text_[at_];
        if (quote != '\'' && quote != '"') return false;
        size_t start = at_ + 1;
        size_t end = text_.find(quote, start);
        if (end == std::string_view::npos) end = text_.size();
        emit(QMXPTokenString, std::string(text_.substr(start, end - start)));
        at_ = end < text_.size() ? end + 1 : end;
        return true;
    }

    // A number claims a sign directly before its digits, so "5-3" is the numbers 5
    // and -3. The text is normalised ("1.0" -> "1", ".5" -> "0.5").
    bool scanNumber() {
        double value = 0;
        size_t length = quillmark::scanNumber(text_.substr(at_), &value);
        if (length == 0) return false;
        at_ += length;
        emit(QMXPTokenNumber, formatNumber(value));
        return true;
    }

    bool scanTwoCharacterSymbol() {
        std::string_view rest = text_.substr(at_);
        for (const auto& [symbol, type] : kTwoCharacterSymbols) {
            if (rest.starts_with(symbol)) {
                at_ += symbol.size();
                emit(type, std::string(symbol));
                return true;
            }
        }
        return false;
    }

    // Names start with an ASCII letter and run over letters, digits, "_" and "-".
    // A letter outside ASCII cannot continue a name and is reported as unknown.
    bool scanName() {
        if (!isAsciiLetter(text_[at_])) return false;
        size_t start = at_;
        while (at_ < text_.size() && isNameCharacter(text_[at_])) ++at_;
        std::string_view name = text_.substr(start, at_ - start);
        emit(keywordOrIdent(name), std::string(name));
        return true;
    }

    void scanSingleCharacter() {
        if (auto type = singleCharacterType(text_[at_])) {
            emit(*type, std::string(1, text_[at_]));
            ++at_;
            return;
        }
        size_t start = at_;
        UChar32 c = 0;
        int32_t index = 0;
        std::string_view rest = text_.substr(start, std::min<size_t>(text_.size() - start, 4));
        U8_NEXT(rest.data(), index, static_cast<int32_t>(rest.size()), c);
        at_ += static_cast<size_t>(index);
        if (c < 0) {
            reportUnknown("\xEF\xBF\xBD", 0xFFFD);  // a byte that is not UTF-8
            return;
        }
        if (isSpaceOrNewline(c)) return;
        reportUnknown(text_.substr(start, at_ - start), c);
    }

    void reportUnknown(std::string_view character, UChar32 code) {
        log(fmt::format("Unknown character: {} (0x{:04x})", character, static_cast<uint32_t>(code)));
        if (logged_) *logged_ = true;
    }

    std::string_view text_;
    bool* logged_;
    size_t at_ = 0;
    std::vector<QMXPToken> tokens_;
};

}  // namespace

std::vector<QMXPToken> tokenize(std::string_view expression, bool* logged) {
    return Tokenizer(expression, logged).run();
}

}  // namespace quillmark
