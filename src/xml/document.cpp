// Parsing, the document node and serialization of a whole document.

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <climits>

#include "quillmark/xml.h"
#include "xml/libxml_support.h"
#include "xml/parse_errors.h"

namespace quillmark::xml {
namespace {

// Entities stay references, external subsets and entities are never fetched, and
// white-space text is kept (no NOBLANKS). The text is UTF-8 already, so an encoding
// named in the XML declaration must not re-decode it.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_IGNORE_ENC;

struct ParserContextFree {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};

}  // namespace

Document::~Document() {
    if (doc_) xmlFreeDoc(doc_);
}

std::shared_ptr<Document> Document::parse(std::string_view text, Error* error) {
    detail::ensureLibxmlInitialized();
    if (text.size() > static_cast<size_t>(INT_MAX)) {
        setError(error, kXMLParserDomain, XML_ERR_INTERNAL_ERROR, "Document is too large (line 0, column 0)");
        return nullptr;
    }
    detail::ParseErrorCapture capture;
    std::unique_ptr<xmlParserCtxt, ParserContextFree> context(xmlNewParserCtxt());
    xmlDoc* doc = nullptr;
    if (context) {
        // libxml2 wants a non-null buffer even for empty text.
        const char* bytes = text.empty() ? "" : text.data();
        doc = xmlCtxtReadMemory(context.get(), bytes, static_cast<int>(text.size()), nullptr, nullptr,
                                kParseOptions);
    }
    if (doc) return std::shared_ptr<Document>(new Document(doc));
    const int code = capture.hasReport() ? capture.code() : XML_ERR_INTERNAL_ERROR;
    setError(error, kXMLParserDomain, code, capture.description("Document could not be parsed"));
    return nullptr;
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
