// Loading the schemas of a `quillmark validate` call once, and running them per document.

#include "validate_schemas.h"

#include <filesystem>

namespace quillmark::cli {

namespace {

// "PATH: REASON", once: some reasons start with the path already.
std::string failureText(const std::string& path, const Error& error) {
    const std::string message = error.isSet() ? error.message() : "cannot be loaded";
    return message.starts_with(path + ": ") ? message : path + ": " + message;
}

void append(QMValidationResult& merged, const QMValidationResult& part) {
    merged.errors.insert(merged.errors.end(), part.errors.begin(), part.errors.end());
    merged.warnings.insert(merged.warnings.end(), part.warnings.begin(), part.warnings.end());
}

void appendSchemaFiles(QMValidationResult& merged, const std::vector<std::string>& files) {
    if (!merged.schemaFiles) merged.schemaFiles.emplace();
    merged.schemaFiles->insert(merged.schemaFiles->end(), files.begin(), files.end());
}

}  // namespace

std::optional<std::string> ValidationSchemas::addSchemaFile(const std::string& path) {
    Error error;
    std::optional<SchemaFileKind> kind = schemaFileKind(path, &error);
    if (!kind) return failureText(path, error);
    switch (*kind) {
        case SchemaFileKind::Schematron: {
            auto schema = validator_.loadSchemaFile(path, &error);
            if (!schema) return failureText(path, error);
            named_.push_back({path, std::move(schema), nullptr});
            return std::nullopt;
        }
        case SchemaFileKind::XSD: {
            auto schema = CompiledXSD::load(path, &error);
            if (!schema) return failureText(path, error);
            named_.push_back({path, nullptr, std::move(schema)});
            return std::nullopt;
        }
        case SchemaFileKind::Other:
            break;
    }
    return path + ": neither a Schematron rule set nor an XML Schema (the root element is not a schema element "
                  "of either)";
}

std::optional<std::string> ValidationSchemas::addSchemaDirectory(const std::string& directory) {
    std::error_code code;
    if (!std::filesystem::is_directory(directory, code)) return directory + ": not a directory";
    validator_.addSchemaDirectory(directory);
    autoDetect_ = true;
    return std::nullopt;
}

std::optional<QMValidationResult> ValidationSchemas::runNamed(const NamedSchema& schema,
                                                              const xml::Document& document, Error& error) {
    if (schema.xsd) return schema.xsd->validate(document, &error);
    return validator_.validateDocument(document, *schema.schematron, &error);
}

void ValidationSchemas::runDetected(const xml::Document& document, DocumentOutcome& outcome) {
    StrictValidationReport report = validator_.validateDocumentStrictly(document);
    switch (report.outcome) {
        case StrictValidationReport::Outcome::Validated:
            break;
        case StrictValidationReport::Outcome::NotWellFormed:
        case StrictValidationReport::Outcome::NoMatchingSchema:
            outcome.failures.push_back(report.error.message());
            return;
    }
    append(outcome.result, report.result);
    appendSchemaFiles(outcome.result, report.result.schemaFiles.value_or(std::vector<std::string>{}));
    for (const SchemaFailure& failure : report.failures) outcome.failures.push_back(failureText(failure.path, failure.error));
}

DocumentOutcome ValidationSchemas::validate(const xml::Document& document) {
    DocumentOutcome outcome;
    QMValidationResult& merged = outcome.result;
    merged.schemaFiles.emplace();
    for (const NamedSchema& schema : named_) {
        Error error;
        std::optional<QMValidationResult> result = runNamed(schema, document, error);
        if (result) append(merged, *result);
        // A run that leaves an error in its slot ended early.
        if (!result || error) outcome.failures.push_back(failureText(schema.path, error));
        appendSchemaFiles(merged, {schema.path});
    }
    if (autoDetect_) runDetected(document, outcome);
    merged.valid = merged.errors.empty() && outcome.failures.empty();
    return outcome;
}

}  // namespace quillmark::cli
