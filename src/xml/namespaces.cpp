// Namespace declarations in scope at a node.

#include <libxml/tree.h>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"

namespace quillmark::xml {
namespace detail {

xmlNode* scopeElement(xmlNode* node) {
    if (!node) return nullptr;
    switch (node->type) {
        case XML_ELEMENT_NODE:
            return node;
        case XML_DOCUMENT_NODE:
        case XML_HTML_DOCUMENT_NODE:
            return xmlDocGetRootElement(reinterpret_cast<xmlDoc*>(node));
        case XML_NAMESPACE_DECL:
            return nullptr;
        default:
            break;
    }
    xmlNode* parent = node->parent;
    while (parent && parent->type != XML_ELEMENT_NODE) parent = parent->parent;
    return parent;
}

void collectNamespacesInScope(xmlNode* node, std::vector<xmlNs*>& into) {
    for (xmlNode* element = scopeElement(node); element && element->type == XML_ELEMENT_NODE;
         element = element->parent) {
        for (xmlNs* ns = element->nsDef; ns; ns = ns->next) into.push_back(ns);
    }
}

void splitQualifiedName(const std::string& qualifiedName, std::string& prefix, std::string& localName) {
    const size_t colon = qualifiedName.find(':');
    if (colon == std::string::npos) {
        prefix.clear();
        localName = qualifiedName;
        return;
    }
    prefix = qualifiedName.substr(0, colon);
    localName = qualifiedName.substr(colon + 1);
}

}  // namespace detail

std::map<std::string, std::string> Node::namespacesInScope() const {
    std::vector<xmlNs*> declarations;
    detail::collectNamespacesInScope(raw_, declarations);
    std::map<std::string, std::string> result;
    // Nearest first, so the first declaration of a prefix wins.
    for (xmlNs* ns : declarations) result.emplace(detail::toString(ns->prefix), detail::toString(ns->href));
    // xmlns="" takes the default namespace away rather than declaring one.
    std::erase_if(result, [](const auto& entry) { return entry.second.empty(); });
    return result;
}

std::map<std::string, std::string> Node::namespaceDeclarations() const {
    std::map<std::string, std::string> result;
    if (!raw_ || raw_->type != XML_ELEMENT_NODE) return result;
    for (xmlNs* ns = raw_->nsDef; ns; ns = ns->next) {
        result[detail::toString(ns->prefix)] = detail::toString(ns->href);
    }
    return result;
}

}  // namespace quillmark::xml
