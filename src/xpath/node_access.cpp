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

NodeKind nodeKind(const xmlNode* node) {
    switch (node->type) {
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
        return NodeKind::Document;
    case XML_ELEMENT_NODE:
        return NodeKind::Element;
    case XML_ATTRIBUTE_NODE:
        return NodeKind::Attribute;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
        return NodeKind::Text;
    case XML_COMMENT_NODE:
        return NodeKind::Comment;
    case XML_PI_NODE:
        return NodeKind::ProcessingInstruction;
    default:
        return NodeKind::Other;
    }
}

bool isTreeChild(const xmlNode* node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        return true;
    default:
        return false;
    }
}

const xmlNode* firstTreeChild(const xmlNode* node) {
    const NodeKind kind = nodeKind(node);
    if (kind != NodeKind::Element && kind != NodeKind::Document) return nullptr;
    const xmlNode* child = node->children;
    while (child && !isTreeChild(child)) child = child->next;
    return child;
}

const xmlNode* nextTreeSibling(const xmlNode* node) {
    if (node->type == XML_ATTRIBUTE_NODE) return nullptr;
    const xmlNode* sibling = node->next;
    while (sibling && !isTreeChild(sibling)) sibling = sibling->next;
    return sibling;
}

const xmlNode* previousTreeSibling(const xmlNode* node) {
    if (node->type == XML_ATTRIBUTE_NODE) return nullptr;
    const xmlNode* sibling = node->prev;
    while (sibling && !isTreeChild(sibling)) sibling = sibling->prev;
    return sibling;
}

const xmlNode* treeParent(const xmlNode* node) {
    if (nodeKind(node) == NodeKind::Document) return nullptr;
    return node->parent;
}

const xmlNode* rootOf(const xmlNode* node) {
    while (const xmlNode* parent = treeParent(node)) node = parent;
    return node;
}

std::string_view namespaceOf(const xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE && node->type != XML_ATTRIBUTE_NODE) return {};
    return node->ns ? view(node->ns->href) : std::string_view();
}

std::string_view localNameOf(const xmlNode* node) {
    switch (nodeKind(node)) {
    case NodeKind::Element:
    case NodeKind::Attribute:
    case NodeKind::ProcessingInstruction:
        return view(node->name);
    case NodeKind::Document:
    case NodeKind::Text:
    case NodeKind::Comment:
    case NodeKind::Other:
        return {};
    }
    return {};
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
