#pragma once
// Operations on sequences that the whole engine shares: atomization, the effective
// boolean value, and the function conversion rules.

#include <optional>
#include <string>

#include "xpath/expanded_name.h"
#include "xpath/item.h"
#include "xpath/sequence_type.h"

namespace quillmark::xpath {

// The typed values of the items, in order (nodes become xs:untypedAtomic).
Sequence atomize(const Sequence& sequence);
void atomizeInto(const Item& item, Sequence& into);
AtomicValue atomizeItem(const Item& item);

// fn:boolean: () false; a sequence starting with a node true; one boolean, string,
// number or untyped value by its value; anything else FORG0006.
bool effectiveBooleanValue(const Sequence& sequence);

// Names what a converted value is for in error messages ("argument 2 of substring()");
// built only when a conversion fails.
struct ConversionRole {
    const char* what = "the value";  // used when there is no function
    const ExpandedName* function = nullptr;
    size_t argument = 0;              // 1-based; 0 for the function's result
    std::string describe() const;
};

// Converts a value to a declared type: atomization for atomic types, xs:untypedAtomic
// cast to the expected type, numeric promotion, xs:anyURI to xs:string; then checks the
// type and cardinality (XPTY0004 naming the role).
Sequence convertToType(Sequence value, const SequenceType& type, const ConversionRole& role);

// The one item of a sequence of at most one, else XPTY0004 naming `role`.
const Item* optionalItem(const Sequence& sequence, const std::string& role);

// The string value of an item: a node's string value, an atomic value's canonical text.
std::string stringValueOfItem(const Item& item);

}  // namespace quillmark::xpath
