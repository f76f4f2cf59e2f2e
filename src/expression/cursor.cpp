// The parser's cursor over the evaluator's current token list.

#include "quillmark/evaluator.h"

namespace quillmark {

namespace {

// Stands in for the end token when no list has been installed yet.
const QMXPToken kEndToken{QMXPTokenEOF, std::nullopt};

}  // namespace

std::vector<QMXPToken> QMXPath2Evaluator::tokenize(std::string_view expression) const {
    return quillmark::tokenize(expression);
}

// The parser relies on the list ending with the end token (every loop stops there),
// so a list handed in without one gets it appended.
void QMXPath2Evaluator::setTokens(std::vector<QMXPToken> tokens) {
    _tokens = std::move(tokens);
    if (_tokens.empty() || _tokens.back().type != QMXPTokenEOF) _tokens.push_back(kEndToken);
    _currentIndex = 0;
}

// The token under the cursor; past the end (or before the start, the index being
// compared unsigned) the last token of the list, which is the end token.
const QMXPToken& QMXPath2Evaluator::peek() const {
    if (_tokens.empty()) return kEndToken;
    if (static_cast<uint64_t>(_currentIndex) < _tokens.size()) return _tokens[static_cast<size_t>(_currentIndex)];
    return _tokens.back();
}

// Once past the end the cursor stays there and keeps yielding the end token.
QMXPToken QMXPath2Evaluator::consume() {
    QMXPToken token = peek();
    if (static_cast<uint64_t>(_currentIndex) < _tokens.size()) ++_currentIndex;
    return token;
}

bool QMXPath2Evaluator::match(int64_t type) {
    if (peek().type != type) return false;
    consume();
    return true;
}

}  // namespace quillmark
