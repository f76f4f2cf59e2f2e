// Functions on nodes and on the focus: fn:position, fn:last, fn:name, fn:local-name,
// fn:namespace-uri, fn:node-name, fn:root, fn:string, fn:data.

#include "xpath/function_registration.h"
#include "xpath/node_access.h"

namespace quillmark::xpath {
namespace {

Item itemOf(const xmlNode* node) { return Item(xml::Node(const_cast<xmlNode*>(node))); }

Sequence position(DynamicContext& context, Arguments&) {
    if (!context.focus.item) throw XPathError(ErrorCode::XPDY0002, "position() needs a context item");
    return single(AtomicValue::fromInteger(static_cast<int64_t>(context.focus.position)));
}

Sequence last(DynamicContext& context, Arguments&) {
    if (!context.focus.item) throw XPathError(ErrorCode::XPDY0002, "last() needs a context item");
    return single(AtomicValue::fromInteger(static_cast<int64_t>(context.focus.size)));
}

// Elements, attributes and processing instructions have names; other nodes have "".
bool hasName(const xmlNode* node) {
    const NodeKind kind = nodeKind(node);
    return kind == NodeKind::Element || kind == NodeKind::Attribute || kind == NodeKind::ProcessingInstruction;
}

Sequence name(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    return single(AtomicValue::fromString(node && hasName(node) ? qualifiedNameOf(node) : ""));
}

Sequence localName(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    return single(AtomicValue::fromString(node && hasName(node) ? std::string(localNameOf(node)) : ""));
}

Sequence namespaceUri(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    return single(AtomicValue::fromString(node ? std::string(namespaceOf(node)) : "", AtomicType::AnyURI));
}

Sequence nodeName(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    if (!node || !hasName(node)) return {};
    const std::string qualified = qualifiedNameOf(node);
    const size_t colon = qualified.find(':');
    QNameValue value{colon == std::string::npos ? "" : qualified.substr(0, colon), std::string(namespaceOf(node)),
                     std::string(localNameOf(node))};
    return single(AtomicValue::fromQName(std::move(value)));
}

Sequence root(DynamicContext&, Arguments& arguments) {
    const xmlNode* node = nodeArgument(arguments[0]);
    if (!node) return {};
    return Sequence{itemOf(rootOf(node))};
}

Sequence string(DynamicContext&, Arguments& arguments) {
    if (arguments[0].empty()) return single(AtomicValue::fromString(""));
    return single(AtomicValue::fromString(stringValueOfItem(arguments[0].front())));
}

Sequence data(DynamicContext&, Arguments& arguments) { return atomize(arguments[0]); }

}  // namespace

void registerNodeFunctions(FunctionLibrary& library) {
    define(library, {.name = "position", .result = "xs:integer", .focus = FocusUse::PositionOrSize}, &position);
    define(library, {.name = "last", .result = "xs:integer", .focus = FocusUse::PositionOrSize}, &last);
    define(library,
           {.name = "name", .parameters = {"node()?"}, .result = "xs:string", .focus = FocusUse::ContextItemDefault},
           &name);
    define(library,
           {.name = "local-name", .parameters = {"node()?"}, .result = "xs:string",
            .focus = FocusUse::ContextItemDefault},
           &localName);
    define(library,
           {.name = "namespace-uri", .parameters = {"node()?"}, .result = "xs:anyURI",
            .focus = FocusUse::ContextItemDefault},
           &namespaceUri);
    define(library, {.name = "node-name", .parameters = {"node()?"}, .result = "xs:QName?"}, &nodeName);
    define(library,
           {.name = "root", .parameters = {"node()?"}, .result = "node()?", .focus = FocusUse::ContextItemDefault},
           &root);
    define(library,
           {.name = "string", .parameters = {"item()?"}, .result = "xs:string", .focus = FocusUse::ContextItemDefault},
           &string);
    define(library, {.name = "data", .parameters = {"item()*"}, .result = "xs:anyAtomicType*"}, &data);
}

}  // namespace quillmark::xpath
