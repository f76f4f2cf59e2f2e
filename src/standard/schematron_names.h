#pragma once
// Recognising Schematron elements: ISO Schematron and its predecessor 1.5 share their
// element names; only elements in one of the two namespaces count.

#include <libxml/tree.h>

#include <optional>
#include <string>
#include <string_view>

namespace quillmark::standard {

inline constexpr const char* kIsoSchematronNamespace = "http://purl.oclc.org/dsdl/schematron";
inline constexpr const char* kSchematron15Namespace = "http://www.ascc.net/xml/schematron";

inline std::string_view viewOf(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

inline bool isSchematron(const xmlNode* node) {
    if (!node || node->type != XML_ELEMENT_NODE || !node->ns) return false;
    const std::string_view uri = viewOf(node->ns->href);
    return uri == kIsoSchematronNamespace || uri == kSchematron15Namespace;
}

inline bool isSchematron(const xmlNode* node, std::string_view localName) {
    return isSchematron(node) && viewOf(node->name) == localName;
}

// An attribute without namespace; nullopt when absent.
inline std::optional<std::string> attributeOf(const xmlNode* element, const char* name) {
    xmlChar* value = xmlGetNoNsProp(element, reinterpret_cast<const xmlChar*>(name));
    if (!value) return std::nullopt;
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

}  // namespace quillmark::standard
