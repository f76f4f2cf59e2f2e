// The expression parser: hand-written recursive descent over the evaluator's token
// list. It never reports a syntax error. A missing required token is simply not
// consumed, a construct that cannot be completed becomes the empty-sequence literal,
// and a primary that cannot start yields no node, which propagates upward.
//
// Binding, loosest first: union, keyword constructs, or, and, comparisons, additive,
// multiplicative, primaries. Union is looser than `or`, comparisons chain, and a minus
// before a digit belongs to the number token; rule sets are written against exactly
// this grammar.

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "parser_support.h"
#include "quillmark/evaluator.h"

namespace quillmark {

using parsing::check;
using parsing::emptySequenceLiteral;
using parsing::makeLiteral;
using parsing::makePath;
using parsing::tokenText;

namespace {

using ParseLevel = QMXPExprNodePtr (QMXPath2Evaluator::*)();

QMXPExprNodePtr makeBinary(QMXPExprNodePtr left, int64_t op, QMXPExprNodePtr right) {
    auto node = std::make_unique<QMXPBinaryOpNode>();
    node->left = std::move(left);
    node->op = op;
    node->right = std::move(right);
    return node;
}

// level := operand (operator operand)*   -- left-associative; a missing operand stays
// a null child.
QMXPExprNodePtr parseBinaryLevel(QMXPath2Evaluator& parser, std::initializer_list<int64_t> operators,
                                 ParseLevel operand) {
    auto left = (parser.*operand)();
    std::optional<parsing::ParseDepthGuard> chain;  // keeps this parse open while the chain grows
    for (;;) {
        int64_t op = parser.peek().type;
        if (std::find(operators.begin(), operators.end(), op) == operators.end()) return left;
        parser.consume();
        if (!chain) chain.emplace();
        parsing::ParseDepthGuard::countLink();
        if (parsing::ParseDepthGuard::exceeded()) return parsing::abandonTooDeep(parser);
        left = makeBinary(std::move(left), op, (parser.*operand)());
    }
}

struct Binding {
    std::string variableName;
    QMXPExprNodePtr range;
};

// binding := '$' IDENT 'in' exprSingle
std::optional<Binding> parseBinding(QMXPath2Evaluator& parser) {
    if (!parser.match(QMXPTokenDollar)) return std::nullopt;
    if (!check(parser, QMXPTokenIdent)) return std::nullopt;
    std::string name = tokenText(parser.consume());
    if (!parser.match(QMXPTokenIn)) return std::nullopt;
    return Binding{std::move(name), parser.parseExprSingle()};
}

// quantified := ('some' | 'every') binding 'satisfies' exprSingle
QMXPExprNodePtr parseQuantified(QMXPath2Evaluator& parser) {
    int64_t quantifier = parser.consume().type;
    auto binding = parseBinding(parser);
    if (!binding || !parser.match(QMXPTokenSatisfies)) return emptySequenceLiteral();
    auto node = std::make_unique<QMXPQuantifiedExprNode>();
    node->quantifier = quantifier;
    node->variableName = std::move(binding->variableName);
    node->inExpr = std::move(binding->range);
    node->satisfiesExpr = parser.parseExprSingle();
    return node;
}

// for := 'for' binding 'return' exprSingle
QMXPExprNodePtr parseFor(QMXPath2Evaluator& parser) {
    parser.consume();
    auto binding = parseBinding(parser);
    if (!binding || !parser.match(QMXPTokenReturn)) return emptySequenceLiteral();
    auto node = std::make_unique<QMXPForExprNode>();
    node->variableName = std::move(binding->variableName);
    node->inExpr = std::move(binding->range);
    node->returnExpr = parser.parseExprSingle();
    return node;
}

// if := 'if' '('? exprSingle ')'? 'then'? exprSingle 'else'? exprSingle
QMXPExprNodePtr parseIf(QMXPath2Evaluator& parser) {
    parser.consume();
    auto node = std::make_unique<QMXPIfThenElseNode>();
    parser.match(QMXPTokenLParen);
    node->condition = parser.parseExprSingle();
    parser.match(QMXPTokenRParen);
    parser.match(QMXPTokenThen);
    node->thenExpr = parser.parseExprSingle();
    parser.match(QMXPTokenElse);
    node->elseExpr = parser.parseExprSingle();
    return node;
}

// stepAfterValue := ('/' ('@' token | pathOrFunction)?)?
// A step applied to every node of a value: `$line/@id`, `$line/cbc:ID`, `(...)/@id`.
QMXPExprNodePtr parseStepAfterValue(QMXPath2Evaluator& parser, QMXPExprNodePtr value) {
    if (!parser.match(QMXPTokenSlash)) return value;
    auto node = std::make_unique<QMXPPathWithFunctionNode>();
    if (parser.match(QMXPTokenAt)) {
        node->basePath = "@" + tokenText(parser.consume());
        node->functionArgs.push_back(std::move(value));
    } else if (check(parser, QMXPTokenIdent)) {
        node->functionArgs.push_back(std::move(value));
        node->functionArgs.push_back(parser.parsePathOrFunction());
    } else {
        return value;  // the '/' is dropped
    }
    return node;
}

// variable := '$' token stepAfterValue
QMXPExprNodePtr parseVariableReference(QMXPath2Evaluator& parser) {
    parser.consume();
    auto variable = std::make_unique<QMXPVariableNode>();
    variable->name = tokenText(parser.consume());
    return parseStepAfterValue(parser, std::move(variable));
}

// parenthesized := '(' ')' | '(' union (',' union)+ ')'?
//                | '(' union ')'? ('[' orExpr ']'?)* stepAfterValue
QMXPExprNodePtr parseParenthesized(QMXPath2Evaluator& parser) {
    parser.consume();
    if (parser.match(QMXPTokenRParen)) return emptySequenceLiteral();
    auto first = parser.parseUnionNode();
    if (check(parser, QMXPTokenComma)) {
        auto sequence = std::make_unique<QMXPSequenceNode>();
        sequence->items.push_back(std::move(first));
        while (parser.match(QMXPTokenComma)) sequence->items.push_back(parser.parseUnionNode());
        parser.match(QMXPTokenRParen);
        return sequence;
    }
    parser.match(QMXPTokenRParen);
    if (!first) return first;  // nothing to filter or step from
    QMXPExprNodePtr result = std::move(first);
    if (check(parser, QMXPTokenLBracket)) {
        result = parsing::chainFilters("", std::move(result), parsing::parsePredicates(parser));
    }
    return parseStepAfterValue(parser, std::move(result));
}

// contextPath := '.' ('/' ('@' token | IDENT (':' token)?)?)*
//              | '.' ('[' orExpr ']')+ nextStep
QMXPExprNodePtr parseContextItemPath(QMXPath2Evaluator& parser) {
    parser.consume();
    if (check(parser, QMXPTokenLBracket)) {
        auto predicates = parsing::parseClosedPredicates(parser);
        if (!predicates) return emptySequenceLiteral();
        auto chain = parsing::chainFilters(".", nullptr, std::move(*predicates));
        parsing::parseNextStep(parser, *chain);
        return chain;
    }
    std::string text = ".";
    while (parser.match(QMXPTokenSlash)) {
        text += "/";
        if (parser.match(QMXPTokenAt)) {
            text += "@" + tokenText(parser.consume());
        } else if (check(parser, QMXPTokenIdent)) {
            text += tokenText(parser.consume());
            if (parser.match(QMXPTokenColon)) text += ":" + tokenText(parser.consume());
        }
    }
    return makePath(std::move(text));
}

// parentFunction := prefix ':' local arguments   -- on a path of parent steps
QMXPExprNodePtr parseParentFunctionStep(QMXPath2Evaluator& parser, const std::string& text,
                                        const std::string& name) {
    auto call = parser.parseFunction(name);
    auto* function = dynamic_cast<QMXPFunctionCallNode*>(call.get());
    if (!function) return call;  // an argument could not be parsed
    auto node = std::make_unique<QMXPPathWithFunctionNode>();
    node->basePath = text.substr(0, text.rfind('/'));
    node->functionName = function->name;
    node->functionArgs = std::move(function->arguments);
    return node;
}

// parentPredicates := ('[' orExpr ']'?)+ ('/' IDENT (':' token)? (arguments)?)?
// The step after the predicates becomes the last link's child path or function step.
QMXPExprNodePtr parseParentPathPredicates(QMXPath2Evaluator& parser, std::string text) {
    auto chain = parsing::chainFilters(std::move(text), nullptr, parsing::parsePredicates(parser));
    if (!check(parser, QMXPTokenSlash) || parsing::peekType(parser, 1) != QMXPTokenIdent) return chain;
    parser.consume();
    std::string name = tokenText(parser.consume());
    if (parser.match(QMXPTokenColon)) name += ":" + tokenText(parser.consume());
    if (check(parser, QMXPTokenLParen)) {
        chain->functionName = std::move(name);
        chain->functionArgs = parsing::parseLooseArguments(parser);
    } else {
        chain->childPath = std::move(name);
    }
    return chain;
}

// parentPath := '..' ('/' ('..' | '@' token | IDENT (':' token arguments?)? parentPredicates?)?)*
QMXPExprNodePtr parseParentPath(QMXPath2Evaluator& parser) {
    parser.consume();
    std::string text = "..";
    while (parser.match(QMXPTokenSlash)) {
        text += "/";
        if (parser.match(QMXPTokenDoubleDot)) {
            text += "..";
            continue;
        }
        if (parser.match(QMXPTokenAt)) {
            text += "@" + tokenText(parser.consume());
            continue;
        }
        if (!check(parser, QMXPTokenIdent)) continue;
        std::string name = tokenText(parser.consume());
        text += name;
        if (parser.match(QMXPTokenColon)) {
            std::string local = tokenText(parser.consume());
            name += ":" + local;
            text += ":" + local;
            // Only a prefixed name is taken for a function here (`../u:f(1)`).
            if (check(parser, QMXPTokenLParen)) return parseParentFunctionStep(parser, text, name);
        }
        if (check(parser, QMXPTokenLBracket)) return parseParentPathPredicates(parser, std::move(text));
    }
    return makePath(std::move(text));
}

}  // namespace

// union := exprSingle ('|' exprSingle)*
QMXPExprNodePtr QMXPath2Evaluator::parseUnionNode() {
    return parseBinaryLevel(*this, {QMXPTokenPipe}, &QMXPath2Evaluator::parseExprSingle);
}

// exprSingle := quantified | for | if | orExpr
QMXPExprNodePtr QMXPath2Evaluator::parseExprSingle() {
    parsing::ParseDepthGuard depth;
    if (depth.exceeded()) return parsing::abandonTooDeep(*this);
    if (check(*this, QMXPTokenSome) || check(*this, QMXPTokenEvery)) return parseQuantified(*this);
    if (check(*this, QMXPTokenFor)) return parseFor(*this);
    if (check(*this, QMXPTokenIf)) return parseIf(*this);
    return parseOrNode();
}

// orExpr := andExpr ('or' andExpr)*
QMXPExprNodePtr QMXPath2Evaluator::parseOrNode() {
    return parseBinaryLevel(*this, {QMXPTokenOr}, &QMXPath2Evaluator::parseAndNode);
}

// andExpr := comparison ('and' comparison)*
QMXPExprNodePtr QMXPath2Evaluator::parseAndNode() {
    return parseBinaryLevel(*this, {QMXPTokenAnd}, &QMXPath2Evaluator::parseComparisonNode);
}

// comparison := additive (('<=' | '>=' | '!=' | '<' | '>' | '=') additive)*
QMXPExprNodePtr QMXPath2Evaluator::parseComparisonNode() {
    return parseBinaryLevel(*this,
                            {QMXPTokenLessEqual, QMXPTokenGreaterEqual, QMXPTokenNotEqual, QMXPTokenLess,
                             QMXPTokenGreater, QMXPTokenEqual},
                            &QMXPath2Evaluator::parseAdditiveNode);
}

// additive := multiplicative (('+' | '-') multiplicative)*
QMXPExprNodePtr QMXPath2Evaluator::parseAdditiveNode() {
    return parseBinaryLevel(*this, {QMXPTokenPlus, QMXPTokenMinus}, &QMXPath2Evaluator::parseMultiplicativeNode);
}

// multiplicative := primary (('*' | 'div') primary)*
QMXPExprNodePtr QMXPath2Evaluator::parseMultiplicativeNode() {
    return parseBinaryLevel(*this, {QMXPTokenStar, QMXPTokenDiv}, &QMXPath2Evaluator::parsePrimaryNode);
}

// primary := NUMBER | STRING | variable | parenthesized | contextPath | parentPath
//          | absolutePath | pathOrFunction | '@' token | '*'
QMXPExprNodePtr QMXPath2Evaluator::parsePrimaryNode() {
    parsing::ParseDepthGuard depth;
    if (depth.exceeded()) return parsing::abandonTooDeep(*this);
    switch (static_cast<QMXPTokenType>(peek().type)) {
        case QMXPTokenNumber: return makeLiteral(Value::number(readNumberPrefix(tokenText(consume()))));
        case QMXPTokenString: return makeLiteral(Value::string(tokenText(consume())));
        case QMXPTokenDollar: return parseVariableReference(*this);
        case QMXPTokenLParen: return parseParenthesized(*this);
        case QMXPTokenDot: return parseContextItemPath(*this);
        case QMXPTokenDoubleDot: return parseParentPath(*this);
        case QMXPTokenSlash:
        case QMXPTokenDoubleSlash: return parseAbsolutePath();
        case QMXPTokenIdent: return parsePathOrFunction();
        case QMXPTokenAt:
            consume();
            return makePath("@" + tokenText(consume()));
        case QMXPTokenStar:
            consume();
            return makePath("*");
        // No primary starts with these; nothing is consumed.
        case QMXPTokenRParen:
        case QMXPTokenLBracket:
        case QMXPTokenRBracket:
        case QMXPTokenColon:
        case QMXPTokenComma:
        case QMXPTokenPipe:
        case QMXPTokenLessEqual:
        case QMXPTokenGreaterEqual:
        case QMXPTokenNotEqual:
        case QMXPTokenLess:
        case QMXPTokenGreater:
        case QMXPTokenEqual:
        case QMXPTokenPlus:
        case QMXPTokenMinus:
        case QMXPTokenOr:
        case QMXPTokenAnd:
        case QMXPTokenDiv:
        case QMXPTokenIf:
        case QMXPTokenThen:
        case QMXPTokenElse:
        case QMXPTokenEvery:
        case QMXPTokenSome:
        case QMXPTokenFor:
        case QMXPTokenReturn:
        case QMXPTokenIn:
        case QMXPTokenSatisfies:
        case QMXPTokenEOF: return nullptr;
    }
    return nullptr;  // a type outside the token table
}

// call := '(' (exprSingle ','?)* ')'   -- commas are optional between arguments; an
// argument that cannot start abandons the call.
QMXPExprNodePtr QMXPath2Evaluator::parseFunction(const std::string& name) {
    auto call = std::make_unique<QMXPFunctionCallNode>();
    call->name = name;
    match(QMXPTokenLParen);
    while (!check(*this, QMXPTokenRParen) && !check(*this, QMXPTokenEOF)) {
        auto argument = parseExprSingle();
        if (!argument) return emptySequenceLiteral();
        call->arguments.push_back(std::move(argument));
        match(QMXPTokenComma);
    }
    match(QMXPTokenRParen);
    return call;
}

// Steps over the rest of one expression: up to an `else` that belongs to no open
// `if`, parenthesis or bracket, or to the end of the list.
void QMXPath2Evaluator::skipExpression() {
    int64_t openIfs = 0;
    int64_t openParentheses = 0;
    int64_t openBrackets = 0;
    while (static_cast<uint64_t>(_currentIndex) < _tokens.size()) {
        int64_t type = peek().type;
        if (type == QMXPTokenElse) {
            if (openIfs == 0 && openParentheses == 0 && openBrackets == 0) return;
            openIfs = std::max<int64_t>(openIfs - 1, 0);
        }
        if (type == QMXPTokenIf) ++openIfs;
        if (type == QMXPTokenLParen) ++openParentheses;
        if (type == QMXPTokenRParen) --openParentheses;
        if (type == QMXPTokenLBracket) ++openBrackets;
        if (type == QMXPTokenRBracket) --openBrackets;
        consume();
    }
}

}  // namespace quillmark
