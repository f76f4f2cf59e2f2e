#pragma once
// How the built-in families declare their functions: a signature written the way the
// function catalogue writes it, parsed once when the library is built.
//
//   define(library, {.name = "substring", .parameters = {"xs:string?", "xs:double"},
//                    .result = "xs:string"}, &substring);

#include <initializer_list>
#include <string_view>
#include <vector>

#include "xpath/dynamic_context.h"
#include "xpath/error.h"
#include "xpath/function_library.h"
#include "xpath/sequence_operations.h"

namespace quillmark::xpath {

struct Signature {
    std::string_view name;  // a local name in the fn namespace
    std::vector<std::string_view> parameters = {};  // sequence types
    std::string_view result = "item()*";
    bool variadic = false;
    FocusUse focus = FocusUse::None;
    BooleanForm booleanForm = BooleanForm::None;
};

void define(FunctionLibrary& library, const Signature& signature, BuiltinImplementation implementation);

// Small helpers for implementations; the arguments are already converted to the
// declared types.
inline Sequence single(AtomicValue value) { return Sequence{Item(std::move(value))}; }
inline Sequence booleanResult(bool value) { return single(AtomicValue::fromBoolean(value)); }
// The string of an `xs:string?` argument: "" for ().
std::string stringArgument(const Sequence& argument);
// The node of a `node()?` argument; null for ().
const xmlNode* nodeArgument(const Sequence& argument);

}  // namespace quillmark::xpath
