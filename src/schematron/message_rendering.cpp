// Renders the message of an assert or report against the node it fired on.

#include "quillmark/schematron_validator.h"

namespace quillmark {

namespace {

// Only the first item of a sequence is ever shown; absent shows nothing.
std::string renderValue(const Value& value) {
    if (value.isSequence()) return value.items().empty() ? "" : QMXPath2Evaluator::toString(value.items().front());
    if (value.isAbsent()) return "";
    return QMXPath2Evaluator::toString(value);
}

}  // namespace

std::string QMSchematronValidator::evaluateMessageWithValueOf(xml::Node messageElement, QMXPath2Evaluator& evaluator,
                                                             xml::Node contextNode, Error* error) {
    std::string message;
    for (xml::Node child : messageElement.children()) {
        // Text is kept as written: no white-space normalization.
        if (child.kind() == xml::NodeKind::Text) {
            message += child.stringValue().value_or("");
            continue;
        }
        if (!child.isElement()) continue;
        const std::string localName = child.localName();
        if (localName == "value-of") {
            auto select = child.attribute("select");
            if (!select) continue;
            Value value = evaluator.evaluate(*select, contextNode, error);
            if (error && error->isSet()) {
                error->clear();  // a failed selection renders as nothing
                continue;
            }
            message += renderValue(value);
        } else if (localName == "name") {
            if (contextNode.isElement()) message += contextNode.localName();
        }
        // Any other markup (emphasis and the like) contributes nothing, text included.
    }
    return message;
}

}  // namespace quillmark
