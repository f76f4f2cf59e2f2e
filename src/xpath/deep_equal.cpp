#include "xpath/deep_equal.h"

#include <string>
#include <vector>

#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

bool sameName(const xmlNode* a, const xmlNode* b) {
    return localNameOf(a) == localNameOf(b) && namespaceOf(a) == namespaceOf(b);
}

bool isTextNode(const xmlNode* node) { return node && nodeKind(node) == NodeKind::Text; }

// A child as deep-equal compares it: an element, or the text of one text node of the
// data model, which libxml2 may hold as several adjacent records (text beside CDATA).
struct SignificantChild {
    const xmlNode* element = nullptr;
    std::string text;
};

// The children that count: elements and text, comments and processing instructions left
// out. Text either side of a comment stays two text nodes, as in the data model.
std::vector<SignificantChild> significantChildren(const xmlNode* parent) {
    std::vector<SignificantChild> children;
    for (const xmlNode* child = firstTreeChild(parent); child; child = nextTreeSibling(child)) {
        const NodeKind kind = nodeKind(child);
        if (kind == NodeKind::Element) {
            children.push_back({child, {}});
            continue;
        }
        if (kind != NodeKind::Text) continue;
        const bool continuesText = isTextNode(previousTreeSibling(child));
        if (!continuesText) children.push_back({});
        appendStringValue(child, children.back().text);
    }
    return children;
}

bool deepEqualNodes(const xmlNode* a, const xmlNode* b, DynamicContext& context);

bool equalChildren(const xmlNode* a, const xmlNode* b, DynamicContext& context) {
    const std::vector<SignificantChild> left = significantChildren(a);
    const std::vector<SignificantChild> right = significantChildren(b);
    if (left.size() != right.size()) return false;
    for (size_t index = 0; index < left.size(); ++index) {
        const SignificantChild& x = left[index];
        const SignificantChild& y = right[index];
        if ((x.element == nullptr) != (y.element == nullptr)) return false;
        if (x.element ? !deepEqualNodes(x.element, y.element, context) : x.text != y.text) return false;
    }
    return true;
}

const xmlNode* attributeNode(const xmlAttr* attribute) { return reinterpret_cast<const xmlNode*>(attribute); }

size_t attributeCount(const xmlNode* element) {
    size_t count = 0;
    for (const xmlAttr* attribute = element->properties; attribute; attribute = attribute->next) ++count;
    return count;
}

// The same number of attributes, and each of `a` matched by name and value in `b`.
bool equalAttributes(const xmlNode* a, const xmlNode* b) {
    if (attributeCount(a) != attributeCount(b)) return false;
    for (const xmlAttr* mine = a->properties; mine; mine = mine->next) {
        const xmlAttr* theirs = b->properties;
        while (theirs && !sameName(attributeNode(mine), attributeNode(theirs))) theirs = theirs->next;
        if (!theirs || stringValueOf(attributeNode(mine)) != stringValueOf(attributeNode(theirs))) return false;
    }
    return true;
}

bool deepEqualNodes(const xmlNode* a, const xmlNode* b, DynamicContext& context) {
    context.budget().charge();
    const NodeKind kind = nodeKind(a);
    if (kind != nodeKind(b)) return false;
    switch (kind) {
    case NodeKind::Document: return equalChildren(a, b, context);
    case NodeKind::Element: return sameName(a, b) && equalAttributes(a, b) && equalChildren(a, b, context);
    case NodeKind::Attribute: return sameName(a, b) && stringValueOf(a) == stringValueOf(b);
    case NodeKind::ProcessingInstruction:
        return localNameOf(a) == localNameOf(b) && stringValueOf(a) == stringValueOf(b);
    case NodeKind::Text:
    case NodeKind::Comment: return stringValueOf(a) == stringValueOf(b);
    case NodeKind::Other: return a == b;
    }
    return false;
}

}  // namespace

bool deepEqual(const Sequence& a, const Sequence& b, DynamicContext& context) {
    if (a.size() != b.size()) return false;
    for (size_t index = 0; index < a.size(); ++index) {
        const Item& x = a[index];
        const Item& y = b[index];
        if (x.isNode() != y.isNode()) return false;
        const bool equal = x.isNode() ? deepEqualNodes(x.node().raw(), y.node().raw(), context)
                                      : equalForGrouping(x.atomic(), y.atomic(), context.operators());
        if (!equal) return false;
    }
    return true;
}

}  // namespace quillmark::xpath
