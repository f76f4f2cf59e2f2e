#pragma once
// Paths evaluated through the document's name index: the nodes named like the path's
// last step, within the context node's subtree (or anywhere in the document for a path
// from the root), each checked upwards against the path. A search for something that
// is rare or absent (most rules test that something does not occur) then costs a
// lookup instead of a walk over every invoice line.

#include <optional>

#include "xpath/dynamic_context.h"
#include "xpath/item.h"

namespace quillmark::xpath {

class PathExpression;

// True when the path can be evaluated this way: upward matchable, its last step a named
// child, descendant or attribute step.
bool isIndexSearchable(const PathExpression& path);

// The path's value, in document order; with `firstOnly`, at most its first node.
// nullopt when the focus does not allow the search (no context node, or one that is
// not an element or a document node): then the path is evaluated step by step.
std::optional<Sequence> searchByIndex(const PathExpression& path, DynamicContext& context, bool firstOnly);

}  // namespace quillmark::xpath
