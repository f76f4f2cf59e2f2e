#pragma once
// Document order of nodes. Each tree is numbered once, on first use, in one walk
// (attributes right after their element, before its children), so that comparing and
// sorting nodes costs a hash lookup instead of a walk along sibling lists. Nodes of
// different trees are ordered by the order in which their trees were first numbered,
// which is stable for the life of the numbering.

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "xpath/item.h"

namespace quillmark::xpath {

class DocumentOrder {
public:
    // Negative when a precedes b, 0 for the same node, positive when a follows b.
    int compare(const xmlNode* a, const xmlNode* b);
    // Sorts the nodes of a node-only sequence into document order and removes duplicates.
    void sortAndDeduplicate(Sequence& nodes);
    // The numbering of a node: (tree number, position in the tree).
    uint64_t key(const xmlNode* node);

    // Forgets the numbering of every tree (after a tree was changed or freed).
    void clear() { trees_.clear(); positions_.clear(); }

private:
    uint32_t treeNumber(const xmlNode* root);
    void number(const xmlNode* root, uint32_t tree);

    std::unordered_map<const xmlNode*, uint32_t> trees_;       // root -> tree number
    std::unordered_map<const xmlNode*, uint64_t> positions_;   // node -> key
};

}  // namespace quillmark::xpath
