#pragma once
// Pieces shared by the casting files. Casts report failure as a value rather than an
// exception, so that `castable as` does not pay for one; castAtomic turns the failure
// into an XPathError.

#include <string_view>
#include <variant>

#include "xpath/atomic_value.h"
#include "xpath/casting.h"
#include "xpath/error.h"

namespace quillmark::xpath::casting {

// Why a cast failed: the error code and a short phrase for the message ("not a valid
// lexical form", "out of range for the type").
struct CastFailure {
    ErrorCode code;
    std::string_view reason;
};
using CastResult = std::variant<AtomicValue, CastFailure>;

// A string read as `target` (after the target's white-space facet).
CastResult castText(std::string_view text, AtomicType target, const PrefixResolver& resolver);
// An integral decimal labelled `target` (an integer type) when it satisfies the type's
// range facets; FORG0001 otherwise.
CastResult checkedInteger(Decimal value, AtomicType target);

}  // namespace quillmark::xpath::casting
