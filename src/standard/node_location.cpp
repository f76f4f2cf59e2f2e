#include "standard/node_location.h"

#include "quillmark/schematron_validator.h"
#include "xpath/node_access.h"

namespace quillmark::standard {
namespace {

const xmlNode* elementOf(const xmlNode* node) {
    return node->type == XML_ELEMENT_NODE ? node : xpath::treeParent(node);
}

// 1 + the number of preceding text siblings.
int64_t textIndex(const xmlNode* node) {
    int64_t index = 1;
    for (const xmlNode* sibling = xpath::previousTreeSibling(node); sibling; sibling = xpath::previousTreeSibling(sibling)) {
        if (xpath::nodeKind(sibling) == xpath::NodeKind::Text) ++index;
    }
    return index;
}

// Offset of the first character of line `line` (1-based) in `text`; npos when the
// text is shorter.
size_t lineStart(const std::string& text, int64_t line) {
    size_t offset = 0;
    for (int64_t current = 1; current < line; ++current) {
        offset = text.find('\n', offset);
        if (offset == std::string::npos) return offset;
        ++offset;
    }
    return offset;
}

const xmlNode* previousElementSibling(const xmlNode* node) {
    const xmlNode* sibling = node->prev;
    while (sibling && sibling->type != XML_ELEMENT_NODE) sibling = sibling->prev;
    return sibling;
}

const xmlNode* lastElementChild(const xmlNode* node) {
    const xmlNode* child = node->last;
    while (child && child->type != XML_ELEMENT_NODE) child = child->prev;
    return child;
}

// The element whose start tag comes before `element`'s: the last element of the
// previous sibling's subtree, else the parent; null before the root element.
const xmlNode* previousElement(const xmlNode* element) {
    const xmlNode* previous = previousElementSibling(element);
    if (!previous) return element->parent && element->parent->type == XML_ELEMENT_NODE ? element->parent : nullptr;
    while (const xmlNode* last = lastElementChild(previous)) previous = last;
    return previous;
}

// The column (1-based, in bytes) of "<name" on the line. Start tags come in document
// order, so the elements of the same name whose start tags precede this one on the
// line (siblings, ancestors and their descendants alike) say which occurrence it is.
int64_t startTagColumn(const xmlNode* element, const std::string& source, int64_t line) {
    const size_t start = lineStart(source, line);
    if (start == std::string::npos) return 0;
    const size_t end = std::min(source.find('\n', start), source.size());
    const std::string name = xpath::qualifiedNameOf(element);
    const std::string tag = "<" + name;
    int64_t skip = 0;
    for (const xmlNode* other = previousElement(element); other && xmlGetLineNo(other) == line;
         other = previousElement(other)) {
        if (xpath::qualifiedNameOf(other) == name) ++skip;
    }
    for (size_t at = source.find(tag, start); at != std::string::npos && at < end; at = source.find(tag, at + 1)) {
        const char next = at + tag.size() < source.size() ? source[at + tag.size()] : '>';
        const bool whole = next == ' ' || next == '>' || next == '/' || next == '\t' || next == '\r' || next == '\n';
        if (!whole) continue;
        if (skip-- == 0) return static_cast<int64_t>(at - start) + 1;
    }
    return 0;
}

// The column of the last "<name" on the line, for a start tag that begins there and
// ends on a later line.
int64_t lastStartTagColumn(const xmlNode* element, const std::string& source, int64_t line) {
    const size_t start = lineStart(source, line);
    if (start == std::string::npos) return 0;
    const size_t end = std::min(source.find('\n', start), source.size());
    const std::string tag = "<" + xpath::qualifiedNameOf(element);
    int64_t found = 0;
    for (size_t at = source.find(tag, start); at != std::string::npos && at < end; at = source.find(tag, at + 1)) {
        const size_t after = at + tag.size();
        const char next = after < source.size() ? source[after] : '>';
        if (next == ' ' || next == '\t' || next == '\r' || next == '\n' || after == end) found = static_cast<int64_t>(at - start) + 1;
    }
    return found;
}

}  // namespace

std::string locationPath(const xmlNode* node) {
    switch (xpath::nodeKind(node)) {
    case xpath::NodeKind::Element:
    case xpath::NodeKind::Document:
        return QMSchematronValidator::getNodePath(xml::Node(const_cast<xmlNode*>(node)));
    case xpath::NodeKind::Attribute: {
        const std::string owner = locationPath(xpath::treeParent(node));
        return (owner == "/" ? "" : owner) + "/@" + xpath::qualifiedNameOf(node);
    }
    case xpath::NodeKind::Text: {
        const xmlNode* parent = xpath::treeParent(node);
        const std::string owner = parent ? locationPath(parent) : "";
        return (owner == "/" ? "" : owner) + "/text()[" + std::to_string(textIndex(node)) + "]";
    }
    case xpath::NodeKind::Comment:
    case xpath::NodeKind::ProcessingInstruction:
    case xpath::NodeKind::Other:
        return xpath::treeParent(node) ? locationPath(xpath::treeParent(node)) : "/";
    }
    return "/";
}

SourcePosition sourcePosition(const xmlNode* node, const std::string* source) {
    const xmlNode* element = elementOf(node);
    if (!element || element->type != XML_ELEMENT_NODE) return {};
    SourcePosition position;
    position.line = xmlGetLineNo(element);
    if (position.line <= 0) return {};
    if (!source) return position;
    position.column = startTagColumn(element, *source, position.line);
    if (position.column > 0) return position;
    // The parser notes the line where a start tag ends; one written over several lines
    // (attributes and namespace declarations on lines of their own) begins earlier.
    const xmlNode* previous = previousElement(element);
    const int64_t earliest = previous ? std::max<int64_t>(1, xmlGetLineNo(previous)) : 1;
    for (int64_t line = position.line - 1; line >= earliest; --line) {
        const int64_t column = lastStartTagColumn(element, *source, line);
        if (column > 0) return SourcePosition{line, column};
    }
    return position;
}

}  // namespace quillmark::standard
