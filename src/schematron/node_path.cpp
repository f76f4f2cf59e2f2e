// The location reported for an offending node, and the validator's own truth
// conversion of test results.

#include <libxml/tree.h>

#include <cstring>
#include <deque>

#include "quillmark/evaluator.h"
#include "quillmark/schematron_validator.h"

namespace quillmark {

namespace {

const char* prefixOf(const xmlNode* node) {
    return node->ns && node->ns->prefix ? reinterpret_cast<const char*>(node->ns->prefix) : "";
}

// Same qualified name as written, prefix included: "cbc:ID" and "ID" differ even when
// they stand for the same namespace.
bool sameQualifiedName(const xmlNode* a, const xmlNode* b) {
    return std::strcmp(reinterpret_cast<const char*>(a->name), reinterpret_cast<const char*>(b->name)) == 0 &&
           std::strcmp(prefixOf(a), prefixOf(b)) == 0;
}

int64_t positionAmongNamesakes(const xmlNode* element) {
    int64_t position = 1;
    for (const xmlNode* sibling = element->prev; sibling; sibling = sibling->prev) {
        if (sibling->type == XML_ELEMENT_NODE && sameQualifiedName(sibling, element)) ++position;
    }
    return position;
}

}  // namespace

std::string QMSchematronValidator::getNodePath(xml::Node node) {
    std::deque<std::string> steps;
    for (xml::Node current = node; current && current.isElement(); current = current.parent()) {
        steps.push_front(current.name() + "[" + std::to_string(positionAmongNamesakes(current.raw())) + "]");
    }
    std::string path = "/";
    for (size_t i = 0; i < steps.size(); ++i) {
        if (i > 0) path += "/";
        path += steps[i];
    }
    return path;
}

bool QMSchematronValidator::toBoolean(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::Absent:
        case Value::Kind::Null:
            return false;
        case Value::Kind::Boolean:
        case Value::Kind::Integer:
        case Value::Kind::Double:
            // Numbers are read exactly as the evaluator reads them, NaN included.
            return QMXPath2Evaluator::toBoolean(value);
        case Value::Kind::String: {
            // Unlike the evaluator, the texts "false" and "0" count as false here: rule
            // sets compare against such texts and expect the assert to fire.
            const std::string& text = value.asString();
            return !(text.empty() || text == "false" || text == "0");
        }
        case Value::Kind::Sequence:
            return !value.items().empty();
        case Value::Kind::Node:
            return true;
    }
    return true;
}

}  // namespace quillmark
