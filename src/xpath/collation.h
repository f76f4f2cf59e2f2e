#pragma once
// Collations of the string-comparing functions. The engine compares strings by Unicode
// code point only; a function given any other collation URI refuses it.

#include <string_view>

#include "xpath/item.h"

namespace quillmark::xpath {

inline constexpr std::string_view kCodepointCollation = "http://www.w3.org/2005/xpath-functions/collation/codepoint";

// Checks the collation argument (an `xs:string` parameter) of `function`; FOCH0002 for
// anything but the code point collation.
void requireSupportedCollation(const Sequence& argument, std::string_view function);

}  // namespace quillmark::xpath
