// Finding an issue's element in the XML text shown to the user. The location is
// evaluated over a fresh parse of the text; the element's start tag is then found by
// plain text search, tag by tag from the root down, counting same-named siblings.
// The search is deliberately simple: a longer tag name with the same beginning, tags
// inside comments or character data, and same-named elements nested in earlier
// siblings all count as matches, and the ">" found may sit inside an attribute value.

#include <unicode/unistr.h>

#include <string_view>

#include "quillmark/evaluator.h"
#include "quillmark/ui/result_window_controller.h"

namespace quillmark {

namespace {

std::u16string toUTF16(const std::string& text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    return std::u16string(unicode.getBuffer(), unicode.getBuffer() + unicode.length());
}

// The elements from the root element down to `node`.
std::vector<xml::Node> elementPath(xml::Node node) {
    std::vector<xml::Node> path;
    for (xml::Node current = node; current && current.isElement(); current = current.parent())
        path.insert(path.begin(), current);
    return path;
}

// One more than the number of preceding sibling elements with the same name.
int64_t occurrenceNumber(xml::Node element) {
    xml::Node parent = element.parent();
    if (!parent) return 1;
    int64_t occurrence = 1;
    const std::string name = element.name();
    for (const xml::Node& sibling : parent.children()) {
        if (sibling == element) break;
        if (sibling.isElement() && sibling.name() == name) ++occurrence;
    }
    return occurrence;
}

// The node a location value designates: the value itself or a sequence's first item.
xml::Node firstNode(const Value& value) {
    if (value.isNode()) return value.asNode();
    if (value.isSequence() && !value.items().empty() && value.items().front().isNode())
        return value.items().front().asNode();
    return {};
}

// A namespace map from the declarations on the root element; empty URIs are skipped.
QMXPath2Evaluator::NamespaceMap rootNamespaces(const xml::Document& document) {
    QMXPath2Evaluator::NamespaceMap namespaces;
    xml::Node root = document.rootElement();
    if (!root) return namespaces;
    for (const auto& [prefix, uri] : root.namespaceDeclarations()) {
        if (!uri.empty()) namespaces[prefix] = uri;
    }
    return namespaces;
}

}  // namespace

std::optional<QMTextRange> QMValidationResultWindowController::rangeOfNodeInText(xml::Node node,
                                                                                const std::string& text) {
    if (!node || !node.isElement()) return std::nullopt;
    const std::u16string source = toUTF16(text);
    const std::u16string_view view(source);
    const size_t textLength = source.size();
    size_t position = 0;

    for (const xml::Node& element : elementPath(node)) {
        const std::u16string tag = u"<" + toUTF16(element.name());
        int64_t occurrence = occurrenceNumber(element);
        if (position >= textLength) continue;
        while (true) {
            size_t found = view.find(tag, position);
            if (found == std::u16string_view::npos) return std::nullopt;
            if (occurrence == 1) {
                position = found;
                break;
            }
            --occurrence;
            position = found + tag.size();
            if (position >= textLength) break;
        }
    }
    if (position >= textLength) return std::nullopt;
    size_t close = view.find(u'>', position);
    if (close == std::u16string_view::npos) return std::nullopt;
    return QMTextRange{static_cast<int64_t>(position), static_cast<int64_t>(close - position + 1)};
}

std::optional<QMTextRange> QMValidationResultWindowController::rangeOfLocationInXML(const std::string& location,
                                                                                   const std::string& text) {
    if (text.empty()) return std::nullopt;
    Error parseError;
    std::shared_ptr<xml::Document> document = xml::Document::parse(text, &parseError);
    if (!document) return std::nullopt;
    QMXPath2Evaluator evaluator(rootNamespaces(*document));
    Error evaluationError;
    Value value = evaluator.evaluate(location, document->node(), &evaluationError);
    if (evaluationError.isSet()) return std::nullopt;
    return rangeOfNodeInText(firstNode(value), text);
}

void QMValidationResultWindowController::findAndHighlightNode(xml::Node node, const std::string& text) {
    if (!_xmlTextView) return;
    if (auto range = rangeOfNodeInText(node, text)) _xmlTextView->selectRange(*range);
}

void QMValidationResultWindowController::highlightNodeInXML(const std::string& location) {
    if (!_xmlTextView) return;
    if (auto range = rangeOfLocationInXML(location, _xmlTextView->text())) _xmlTextView->selectRange(*range);
}

}  // namespace quillmark
