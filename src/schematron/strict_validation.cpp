// Strict automatic validation: every fitting schema is tried with an error slot of its
// own, and whatever keeps a schema from giving its full findings is reported, so that a
// caller never shows a document as valid that was not checked.

#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xsd_validation.h"

namespace quillmark {
namespace {

void appendFindings(QMValidationResult& merged, const QMValidationResult& part) {
    merged.errors.insert(merged.errors.end(), part.errors.begin(), part.errors.end());
    merged.warnings.insert(merged.warnings.end(), part.warnings.begin(), part.warnings.end());
    if (part.patterns) merged.patterns->insert(merged.patterns->end(), part.patterns->begin(), part.patterns->end());
}

Error orUnknown(Error error, const std::string& path) {
    if (!error) setError(&error, kQuillmarkDomain, 0, path + ": the schema could not be used");
    return error;
}

}  // namespace

StrictValidationReport QMSchematronValidator::validateXMLStrictly(const std::string& xml) {
    Error error;
    auto document = xml::Document::parse(xml, &error);
    if (!document) {
        StrictValidationReport report;
        report.outcome = StrictValidationReport::Outcome::NotWellFormed;
        report.error = std::move(error);
        return report;
    }
    return validateDocumentStrictly(*document);
}

StrictValidationReport QMSchematronValidator::validateDocumentStrictly(const xml::Document& document) {
    StrictValidationReport report;
    bool cached = false;
    const std::vector<std::string> paths = matchingSchemaPaths(document, &cached);
    if (paths.empty()) {
        report.outcome = StrictValidationReport::Outcome::NoMatchingSchema;
        setError(&report.error, kQuillmarkDomain, 404, kNoMatchingSchemaDescription);
        return report;
    }
    QMValidationResult& merged = report.result;
    merged.patterns = std::vector<std::string>{};
    merged.schemaFiles = paths;
    for (const auto& path : paths) {
        auto entry = _schemaCatalog.find(path);
        const bool isXSD = entry != _schemaCatalog.end() && entry->second.isXSD();
        Error error;
        std::optional<QMValidationResult> result;
        if (isXSD) {
            if (auto schema = CompiledXSD::load(path, &error)) {
                // The standard profile reports XSD findings with their lines and paths.
                result = _semantics == Semantics::Standard ? schema->validateLocated(document, nullptr, &error)
                                                           : schema->validate(document, &error);
            }
        } else {
            result = validateDocumentWithSchemaFile(document, path, &error);
        }
        if (result) appendFindings(merged, *result);
        // A run that leaves an error in its slot ended early: its findings stand, but
        // they are not all there are.
        if (!result || error) report.failures.push_back({path, orUnknown(std::move(error), path)});
    }
    merged.valid = merged.errors.empty() && report.failures.empty();
    return report;
}

}  // namespace quillmark
