#pragma once
// XPath 2.0 functions that rule sets write inside predicates which reach libxml2's
// XPath 1.0 engine as text. They follow the expression engine's own function library
// where XPath 1.0 types allow (for example ends-with(s, '') is false).

#include <libxml/xpath.h>

namespace quillmark::xml::detail {

inline constexpr const char* kXMLSchemaNamespace = "http://www.w3.org/2001/XMLSchema";

// Registers the functions on `context`, and binds the prefix "xs" to the XML Schema
// namespace for the casts xs:decimal(), xs:integer(), xs:string() and xs:date().
void registerExtensionFunctions(xmlXPathContext* context);

}  // namespace quillmark::xml::detail
