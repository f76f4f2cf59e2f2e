// Helpers shared by the expression parser and the path parser.

#include "parser_support.h"

#include <utility>

namespace quillmark::parsing {

int64_t peekType(QMXPath2Evaluator& parser, int64_t offset) {
    int64_t start = parser.currentIndex();
    for (int64_t i = 0; i < offset; ++i) parser.consume();
    int64_t type = parser.peek().type;
    parser.setCurrentIndex(start);
    return type;
}

QMXPExprNodePtr emptySequenceLiteral() { return makeLiteral(Value::emptySequence()); }

QMXPExprNodePtr makeLiteral(Value value) {
    auto literal = std::make_unique<QMXPLiteralNode>();
    literal->value = std::move(value);
    return literal;
}

QMXPExprNodePtr makePath(std::string path) {
    auto node = std::make_unique<QMXPPathNode>();
    node->path = std::move(path);
    return node;
}

QMXPExprNodeList parsePredicates(QMXPath2Evaluator& parser) {
    QMXPExprNodeList predicates;
    while (parser.match(QMXPTokenLBracket)) {
        ParseDepthGuard::countLink();
        if (ParseDepthGuard::exceeded()) {
            abandonTooDeep(parser);
            break;
        }
        predicates.push_back(parser.parseOrNode());
        parser.match(QMXPTokenRBracket);
    }
    return predicates;
}

std::optional<QMXPExprNodeList> parseClosedPredicates(QMXPath2Evaluator& parser) {
    QMXPExprNodeList predicates;
    while (parser.match(QMXPTokenLBracket)) {
        ParseDepthGuard::countLink();
        if (ParseDepthGuard::exceeded()) {
            abandonTooDeep(parser);
            return std::nullopt;
        }
        predicates.push_back(parser.parseOrNode());
        if (!parser.match(QMXPTokenRBracket)) return std::nullopt;
    }
    return predicates;
}

std::unique_ptr<QMXPFilteredPathNode> chainFilters(std::string basePath, QMXPExprNodePtr previous,
                                                   QMXPExprNodeList predicates) {
    if (predicates.empty()) predicates.push_back(nullptr);  // an abandoned parse found none
    std::unique_ptr<QMXPFilteredPathNode> last;
    for (auto& predicate : predicates) {
        auto link = std::make_unique<QMXPFilteredPathNode>();
        if (last) {
            link->previousFilter = std::move(last);
        } else {
            link->basePath = std::move(basePath);
            link->previousFilter = std::move(previous);
        }
        link->predicate = std::move(predicate);
        last = std::move(link);
    }
    return last;
}

void parseNextStep(QMXPath2Evaluator& parser, QMXPFilteredPathNode& last) {
    if (!parser.match(QMXPTokenSlash)) return;
    if (check(parser, QMXPTokenIdent) || check(parser, QMXPTokenAt)) last.nextStep = parser.parsePathOrFunction();
}

QMXPExprNodeList parseLooseArguments(QMXPath2Evaluator& parser) {
    QMXPExprNodeList arguments;
    parser.match(QMXPTokenLParen);
    while (!check(parser, QMXPTokenRParen) && !check(parser, QMXPTokenEOF)) {
        int64_t before = parser.currentIndex();
        if (auto argument = parser.parseOrNode()) arguments.push_back(std::move(argument));
        parser.match(QMXPTokenComma);
        // A token that starts no argument and is no comma would stall the loop.
        if (parser.currentIndex() == before) break;
    }
    parser.match(QMXPTokenRParen);
    return arguments;
}

namespace {

struct ParseCounts {
    int depth = 0;
    int links = 0;
};

// Per thread: an evaluator serves one thread, and parses on it nest but never interleave.
ParseCounts& counts() {
    thread_local ParseCounts value;
    return value;
}

}  // namespace

ParseDepthGuard::ParseDepthGuard() {
    if (counts().depth == 0) counts().links = 0;
    ++counts().depth;
}

ParseDepthGuard::~ParseDepthGuard() { --counts().depth; }

void ParseDepthGuard::countLink() { ++counts().links; }

bool ParseDepthGuard::exceeded() { return counts().depth > kMaxParseDepth || counts().links > kMaxChainLinks; }

NestedParseScope::NestedParseScope() : savedLinks_(counts().links) { counts().links = 0; }

NestedParseScope::~NestedParseScope() { counts().links = savedLinks_; }

QMXPExprNodePtr abandonTooDeep(QMXPath2Evaluator& parser) {
    while (!check(parser, QMXPTokenEOF)) parser.consume();
    return emptySequenceLiteral();
}

}  // namespace quillmark::parsing
