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

NodeKind nodeKind(const xmlNode* node);
inline NodeKind nodeKind(xml::Node node) { return nodeKind(node.raw()); }

// Children that are nodes of the data model (elements, text, comments, processing
// instructions); DTDs, entity declarations and the like are skipped.
bool isTreeChild(const xmlNode* node);
const xmlNode* firstTreeChild(const xmlNode* node);
const xmlNode* nextTreeSibling(const xmlNode* node);
const xmlNode* previousTreeSibling(const xmlNode* node);
// Parent in the data model: the owner element of an attribute, the document node above
// the root element; null above the document node.
const xmlNode* treeParent(const xmlNode* node);
const xmlNode* rootOf(const xmlNode* node);

// Namespace URI of an element or attribute ("" when none) and its local name.
std::string_view namespaceOf(const xmlNode* node);
std::string_view localNameOf(const xmlNode* node);
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
