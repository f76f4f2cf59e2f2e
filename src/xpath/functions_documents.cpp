// Functions on documents and their URIs: fn:doc, fn:doc-available, fn:collection,
// fn:base-uri, fn:document-uri, fn:static-base-uri. Only local files can be read:
// paths and file: URIs, relative ones against the working directory.

#include <libxml/tree.h>

#include <cctype>
#include <filesystem>

#include "xpath/function_family_parts.h"
#include "xpath/function_registration.h"
#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

Sequence uriResult(const xmlChar* uri) {
    if (!uri) return {};
    return single(AtomicValue::fromString(reinterpret_cast<const char*>(uri), AtomicType::AnyURI));
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// %HH escapes replaced by their bytes; a "%" that starts no escape stays as it is.
std::string percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t index = 0; index < text.size(); ++index) {
        const int high = index + 2 < text.size() && text[index] == '%' ? hexValue(text[index + 1]) : -1;
        const int low = high >= 0 ? hexValue(text[index + 2]) : -1;
        if (low < 0) {
            decoded += text[index];
            continue;
        }
        decoded += static_cast<char>(high * 16 + low);
        index += 2;
    }
    return decoded;
}

// scheme ":" with scheme ::= ALPHA *( ALPHA / DIGIT / "+" / "-" / "." ); one letter is
// taken for a drive rather than a scheme.
size_t schemeLength(std::string_view uri) {
    const size_t colon = uri.find(':');
    if (colon == std::string_view::npos || colon < 2 || !std::isalpha(static_cast<unsigned char>(uri[0]))) return 0;
    for (size_t index = 1; index < colon; ++index) {
        const char c = uri[index];
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.') return 0;
    }
    return colon;
}

// The absolute path of the local file a URI names; FODC0002 for other schemes.
std::filesystem::path localFile(std::string_view uri) {
    std::string_view path = uri;
    if (const size_t scheme = schemeLength(uri); scheme > 0) {
        if (uri.substr(0, scheme) != "file") {
            throw XPathError(ErrorCode::FODC0002,
                             "doc(): only local files can be read, not \"" + std::string(uri) + "\"");
        }
        path = uri.substr(scheme + 1);
        if (path.starts_with("//")) {  // an authority: only the local host
            path.remove_prefix(2);
            if (path.starts_with("localhost")) path.remove_prefix(9);
            if (!path.starts_with('/')) {
                throw XPathError(ErrorCode::FODC0002, "doc(): \"" + std::string(uri) + "\" is not a local file");
            }
        }
    }
    std::error_code ignored;
    return std::filesystem::absolute(percentDecoded(path), ignored).lexically_normal();
}

// Reads and parses the document; FODC0002 when that fails. The document knows its URI
// afterwards ("file:/dir/a%20b.xml"), for fn:document-uri and fn:base-uri.
std::shared_ptr<xml::Document> loadDocument(std::string_view uri) {
    const std::filesystem::path file = localFile(uri);
    Error error;
    std::shared_ptr<xml::Document> document = xml::Document::parseFile(file.string(), &error);
    if (!document) throw XPathError(ErrorCode::FODC0002, "doc(): " + error.localizedDescription);
    xmlDoc* raw = document->raw();
    if (raw->URL) xmlFree(const_cast<xmlChar*>(raw->URL));
    raw->URL = xmlStrdup(reinterpret_cast<const xmlChar*>(("file:" + iriToUri(file.string())).c_str()));
    return document;
}

Sequence doc(DynamicContext& context, Arguments& arguments) {
    if (arguments[0].empty()) return {};
    std::shared_ptr<xml::Document> document = loadDocument(stringArgument(arguments[0]));
    Sequence result{Item(document->node())};
    context.adoptDocument(std::move(document));
    return result;
}

Sequence docAvailable(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty()) return booleanResult(false);
    try {
        loadDocument(stringArgument(arguments[0]));
        return booleanResult(true);
    } catch (const XPathError&) {
        return booleanResult(false);
    }
}

Sequence collection(DynamicContext&, Arguments&) {
    throw XPathError(ErrorCode::FODC0002, "collection(): no collections are available");
}

// The base URI from xml:base attributes and the document's URI; none for nodes of
// documents read from memory.
Sequence baseUri(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    if (!node) return {};
    xmlChar* base = xmlNodeGetBase(node->doc, node);
    Sequence result = uriResult(base);
    xmlFree(base);
    return result;
}

Sequence documentUri(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    if (!node || nodeKind(node) != NodeKind::Document) return {};
    return uriResult(reinterpret_cast<const xmlDoc*>(node)->URL);
}

// Expressions are compiled without a base URI.
Sequence staticBaseUri(DynamicContext&, Arguments&) { return {}; }

}  // namespace

void registerDocumentFunctions(FunctionLibrary& library) {
    define(library, {.name = "doc", .parameters = {"xs:string?"}, .result = "document-node()?"}, &doc);
    define(library, {.name = "doc-available", .parameters = {"xs:string?"}, .result = "xs:boolean"}, &docAvailable);
    define(library, {.name = "collection", .result = "node()*"}, &collection);
    define(library, {.name = "collection", .parameters = {"xs:string?"}, .result = "node()*"}, &collection);
    define(library,
           {.name = "base-uri", .parameters = {"node()?"}, .result = "xs:anyURI?",
            .focus = FocusUse::ContextItemDefault},
           &baseUri);
    define(library, {.name = "document-uri", .parameters = {"node()?"}, .result = "xs:anyURI?"}, &documentUri);
    define(library, {.name = "static-base-uri", .result = "xs:anyURI?"}, &staticBaseUri);
}

}  // namespace quillmark::xpath
