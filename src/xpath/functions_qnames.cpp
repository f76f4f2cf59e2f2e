// Functions on QNames and on the namespaces in scope at an element: fn:QName,
// fn:resolve-QName, fn:prefix-from-QName, fn:local-name-from-QName,
// fn:namespace-uri-from-QName, fn:namespace-uri-for-prefix, fn:in-scope-prefixes.

#include <libxml/tree.h>

#include "xpath/expanded_name.h"
#include "xpath/function_family_parts.h"
#include "xpath/function_registration.h"
#include "xpath/xml_text.h"

namespace quillmark::xpath {
namespace {

struct LexicalQName {
    std::string prefix;
    std::string localName;
};

// QName ::= (NCName ":")? NCName, else FOCA0002.
LexicalQName splitQName(const std::string& text, std::string_view function) {
    const size_t colon = text.find(':');
    LexicalQName name;
    if (colon == std::string::npos) {
        name.localName = text;
    } else {
        name.prefix = text.substr(0, colon);
        name.localName = text.substr(colon + 1);
    }
    const bool valid = isXmlNCName(name.localName) && (colon == std::string::npos || isXmlNCName(name.prefix));
    if (!valid) {
        throw XPathError(ErrorCode::FOCA0002, std::string(function) + "(): \"" + text + "\" is not a lexical QName");
    }
    return name;
}

// The namespace URI bound to `prefix` ("" for the default namespace) at the element;
// nullopt when the prefix is not bound (or the default namespace is none). The xml
// prefix is bound everywhere.
std::optional<std::string> namespaceInScope(const xmlNode* element, const std::string& prefix) {
    if (prefix == "xml") return std::string(kXmlNamespace);
    const xmlNs* found = xmlSearchNs(element->doc, const_cast<xmlNode*>(element),
                                     prefix.empty() ? nullptr : reinterpret_cast<const xmlChar*>(prefix.c_str()));
    if (!found || !found->href || found->href[0] == '\0') return std::nullopt;  // xmlns="" undeclares
    return std::string(reinterpret_cast<const char*>(found->href));
}

Sequence qnameResult(std::string prefix, std::string namespaceURI, std::string localName) {
    return single(AtomicValue::fromQName(QNameValue{std::move(prefix), std::move(namespaceURI), std::move(localName)}));
}

Sequence qname(DynamicContext&, Arguments& arguments) {
    std::string namespaceURI = stringArgument(arguments[0]);
    LexicalQName name = splitQName(stringArgument(arguments[1]), "QName");
    if (namespaceURI.empty() && !name.prefix.empty()) {
        throw XPathError(ErrorCode::FOCA0002, "QName(): the prefix \"" + name.prefix + "\" needs a namespace URI");
    }
    return qnameResult(std::move(name.prefix), std::move(namespaceURI), std::move(name.localName));
}

Sequence resolveQName(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty()) return {};
    LexicalQName name = splitQName(stringArgument(arguments[0]), "resolve-QName");
    const std::optional<std::string> namespaceURI = namespaceInScope(nodeArgument(arguments[1]), name.prefix);
    if (!namespaceURI && !name.prefix.empty()) {
        throw XPathError(ErrorCode::FONS0004,
                         "resolve-QName(): no namespace is bound to the prefix \"" + name.prefix + "\"");
    }
    return qnameResult(std::move(name.prefix), namespaceURI.value_or(""), std::move(name.localName));
}

const QNameValue* qnameArgument(const Sequence& argument) {
    return argument.empty() ? nullptr : &argument.front().atomic().qnameValue();
}

Sequence prefixFromQName(DynamicContext&, Arguments& arguments) {
    const QNameValue* name = qnameArgument(arguments[0]);
    if (!name || name->prefix.empty()) return {};
    return single(AtomicValue::fromString(name->prefix, AtomicType::NCName));
}

Sequence localNameFromQName(DynamicContext&, Arguments& arguments) {
    const QNameValue* name = qnameArgument(arguments[0]);
    if (!name) return {};
    return single(AtomicValue::fromString(name->localName, AtomicType::NCName));
}

Sequence namespaceUriFromQName(DynamicContext&, Arguments& arguments) {
    const QNameValue* name = qnameArgument(arguments[0]);
    if (!name) return {};
    return single(AtomicValue::fromString(name->namespaceURI, AtomicType::AnyURI));
}

Sequence namespaceUriForPrefix(DynamicContext&, Arguments& arguments) {
    const std::optional<std::string> namespaceURI =
        namespaceInScope(nodeArgument(arguments[1]), stringArgument(arguments[0]));
    if (!namespaceURI) return {};
    return single(AtomicValue::fromString(*namespaceURI, AtomicType::AnyURI));
}

// Every prefix bound at the element, "" when it has a default namespace; "xml" always.
Sequence inScopePrefixes(DynamicContext&, Arguments& arguments) {
    const xml::Node element = arguments[0].front().node();
    Sequence prefixes{Item(AtomicValue::fromString("xml"))};
    for (const auto& [prefix, uri] : element.namespacesInScope()) {
        if (prefix != "xml") prefixes.emplace_back(AtomicValue::fromString(prefix));
    }
    return prefixes;
}

}  // namespace

void registerQNameFunctions(FunctionLibrary& library) {
    define(library, {.name = "QName", .parameters = {"xs:string?", "xs:string"}, .result = "xs:QName"}, &qname);
    define(library, {.name = "resolve-QName", .parameters = {"xs:string?", "element()"}, .result = "xs:QName?"},
           &resolveQName);
    define(library, {.name = "prefix-from-QName", .parameters = {"xs:QName?"}, .result = "xs:NCName?"},
           &prefixFromQName);
    define(library, {.name = "local-name-from-QName", .parameters = {"xs:QName?"}, .result = "xs:NCName?"},
           &localNameFromQName);
    define(library, {.name = "namespace-uri-from-QName", .parameters = {"xs:QName?"}, .result = "xs:anyURI?"},
           &namespaceUriFromQName);
    define(library,
           {.name = "namespace-uri-for-prefix", .parameters = {"xs:string?", "element()"}, .result = "xs:anyURI?"},
           &namespaceUriForPrefix);
    define(library, {.name = "in-scope-prefixes", .parameters = {"element()"}, .result = "xs:string*"},
           &inScopePrefixes);
}

}  // namespace quillmark::xpath
