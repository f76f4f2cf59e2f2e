#pragma once
// Helpers shared by the files of the XML layer: one-time libxml2 set-up, conversion of
// libxml2 strings, and the namespace declarations in scope at a node.

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <vector>

namespace quillmark::xml::detail {

// Initialises libxml2 once per process; cheap to call again.
void ensureLibxmlInitialized();

inline std::string toString(const xmlChar* text) {
    return text ? std::string(reinterpret_cast<const char*>(text)) : std::string();
}

inline const xmlChar* toXmlChar(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

// Owns a string that libxml2 allocated.
struct XmlFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlString = std::unique_ptr<xmlChar, XmlFree>;

// Owns a libxml2 document tree.
struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocHandle = std::unique_ptr<xmlDoc, DocFree>;

// The element at which namespace scope is looked up for a node: the node itself for
// elements, the owner element for attributes and text, the root element for the
// document node (whose declarations a query from the top expects to use).
xmlNode* scopeElement(xmlNode* node);

// Appends the namespace declarations in scope at `node`, nearest first; an outer
// declaration of a prefix already seen still follows (lookups take the first match).
void collectNamespacesInScope(xmlNode* node, std::vector<xmlNs*>& into);

// Splits a qualified name "p:local" into prefix and local part ("" prefix without colon).
void splitQualifiedName(const std::string& qualifiedName, std::string& prefix, std::string& localName);

}  // namespace quillmark::xml::detail
