#include "xpath/compiled_expression.h"

#include <vector>

#include "xpath/parser.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

// Gives an evaluation the frame of its local variables and restores the caller's.
class FrameScope {
public:
    FrameScope(DynamicContext& context, size_t frameSize)
        : context_(context), saved_(context.locals), frame_(frameSize) {
        context.locals = frame_.data();
    }
    ~FrameScope() { context_.locals = saved_; }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;

private:
    DynamicContext& context_;
    Sequence* saved_;
    std::vector<Sequence> frame_;
};

}  // namespace

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
