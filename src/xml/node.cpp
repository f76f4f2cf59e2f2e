// Node accessors over the libxml2 tree. Attributes are xmlAttr records viewed as
// xmlNode (the two share their leading fields); the document node is the xmlDoc.

#include <libxml/tree.h>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"

namespace quillmark::xml {
namespace {

using detail::toString;

bool hasQualifiedName(xmlNode* node) {
    switch (node->type) {
        case XML_ELEMENT_NODE:
        case XML_ATTRIBUTE_NODE:
            return true;
        default:
            return false;
    }
}

// A prefix whose declaration is missing leaves libxml2 with the name "p:local" and no
// namespace; such names still split at the colon.
void splitUnboundName(xmlNode* node, std::string& prefix, std::string& localName) {
    detail::splitQualifiedName(toString(node->name), prefix, localName);
}

xmlNode* firstChild(xmlNode* node) {
    switch (node->type) {
        case XML_ELEMENT_NODE:
        case XML_DOCUMENT_NODE:
        case XML_HTML_DOCUMENT_NODE:
        case XML_DOCUMENT_FRAG_NODE:
            return node->children;
        default:
            return nullptr;
    }
}

}  // namespace

NodeKind Node::kind() const {
    if (!raw_) return NodeKind::Invalid;
    switch (raw_->type) {
        case XML_ELEMENT_NODE:
            return NodeKind::Element;
        case XML_ATTRIBUTE_NODE:
            return NodeKind::Attribute;
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
            return NodeKind::Text;
        case XML_PI_NODE:
            return NodeKind::ProcessingInstruction;
        case XML_COMMENT_NODE:
            return NodeKind::Comment;
        case XML_DOCUMENT_NODE:
        case XML_HTML_DOCUMENT_NODE:
            return NodeKind::Document;
        case XML_NAMESPACE_DECL:
            return NodeKind::Namespace;
        case XML_DTD_NODE:
            return NodeKind::DTD;
        default:
            return NodeKind::Invalid;
    }
}

std::string Node::name() const {
    if (!raw_) return {};
    if (raw_->type == XML_PI_NODE || raw_->type == XML_DTD_NODE) return toString(raw_->name);
    if (!hasQualifiedName(raw_)) return {};
    if (raw_->ns && raw_->ns->prefix) return toString(raw_->ns->prefix) + ":" + toString(raw_->name);
    return toString(raw_->name);
}

std::string Node::localName() const {
    if (!raw_) return {};
    if (raw_->type == XML_PI_NODE) return toString(raw_->name);
    if (!hasQualifiedName(raw_)) return {};
    if (raw_->ns) return toString(raw_->name);
    std::string prefix, local;
    splitUnboundName(raw_, prefix, local);
    return local;
}

std::string Node::namespaceURI() const {
    if (!raw_ || !hasQualifiedName(raw_) || !raw_->ns) return {};
    return toString(raw_->ns->href);
}

std::string Node::prefix() const {
    if (!raw_ || !hasQualifiedName(raw_)) return {};
    if (raw_->ns) return toString(raw_->ns->prefix);
    std::string prefix, local;
    splitUnboundName(raw_, prefix, local);
    return prefix;
}

std::optional<std::string> Node::stringValue() const {
    if (!raw_) return std::nullopt;
    switch (kind()) {
        case NodeKind::Element:
        case NodeKind::Document:
        case NodeKind::Attribute:
        case NodeKind::Text:
        case NodeKind::Comment:
        case NodeKind::ProcessingInstruction: {
            detail::XmlString content(xmlNodeGetContent(raw_));
            return toString(content.get());
        }
        case NodeKind::Namespace:
            return toString(reinterpret_cast<xmlNs*>(raw_)->href);
        case NodeKind::Invalid:
        case NodeKind::DTD:
            return std::nullopt;
    }
    return std::nullopt;
}

Node Node::parent() const {
    if (!raw_ || raw_->type == XML_NAMESPACE_DECL) return Node();
    return Node(raw_->parent);
}

std::vector<Node> Node::children() const {
    std::vector<Node> result;
    if (!raw_) return result;
    for (xmlNode* child = firstChild(raw_); child; child = child->next) result.emplace_back(child);
    return result;
}

std::vector<Node> Node::attributes() const {
    std::vector<Node> result;
    if (!raw_ || raw_->type != XML_ELEMENT_NODE) return result;
    for (xmlAttr* attribute = raw_->properties; attribute; attribute = attribute->next) {
        result.emplace_back(reinterpret_cast<xmlNode*>(attribute));
    }
    return result;
}

std::optional<std::string> Node::attribute(std::string_view qualifiedName) const {
    for (const Node& attribute : attributes()) {
        if (attribute.name() == qualifiedName) return attribute.stringValue();
    }
    return std::nullopt;
}

int64_t Node::index() const {
    if (!raw_ || raw_->type == XML_NAMESPACE_DECL) return 0;
    int64_t position = 0;
    for (xmlNode* sibling = raw_->prev; sibling; sibling = sibling->prev) ++position;
    return position;
}

Node Node::documentNode() const {
    if (!raw_ || raw_->type == XML_NAMESPACE_DECL) return Node();
    if (raw_->type == XML_DOCUMENT_NODE || raw_->type == XML_HTML_DOCUMENT_NODE) return *this;
    return Node(reinterpret_cast<xmlNode*>(raw_->doc));
}

std::string Node::xmlString() const {
    if (!raw_ || raw_->type == XML_NAMESPACE_DECL) return {};
    xmlBuffer* buffer = xmlBufferCreate();
    if (!buffer) return {};
    xmlNodeDump(buffer, raw_->doc, raw_, 0, 0);
    std::string result(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                       static_cast<size_t>(xmlBufferLength(buffer)));
    xmlBufferFree(buffer);
    // An attribute is written with the blank that separates it inside a start tag.
    if (raw_->type == XML_ATTRIBUTE_NODE && !result.empty() && result.front() == ' ') result.erase(0, 1);
    return result;
}

std::vector<Node> Node::nodesForXPath(const std::string& xpath, bool* failed) const {
    XPathEngine engine;
    return engine.select(*this, xpath, failed);
}

}  // namespace quillmark::xml
