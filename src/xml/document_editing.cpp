// Editing and building documents in memory.

#include <libxml/tree.h>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"

namespace quillmark::xml {
namespace {

using detail::toXmlChar;

bool canHoldChildren(xmlNode* node) {
    return node && (node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE ||
                    node->type == XML_HTML_DOCUMENT_NODE);
}

// Gives `element` (already in its place) the namespace of its qualified name. A
// declaration in scope with the same prefix and URI is reused, otherwise the element
// declares it. Without a URI a prefixed name takes the prefix's declaration in scope
// (or keeps the name as written when there is none), and an unprefixed element stays
// in no namespace, even under a default namespace.
void assignNamespace(xmlDoc* doc, xmlNode* element, const std::string& name, const std::string& uri) {
    std::string prefix, localName;
    detail::splitQualifiedName(name, prefix, localName);
    const xmlChar* prefixArg = prefix.empty() ? nullptr : toXmlChar(prefix);
    xmlNs* inScope = xmlSearchNs(doc, element, prefixArg);
    const bool inScopeHasURI = inScope && inScope->href && inScope->href[0] != '\0';
    if (uri.empty() && prefix.empty()) {
        if (inScopeHasURI) xmlNewNs(element, BAD_CAST "", nullptr);
        return;
    }
    if (uri.empty()) {
        if (inScopeHasURI) xmlSetNs(element, inScope);
        else xmlNodeSetName(element, toXmlChar(name));
        return;
    }
    if (inScope && xmlStrEqual(inScope->href, toXmlChar(uri))) {
        xmlSetNs(element, inScope);
        return;
    }
    xmlSetNs(element, xmlNewNs(element, toXmlChar(uri), prefixArg));
}

xmlNode* newElement(xmlDoc* doc, const std::string& name) {
    std::string prefix, localName;
    detail::splitQualifiedName(name, prefix, localName);
    return xmlNewDocNode(doc, nullptr, toXmlChar(localName), nullptr);
}

// The child that currently sits at `index` among `parent`'s children, if any.
xmlNode* childAt(xmlNode* parent, int64_t index) {
    if (index < 0) return nullptr;
    xmlNode* child = parent->children;
    for (int64_t position = 0; child && position < index; ++position) child = child->next;
    return child;
}

}  // namespace

Node Document::insertCopy(Node parent, int64_t index, Node source) {
    if (!canHoldChildren(parent.raw()) || source.isNull()) return Node();
    if (source.kind() == NodeKind::Document || source.kind() == NodeKind::Namespace) return Node();
    xmlNode* copy = xmlDocCopyNode(source.raw(), doc_, 1);
    if (!copy) return Node();
    if (copy->type == XML_ATTRIBUTE_NODE) {
        if (parent.raw()->type != XML_ELEMENT_NODE) {
            xmlFreeNode(copy);
            return Node();
        }
        return Node(xmlAddChild(parent.raw(), copy));
    }
    // Adjacent text may be merged into a neighbour; the returned node is what remains.
    xmlNode* before = childAt(parent.raw(), index);
    xmlNode* inserted = before ? xmlAddPrevSibling(before, copy) : xmlAddChild(parent.raw(), copy);
    if (!inserted) xmlFreeNode(copy);
    return Node(inserted);
}

void Document::remove(Node node) {
    xmlNode* raw = node.raw();
    if (!raw || raw->type == XML_DOCUMENT_NODE || raw->type == XML_NAMESPACE_DECL) return;
    xmlUnlinkNode(raw);
    xmlFreeNode(raw);
}

Node Document::createRootElement(const std::string& name, const std::string& namespaceURI) {
    xmlNode* element = newElement(doc_, name);
    if (!element) return Node();
    xmlNode* previous = xmlDocSetRootElement(doc_, element);
    if (previous) xmlFreeNode(previous);
    assignNamespace(doc_, element, name, namespaceURI);
    return Node(element);
}

Node Document::appendElement(Node parent, const std::string& name, const std::string& namespaceURI) {
    if (!canHoldChildren(parent.raw())) return Node();
    xmlNode* element = newElement(doc_, name);
    if (!element) return Node();
    xmlAddChild(parent.raw(), element);
    assignNamespace(doc_, element, name, namespaceURI);
    return Node(element);
}

void Document::appendText(Node parent, const std::string& text) {
    if (!parent.raw() || parent.raw()->type != XML_ELEMENT_NODE) return;
    xmlNode* textNode = xmlNewDocTextLen(doc_, toXmlChar(text), static_cast<int>(text.size()));
    if (textNode && !xmlAddChild(parent.raw(), textNode)) xmlFreeNode(textNode);
}

void Document::setAttribute(Node element, const std::string& name, const std::string& value) {
    xmlNode* raw = element.raw();
    if (!raw || raw->type != XML_ELEMENT_NODE || name.empty()) return;
    std::string prefix, localName;
    detail::splitQualifiedName(name, prefix, localName);
    if (name == "xmlns" || prefix == "xmlns") {
        xmlNewNs(raw, toXmlChar(value), prefix.empty() ? nullptr : toXmlChar(localName));
        return;
    }
    xmlNs* ns = prefix.empty() ? nullptr : xmlSearchNs(doc_, raw, toXmlChar(prefix));
    if (ns) {
        xmlSetNsProp(raw, ns, toXmlChar(localName), toXmlChar(value));
        return;
    }
    xmlSetProp(raw, toXmlChar(name), toXmlChar(value));
}

}  // namespace quillmark::xml
