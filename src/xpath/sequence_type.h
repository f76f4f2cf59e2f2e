#pragma once
// Sequence types, as `instance of`, `treat as` and function signatures write them:
// an item type with an occurrence indicator.

#include <optional>
#include <string>

#include "xpath/atomic_type.h"
#include "xpath/item.h"

namespace quillmark::xpath {

enum class ItemTypeKind {
    AnyItem,     // item()
    AnyNode,     // node()
    Document,    // document-node(), document-node(element(...))
    Element,     // element(), element(name), element(*, type)
    Attribute,   // attribute(), attribute(name)
    Text,        // text()
    Comment,     // comment()
    ProcessingInstruction,  // processing-instruction(), processing-instruction(target)
    Atomic,      // an atomic type name
};

enum class Occurrence { ExactlyOne, ZeroOrOne, ZeroOrMore, OneOrMore };

struct ItemType {
    ItemTypeKind kind = ItemTypeKind::AnyItem;
    AtomicType atomicType = AtomicType::AnyAtomicType;  // for Atomic
    // Name constraint of element(N), attribute(N), processing-instruction(N); a
    // document-node(element(N)) keeps its element's name here.
    std::optional<std::string> namespaceURI;
    std::optional<std::string> localName;
    bool documentElementTest = false;  // document-node(element(...))

    bool matches(const Item& item) const;
    std::string toString() const;
};

struct SequenceType {
    bool emptySequence = false;  // empty-sequence()
    ItemType itemType;
    Occurrence occurrence = Occurrence::ExactlyOne;

    static SequenceType of(ItemType type, Occurrence occurrence) { return SequenceType{false, type, occurrence}; }
    static SequenceType atomic(AtomicType type, Occurrence occurrence) {
        return of(ItemType{ItemTypeKind::Atomic, type, {}, {}, false}, occurrence);
    }
    static SequenceType anyItems() { return of(ItemType{}, Occurrence::ZeroOrMore); }

    bool matches(const Sequence& sequence) const;
    bool allowsCount(size_t count) const;
    std::string toString() const;
};

}  // namespace quillmark::xpath
