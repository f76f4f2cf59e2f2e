#include "xpath/document_order.h"

#include <algorithm>

#include "xpath/node_access.h"

namespace quillmark::xpath {

uint64_t DocumentOrder::key(const xmlNode* node) {
    if (auto found = positions_.find(node); found != positions_.end()) return found->second;
    const xmlNode* root = rootOf(node);
    number(root, treeNumber(root));
    auto found = positions_.find(node);
    return found != positions_.end() ? found->second : 0;
}

uint32_t DocumentOrder::treeNumber(const xmlNode* root) {
    auto [entry, inserted] = trees_.try_emplace(root, static_cast<uint32_t>(trees_.size()));
    return entry->second;
}

void DocumentOrder::number(const xmlNode* root, uint32_t tree) {
    uint64_t next = static_cast<uint64_t>(tree) << 40;
    // Iterative pre-order walk: deep trees must not exhaust the stack.
    const xmlNode* node = root;
    while (node) {
        positions_[node] = next++;
        if (node->type == XML_ELEMENT_NODE) {
            for (const xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
                positions_[reinterpret_cast<const xmlNode*>(attribute)] = next++;
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
