#pragma once
// The elements of a document by local name, in document order, made in one walk. Rule
// contexts and tests mostly begin with "//NAME" ("//*[local-name()='NAME']" once their
// prefixes are rewritten), which makes XPath visit every node of the document; with the
// index such a path starts from the elements of that name instead. The index is right
// only while the document is not changed, so it is made by whoever can promise that:
// the validation run, for the document it validates.

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quillmark/xml.h"

namespace quillmark::xml {

class ElementIndex {
public:
    // Indexes the document that `node` belongs to.
    explicit ElementIndex(Node node);

    // Whether `node` is an element, attribute, text or the document node of the indexed
    // document (a path from it searches that document).
    bool covers(Node node) const;
    // The elements with this local name, in document order.
    const std::vector<Node>& elementsNamed(const std::string& localName) const;
    // Whether an element with this local name lies inside another one of the same name.
    bool nests(const std::string& localName) const;

private:
    struct Elements {
        std::vector<Node> nodes;
        bool nested = false;
    };
    void add(Node element, std::string_view localName, size_t openOfSameName);

    Node document_;
    // Keys point at the document's own names: an index lives no longer than its document.
    std::unordered_map<std::string_view, Elements> byName_;
};

// A location path that begins with "//*[local-name()='NAME']": the name, and the rest as
// a path relative to each such element ("." when there is no rest).
struct DescendantStart {
    std::string localName;
    std::string relativePath;
    // The rest selects only inside each element (no "..", no axis steps): the results of
    // elements that do not nest come out in document order, without repeats.
    bool staysInside = true;
};

// The split of `xpath`; nullopt unless the whole text is one location path that begins
// that way (no predicate on the first step; no operator, union, function call or
// blank outside the predicates of later steps).
std::optional<DescendantStart> splitDescendantStart(std::string_view xpath);

// Puts nodes of one document into document order and drops repeats.
void sortInDocumentOrder(std::vector<Node>& nodes);

}  // namespace quillmark::xml
