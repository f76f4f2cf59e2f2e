#pragma once
// The axes of XPath over a libxml2 tree. Each walker calls `visit` for the nodes of its
// axis in axis order: document order for forward axes, reverse document order for
// reverse axes (parent, ancestor, ancestor-or-self, preceding, preceding-sibling).

#include <libxml/tree.h>

#include "xpath/node_access.h"

namespace quillmark::xpath::axes {

template <typename Visit>
void children(const xmlNode* origin, Visit&& visit) {
    for (const xmlNode* child = firstTreeChild(origin); child; child = nextTreeSibling(child)) visit(child);
}

// The nodes below `origin` in document order, without recursion (deep trees must not
// exhaust the stack).
template <typename Visit>
void descendants(const xmlNode* origin, Visit&& visit) {
    const xmlNode* node = firstTreeChild(origin);
    while (node) {
        visit(node);
        if (const xmlNode* child = firstTreeChild(node)) {
            node = child;
            continue;
        }
        while (node != origin && !nextTreeSibling(node)) node = treeParent(node);
        if (node == origin) return;
        node = nextTreeSibling(node);
    }
}

template <typename Visit>
void attributes(const xmlNode* origin, Visit&& visit) {
    if (origin->type != XML_ELEMENT_NODE) return;
    for (const xmlAttr* attribute = origin->properties; attribute; attribute = attribute->next) {
        visit(reinterpret_cast<const xmlNode*>(attribute));
    }
}

template <typename Visit>
void followingSiblings(const xmlNode* origin, Visit&& visit) {
    for (const xmlNode* sibling = nextTreeSibling(origin); sibling; sibling = nextTreeSibling(sibling)) visit(sibling);
}

template <typename Visit>
void precedingSiblings(const xmlNode* origin, Visit&& visit) {
    for (const xmlNode* sibling = previousTreeSibling(origin); sibling; sibling = previousTreeSibling(sibling)) {
        visit(sibling);
    }
}

template <typename Visit>
void ancestors(const xmlNode* origin, Visit&& visit) {
    for (const xmlNode* node = treeParent(origin); node; node = treeParent(node)) visit(node);
}

// Nodes after `origin` in document order that are not its descendants: for an
// attribute, this starts with its element's children.
template <typename Visit>
void following(const xmlNode* origin, Visit&& visit) {
    const xmlNode* node = origin;
    if (node->type == XML_ATTRIBUTE_NODE) {
        node = treeParent(node);
        if (!node) return;
        descendants(node, visit);
    }
    for (; node; node = treeParent(node)) {
        for (const xmlNode* sibling = nextTreeSibling(node); sibling; sibling = nextTreeSibling(sibling)) {
            visit(sibling);
            descendants(sibling, visit);
        }
    }
}

// A subtree in reverse document order: the last descendant first, the root last.
template <typename Visit>
void subtreeInReverse(const xmlNode* root, Visit&& visit) {
    const xmlNode* node = root;
    // Go to the deepest last descendant, then walk back in reverse pre-order.
    for (;;) {
        const xmlNode* last = nullptr;
        for (const xmlNode* child = firstTreeChild(node); child; child = nextTreeSibling(child)) last = child;
        if (!last) break;
        node = last;
    }
    for (;;) {
        visit(node);
        if (node == root) return;
        if (const xmlNode* previous = previousTreeSibling(node)) {
            node = previous;
            for (;;) {
                const xmlNode* last = nullptr;
                for (const xmlNode* child = firstTreeChild(node); child; child = nextTreeSibling(child)) last = child;
                if (!last) break;
                node = last;
            }
        } else {
            node = treeParent(node);
        }
    }
}

// Nodes before `origin` in reverse document order, ancestors excluded.
template <typename Visit>
void preceding(const xmlNode* origin, Visit&& visit) {
    const xmlNode* node = origin->type == XML_ATTRIBUTE_NODE ? treeParent(origin) : origin;
    for (; node; node = treeParent(node)) {
        for (const xmlNode* sibling = previousTreeSibling(node); sibling; sibling = previousTreeSibling(sibling)) {
            subtreeInReverse(sibling, visit);
        }
    }
}

}  // namespace quillmark::xpath::axes
