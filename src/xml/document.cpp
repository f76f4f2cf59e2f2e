// Parsing, the document node and serialization of a whole document.

#include <libxml/parser.h>
#include <libxml/tree.h>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"
#include "xml/safe_parse.h"

namespace quillmark::xml {
Document::~Document() {
    if (doc_) xmlFreeDoc(doc_);
}

std::shared_ptr<Document> Document::parse(std::string_view text, Error* error) {
    // The text is UTF-8 already, so an encoding named in the XML declaration must not
    // re-decode it.
    xmlDoc* doc = detail::parseSafely(text, nullptr, detail::TextEncoding::Utf8, error);
    if (!doc) return nullptr;
    return std::shared_ptr<Document>(new Document(doc));
}

std::shared_ptr<Document> Document::parseFile(const std::string& path, Error* error) {
    std::optional<std::string> text = readTextFile(path, error);
    if (!text) return nullptr;
    Error parseError;
    auto document = parse(*text, &parseError);
    if (!document && error) {
        *error = parseError;
        error->localizedDescription = path + ": " + parseError.localizedDescription;
    }
    return document;
}

std::shared_ptr<Document> Document::create() {
    detail::ensureLibxmlInitialized();
    return std::shared_ptr<Document>(new Document(xmlNewDoc(BAD_CAST "1.0")));
}

Node Document::node() const { return Node(reinterpret_cast<xmlNode*>(doc_)); }

Node Document::rootElement() const { return Node(xmlDocGetRootElement(doc_)); }

std::string Document::xmlString(bool pretty) const {
    xmlChar* bytes = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc_, &bytes, &size, "UTF-8", pretty ? 1 : 0);
    if (!bytes) return {};
    std::string result(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size));
    xmlFree(bytes);
    return result;
}

}  // namespace quillmark::xml
