#pragma once
// How much text a parsed document's entity references stand for. Documents are first
// parsed with references left in place (cheap: each entity's text is kept once); only
// when the expansion stays within a bound proportional to the input are they parsed
// again with the references replaced.

#include <libxml/tree.h>

#include <cstdint>
#include <optional>
#include <string>

namespace quillmark::xml::detail {

// Expanded text allowed for a document of `inputSize` bytes.
uint64_t entityExpansionLimit(uint64_t inputSize);

struct EntityExpansion {
    bool hasReferences = false;  // the tree holds at least one entity reference
    // Set when the document cannot be expanded safely: an external entity is referred
    // to, or the expansion passes the limit. Ends with " (line L)".
    std::optional<std::string> refusal;
};

// Measures the references of the tree (element content and attribute values).
EntityExpansion measureEntityExpansion(xmlDoc* doc, uint64_t limit);

}  // namespace quillmark::xml::detail
