#pragma once
// One line per item for people and for the tool's `eval` output: atomic values as
// "TYPE VALUE" with the type's prefixed name and the canonical text (strings, untyped
// values and URIs quoted), nodes by kind and name.
//
//   xs:integer 3          xs:string "a"          element cbc:ID
//   xs:double 1.0E7       xs:untypedAtomic "x"   attribute currencyID "EUR"

#include <string>
#include <vector>

#include "xpath/item.h"

namespace quillmark::xpath {

// Text in double quotes with `"` and `\` escaped and line breaks written \n.
std::string quoteText(const std::string& text);
std::string describeItem(const Item& item);
// The whole sequence: "empty-sequence()", one item's line alone, or "sequence N"
// followed by the items indented by two spaces.
std::vector<std::string> describeSequence(const Sequence& sequence);

}  // namespace quillmark::xpath
