// fn:error, fn:trace, fn:default-collation, fn:nilled, fn:lang, fn:id and fn:idref; the
// QName and document functions of this family are in functions_qnames.cpp and
// functions_documents.cpp.

#include <libxml/tree.h>

#include "quillmark/unicode.h"
#include "xpath/collation.h"
#include "xpath/function_family_parts.h"
#include "xpath/function_registration.h"
#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

// fn:error(): FOER0000 without a code, else the code's local name; the message when given.
Sequence error(DynamicContext&, Arguments& arguments) {
    const std::string message = arguments.size() > 1 ? stringArgument(arguments[1]) : "error() was called";
    if (arguments.empty() || arguments[0].empty()) throw XPathError(ErrorCode::FOER0000, message);
    throw XPathError(arguments[0].front().atomic().qnameValue().localName, message);
}

// fn:trace passes its value through; a validation has nowhere to show the trace.
Sequence trace(DynamicContext&, Arguments& arguments) { return std::move(arguments[0]); }

Sequence defaultCollation(DynamicContext&, Arguments&) {
    return single(AtomicValue::fromString(std::string(kCodepointCollation)));
}

// Documents are not validated, so no element is nilled.
Sequence nilled(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    if (!node || nodeKind(node) != NodeKind::Element) return {};
    return booleanResult(false);
}

// The context item of the forms that default their node argument to it.
const xmlNode* contextNode(const DynamicContext& context, std::string_view function) {
    if (!context.focus.item) throw XPathError(ErrorCode::XPDY0002, std::string(function) + "() needs a context item");
    if (!context.focus.item->isNode()) {
        throw XPathError(ErrorCode::XPTY0004, std::string(function) + "(): the context item is not a node");
    }
    return context.focus.item->node().raw();
}

// The node's language is the xml:lang of its nearest ancestor-or-self that has one; it
// matches `wanted` when equal regardless of case or when it is `wanted` plus a "-suffix".
bool inLanguage(const xmlNode* node, std::string_view wanted) {
    xmlChar* raw = xmlNodeGetLang(node);
    if (!raw) return false;
    const std::string language = unicode::upperCase(reinterpret_cast<const char*>(raw));
    xmlFree(raw);
    const std::string prefix = unicode::upperCase(wanted);
    return language.starts_with(prefix) && (language.size() == prefix.size() || language[prefix.size()] == '-');
}

Sequence lang(DynamicContext& context, Arguments& arguments) {
    const xmlNode* node = arguments.size() > 1 ? nodeArgument(arguments[1]) : contextNode(context, "lang");
    return booleanResult(inLanguage(node, stringArgument(arguments[0])));
}

// ID and IDREF attributes need a DTD or a schema, and documents are read without
// either, so there is nothing to find; the focus is still checked for the short forms.
Sequence noReferences(DynamicContext& context, Arguments& arguments, std::string_view function) {
    if (arguments.size() < 2) contextNode(context, function);
    return {};
}

Sequence id(DynamicContext& context, Arguments& arguments) { return noReferences(context, arguments, "id"); }
Sequence idref(DynamicContext& context, Arguments& arguments) { return noReferences(context, arguments, "idref"); }

}  // namespace

void registerMiscellaneousFunctions(FunctionLibrary& library) {
    define(library, {.name = "error", .result = "item()*"}, &error);
    define(library, {.name = "error", .parameters = {"xs:QName"}, .result = "item()*"}, &error);
    define(library, {.name = "error", .parameters = {"xs:QName?", "xs:string"}, .result = "item()*"}, &error);
    define(library, {.name = "error", .parameters = {"xs:QName?", "xs:string", "item()*"}, .result = "item()*"},
           &error);
    define(library, {.name = "trace", .parameters = {"item()*", "xs:string"}, .result = "item()*"}, &trace);
    define(library, {.name = "default-collation", .result = "xs:string"}, &defaultCollation);
    define(library, {.name = "nilled", .parameters = {"node()?"}, .result = "xs:boolean?"}, &nilled);
    define(library, {.name = "lang", .parameters = {"xs:string?"}, .result = "xs:boolean"}, &lang);
    define(library, {.name = "lang", .parameters = {"xs:string?", "node()"}, .result = "xs:boolean"}, &lang);
    define(library, {.name = "id", .parameters = {"xs:string*"}, .result = "element()*"}, &id);
    define(library, {.name = "id", .parameters = {"xs:string*", "node()"}, .result = "element()*"}, &id);
    define(library, {.name = "idref", .parameters = {"xs:string*"}, .result = "node()*"}, &idref);
    define(library, {.name = "idref", .parameters = {"xs:string*", "node()"}, .result = "node()*"}, &idref);
    registerQNameFunctions(library);
    registerDocumentFunctions(library);
}

}  // namespace quillmark::xpath
