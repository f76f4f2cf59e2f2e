#pragma once
// The schemas of one `quillmark validate` call: named Schematron and XSD files, each
// loaded once for all documents, and schema directories chosen from by document type.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"

namespace quillmark::cli {

// What validating one document gave: a merged result, and the reason when a part of the
// work could not be done (no schema fits the document, say).
struct DocumentOutcome {
    QMValidationResult result;
    std::optional<std::string> failure;
    bool anySchemaRan = false;  // false: there is no result to show
};

class ValidationSchemas {
public:
    // Loads a named schema: ".xsd" files are checked for being readable, well-formed XML;
    // every other file is loaded as Schematron with its includes. nullopt on success,
    // else the reason, naming the file.
    std::optional<std::string> addSchemaFile(const std::string& path);
    // Registers a directory for picking schemas by document type.
    std::optional<std::string> addSchemaDirectory(const std::string& directory);

    // Runs the named schemas in order, then the fitting schemas of the directories, and
    // merges their issues.
    DocumentOutcome validate(const std::string& text, const xml::Document& document);

private:
    struct NamedSchema {
        std::string path;
        std::shared_ptr<SchematronSchema> schematron;  // null for XSD files
    };
    std::optional<std::string> runNamed(const NamedSchema& schema, const std::string& text,
                                        const xml::Document& document, QMValidationResult& merged);

    QMSchematronValidator validator_;
    std::vector<NamedSchema> named_;
    bool autoDetect_ = false;
};

}  // namespace quillmark::cli
