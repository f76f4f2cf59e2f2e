#pragma once
// The parser of XPath 2.0: builds the compiled tree from the tokens, resolving
// prefixes, functions and variables against a static context. Errors are static
// errors (XPST0003 syntax, XPST0017 function, XPST0008 variable, XPST0081 prefix,
// XPST0051 type) with the offset in the expression.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "xpath/static_context.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {

// Local variables in scope while compiling one body (an expression, or the body of a
// rule-set function with its parameters and variables); each gets a slot of the
// body's frame.
class LocalScope {
public:
    size_t declare(const ExpandedName& name) {
        names_.emplace_back(name, frameSize_);
        return frameSize_++;
    }
    std::optional<size_t> find(const ExpandedName& name) const {
        for (auto it = names_.rbegin(); it != names_.rend(); ++it) {
            if (it->first == name) return it->second;
        }
        return std::nullopt;
    }
    // Names declared after `mark` go out of scope (slots stay allocated).
    size_t mark() const { return names_.size(); }
    void release(size_t mark) { names_.resize(mark); }
    size_t frameSize() const { return frameSize_; }

private:
    std::vector<std::pair<ExpandedName, size_t>> names_;
    size_t frameSize_ = 0;
};

// Compiles `text` against `context`; local variables go into `scope`.
ExpressionPtr parseExpression(std::string_view text, const StaticContext& context, LocalScope& scope);

// Parses a sequence type such as "xs:integer?" or "element()*" (the `as` attributes of
// rule-set functions).
SequenceType parseSequenceType(std::string_view text, const StaticContext& context);

}  // namespace quillmark::xpath
