#pragma once
// The XPath view of a libxml2 tree: node kinds, names, string values and typed values,
// straight on the raw records. Attributes are xmlAttr records viewed as xmlNode, the
// document node is the xmlDoc; namespace declarations are not nodes here.

#include <libxml/tree.h>

#include <string>
#include <string_view>

#include "quillmark/xml.h"
#include "xpath/atomic_value.h"

namespace quillmark::xpath {

enum class NodeKind { Document, Element, Attribute, Text, Comment, ProcessingInstruction, Other };

// The functions below run in every axis walk: they are inline.
inline NodeKind nodeKind(const xmlNode* node) {
    switch (node->type) {
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE: return NodeKind::Document;
    case XML_ELEMENT_NODE: return NodeKind::Element;
    case XML_ATTRIBUTE_NODE: return NodeKind::Attribute;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE: return NodeKind::Text;
    case XML_COMMENT_NODE: return NodeKind::Comment;
    case XML_PI_NODE: return NodeKind::ProcessingInstruction;
    default: return NodeKind::Other;
    }
}
inline NodeKind nodeKind(xml::Node node) { return nodeKind(node.raw()); }

// Children that are nodes of the data model (elements, text, comments, processing
// instructions); DTDs, entity declarations and the like are skipped.
inline bool isTreeChild(const xmlNode* node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE: return true;
    default: return false;
    }
}

inline const xmlNode* firstTreeChild(const xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE && node->type != XML_DOCUMENT_NODE && node->type != XML_HTML_DOCUMENT_NODE) {
        return nullptr;
    }
    const xmlNode* child = node->children;
    while (child && !isTreeChild(child)) child = child->next;
    return child;
}

inline const xmlNode* nextTreeSibling(const xmlNode* node) {
    if (node->type == XML_ATTRIBUTE_NODE) return nullptr;
    const xmlNode* sibling = node->next;
    while (sibling && !isTreeChild(sibling)) sibling = sibling->next;
    return sibling;
}

inline const xmlNode* previousTreeSibling(const xmlNode* node) {
    if (node->type == XML_ATTRIBUTE_NODE) return nullptr;
    const xmlNode* sibling = node->prev;
    while (sibling && !isTreeChild(sibling)) sibling = sibling->prev;
    return sibling;
}

// Parent in the data model: the owner element of an attribute, the document node above
// the root element; null above the document node.
inline const xmlNode* treeParent(const xmlNode* node) {
    if (node->type == XML_DOCUMENT_NODE || node->type == XML_HTML_DOCUMENT_NODE) return nullptr;
    return node->parent;
}

const xmlNode* rootOf(const xmlNode* node);

// Namespace URI of an element or attribute ("" when none) and its local name.
inline std::string_view namespaceOf(const xmlNode* node) {
    if ((node->type != XML_ELEMENT_NODE && node->type != XML_ATTRIBUTE_NODE) || !node->ns || !node->ns->href) return {};
    return reinterpret_cast<const char*>(node->ns->href);
}

inline std::string_view localNameOf(const xmlNode* node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_PI_NODE: return node->name ? reinterpret_cast<const char*>(node->name) : std::string_view();
    default: return {};
    }
}
// The lexical QName ("cbc:ID"); "" for nodes without a name; a PI's target.
std::string qualifiedNameOf(const xmlNode* node);

// String value: descendant text of elements and documents, the value of attributes,
// the content of text, comments and processing instructions.
std::string stringValueOf(const xmlNode* node);
void appendStringValue(const xmlNode* node, std::string& into);
// Typed value of an untyped node: xs:untypedAtomic, or xs:string for comments and
// processing instructions.
AtomicValue typedValueOf(const xmlNode* node);

}  // namespace quillmark::xpath
