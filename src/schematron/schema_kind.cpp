// Telling a Schematron rule set from an XML Schema by what the file holds, not by its name.

#include <libxml/tree.h>

#include <memory>

#include "quillmark/schematron_validator.h"
#include "schematron/schematron_namespaces.h"
#include "xml/libxml_support.h"
#include "xml/safe_parse.h"

namespace quillmark {
namespace {

constexpr const char* kXSDNamespace = "http://www.w3.org/2001/XMLSchema";

SchemaFileKind kindOfRoot(xmlNode* root) {
    if (!root || xml::detail::toString(root->name) != "schema" || !root->ns) return SchemaFileKind::Other;
    const std::string ns = xml::detail::toString(root->ns->href);
    if (schematron::isSchematronNamespace(ns)) return SchemaFileKind::Schematron;
    if (ns == kXSDNamespace) return SchemaFileKind::XSD;
    return SchemaFileKind::Other;
}

}  // namespace

std::optional<SchemaFileKind> schemaFileKind(const std::string& path, Error* error) {
    std::optional<std::string> bytes = xml::readFileBytes(path, error);
    if (!bytes) return std::nullopt;
    Error parseError;
    // XSD files may declare an encoding other than UTF-8; libxml2 reads the declaration.
    xml::detail::DocHandle doc(
        xml::detail::parseSafely(*bytes, path.c_str(), xml::detail::TextEncoding::Declared, &parseError));
    if (!doc) {
        if (error) {
            *error = parseError;
            error->localizedDescription = path + ": " + parseError.localizedDescription;
        }
        return std::nullopt;
    }
    return kindOfRoot(xmlDocGetRootElement(doc.get()));
}

}  // namespace quillmark
