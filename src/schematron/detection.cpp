// Document-type detection: which catalogued schemas fit a document. A schema fits when
// an element of the document uses one of the namespaces it declares and, when it
// demands a customization identifier, the document's identifier begins with or
// contains it. Results are cached per namespace set and identifier.

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/unicode.h"
#include "quillmark/xml.h"

namespace quillmark {
namespace {

std::optional<std::string> firstStringValue(const xml::Document& document, const char* xpath) {
    auto nodes = document.node().nodesForXPath(xpath);
    if (nodes.empty()) return std::nullopt;
    return nodes.front().stringValue().value_or("");
}

// URIs sorted by UTF-16 code units (which differs from UTF-8 byte order above U+FFFF),
// joined with "|", then "#" and the identifier.
std::string cacheKey(const std::set<std::string>& namespaces, const std::optional<std::string>& customizationID) {
    std::vector<std::u16string> sorted;
    for (const auto& uri : namespaces) sorted.push_back(unicode::toUtf16(uri));
    std::sort(sorted.begin(), sorted.end());
    std::string key;
    for (size_t i = 0; i < sorted.size(); ++i) {
        if (i > 0) key += '|';
        key += unicode::fromUtf16(sorted[i]);
    }
    return key + "#" + customizationID.value_or("");
}

bool declaresUsedNamespace(const CatalogEntry& entry, const std::set<std::string>& namespaces) {
    return std::any_of(entry.namespaces.begin(), entry.namespaces.end(),
                       [&](const auto& declaration) { return namespaces.count(declaration.second) > 0; });
}

bool fits(const CatalogEntry& entry, const std::set<std::string>& namespaces,
          const std::optional<std::string>& customizationID) {
    if (!declaresUsedNamespace(entry, namespaces)) return false;
    if (!customizationID || !entry.customizationID) return true;
    // The document's identifier begins with the demanded one or contains it anywhere
    // (a CIUS identifier extends the identifier of the core standard it refines).
    return customizationID->find(*entry.customizationID) != std::string::npos;
}

}  // namespace

// Walks the element tree without recursion, so that nesting depth costs no stack.
void QMSchematronValidator::collectNamespacesFromElement(xml::Node element, std::set<std::string>& into) {
    std::vector<xml::Node> pending{element};
    while (!pending.empty()) {
        xml::Node current = pending.back();
        pending.pop_back();
        if (!current.isElement()) continue;
        std::string uri = current.namespaceURI();
        if (!uri.empty()) into.insert(uri);
        auto children = current.children();
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
}

std::optional<std::string> QMSchematronValidator::documentCustomizationID(const xml::Document& document) {
    if (auto id = firstStringValue(document, "//*[local-name()='CustomizationID']")) return id;
    return firstStringValue(document,
                            "//*[local-name()='GuidelineSpecifiedDocumentContextParameter']/*[local-name()='ID']");
}

std::vector<std::string> QMSchematronValidator::matchingSchemaPaths(const xml::Document& document, bool* cached) {
    std::optional<std::string> customizationID = documentCustomizationID(document);
    std::set<std::string> namespaces;
    if (xml::Node root = document.rootElement()) collectNamespacesFromElement(root, namespaces);

    const std::string key = cacheKey(namespaces, customizationID);
    *cached = false;
    if (auto found = _matchingCache.find(key); found != _matchingCache.end()) {
        *cached = true;
        return found->second;
    }
    std::vector<std::string> matches;
    for (const auto& [path, entry] : _schemaCatalog) {
        if (fits(entry, namespaces, customizationID)) matches.push_back(path);
    }
    _matchingCache[key] = matches;
    return matches;
}

std::optional<std::vector<std::string>> QMSchematronValidator::findMatchingSchemasForXML(const std::string& xml,
                                                                                        Error* error) {
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    bool cached = false;
    std::vector<std::string> matches = matchingSchemaPaths(*document, &cached);
    // A list served from the cache leaves the error slot alone, even when it is empty.
    if (matches.empty() && !cached) setError(error, kQuillmarkDomain, 404, kNoMatchingSchemaDescription);
    return matches;
}

}  // namespace quillmark
