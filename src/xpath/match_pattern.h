#pragma once
// XSLT match patterns, as Schematron rule contexts are: a node matches when it is among
// the nodes the pattern selects from some node of its tree; a leading document-node()
// test matches the document node itself. Paths of child, attribute, descendant and self
// steps, unions, and the parenthesised forms (A | B)[p] and (A | B)/step are matched
// from the node upwards: only the node and its ancestors are looked at. Any other pattern is evaluated over the whole document once and the nodes
// it selects are remembered for the document.

#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xpath/compiled_expression.h"
#include "xpath/dynamic_context.h"
#include "xpath/node_access.h"
#include "xpath/static_context.h"

namespace quillmark::xpath {

class Expression;

// What kind of node (and, for named kinds, which local name) a pattern can match; used
// to find the candidate rules of a node without trying every rule.
struct MatchKey {
    std::optional<NodeKind> kind;          // nullopt: any kind
    std::optional<std::string> localName;  // nullopt: any name
};

class MatchPattern {
public:
    // Compiles the pattern; XPathError with a static error code when it does not.
    MatchPattern(std::string_view text, const StaticContext& context);
    ~MatchPattern();
    MatchPattern(MatchPattern&&) noexcept;
    MatchPattern& operator=(MatchPattern&&) noexcept;

    // True when `node` matches. Dynamic errors while evaluating predicates propagate.
    bool matches(const xmlNode* node, DynamicContext& context) const;
    const std::vector<MatchKey>& keys() const { return keys_; }
    const std::string& text() const { return expression_.text(); }
    // True when the pattern is matched by evaluating it over the whole document.
    bool evaluatedWhole() const { return evaluatedWhole_; }

private:
    bool matchesByEvaluation(const xmlNode* node, DynamicContext& context) const;

    CompiledExpression expression_;
    std::vector<MatchKey> keys_;
    bool evaluatedWhole_ = false;
    bool absolute_ = false;  // selects the same nodes from every node of a tree
};

}  // namespace quillmark::xpath
