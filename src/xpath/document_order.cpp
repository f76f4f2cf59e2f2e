#include "xpath/document_order.h"

#include <algorithm>

#include "xpath/node_access.h"

namespace quillmark::xpath {

namespace {

// The number a walk gave the node, plus one; 0 for a node not numbered yet.
uint64_t storedPosition(const xmlNode* node) { return reinterpret_cast<uintptr_t>(node->_private); }

void storePosition(const xmlNode* node, uint64_t position) {
    const_cast<xmlNode*>(node)->_private = reinterpret_cast<void*>(static_cast<uintptr_t>(position + 1));
}

// Calls `visit` for each node of the tree in document order, attributes after their
// element; iterative, so that deep trees cannot exhaust the stack.
template <typename Visit>
void preorder(const xmlNode* root, Visit&& visit) {
    const xmlNode* node = root;
    while (node) {
        visit(node);
        if (node->type == XML_ELEMENT_NODE) {
            for (const xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
                visit(reinterpret_cast<const xmlNode*>(attribute));
            }
        }
        if (const xmlNode* child = firstTreeChild(node)) {
            node = child;
            continue;
        }
        while (node && node != root && !nextTreeSibling(node)) node = treeParent(node);
        if (!node || node == root) break;
        node = nextTreeSibling(node);
    }
}

}  // namespace

DocumentOrder::Tree& DocumentOrder::tree(const xmlNode* root) {
    auto [entry, inserted] = trees_.try_emplace(root);
    if (inserted) {
        entry->second.number = static_cast<uint32_t>(trees_.size() - 1);
        // Numbered anew for each evaluation context: a tree may have changed since, and
        // copies of nodes may carry their original's number.
        number(root);
    }
    return entry->second;
}

void DocumentOrder::number(const xmlNode* root) {
    uint64_t next = 0;
    preorder(root, [&](const xmlNode* node) { storePosition(node, next++); });
}

void DocumentOrder::indexNames(const xmlNode* root, NameIndex& names) {
    preorder(root, [&](const xmlNode* node) {
        if (node->type == XML_ELEMENT_NODE) names.elements[localNameOf(node)].push_back(node);
        if (node->type == XML_ATTRIBUTE_NODE) names.attributes[localNameOf(node)].push_back(node);
    });
}

uint64_t DocumentOrder::key(const xmlNode* node) {
    uint64_t position = storedPosition(node);
    const xmlNode* root = rootOf(node);
    const Tree& numbered = tree(root);
    if (position == 0) position = storedPosition(node);
    return (static_cast<uint64_t>(numbered.number) << 40) | position;
}

const NameIndex& DocumentOrder::names(const xmlNode* root) {
    Tree& indexed = tree(root);
    if (!indexed.names) {
        indexed.names = std::make_unique<NameIndex>();
        indexNames(root, *indexed.names);
    }
    return *indexed.names;
}

uint64_t DocumentOrder::subtreeEnd(const xmlNode* node) {
    for (const xmlNode* current = node; current; current = treeParent(current)) {
        if (const xmlNode* next = nextTreeSibling(current)) return key(next) - 1;
    }
    return key(rootOf(node)) | ((uint64_t{1} << 40) - 1);
}

int DocumentOrder::compare(const xmlNode* a, const xmlNode* b) {
    if (a == b) return 0;
    const uint64_t keyA = key(a);
    const uint64_t keyB = key(b);
    return keyA < keyB ? -1 : (keyA > keyB ? 1 : 0);
}

void DocumentOrder::sortAndDeduplicate(Sequence& nodes) {
    if (nodes.size() < 2) return;
    std::vector<std::pair<uint64_t, xml::Node>> keyed;
    keyed.reserve(nodes.size());
    bool sorted = true;
    for (const Item& item : nodes) {
        const uint64_t k = key(item.node().raw());
        if (!keyed.empty() && k <= keyed.back().first) sorted = false;
        keyed.emplace_back(k, item.node());
    }
    if (sorted) return;
    std::sort(keyed.begin(), keyed.end(), [](const auto& x, const auto& y) { return x.first < y.first; });
    nodes.clear();
    for (size_t i = 0; i < keyed.size(); ++i) {
        if (i > 0 && keyed[i].first == keyed[i - 1].first) continue;
        nodes.emplace_back(keyed[i].second);
    }
}

}  // namespace quillmark::xpath
