// Automatic validation: every catalogued schema that fits the document is run, XSD and
// Schematron alike, in catalog order, and their findings are merged into one result.

#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"

namespace quillmark {
namespace {

template <typename T>
void appendAll(std::vector<T>& into, const std::vector<T>& items) {
    into.insert(into.end(), items.begin(), items.end());
}

}  // namespace

// The error slot goes from schema to schema unchanged and is never cleared in between:
// once it holds an error, every later Schematron schema fails to load (the loader gives
// up on a slot that already holds one) while XSD schemas still run. Callers that pass
// no slot get every schema's findings.
std::optional<QMValidationResult> QMSchematronValidator::validateXMLWithAutoDetection(const std::string& xml,
                                                                                      Error* error) {
    auto paths = findMatchingSchemasForXML(xml, error);
    if (!paths || paths->empty()) return std::nullopt;

    QMValidationResult merged;
    merged.patterns = std::vector<std::string>{};
    for (const auto& path : *paths) {
        auto entry = _schemaCatalog.find(path);
        bool isXSD = entry != _schemaCatalog.end() && entry->second.isXSD();
        auto result = isXSD ? validateXMLWithXSDFile(xml, path, error) : validateXMLWithSchemaFile(xml, path, error);
        if (!result) continue;
        appendAll(merged.errors, result->errors);
        appendAll(merged.warnings, result->warnings);
        if (result->patterns) appendAll(*merged.patterns, *result->patterns);
    }
    merged.valid = merged.errors.empty();
    merged.schemaFiles = *paths;
    return merged;
}

}  // namespace quillmark
