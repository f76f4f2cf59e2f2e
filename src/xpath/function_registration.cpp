#include "xpath/function_registration.h"

#include "xpath/parser.h"
#include "xpath/static_context.h"

namespace quillmark::xpath {

void define(FunctionLibrary& library, const Signature& signature, BuiltinImplementation implementation) {
    // Signatures only name built-in types, so an empty function library suffices and
    // building the built-in library does not depend on itself.
    static const FunctionLibrary none;
    static const StaticContext types(&none);
    FunctionDefinition definition;
    definition.name = ExpandedName{kFunctionNamespace, std::string(signature.name)};
    for (std::string_view parameter : signature.parameters) {
        definition.parameters.push_back(parseSequenceType(parameter, types));
    }
    definition.result = parseSequenceType(signature.result, types);
    definition.variadic = signature.variadic;
    definition.focus = signature.focus;
    definition.booleanForm = signature.booleanForm;
    definition.builtin = implementation;
    library.add(std::move(definition));
}

std::string stringArgument(const Sequence& argument) {
    return argument.empty() ? std::string() : argument.front().atomic().stringValue();
}

const xmlNode* nodeArgument(const Sequence& argument) {
    return argument.empty() ? nullptr : argument.front().node().raw();
}

}  // namespace quillmark::xpath
