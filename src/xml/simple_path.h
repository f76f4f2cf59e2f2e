#pragma once
// A direct tree walk for the location paths that most rule-set expressions become once
// their prefixes are rewritten ("*[local-name()='InvoiceLine']/*[local-name()='ID']",
// "//*[local-name()='TaxTotal']", "@currencyID"). libxml2 evaluates such a
// local-name() predicate for every candidate node, which costs about twenty times the
// walk; the results are the same nodes in the same (document) order.

#include <libxml/tree.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::xml::detail {

struct SimpleStep {
    enum class Axis { Self, Child, Attribute, Text };
    enum class Test { Any, LocalName, UnqualifiedName };
    Axis axis = Axis::Child;
    Test test = Test::Any;
    std::string name;
};

struct SimplePath {
    enum class Start { Context, Root, RootDescendants };  // "a", "/a", "//a"
    Start start = Start::Context;
    std::vector<SimpleStep> steps;
};

// The path when the text is one of the forms handled here, else nullopt (the text then
// goes to libxml2). Accepted steps: ".", "*", "NAME", "*[local-name()='NAME']", "@*",
// "@NAME", "@*[local-name()='NAME']" and "text()", attribute and text steps last only;
// "//" only at the start; no blanks.
std::optional<SimplePath> parseSimplePath(std::string_view text);

// The nodes the path selects from `context`, in document order.
std::vector<xmlNode*> evaluateSimplePath(const SimplePath& path, xmlNode* context);

}  // namespace quillmark::xml::detail
