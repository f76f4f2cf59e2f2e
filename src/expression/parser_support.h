#pragma once
// Small helpers shared by the expression parser and the path parser: token tests in
// the manner of check/testnext, the fallback node, predicate lists and filter chains,
// and the nesting limit that keeps hostile input from exhausting the stack.

#include <cstdint>
#include <optional>
#include <string>

#include "quillmark/ast.h"
#include "quillmark/evaluator.h"

namespace quillmark::parsing {

// True when the token under the cursor has this type; consumes nothing.
inline bool check(const QMXPath2Evaluator& parser, int64_t type) { return parser.peek().type == type; }

// The type of the token `offset` places after the cursor (the end token past the end).
int64_t peekType(QMXPath2Evaluator& parser, int64_t offset);

// A token's text as it goes into names and path text; the end token has none.
inline std::string tokenText(const QMXPToken& token) { return token.value.value_or(""); }

// The empty-sequence literal: what a construct that cannot be completed becomes.
QMXPExprNodePtr emptySequenceLiteral();
QMXPExprNodePtr makeLiteral(Value value);
QMXPExprNodePtr makePath(std::string path);

// predicates := ('[' orExpr ']'?)*  -- a missing ']' is skipped. Past the nesting
// limit the rest of the expression is skipped and the predicates so far are kept.
QMXPExprNodeList parsePredicates(QMXPath2Evaluator& parser);
// predicates := ('[' orExpr ']')*  -- nullopt when a ']' is missing.
std::optional<QMXPExprNodeList> parseClosedPredicates(QMXPath2Evaluator& parser);

// Builds base[p1][p2]...: the first link filters the nodes of `basePath` (or the value
// of `previous` when given), each further link filters the link before. Returns the
// last link, which is the root of the chain. An empty list (left by a parse that gave
// up) yields one link without a predicate.
std::unique_ptr<QMXPFilteredPathNode> chainFilters(std::string basePath, QMXPExprNodePtr previous,
                                                   QMXPExprNodeList predicates);

// nextStep := ('/' (IDENT | '@') pathOrFunction)?  -- a '/' before anything else is
// consumed and dropped.
void parseNextStep(QMXPath2Evaluator& parser, QMXPFilteredPathNode& last);

// arguments := '(' (orExpr ','?)* ')'  -- unparsable arguments are skipped; ends at
// ')' or the end of the expression.
QMXPExprNodeList parseLooseArguments(QMXPath2Evaluator& parser);

// Nesting is limited so that hostile input cannot exhaust the stack, here or in the
// recursive dump, evaluation and destruction of the tree. Two counts per parse:
//  - depth: the parse functions that can recurse each hold one unit while they run;
//  - links: every operator of a chain (`a or b or c`) and every predicate of a filter
//    chain (`x[1][2]`) nests the tree one level deeper without recursing here; they
//    are counted over the whole parse.
// Real rule sets stay below a few dozen of either; past a limit the parse gives up
// (see abandonTooDeep).
inline constexpr int kMaxParseDepth = 256;
inline constexpr int kMaxChainLinks = 512;

class ParseDepthGuard {
public:
    // Holds one unit of depth. A guard taken while nothing is open starts a new parse,
    // with a fresh link count.
    ParseDepthGuard();
    ~ParseDepthGuard();
    ParseDepthGuard(const ParseDepthGuard&) = delete;
    ParseDepthGuard& operator=(const ParseDepthGuard&) = delete;

    static void countLink();
    static bool exceeded();
};

// Evaluation while parsing may parse other expressions (the bodies of rule-set
// functions). Their links count afresh, and the enclosing parse's count comes back
// when this scope ends; their depth adds to the enclosing parse's, so recursion
// through such functions stays within the limit as well.
class NestedParseScope {
public:
    NestedParseScope();
    ~NestedParseScope();
    NestedParseScope(const NestedParseScope&) = delete;
    NestedParseScope& operator=(const NestedParseScope&) = delete;

private:
    int savedLinks_;
};

// Too deeply nested: the rest of the expression is skipped and the construct becomes
// the empty-sequence literal, so every enclosing level finishes at once.
QMXPExprNodePtr abandonTooDeep(QMXPath2Evaluator& parser);

}  // namespace quillmark::parsing
