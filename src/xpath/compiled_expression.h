#pragma once
// An expression compiled once and evaluated any number of times: the entry point of
// the standard XPath 2.0 engine.
//
//   StaticContext statics;
//   statics.declareNamespace("cbc", "urn:...");
//   CompiledExpression total("sum(//cbc:LineExtensionAmount)", statics);  // may throw XPST...
//   DynamicContext context;
//   context.setContextItem(Item(document->node()));
//   Sequence value = total.evaluate(context);                             // may throw FO..., XP...

#include <memory>
#include <string>
#include <string_view>

#include "xpath/dynamic_context.h"
#include "xpath/item.h"
#include "xpath/static_context.h"

namespace quillmark::xpath {

class Expression;

class CompiledExpression {
public:
    // Compiles `text`; throws XPathError with a static error code when it is not valid.
    CompiledExpression(std::string_view text, const StaticContext& context);
    ~CompiledExpression();
    CompiledExpression(CompiledExpression&&) noexcept;
    CompiledExpression& operator=(CompiledExpression&&) noexcept;

    // Evaluates with the focus and variables of `context`; throws XPathError with a
    // dynamic error code when the evaluation fails.
    Sequence evaluate(DynamicContext& context) const;
    bool effectiveBooleanValue(DynamicContext& context) const;

    const std::string& text() const { return text_; }
    const Expression& root() const { return *root_; }
    // Local variable slots an evaluation of the tree needs (see FrameScope).
    size_t frameSize() const { return frameSize_; }

private:
    std::string text_;
    std::unique_ptr<Expression> root_;
    size_t frameSize_ = 0;
};

}  // namespace quillmark::xpath
