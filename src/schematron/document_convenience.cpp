// Validation of a document the host already holds. In the compatible profile the
// document is serialized (pretty printed) and run through a fresh validator, and the
// rule-set file's directory is not passed on, so include elements are not resolved.
// The standard profile runs the compiled rule set on the document itself.

#include <optional>
#include <string>

#include "quillmark/schematron_validator.h"
#include "quillmark/unicode.h"
#include "quillmark/xml.h"

namespace quillmark {
namespace {

bool isValidUtf8(const std::string& bytes) {
    // A round trip through UTF-16 replaces every malformed sequence, so it changes
    // exactly the texts that are not valid UTF-8.
    return unicode::fromUtf16(unicode::toUtf16(bytes)) == bytes;
}

}  // namespace

std::optional<QMValidationResult> validateWithSchematron(const xml::Document& document, const std::string& schemaText,
                                                         Error* error, Semantics semantics) {
    std::string serialized = document.xmlString(true);
    if (serialized.empty()) {
        setError(error, kQuillmarkErrorDomain, 1, "Failed to serialize XML document");
        return std::nullopt;
    }
    if (!isValidUtf8(serialized)) {
        setError(error, kQuillmarkErrorDomain, 2, "Failed to convert XML data to string");
        return std::nullopt;
    }
    QMSchematronValidator validator;
    validator.setSemantics(semantics);
    return validator.validateXMLWithSchema(serialized, schemaText, error);
}

std::optional<QMValidationResult> validateWithSchematronFile(const xml::Document& document,
                                                             const std::string& schemaPath, Error* error,
                                                             Semantics semantics) {
    switch (semantics) {
    case Semantics::Standard: {
        QMSchematronValidator validator;
        validator.setSemantics(semantics);
        return validator.validateDocumentWithSchemaFile(document, schemaPath, error);
    }
    case Semantics::Compatible: break;
    }
    auto schemaText = xml::readTextFile(schemaPath, error);
    if (!schemaText) return std::nullopt;
    return validateWithSchematron(document, *schemaText, error, semantics);
}

}  // namespace quillmark
