#pragma once
// The schemas of one `quillmark validate` call: named Schematron and XSD files, each
// loaded once for all documents, and schema directories chosen from by document type.
// Whatever keeps a schema from checking a document makes that document "not
// validated"; nothing is skipped with a warning.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"

namespace quillmark::cli {

// What validating one document gave: the merged findings, and the reasons (each naming
// the file at fault) when some schema could not check it.
struct DocumentOutcome {
    QMValidationResult result;
    std::vector<std::string> failures;
};

class ValidationSchemas {
public:
    // Loads a named schema, told apart by its root element: a Schematron rule set with
    // its includes, or an XSD compiled once. nullopt on success, else the reason,
    // naming the file (a file of any other kind is refused too).
    std::optional<std::string> addSchemaFile(const std::string& path);
    // Registers a directory for picking schemas by document type.
    std::optional<std::string> addSchemaDirectory(const std::string& directory);

    // Runs the named schemas in order, then the fitting schemas of the directories.
    DocumentOutcome validate(const xml::Document& document);

private:
    struct NamedSchema {
        std::string path;
        std::shared_ptr<SchematronSchema> schematron;  // one of the two is set
        std::shared_ptr<const CompiledXSD> xsd;
    };
    std::optional<QMValidationResult> runNamed(const NamedSchema& schema, const xml::Document& document,
                                               Error& error);
    void runDetected(const xml::Document& document, DocumentOutcome& outcome);

    QMSchematronValidator validator_;
    std::vector<NamedSchema> named_;
    bool autoDetect_ = false;
};

}  // namespace quillmark::cli
