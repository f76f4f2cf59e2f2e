// Splices the files that a rule set includes into its text, one level deep, each file
// once.

#include "schematron/include_resolution.h"

#include <libxml/tree.h>

#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "schematron/schematron_namespaces.h"

namespace quillmark::schematron {

namespace {

// Elements called include in other vocabularies (XSLT, XInclude) are not ours.
bool isSchematronInclude(xml::Node element) { return isSchematronNamespace(element.namespaceURI()); }

// The same file reached by two spellings or through a symbolic link has one key.
std::string fileKey(const std::string& path) {
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

// The href is always relative to the base directory, even when it begins with "/";
// "." and ".." segments are resolved lexically.
std::string joinIncludePath(const std::string& basePath, const std::string& href) {
    std::string relative = href;
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    std::filesystem::path joined = std::filesystem::path(basePath) / relative;
    std::string normal = joined.lexically_normal().string();
    if (normal.size() > 1 && normal.back() == '/') normal.pop_back();
    return normal;
}

// Detached include elements stay allocated until the whole document is done: an include
// may sit inside another one, and later steps still ask it for its position.
struct DetachedNodes {
    std::vector<xmlNode*> nodes;
    ~DetachedNodes() {
        for (xmlNode* node : nodes) xmlFreeNode(node);
    }
    void detach(xml::Node node) {
        xmlUnlinkNode(node.raw());
        nodes.push_back(node.raw());
    }
};

std::shared_ptr<xml::Document> loadIncludedDocument(const std::string& path, Error* error) {
    auto text = xml::readTextFile(path, error);
    if (!text) {
        log("Warning: Could not load included file: " + path);
        return nullptr;
    }
    auto included = xml::Document::parse(*text, error);
    if (!included) log("Warning: Could not parse included file: " + path);
    return included;
}

// Copies the element children of the included root into the including root, each at
// the position the include element has at that moment among its own parent's children.
// For an include directly under the root that position moves on with every insertion,
// so the copies keep their order; for a deeper one it stays put and they end up
// reversed. A position past the end of the root appends.
void spliceInto(xml::Document& document, xml::Node root, xml::Node include, const xml::Document& included) {
    xml::Node includedRoot = included.rootElement();
    if (!includedRoot) return;
    for (xml::Node child : includedRoot.children()) {
        if (!child.isElement()) continue;
        document.insertCopy(root, include.index(), child);
    }
}

std::vector<xml::Node> schematronIncludes(const xml::Document& document) {
    bool failed = false;
    std::vector<xml::Node> includes;
    for (xml::Node element : document.node().nodesForXPath("//*[local-name()='include']", &failed)) {
        if (isSchematronInclude(element)) includes.push_back(element);
    }
    return includes;
}

}  // namespace

std::string resolveIncludes(const std::string& text, const std::string& basePath,
                            const std::optional<std::string>& ownPath, Error* error) {
    auto document = xml::Document::parse(text, error);
    if (!document) return text;
    std::vector<xml::Node> includes = schematronIncludes(*document);
    if (includes.empty()) return text;

    xml::Node root = document->rootElement();
    DetachedNodes detached;
    std::set<std::string> spliced;
    if (ownPath) spliced.insert(fileKey(*ownPath));
    for (xml::Node include : includes) {
        auto href = include.attribute("href");
        if (!href) continue;
        std::string path = joinIncludePath(basePath, *href);
        if (spliced.count(fileKey(path))) {
            // Its rules are in the rule set already; twice would report every finding twice.
            log("Warning: Skipping repeated include of file: " + path);
            detached.detach(include);
            continue;
        }
        auto included = loadIncludedDocument(path, error);
        if (!included) continue;
        spliced.insert(fileKey(path));
        if (root) spliceInto(*document, root, include, *included);
        detached.detach(include);
    }
    return document->xmlString();
}

}  // namespace quillmark::schematron

namespace quillmark {

std::string QMSchematronValidator::processIncludes(const std::string& text, const std::string& basePath,
                                                   Error* error) {
    return schematron::resolveIncludes(text, basePath, std::nullopt, error);
}

}  // namespace quillmark
