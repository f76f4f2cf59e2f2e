#pragma once
// Items and sequences of the XPath data model: an item is a node of a libxml2 tree or
// an atomic value; every expression yields a flat sequence of items.

#include <variant>
#include <vector>

#include "quillmark/xml.h"
#include "xpath/atomic_value.h"

namespace quillmark::xpath {

class Item {
public:
    Item(xml::Node node) : value_(node) {}  // NOLINT(google-explicit-constructor): items are made everywhere
    Item(AtomicValue value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)

    bool isNode() const { return std::holds_alternative<xml::Node>(value_); }
    bool isAtomic() const { return !isNode(); }
    xml::Node node() const { return std::get<xml::Node>(value_); }
    const AtomicValue& atomic() const { return std::get<AtomicValue>(value_); }

private:
    std::variant<xml::Node, AtomicValue> value_;
};

using Sequence = std::vector<Item>;

}  // namespace quillmark::xpath
