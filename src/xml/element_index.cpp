#include "xml/element_index.h"

#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <algorithm>

namespace quillmark::xml {
namespace {

std::string_view nameOf(const xmlNode* node) {
    return node->name ? std::string_view(reinterpret_cast<const char*>(node->name)) : std::string_view();
}

// ---- splitting a path ---------------------------------------------------------------

constexpr std::string_view kDescendantByLocalName = "//*[local-name()=";

bool isNameChar(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u >= 0x80 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

// The position after the "]" that closes the predicate opened at `open`; npos when it is
// not closed. Brackets inside string literals do not count.
size_t afterPredicate(std::string_view path, size_t open) {
    int depth = 0;
    for (size_t i = open; i < path.size(); ++i) {
        const char c = path[i];
        if (c == '\'' || c == '"') {
            i = path.find(c, i + 1);
            if (i == std::string_view::npos) return i;
        } else if (c == '[') {
            ++depth;
        } else if (c == ']' && --depth == 0) {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

// "()" after a node-type test ("text()", "node()", "comment()"); the position after it,
// or npos for any other parenthesis (a function call, a group).
size_t afterNodeTest(std::string_view path, size_t open) {
    if (path.substr(open, 2) != "()") return std::string_view::npos;
    size_t start = open;
    while (start > 0 && isNameChar(path[start - 1])) --start;
    const std::string_view test = path.substr(start, open - start);
    if (test != "text" && test != "node" && test != "comment") return std::string_view::npos;
    return open + 2;
}

// Whether the text is a relative location path: steps of names, "*", "@", ".", node
// tests and axes joined by "/", with anything at all inside predicates. Notes whether a
// step may leave the subtree of the node the path starts from.
bool isRelativeLocationPath(std::string_view path, bool& staysInside) {
    if (path.empty() || path.front() == '/' || path.back() == '/') return false;
    for (size_t i = 0; i < path.size();) {
        const char c = path[i];
        if (c == '[') {
            i = afterPredicate(path, i);
        } else if (c == '(') {
            i = afterNodeTest(path, i);
        } else if (c == '*') {
            // A name test only where a step begins; elsewhere it multiplies.
            if (i > 0 && path[i - 1] != '/' && path[i - 1] != '@' && path[i - 1] != ':') return false;
            ++i;
        } else if (c == ':' || c == '/' || c == '@' || isNameChar(c)) {
            if (path.substr(i, 2) == "::" || path.substr(i, 2) == "..") staysInside = false;
            ++i;
        } else {
            return false;
        }
        if (i == std::string_view::npos) return false;
    }
    return true;
}

}  // namespace

ElementIndex::ElementIndex(Node node) : document_(node ? node.documentNode() : Node()) {
    xmlNode* top = document_.raw();
    if (!top) return;
    // A walk in document order; `open` counts the elements of each name that enclose
    // the current node.
    std::unordered_map<std::string_view, size_t> open;
    for (xmlNode* current = top->children; current;) {
        if (current->type == XML_ELEMENT_NODE) {
            const std::string_view name = nameOf(current);
            size_t& enclosing = open[name];
            add(Node(current), name, enclosing);
            if (current->children) {
                ++enclosing;
                current = current->children;
                continue;
            }
        }
        while (current && !current->next) {
            current = current->parent;
            if (current == top) current = nullptr;
            if (current) --open[nameOf(current)];
        }
        if (current) current = current->next;
    }
}

void ElementIndex::add(Node element, std::string_view localName, size_t openOfSameName) {
    Elements& elements = byName_[localName];
    elements.nodes.push_back(element);
    if (openOfSameName > 0) elements.nested = true;
}

bool ElementIndex::covers(Node node) const {
    if (!node || !document_) return false;
    switch (node.kind()) {
        case NodeKind::Document:
        case NodeKind::Element:
        case NodeKind::Attribute:
        case NodeKind::Text:
        case NodeKind::ProcessingInstruction:
        case NodeKind::Comment: return node.raw()->doc == document_.raw()->doc;
        case NodeKind::Invalid:
        case NodeKind::Namespace:
        case NodeKind::DTD: return false;
    }
    return false;
}

const std::vector<Node>& ElementIndex::elementsNamed(const std::string& localName) const {
    static const std::vector<Node> none;
    auto found = byName_.find(localName);
    return found == byName_.end() ? none : found->second.nodes;
}

bool ElementIndex::nests(const std::string& localName) const {
    auto found = byName_.find(localName);
    return found != byName_.end() && found->second.nested;
}

void sortInDocumentOrder(std::vector<Node>& nodes) {
    std::stable_sort(nodes.begin(), nodes.end(),
                     [](Node a, Node b) { return xmlXPathCmpNodes(a.raw(), b.raw()) == 1; });
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

std::optional<DescendantStart> splitDescendantStart(std::string_view xpath) {
    if (!xpath.starts_with(kDescendantByLocalName)) return std::nullopt;
    size_t pos = kDescendantByLocalName.size();
    if (pos >= xpath.size() || (xpath[pos] != '\'' && xpath[pos] != '"')) return std::nullopt;
    const size_t close = xpath.find(xpath[pos], pos + 1);
    if (close == std::string_view::npos || xpath.substr(close + 1, 1) != "]") return std::nullopt;

    DescendantStart start;
    start.localName = std::string(xpath.substr(pos + 1, close - pos - 1));
    std::string_view rest = xpath.substr(close + 2);
    if (rest.empty()) {
        start.relativePath = ".";
        return start;
    }
    if (rest.front() != '/') return std::nullopt;  // a predicate on the first step, or no path
    // "//NAME//x" goes on from each element as ".//x", "//NAME/x" as "x".
    start.relativePath = rest.starts_with("//") ? "." + std::string(rest) : std::string(rest.substr(1));
    if (!isRelativeLocationPath(start.relativePath, start.staysInside)) return std::nullopt;
    return start;
}

}  // namespace quillmark::xml
