// Evaluation of function calls (built-in and defined by a rule set) and of the node
// constructors and conversions that the bodies of rule-set functions use.

#include "xpath/error.h"
#include "xpath/node_access.h"
#include "xpath/sequence_operations.h"
#include "xpath/syntax_tree.h"

namespace quillmark::xpath {
namespace {

// Enters a rule-set function: a frame of its own, no context item, one level deeper.
class CallScope {
public:
    CallScope(DynamicContext& context, Sequence* frame)
        : context_(context), savedLocals_(context.locals), savedFocus_(context.focus) {
        if (++context.callDepth > context.budget().limits().maxCallDepth) {
            --context.callDepth;
            throw XPathError(ErrorCode::QMXP0001, "function calls nested deeper than " +
                                                      std::to_string(context.budget().limits().maxCallDepth) +
                                                      " levels");
        }
        context.locals = frame;
        context.focus = Focus{};
    }
    ~CallScope() {
        --context_.callDepth;
        context_.locals = savedLocals_;
        context_.focus = savedFocus_;
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    DynamicContext& context_;
    Sequence* savedLocals_;
    Focus savedFocus_;
};

}  // namespace

Sequence FunctionCall::evaluate(DynamicContext& context) const {
    context.budget().charge();
    if (function_->booleanForm == BooleanForm::Exists || function_->booleanForm == BooleanForm::Empty) {
        return Sequence{AtomicValue::fromBoolean(effectiveBooleanValue(context))};
    }
    Arguments arguments;
    arguments.reserve(arguments_.size());
    for (size_t index = 0; index < arguments_.size(); ++index) {
        arguments.push_back(convertToType(arguments_[index]->evaluate(context), function_->parameterType(index),
                                          ConversionRole{"", &function_->name, index + 1}));
    }
    if (function_->user) return callUserFunction(context, arguments);
    return function_->builtin(context, arguments);
}

Sequence FunctionCall::callUserFunction(DynamicContext& context, Arguments& arguments) const {
    const UserFunctionBody& body = *function_->user;
    std::vector<Sequence> frame(body.frameSize);
    for (size_t index = 0; index < arguments.size(); ++index) {
        frame[body.parameterSlots[index]] = std::move(arguments[index]);
    }
    Sequence result;
    {
        CallScope scope(context, frame.data());
        result = body.body->evaluate(context);
    }
    return convertToType(std::move(result), function_->result, ConversionRole{"", &function_->name, 0});
}

bool FunctionCall::effectiveBooleanValue(DynamicContext& context) const {
    switch (function_->booleanForm) {
    case BooleanForm::Not: return !arguments_.front()->effectiveBooleanValue(context);
    case BooleanForm::Boolean: return arguments_.front()->effectiveBooleanValue(context);
    case BooleanForm::Exists: return arguments_.front()->isNonEmpty(context);
    case BooleanForm::Empty: return !arguments_.front()->isNonEmpty(context);
    case BooleanForm::None: break;
    }
    return Expression::effectiveBooleanValue(context);
}

bool FunctionCall::yieldsBoolean() const {
    const SequenceType& result = function_->result;
    return !result.emptySequence && result.occurrence == Occurrence::ExactlyOne &&
           result.itemType.kind == ItemTypeKind::Atomic && result.itemType.atomicType == AtomicType::Boolean;
}

bool FunctionCall::usesPosition() const {
    if (function_->focus == FocusUse::PositionOrSize) return true;
    for (const ExpressionPtr& argument : arguments_) {
        if (argument->usesPosition()) return true;
    }
    return false;
}

Sequence TextConstructor::evaluate(DynamicContext& context) const {
    const Sequence value = value_->evaluate(context);
    std::string text;
    bool first = true;
    for (const Item& item : value) {
        if (!first) text += separator_;
        first = false;
        text += stringValueOfItem(item);
    }
    xmlNode* node = xmlNewText(reinterpret_cast<const xmlChar*>(text.c_str()));
    if (!node) throw XPathError(ErrorCode::QMXP0001, "out of memory while making a text node");
    context.adoptNode(node);
    return Sequence{Item(xml::Node(node))};
}

Sequence DocumentConstructor::evaluate(DynamicContext& context) const {
    const Sequence content = content_->evaluate(context);
    std::shared_ptr<xml::Document> document = xml::Document::create();
    xmlDoc* raw = document->raw();
    bool previousAtomic = false;
    for (const Item& item : content) {
        if (item.isNode()) {
            xmlNode* copy = xmlDocCopyNode(item.node().raw(), raw, 1);
            if (copy) xmlAddChild(reinterpret_cast<xmlNode*>(raw), copy);
            previousAtomic = false;
            continue;
        }
        // Adjacent atomic values become one text node, separated by spaces.
        const std::string text = (previousAtomic ? " " : "") + item.atomic().toString();
        xmlAddChild(reinterpret_cast<xmlNode*>(raw), xmlNewDocText(raw, reinterpret_cast<const xmlChar*>(text.c_str())));
        previousAtomic = true;
    }
    Sequence result{Item(document->node())};
    context.adoptDocument(std::move(document));
    return result;
}

Sequence ConversionExpression::evaluate(DynamicContext& context) const {
    return convertToType(operand_->evaluate(context), type_, ConversionRole{role_.c_str()});
}

}  // namespace quillmark::xpath
