#pragma once
// Casting between atomic types (the XPath casting table), as `cast as`, `castable as`,
// constructor functions (xs:decimal(...)) and the function conversion rules use it.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "xpath/atomic_value.h"

namespace quillmark::xpath {

// Resolves a namespace prefix ("" for the default element namespace) for casts to
// xs:QName; nullopt when the prefix is not declared (FONS0004).
using PrefixResolver = std::function<std::optional<std::string>(std::string_view prefix)>;

// Casts `value` to `target`. Strings and untyped values are read by the target's lexical
// rules after white-space processing; facets of derived types are checked. Errors:
// XPTY0004 when the casting table forbids the pair, FORG0001 for an invalid value,
// FOCA0002/FOCA0003/FOCA0005/FODT0001... where XPath names them, XPST0080 for
// xs:NOTATION and xs:anyAtomicType targets. `resolver` is needed for string -> QName only.
AtomicValue castAtomic(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver = {});

// True when castAtomic would succeed (never throws for dynamic reasons).
bool isCastable(const AtomicValue& value, AtomicType target, const PrefixResolver& resolver = {});

// Reads text as `target` the way a cast from xs:string does.
AtomicValue castFromText(std::string_view text, AtomicType target, const PrefixResolver& resolver = {});

}  // namespace quillmark::xpath
