#pragma once
// What an expression is compiled against: namespace prefixes, the default element
// namespace, the variables in scope (each with a slot of the dynamic context) and the
// functions.

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xpath/expanded_name.h"
#include "xpath/function_library.h"

namespace quillmark::xpath {

class StaticContext {
public:
    // Knows the prefixes xml, xs, xsi and fn, and the given functions (the built-in
    // library when none are given).
    explicit StaticContext(const FunctionLibrary* functions = nullptr);

    void declareNamespace(const std::string& prefix, const std::string& uri);
    // The URI bound to a prefix ("" prefix: the default element namespace).
    std::optional<std::string> namespaceFor(std::string_view prefix) const;
    const std::unordered_map<std::string, std::string>& namespaces() const { return namespaces_; }
    void setDefaultElementNamespace(std::string uri) { defaultElementNamespace_ = std::move(uri); }
    const std::string& defaultElementNamespace() const { return defaultElementNamespace_; }

    // Declares a global variable and returns its slot; declaring a name again gives it
    // a new slot that hides the old one (a later let of the same name).
    size_t declareVariable(const ExpandedName& name);
    std::optional<size_t> variableSlot(const ExpandedName& name) const;
    size_t variableCount() const { return variableCount_; }

    void setFunctions(const FunctionLibrary* functions) { functions_ = functions; }
    const FunctionLibrary& functions() const { return *functions_; }

private:
    std::unordered_map<std::string, std::string> namespaces_;
    std::string defaultElementNamespace_;
    std::unordered_map<ExpandedName, size_t, ExpandedNameHash> variables_;
    size_t variableCount_ = 0;
    const FunctionLibrary* functions_;
};

}  // namespace quillmark::xpath
