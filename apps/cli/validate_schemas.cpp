// Loading the schemas of a `quillmark validate` call once, and running them per document.

#include "validate_schemas.h"

#include <filesystem>

#include "quillmark/xsd_validation.h"

namespace quillmark::cli {

namespace {

bool isXSDPath(const std::string& path) { return std::filesystem::path(path).extension() == ".xsd"; }

std::string failureText(const std::string& path, const Error& error) {
    return path + ": " + (error.isSet() ? error.message() : "cannot be loaded");
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
    if (isXSDPath(path)) {
        // Compiled per document by the XSD layer; read here so that a broken file is
        // reported once, before any document.
        if (!xml::Document::parseFile(path, &error)) return failureText(path, error);
        named_.push_back({path, nullptr});
        return std::nullopt;
    }
    auto schema = validator_.loadSchemaFile(path, &error);
    if (!schema) return failureText(path, error);
    named_.push_back({path, std::move(schema)});
    return std::nullopt;
}

std::optional<std::string> ValidationSchemas::addSchemaDirectory(const std::string& directory) {
    std::error_code code;
    if (!std::filesystem::is_directory(directory, code)) return directory + ": not a directory";
    validator_.addSchemaDirectory(directory);
    autoDetect_ = true;
    return std::nullopt;
}

std::optional<std::string> ValidationSchemas::runNamed(const NamedSchema& schema, const std::string& text,
                                                      const xml::Document& document, QMValidationResult& merged) {
    Error error;
    if (schema.schematron) {
        append(merged, validator_.validateDocument(document, *schema.schematron, &error));
        return std::nullopt;
    }
    auto result = validateXMLAgainstXSD(text, schema.path, &error);
    if (!result) return failureText(schema.path, error);
    append(merged, *result);
    return std::nullopt;
}

DocumentOutcome ValidationSchemas::validate(const std::string& text, const xml::Document& document) {
    DocumentOutcome outcome;
    QMValidationResult& merged = outcome.result;
    for (const NamedSchema& schema : named_) {
        if (auto failure = runNamed(schema, text, document, merged)) outcome.failure = failure;
        appendSchemaFiles(merged, {schema.path});
        outcome.anySchemaRan = true;
    }
    if (autoDetect_) {
        // Without an error slot every fitting schema runs, whatever the others found.
        auto detected = validator_.validateXMLWithAutoDetection(text, nullptr);
        if (detected) {
            outcome.anySchemaRan = true;
            append(merged, *detected);
            appendSchemaFiles(merged, detected->schemaFiles.value_or(std::vector<std::string>{}));
        } else {
            outcome.failure = "No matching Schematron schema found for this XML document";
        }
    }
    merged.valid = merged.errors.empty();
    return outcome;
}

}  // namespace quillmark::cli
