#include "xpath/sequence_type.h"

#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

bool nameMatches(const ItemType& type, const xmlNode* node) {
    if (type.localName && localNameOf(node) != *type.localName) return false;
    if (type.namespaceURI && namespaceOf(node) != *type.namespaceURI) return false;
    return true;
}

bool documentMatches(const ItemType& type, const xmlNode* node) {
    if (!type.documentElementTest) return true;
    const xmlNode* element = nullptr;
    for (const xmlNode* child = firstTreeChild(node); child; child = nextTreeSibling(child)) {
        if (nodeKind(child) == NodeKind::Text) return false;
        if (nodeKind(child) != NodeKind::Element) continue;
        if (element) return false;
        element = child;
    }
    return element && nameMatches(type, element);
}

bool nodeMatches(const ItemType& type, const xmlNode* node) {
    const NodeKind kind = nodeKind(node);
    switch (type.kind) {
    case ItemTypeKind::AnyItem:
    case ItemTypeKind::AnyNode: return true;
    case ItemTypeKind::Document: return kind == NodeKind::Document && documentMatches(type, node);
    case ItemTypeKind::Element: return kind == NodeKind::Element && nameMatches(type, node);
    case ItemTypeKind::Attribute: return kind == NodeKind::Attribute && nameMatches(type, node);
    case ItemTypeKind::Text: return kind == NodeKind::Text;
    case ItemTypeKind::Comment: return kind == NodeKind::Comment;
    case ItemTypeKind::ProcessingInstruction:
        return kind == NodeKind::ProcessingInstruction && (!type.localName || localNameOf(node) == *type.localName);
    case ItemTypeKind::Atomic: return false;
    }
    return false;
}

std::string nameText(const ItemType& type) {
    if (!type.localName) return "";
    if (type.namespaceURI && !type.namespaceURI->empty()) return "Q{" + *type.namespaceURI + "}" + *type.localName;
    return *type.localName;
}

}  // namespace

bool ItemType::matches(const Item& item) const {
    if (item.isNode()) return nodeMatches(*this, item.node().raw());
    switch (kind) {
    case ItemTypeKind::AnyItem: return true;
    case ItemTypeKind::Atomic: return derivesFrom(item.atomic().type(), atomicType);
    case ItemTypeKind::AnyNode:
    case ItemTypeKind::Document:
    case ItemTypeKind::Element:
    case ItemTypeKind::Attribute:
    case ItemTypeKind::Text:
    case ItemTypeKind::Comment:
    case ItemTypeKind::ProcessingInstruction: return false;
    }
    return false;
}

std::string ItemType::toString() const {
    switch (kind) {
    case ItemTypeKind::AnyItem: return "item()";
    case ItemTypeKind::AnyNode: return "node()";
    case ItemTypeKind::Document:
        return documentElementTest ? "document-node(element(" + nameText(*this) + "))" : "document-node()";
    case ItemTypeKind::Element: return "element(" + nameText(*this) + ")";
    case ItemTypeKind::Attribute: return "attribute(" + nameText(*this) + ")";
    case ItemTypeKind::Text: return "text()";
    case ItemTypeKind::Comment: return "comment()";
    case ItemTypeKind::ProcessingInstruction: return "processing-instruction(" + nameText(*this) + ")";
    case ItemTypeKind::Atomic: return atomicTypeName(atomicType);
    }
    return "item()";
}

bool SequenceType::allowsCount(size_t count) const {
    if (emptySequence) return count == 0;
    switch (occurrence) {
    case Occurrence::ExactlyOne: return count == 1;
    case Occurrence::ZeroOrOne: return count <= 1;
    case Occurrence::ZeroOrMore: return true;
    case Occurrence::OneOrMore: return count >= 1;
    }
    return false;
}

bool SequenceType::matches(const Sequence& sequence) const {
    if (!allowsCount(sequence.size())) return false;
    for (const Item& item : sequence) {
        if (!itemType.matches(item)) return false;
    }
    return true;
}

std::string SequenceType::toString() const {
    if (emptySequence) return "empty-sequence()";
    switch (occurrence) {
    case Occurrence::ExactlyOne: return itemType.toString();
    case Occurrence::ZeroOrOne: return itemType.toString() + "?";
    case Occurrence::ZeroOrMore: return itemType.toString() + "*";
    case Occurrence::OneOrMore: return itemType.toString() + "+";
    }
    return itemType.toString();
}

}  // namespace quillmark::xpath
