#include "xml/safe_parse.h"

#include <libxml/parser.h>

#include <climits>
#include <memory>

#include "xml/entity_expansion.h"
#include "xml/external_resources.h"
#include "xml/parse_errors.h"

namespace quillmark::xml::detail {
namespace {

// Never the network; white-space text is kept (no NOBLANKS). No DTD loading and no
// entity substitution in the first pass.
constexpr int kBaseOptions = XML_PARSE_NONET;

struct ParserContextFree {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};

xmlDoc* parseOnce(std::string_view bytes, const char* url, int options, ParseErrorCapture& capture) {
    ExternalResourceScope scope(nullptr, capture.sink());
    std::unique_ptr<xmlParserCtxt, ParserContextFree> context(xmlNewParserCtxt());
    if (!context) return nullptr;
    ExternalResourceScope::routeMessages(context.get());
    // libxml2 wants a non-null buffer even for empty text.
    const char* data = bytes.empty() ? "" : bytes.data();
    return xmlCtxtReadMemory(context.get(), data, static_cast<int>(bytes.size()), url, nullptr, options);
}

xmlDoc* fail(Error* error, int code, const std::string& description) {
    setError(error, kXMLParserDomain, code, description);
    return nullptr;
}

xmlDoc* failWith(Error* error, const ParseErrorCapture& capture) {
    return fail(error, capture.hasReport() ? capture.code() : XML_ERR_INTERNAL_ERROR,
                capture.description("Document could not be parsed"));
}

}  // namespace

xmlDoc* parseSafely(std::string_view bytes, const char* url, TextEncoding encoding, Error* error) {
    if (bytes.size() > static_cast<size_t>(INT_MAX))
        return fail(error, XML_ERR_INTERNAL_ERROR, "Document is too large (line 0, column 0)");
    const int options = kBaseOptions | (encoding == TextEncoding::Utf8 ? XML_PARSE_IGNORE_ENC : 0);
    ParseErrorCapture capture;
    xmlDoc* doc = parseOnce(bytes, url, options, capture);
    if (!doc) return failWith(error, capture);

    const EntityExpansion expansion = measureEntityExpansion(doc, entityExpansionLimit(bytes.size()));
    if (!expansion.hasReferences && !expansion.refusal) return doc;
    xmlFreeDoc(doc);
    if (expansion.refusal) return fail(error, XML_ERR_ENTITY_LOOP, *expansion.refusal);
    // Within the bound: read again with every reference replaced by its text, so that
    // no string value ever expands an entity again.
    ParseErrorCapture secondCapture;
    doc = parseOnce(bytes, url, options | XML_PARSE_NOENT, secondCapture);
    return doc ? doc : failWith(error, secondCapture);
}

}  // namespace quillmark::xml::detail
