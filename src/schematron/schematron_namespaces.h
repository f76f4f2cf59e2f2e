#pragma once
// The namespaces of Schematron vocabularies: ISO Schematron and its forerunner 1.5.

#include <string_view>

namespace quillmark::schematron {

inline constexpr std::string_view kISOSchematronNamespace = "http://purl.oclc.org/dsdl/schematron";
inline constexpr std::string_view kSchematron15Namespace = "http://www.ascc.net/xml/schematron";

inline bool isSchematronNamespace(std::string_view uri) {
    return uri == kISOSchematronNamespace || uri == kSchematron15Namespace;
}

}  // namespace quillmark::schematron
