#include "xml/simple_path.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>

namespace quillmark::xml::detail {
namespace {

// ---- parsing ----------------------------------------------------------------------

bool isNameStart(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u >= 0x80 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isNameChar(char c) { return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Reads an NCName at `pos`; empty when there is none.
std::string_view readName(std::string_view text, size_t& pos) {
    if (pos >= text.size() || !isNameStart(text[pos])) return {};
    const size_t begin = pos;
    while (pos < text.size() && isNameChar(text[pos])) ++pos;
    return text.substr(begin, pos - begin);
}

bool consume(std::string_view text, size_t& pos, std::string_view expected) {
    if (text.substr(pos, expected.size()) != expected) return false;
    pos += expected.size();
    return true;
}

// "[local-name()='NAME']" after a "*": the name, or nullopt.
std::optional<std::string> readLocalNameTest(std::string_view text, size_t& pos) {
    if (!consume(text, pos, "[local-name()=") || pos >= text.size()) return std::nullopt;
    const char quote = text[pos];
    if (quote != '\'' && quote != '"') return std::nullopt;
    const size_t close = text.find(quote, pos + 1);
    if (close == std::string_view::npos) return std::nullopt;
    std::string name(text.substr(pos + 1, close - pos - 1));
    pos = close + 1;
    if (!consume(text, pos, "]")) return std::nullopt;
    return name;
}

// A name test after "*" or "@*" or a plain name; false when the text does not fit.
bool readNameTest(std::string_view text, size_t& pos, SimpleStep& step) {
    if (consume(text, pos, "*")) {
        if (pos < text.size() && text[pos] == '[') {
            std::optional<std::string> name = readLocalNameTest(text, pos);
            if (!name) return false;
            step.test = SimpleStep::Test::LocalName;
            step.name = std::move(*name);
            return true;
        }
        step.test = SimpleStep::Test::Any;
        return true;
    }
    const std::string_view name = readName(text, pos);
    if (name.empty()) return false;
    step.test = SimpleStep::Test::UnqualifiedName;
    step.name = std::string(name);
    return true;
}

std::optional<SimpleStep> readStep(std::string_view text, size_t& pos) {
    SimpleStep step;
    if (consume(text, pos, "text()")) {
        step.axis = SimpleStep::Axis::Text;
        return step;
    }
    if (consume(text, pos, ".")) {
        step.axis = SimpleStep::Axis::Self;
        return step;
    }
    step.axis = consume(text, pos, "@") ? SimpleStep::Axis::Attribute : SimpleStep::Axis::Child;
    if (!readNameTest(text, pos, step)) return std::nullopt;
    return step;
}

// ---- evaluation -------------------------------------------------------------------

bool hasChildren(const xmlNode* node) {
    return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE ||
           node->type == XML_HTML_DOCUMENT_NODE;
}

bool matches(const SimpleStep& step, const xmlNode* node) {
    switch (step.test) {
        case SimpleStep::Test::Any:
            return true;
        case SimpleStep::Test::LocalName:
            return xmlStrEqual(node->name, reinterpret_cast<const xmlChar*>(step.name.c_str()));
        case SimpleStep::Test::UnqualifiedName:
            return !node->ns && xmlStrEqual(node->name, reinterpret_cast<const xmlChar*>(step.name.c_str()));
    }
    return false;
}

bool isText(const xmlNode* node) { return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE; }

// What one step selects from one node, appended in document order.
void applyStep(const SimpleStep& step, xmlNode* node, std::vector<xmlNode*>& into) {
    switch (step.axis) {
        case SimpleStep::Axis::Self:
            into.push_back(node);
            return;
        case SimpleStep::Axis::Child:
            if (!hasChildren(node)) return;
            for (xmlNode* child = node->children; child; child = child->next) {
                if (child->type == XML_ELEMENT_NODE && matches(step, child)) into.push_back(child);
            }
            return;
        case SimpleStep::Axis::Attribute:
            if (node->type != XML_ELEMENT_NODE) return;
            for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
                auto* raw = reinterpret_cast<xmlNode*>(attribute);
                if (matches(step, raw)) into.push_back(raw);
            }
            return;
        case SimpleStep::Axis::Text:
            if (!hasChildren(node)) return;
            for (xmlNode* child = node->children; child; child = child->next) {
                if (isText(child)) into.push_back(child);
            }
            return;
    }
}

// "//step": the step applied to every node below the root, in document order. A node
// is visited before its descendants and its attributes come before its children, which
// is what a preorder walk gives.
void applyToDescendants(const SimpleStep& step, xmlNode* root, std::vector<xmlNode*>& into) {
    xmlNode* node = root;
    while (node) {
        if (node != root || step.axis == SimpleStep::Axis::Attribute) {
            switch (step.axis) {
                case SimpleStep::Axis::Child:
                    if (node->type == XML_ELEMENT_NODE && matches(step, node)) into.push_back(node);
                    break;
                case SimpleStep::Axis::Text:
                    if (isText(node)) into.push_back(node);
                    break;
                case SimpleStep::Axis::Attribute:
                    applyStep(step, node, into);
                    break;
                case SimpleStep::Axis::Self:
                    break;  // not accepted by the parser
            }
        }
        if (hasChildren(node) && node->children) {
            node = node->children;
            continue;
        }
        while (node != root && !node->next) node = node->parent;
        node = node == root ? nullptr : node->next;
    }
}

xmlNode* documentNodeOf(xmlNode* node) { return node->doc ? reinterpret_cast<xmlNode*>(node->doc) : nullptr; }

}  // namespace

std::optional<SimplePath> parseSimplePath(std::string_view text) {
    SimplePath path;
    size_t pos = 0;
    if (consume(text, pos, "//")) {
        path.start = SimplePath::Start::RootDescendants;
    } else if (consume(text, pos, "/")) {
        path.start = SimplePath::Start::Root;
        if (pos == text.size()) return path;
    }
    while (true) {
        std::optional<SimpleStep> step = readStep(text, pos);
        if (!step) return std::nullopt;
        path.steps.push_back(std::move(*step));
        if (pos == text.size()) break;
        // A step is followed by "/" and another step; "//" in the middle is not handled.
        if (!consume(text, pos, "/") || (pos < text.size() && text[pos] == '/')) return std::nullopt;
    }
    const bool descendantSelf =
        path.start == SimplePath::Start::RootDescendants && path.steps.front().axis == SimpleStep::Axis::Self;
    if (descendantSelf) return std::nullopt;
    for (size_t i = 0; i + 1 < path.steps.size(); ++i) {
        const SimpleStep::Axis axis = path.steps[i].axis;
        if (axis == SimpleStep::Axis::Attribute || axis == SimpleStep::Axis::Text) return std::nullopt;
    }
    return path;
}

std::vector<xmlNode*> evaluateSimplePath(const SimplePath& path, xmlNode* context) {
    std::vector<xmlNode*> current;
    size_t firstStep = 0;
    switch (path.start) {
        case SimplePath::Start::Context:
            current.push_back(context);
            break;
        case SimplePath::Start::Root:
            if (xmlNode* root = documentNodeOf(context)) current.push_back(root);
            break;
        case SimplePath::Start::RootDescendants:
            if (xmlNode* root = documentNodeOf(context)) applyToDescendants(path.steps.front(), root, current);
            firstStep = 1;
            break;
    }
    std::vector<xmlNode*> next;
    for (size_t i = firstStep; i < path.steps.size() && !current.empty(); ++i) {
        next.clear();
        for (xmlNode* node : current) applyStep(path.steps[i], node, next);
        current.swap(next);
    }
    // After "//a" the nodes may nest, and their children then interleave; every node
    // still occurs once, so ordering them is all that is left to do.
    if (path.start == SimplePath::Start::RootDescendants && path.steps.size() > 1) {
        std::stable_sort(current.begin(), current.end(),
                         [](xmlNode* a, xmlNode* b) { return xmlXPathCmpNodes(a, b) == 1; });
    }
    return current;
}

}  // namespace quillmark::xml::detail
