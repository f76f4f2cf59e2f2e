#pragma once
// Document order of nodes, and an index of each tree's elements and attributes by
// local name. Each tree is numbered once, on first use, in one walk (attributes right
// after their element, before its children): the number is kept in the node's
// application field (`_private`, which libxml2 leaves to its users), so that comparing
// and sorting nodes reads two fields instead of walking sibling lists. The name index is
// made on the first search of a whole document for a name (//cbc:ID, //@schemeID), which
// then costs a lookup instead of a walk. Nodes of different trees are ordered by the
// order in which their trees were first numbered.

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xpath/item.h"

namespace quillmark::xpath {

// One tree's elements and attributes by local name, each list in document order. The
// names are views into the tree's own strings, valid while the tree lives.
struct NameIndex {
    std::unordered_map<std::string_view, std::vector<const xmlNode*>> elements;
    std::unordered_map<std::string_view, std::vector<const xmlNode*>> attributes;
};

class DocumentOrder {
public:
    // Negative when a precedes b, 0 for the same node, positive when a follows b.
    int compare(const xmlNode* a, const xmlNode* b);
    // Sorts the nodes of a node-only sequence into document order and removes duplicates.
    void sortAndDeduplicate(Sequence& nodes);
    // The numbering of a node: (tree number, position in the tree).
    uint64_t key(const xmlNode* node);
    // The name index of the tree whose root is `root`.
    const NameIndex& names(const xmlNode* root);
    // The last key among the node's descendants and their attributes (the node's own
    // key when it has none): the subtree of `node` holds exactly the keys in
    // [key(node), subtreeEnd(node)].
    uint64_t subtreeEnd(const xmlNode* node);

private:
    struct Tree {
        uint32_t number = 0;
        std::unique_ptr<NameIndex> names;  // made on first use
    };
    Tree& tree(const xmlNode* root);
    static void number(const xmlNode* root);
    static void indexNames(const xmlNode* root, NameIndex& names);

    std::unordered_map<const xmlNode*, Tree> trees_;  // by root
};

}  // namespace quillmark::xpath
