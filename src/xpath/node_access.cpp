#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

std::string_view view(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

void appendDescendantText(const xmlNode* node, std::string& into) {
    for (const xmlNode* child = node->children; child; child = child->next) {
        switch (child->type) {
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
            into += view(child->content);
            break;
        case XML_ELEMENT_NODE:
            appendDescendantText(child, into);
            break;
        default:
            break;
        }
    }
}

}  // namespace

const xmlNode* rootOf(const xmlNode* node) {
    while (const xmlNode* parent = treeParent(node)) node = parent;
    return node;
}

std::string qualifiedNameOf(const xmlNode* node) {
    std::string name(localNameOf(node));
    const bool prefixed = (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) && node->ns &&
                          node->ns->prefix;
    return prefixed ? std::string(view(node->ns->prefix)) + ":" + name : name;
}

void appendStringValue(const xmlNode* node, std::string& into) {
    switch (nodeKind(node)) {
    case NodeKind::Element:
    case NodeKind::Document:
    case NodeKind::Attribute:
        appendDescendantText(node, into);
        return;
    case NodeKind::Text:
    case NodeKind::Comment:
    case NodeKind::ProcessingInstruction:
        into += view(node->content);
        return;
    case NodeKind::Other:
        return;
    }
}

std::string stringValueOf(const xmlNode* node) {
    // The common case of a leaf element with one text child needs no walk.
    if (node->type == XML_ELEMENT_NODE && node->children && !node->children->next &&
        node->children->type == XML_TEXT_NODE) {
        return std::string(view(node->children->content));
    }
    std::string value;
    appendStringValue(node, value);
    return value;
}

AtomicValue typedValueOf(const xmlNode* node) {
    switch (nodeKind(node)) {
    case NodeKind::Comment:
    case NodeKind::ProcessingInstruction:
        return AtomicValue::fromString(stringValueOf(node));
    case NodeKind::Element:
    case NodeKind::Document:
    case NodeKind::Attribute:
    case NodeKind::Text:
    case NodeKind::Other:
        return AtomicValue::untypedAtomic(stringValueOf(node));
    }
    return AtomicValue::untypedAtomic(stringValueOf(node));
}

}  // namespace quillmark::xpath
