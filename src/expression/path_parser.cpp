// The path parser. Whatever the XPath 1.0 engine can run is collected as text into a
// path node (token texts joined with nothing between them); only what XPath 1.0
// cannot express, or what refers to variables, becomes tree nodes: filter chains for
// predicates that use variables, function steps, explicit axes. Two forms of absolute
// path are evaluated while parsing, against the context node the evaluator holds:
// group steps `/(a|b)...` and a function step at the end of an absolute path.

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

// nameStep := (IDENT | '*') (':' token)?
std::optional<std::string> takeNameStep(QMXPath2Evaluator& parser) {
    if (!check(parser, QMXPTokenIdent) && !check(parser, QMXPTokenStar)) return std::nullopt;
    std::string name = tokenText(parser.consume());
    if (parser.match(QMXPTokenColon)) name += ":" + tokenText(parser.consume());
    return name;
}

// Token text as it goes into copied path text: string literals re-quoted with single
// quotes (a literal holding a ' therefore yields broken path text, as accepted).
std::string copiedText(const QMXPToken& token) {
    if (token.type == QMXPTokenString) return "'" + tokenText(token) + "'";
    return tokenText(token);
}

// Looks from the '[' under the cursor to its matching ']' for a '$'. Consumes nothing.
bool firstPredicateUsesVariable(QMXPath2Evaluator& parser) {
    int64_t start = parser.currentIndex();
    parser.consume();
    int depth = 1;
    bool found = false;
    while (depth > 0 && !check(parser, QMXPTokenEOF)) {
        int64_t type = parser.consume().type;
        if (type == QMXPTokenLBracket) ++depth;
        if (type == QMXPTokenRBracket) --depth;
        if (type == QMXPTokenDollar) found = true;
    }
    parser.setCurrentIndex(start);
    return found;
}

// Appends "[...]" for every predicate that follows, token by token.
void copyPredicates(QMXPath2Evaluator& parser, std::string& text) {
    while (parser.match(QMXPTokenLBracket)) {
        text += "[";
        int depth = 1;
        while (!check(parser, QMXPTokenEOF)) {
            QMXPToken token = parser.consume();
            if (token.type == QMXPTokenLBracket) ++depth;
            if (token.type == QMXPTokenRBracket && --depth == 0) break;
            text += copiedText(token);
        }
        text += "]";
    }
}

// Predicates after a name step stay path text unless the first of them refers to a
// variable, which XPath 1.0 text cannot carry; then they become a filter chain on
// the text so far, returned as the whole path. Returns null when they were copied.
QMXPExprNodePtr applyDollarRule(QMXPath2Evaluator& parser, std::string& text, bool withNextStep) {
    if (!firstPredicateUsesVariable(parser)) {
        copyPredicates(parser, text);
        return nullptr;
    }
    auto chain = parsing::chainFilters(text, nullptr, parsing::parsePredicates(parser));
    if (withNextStep) parsing::parseNextStep(parser, *chain);
    return chain;
}

// The tokens from '(' to its matching ')', as path text.
std::string copyGroup(QMXPath2Evaluator& parser) {
    std::string text;
    int depth = 0;
    while (!check(parser, QMXPTokenEOF)) {
        QMXPToken token = parser.consume();
        if (token.type == QMXPTokenLParen) {
            ++depth;
            text += "(";
        } else if (token.type == QMXPTokenRParen) {
            if (depth == 1) break;
            --depth;
            text += ")";
        } else {
            text += copiedText(token);
        }
    }
    return text + ")";
}

// A name step applied at parse time to every node of `items`.
Sequence selectFromEach(QMXPath2Evaluator& parser, const Sequence& items, const std::string& step) {
    Sequence selected;
    for (const Value& item : items) {
        if (!item.isNode()) continue;
        Value value = parser.withContextNode(item.asNode(), [&] { return parser.evaluatePath(step); });
        QMXPath2Evaluator::flattenIntoArray(selected, value);
    }
    return selected;
}

// A function step applied at parse time to every node of `items`, one result item per
// node. The call is the same for every node, so it is parsed once; the cursor ends
// after it.
Sequence callOnEach(QMXPath2Evaluator& parser, const Sequence& items, const std::string& name) {
    auto call = parser.parseFunction(name);
    parsing::NestedParseScope nested;
    Sequence results;
    for (const Value& item : items) {
        if (!item.isNode()) continue;
        Value value = parser.withContextNode(item.asNode(), [&] { return call->evaluateWithContext(parser); });
        if (!value.isAbsent()) results.push_back(std::move(value));
    }
    return results;
}

// group := '(' tokens ')' ('[' orExpr ']'?)* ('/' nameStep arguments?)*
// `/(cac:A|cac:B)/cbc:ID` and the like, evaluated at once; the value is the tree.
QMXPExprNodePtr parseGroupStep(QMXPath2Evaluator& parser, std::string text) {
    text += copyGroup(parser);
    parser.noteParseEvaluatedContext();
    Sequence items = QMXPath2Evaluator::normalizeToArray(parser.evaluateAbsolutePath(text));
    while (parser.match(QMXPTokenLBracket)) {
        auto predicate = parser.parseOrNode();
        parser.match(QMXPTokenRBracket);
        parsing::NestedParseScope nested;
        items = parser.filterNodes(items, predicate.get());
    }
    while (parser.match(QMXPTokenSlash)) {
        auto step = takeNameStep(parser);
        if (!step) continue;
        items = check(parser, QMXPTokenLParen) ? callOnEach(parser, items, *step) : selectFromEach(parser, items, *step);
    }
    return makeLiteral(Value::sequence(std::move(items)));
}

// absoluteFunction := name arguments ('[' orExpr ']'?)*
// A function step ending an absolute path, applied at once to each node the path
// selects. The call is parsed afresh for each node from wherever the cursor stands:
// the first node consumes its tokens, and later nodes parse from the position after
// them (at the end of an expression, the same function without arguments); this is
// deliberate and kept. When no node is selected the call is parsed once, so that its
// tokens do not leak into the enclosing expression.
QMXPExprNodePtr parseAbsoluteFunctionStep(QMXPath2Evaluator& parser, const std::string& path,
                                          const std::string& name) {
    parser.noteParseEvaluatedContext();
    Sequence nodes = QMXPath2Evaluator::normalizeToArray(parser.evaluateAbsolutePath(path));
    Sequence collected;
    bool parsed = false;
    for (const Value& item : nodes) {
        if (!item.isNode()) continue;
        Value value = parser.withContextNode(item.asNode(), [&] {
            auto call = parser.parseFunction(name);
            parsing::NestedParseScope nested;
            return call->evaluateWithContext(parser);
        });
        parsed = true;
        QMXPath2Evaluator::flattenIntoArray(collected, value);
    }
    if (!parsed) parser.parseFunction(name);
    auto literal = makeLiteral(Value::sequence(std::move(collected)));
    if (!check(parser, QMXPTokenLBracket)) return literal;
    return parsing::chainFilters("", std::move(literal), parsing::parsePredicates(parser));
}

// axisStep := token (':' token)? ('[' orExpr ']')*   -- after `axis::`
QMXPExprNodePtr parseAxisStep(QMXPath2Evaluator& parser, std::string axis) {
    if (axis != "self" && axis != "parent" && axis != "ancestor") return emptySequenceLiteral();
    auto node = std::make_unique<QMXPAxisNode>();
    node->axis = std::move(axis);
    node->elementName = tokenText(parser.consume());
    if (parser.match(QMXPTokenColon)) node->elementName += ":" + tokenText(parser.consume());
    auto predicates = parsing::parseClosedPredicates(parser);
    if (!predicates) return emptySequenceLiteral();
    node->predicates = std::move(*predicates);
    return node;
}

// callStep := arguments ('[' orExpr ']')*
QMXPExprNodePtr parseCallWithPredicates(QMXPath2Evaluator& parser, const std::string& name) {
    auto call = parser.parseFunction(name);
    if (!check(parser, QMXPTokenLBracket)) return call;
    auto predicates = parsing::parseClosedPredicates(parser);
    if (!predicates) return emptySequenceLiteral();
    return parsing::chainFilters("", std::move(call), std::move(*predicates));
}

// firstStepPredicates := ('[' orExpr ']')+ nextStep
// `cac:InvoiceLine[1]/cbc:Note`: the filter chain takes the rest as its next step.
QMXPExprNodePtr parseFirstStepPredicates(QMXPath2Evaluator& parser, std::string name) {
    auto predicates = parsing::parseClosedPredicates(parser);
    if (!predicates) return emptySequenceLiteral();
    auto chain = parsing::chainFilters(std::move(name), nullptr, std::move(*predicates));
    parsing::parseNextStep(parser, *chain);
    return chain;
}

// relativeSteps := ('/' ('@' token | nameStep predicates?)?)* ('/' nameStep arguments)?
// Either a path text, a path with a function as its last step (evaluated later for
// each node the text selects), or a filter chain where predicates use variables;
// such a chain ends the path, and any step after it is left to the enclosing parse.
QMXPExprNodePtr parseRelativeSteps(QMXPath2Evaluator& parser, std::string text) {
    while (parser.match(QMXPTokenSlash)) {
        if (parser.match(QMXPTokenAt)) {
            text += "/@" + tokenText(parser.consume());
            continue;
        }
        auto step = takeNameStep(parser);
        if (!step) {
            text += "/";
            continue;
        }
        if (check(parser, QMXPTokenLParen)) {
            auto node = std::make_unique<QMXPPathWithFunctionNode>();
            node->basePath = std::move(text);
            node->functionName = std::move(*step);
            node->functionArgs = parsing::parseLooseArguments(parser);
            return node;
        }
        text += "/" + *step;
        if (!check(parser, QMXPTokenLBracket)) continue;
        if (auto chain = applyDollarRule(parser, text, false)) return chain;
    }
    return makePath(std::move(text));
}

}  // namespace

// absolutePath := ('/' | '//') (group | nameStep firstStepPredicates
//               | nameStep ('/' ('@' token | nameStep (absoluteFunction | predicates?))?)*)?
QMXPExprNodePtr QMXPath2Evaluator::parseAbsolutePath() {
    std::string text = consume().type == QMXPTokenDoubleSlash ? "//" : "/";
    if (check(*this, QMXPTokenLParen)) return parseGroupStep(*this, std::move(text));
    auto first = takeNameStep(*this);
    if (!first) return makePath(std::move(text));  // `/@id` stops at "/"
    text += *first;
    if (check(*this, QMXPTokenLBracket)) {
        auto chain = parsing::chainFilters(std::move(text), nullptr, parsing::parsePredicates(*this));
        parsing::parseNextStep(*this, *chain);
        return chain;
    }
    while (match(QMXPTokenSlash)) {
        if (match(QMXPTokenAt)) {
            text += "/@" + tokenText(consume());
            continue;
        }
        auto step = takeNameStep(*this);
        if (!step) continue;  // `.`, `..`, `//`, `(` add nothing
        if (check(*this, QMXPTokenLParen)) return parseAbsoluteFunctionStep(*this, text, *step);
        text += "/" + *step;
        if (!check(*this, QMXPTokenLBracket)) continue;
        if (auto chain = applyDollarRule(*this, text, true)) return chain;
    }
    return makePath(std::move(text));
}

// pathOrFunction := name ('::' axisStep | (':' token)? (callStep | firstStepPredicates | relativeSteps))
QMXPExprNodePtr QMXPath2Evaluator::parsePathOrFunction() {
    parsing::ParseDepthGuard depth;
    if (depth.exceeded()) return parsing::abandonTooDeep(*this);
    std::string text = tokenText(consume());
    if (check(*this, QMXPTokenColon) && parsing::peekType(*this, 1) == QMXPTokenColon) {
        consume();
        consume();
        return parseAxisStep(*this, std::move(text));
    }
    if (match(QMXPTokenColon)) text += ":" + tokenText(consume());
    if (check(*this, QMXPTokenLParen)) return parseCallWithPredicates(*this, text);
    if (check(*this, QMXPTokenLBracket)) return parseFirstStepPredicates(*this, std::move(text));
    return parseRelativeSteps(*this, std::move(text));
}

}  // namespace quillmark
