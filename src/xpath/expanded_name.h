#pragma once
// A name with its namespace resolved: how variables, functions and types are known
// once an expression is compiled.

#include <functional>
#include <string>

namespace quillmark::xpath {

inline constexpr const char* kFunctionNamespace = "http://www.w3.org/2005/xpath-functions";
inline constexpr const char* kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
inline constexpr const char* kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr const char* kErrorNamespace = "http://www.w3.org/2005/xqt-errors";

struct ExpandedName {
    std::string namespaceURI;
    std::string localName;

    friend bool operator==(const ExpandedName&, const ExpandedName&) = default;
    // "Q{uri}local", or "local" without a namespace.
    std::string clarkName() const { return namespaceURI.empty() ? localName : "Q{" + namespaceURI + "}" + localName; }
};

struct ExpandedNameHash {
    size_t operator()(const ExpandedName& name) const {
        return std::hash<std::string>()(name.namespaceURI) * 31 + std::hash<std::string>()(name.localName);
    }
};

}  // namespace quillmark::xpath
