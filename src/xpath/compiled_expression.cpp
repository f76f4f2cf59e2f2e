#include "xpath/compiled_expression.h"

#include <vector>

#include "xpath/parser.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {

CompiledExpression::CompiledExpression(std::string_view text, const StaticContext& context) : text_(text) {
    LocalScope scope;
    root_ = parseExpression(text, context, scope);
    frameSize_ = scope.frameSize();
}

CompiledExpression::~CompiledExpression() = default;
CompiledExpression::CompiledExpression(CompiledExpression&&) noexcept = default;
CompiledExpression& CompiledExpression::operator=(CompiledExpression&&) noexcept = default;

Sequence CompiledExpression::evaluate(DynamicContext& context) const {
    FrameScope frame(context, frameSize_);
    return root_->evaluate(context);
}

bool CompiledExpression::effectiveBooleanValue(DynamicContext& context) const {
    FrameScope frame(context, frameSize_);
    return root_->effectiveBooleanValue(context);
}

}  // namespace quillmark::xpath
