// Paths that begin with "//NAME" in a document that does not change during the
// evaluator's work start from an index of its elements by local name, made once,
// instead of visiting every node of the document at every evaluation. The nodes they
// yield are the ones XPath selects, in document order, without repeats.

#include "quillmark/evaluator.h"
#include "xml/element_index.h"

namespace quillmark {

void QMXPath2Evaluator::setUnchangingDocument(xml::Node node) {
    _elementIndex = node ? std::make_unique<xml::ElementIndex>(node) : nullptr;
}

bool QMXPath2Evaluator::selectFromIndex(xml::Node context, const std::string& xpath, std::vector<xml::Node>& into,
                                        bool* failed) {
    if (!_elementIndex || !_elementIndex->covers(context)) return false;
    std::optional<xml::DescendantStart> start = xml::splitDescendantStart(xpath);
    if (!start) return false;
    const std::vector<xml::Node>& elements = _elementIndex->elementsNamed(start->localName);
    if (start->relativePath == ".") {
        into = elements;
        if (failed) *failed = false;
        return true;
    }
    // The path from each element runs the steps and predicates that XPath runs from the
    // document for that element; an error from any of them fails the whole path.
    bool stepFailed = false;
    for (xml::Node element : elements) {
        if (!chargeSteps()) break;
        std::vector<xml::Node> selected = _xpath->select(element, start->relativePath, &stepFailed);
        if (stepFailed) break;
        into.insert(into.end(), selected.begin(), selected.end());
    }
    if (failed) *failed = stepFailed;
    if (stepFailed) {
        into.clear();
        return true;
    }
    // Elements that nest, or steps that leave an element, can bring nodes twice or out
    // of order.
    if (!start->staysInside || _elementIndex->nests(start->localName)) xml::sortInDocumentOrder(into);
    return true;
}

}  // namespace quillmark
