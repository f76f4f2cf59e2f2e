#include "xpath/static_context.h"

namespace quillmark::xpath {

StaticContext::StaticContext(const FunctionLibrary* functions)
    : functions_(functions ? functions : &FunctionLibrary::builtins()) {
    namespaces_["xml"] = kXmlNamespace;
    namespaces_["xs"] = kSchemaNamespace;
    namespaces_["xsi"] = kSchemaInstanceNamespace;
    namespaces_["fn"] = kFunctionNamespace;
}

void StaticContext::declareNamespace(const std::string& prefix, const std::string& uri) {
    if (prefix.empty()) {
        defaultElementNamespace_ = uri;
        return;
    }
    namespaces_[prefix] = uri;
}

std::optional<std::string> StaticContext::namespaceFor(std::string_view prefix) const {
    if (prefix.empty()) return defaultElementNamespace_;
    auto found = namespaces_.find(std::string(prefix));
    if (found == namespaces_.end()) return std::nullopt;
    return found->second;
}

size_t StaticContext::declareVariable(const ExpandedName& name) {
    const size_t slot = variableCount_++;
    variables_[name] = slot;
    return slot;
}

std::optional<size_t> StaticContext::variableSlot(const ExpandedName& name) const {
    auto found = variables_.find(name);
    if (found == variables_.end()) return std::nullopt;
    return found->second;
}

}  // namespace quillmark::xpath
