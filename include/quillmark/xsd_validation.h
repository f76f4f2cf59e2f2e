#pragma once
// XSD validation through libxml2, beyond the document operations declared with the
// validator (validateWithXSD, validateWithXSDs, QMSchematronValidator::validateXMLWithXSDFile).
//
// validateXMLWithXSDFile reports every well-formed document as valid, which is what
// the automatic validation relies on. Tools that want libxml2's validity findings as
// issues use validateXMLAgainstXSD instead.

#include <optional>
#include <string>
#include <vector>

#include "quillmark/error.h"
#include "quillmark/schematron_model.h"

namespace quillmark {

// User-information keys of the "XML is invalid." error of the XSD layer.
inline constexpr const char* kValidationErrorsKey = "ValidationErrors";              // messages joined with "\n"
inline constexpr const char* kValidationErrorsLengthKey = "ValidationErrorsLength";  // number of messages, decimal

// libxml2 generic error handler: formats one report and appends it to the
// std::vector<std::string> given as context. Installed only around one validation.
extern "C" void captureLibXMLError(void* context, const char* format, ...);

// Issues from a "ValidationErrors" text: one per line, trimmed, empty lines left out;
// type "xsd", role "error", location "", schemaTitle as given.
std::vector<QMValidationError> xsdIssuesFromValidationErrors(const std::string& validationErrors,
                                                             const std::string& schemaTitle);

// Validates XML text against an XSD file and reports libxml2's validity messages as
// issues (schemaTitle = the XSD file name without extension, schemaFiles = {xsdPath},
// patterns = empty list). nullopt with `error` set when the text is not well-formed
// (the XML parser's error) or when the XSD cannot be read or compiled (domain
// "NSXMLDocumentValidation", code -2, description naming the file and libxml2's first
// message about it).
std::optional<QMValidationResult> validateXMLAgainstXSD(const std::string& xml, const std::string& xsdPath,
                                                        Error* error);

}  // namespace quillmark
