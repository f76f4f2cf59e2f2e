// Functions on documents and their URIs: fn:doc, fn:doc-available, fn:collection,
// fn:base-uri, fn:document-uri, fn:static-base-uri. Only local files can be read:
// paths and file: URIs, relative ones against the working directory.

#include <libxml/tree.h>
#include <libxml/uri.h>

#include <filesystem>
#include <memory>

#include "xpath/function_family_parts.h"
#include "xpath/function_registration.h"
#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

Sequence uriResult(const xmlChar* uri) {
    if (!uri) return {};
    return single(AtomicValue::fromString(reinterpret_cast<const char*>(uri), AtomicType::AnyURI));
}

// The absolute path of the local file a URI names; FODC0002 for other schemes and hosts.
// Text that is not quite a URI ("/dir/a b.xml") is escaped first, as a path.
std::filesystem::path localFile(std::string_view uri) {
    const std::unique_ptr<xmlURI, decltype(&xmlFreeURI)> parsed(xmlParseURI(iriToUri(uri).c_str()), &xmlFreeURI);
    const auto field = [](const char* value) { return std::string_view(value ? value : ""); };
    if (!parsed || field(parsed->path).empty()) {
        throw XPathError(ErrorCode::FODC0002, "doc(): \"" + std::string(uri) + "\" does not name a file");
    }
    const std::string_view scheme = field(parsed->scheme);
    const std::string_view host = field(parsed->server);
    if ((!scheme.empty() && scheme != "file") || (!host.empty() && host != "localhost")) {
        throw XPathError(ErrorCode::FODC0002, "doc(): only local files can be read, not \"" + std::string(uri) + "\"");
    }
    std::error_code ignored;
    return std::filesystem::absolute(std::string(field(parsed->path)), ignored).lexically_normal();
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
