#pragma once
// fn:deep-equal: two sequences of the same length whose items are pairwise deep-equal.

#include "xpath/dynamic_context.h"
#include "xpath/item.h"

namespace quillmark::xpath {

// Atomic values are equal as fn:distinct-values sees it (NaN equals NaN, values that
// cannot be compared differ). Nodes are equal when of one kind with equal names; elements
// need the same attributes (in any order) and deep-equal children, comments and
// processing instructions among the children not counted; text, comments, attributes and
// processing instructions need equal string values. A node never equals an atomic value.
bool deepEqual(const Sequence& a, const Sequence& b, DynamicContext& context);

}  // namespace quillmark::xpath
