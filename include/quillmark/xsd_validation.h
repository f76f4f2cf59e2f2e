#pragma once
// XSD validation through libxml2, beyond the document operations declared with the
// validator (validateWithXSD, validateWithXSDs, QMSchematronValidator::validateXMLWithXSDFile).
//
// validateXMLWithXSDFile reports every well-formed document as valid, which is what
// the automatic validation relies on. Tools that want libxml2's validity findings as
// issues use CompiledXSD or validateXMLAgainstXSD instead.
//
// Every XSD file is read by the library itself: the file and the local files it
// includes, imports or redefines, each once, regular files only and within the input
// size limit; network locations and external entities are never read. libxml2's
// reports go to per-context handlers, so validations may run on several threads.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/error.h"
#include "quillmark/schematron_model.h"
#include "quillmark/xml.h"

struct _xmlSchema;

namespace quillmark {

// User-information keys of the "XML is invalid." error of the XSD layer.
inline constexpr const char* kValidationErrorsKey = "ValidationErrors";              // messages joined with "\n"
inline constexpr const char* kValidationErrorsLengthKey = "ValidationErrorsLength";  // number of messages, decimal

// A libxml2 generic error handler: formats one report and appends it to the
// std::vector<std::string> given as context. The library itself no longer installs it
// (it uses per-context handlers); it stays for hosts that collect libxml2's messages.
extern "C" void captureLibXMLError(void* context, const char* format, ...);

// Issues from a "ValidationErrors" text: one per line, trimmed, empty lines left out;
// type "xsd", role "error", location "", schemaTitle as given.
std::vector<QMValidationError> xsdIssuesFromValidationErrors(const std::string& validationErrors,
                                                             const std::string& schemaTitle);

// An XSD file compiled once, for any number of documents.
class CompiledXSD {
public:
    // Null with `error` set (domain "NSXMLDocumentValidation", code -2, "Could not load
    // XSD file PATH: REASON") when a file cannot be read or libxml2 cannot compile it.
    static std::shared_ptr<const CompiledXSD> load(const std::string& path, Error* error);
    ~CompiledXSD();
    CompiledXSD(const CompiledXSD&) = delete;
    CompiledXSD& operator=(const CompiledXSD&) = delete;

    const std::string& path() const { return path_; }
    // libxml2's findings on the document, one issue per finding even when its message
    // spans lines (trimmed at both ends): errors in `errors`, warnings in `warnings`;
    // schemaTitle = the file name without extension, schemaFiles = {path},
    // patterns = empty list. nullopt with `error` set (domain "NSXMLDocumentValidation",
    // libxml2's negative code) when libxml2 fails without a finding: the document is
    // then not validated. Safe to call from several threads.
    std::optional<QMValidationResult> validate(const xml::Document& document, Error* error) const;
    // The findings as the standard profile reports them: as validate, and each issue
    // placed where libxml2 saw it — line and column of the start tag of the element or
    // attribute at fault (the column is found in `source`, the document's text, when
    // given; else 0), that node's location path in `location` ("/Invoice[1]/@currencyID")
    // — with the message on one line, schemaTitle and ruleSet = the XSD's file name
    // ("UBL-Invoice-2.1.xsd") and the standard severity rules. A finding without a node
    // keeps libxml2's line and column.
    std::optional<QMValidationResult> validateLocated(const xml::Document& document, const std::string* source,
                                                      Error* error) const;

    // How findings become issues: Plain for validate, Located for validateLocated.
    enum class FindingStyle { Plain, Located };

private:
    std::optional<QMValidationResult> validateReporting(const xml::Document& document, FindingStyle style,
                                                        const std::string* source, Error* error) const;
    CompiledXSD(std::string path, _xmlSchema* schema) : path_(std::move(path)), schema_(schema) {}
    std::string path_;
    _xmlSchema* schema_;
    mutable std::mutex mutex_;  // libxml2 does not promise concurrent use of one schema
};

// Validates XML text against an XSD file (CompiledXSD::load, then validate). nullopt
// with `error` set when the text is not well-formed (the XML parser's error) or when
// the XSD cannot be read or compiled.
std::optional<QMValidationResult> validateXMLAgainstXSD(const std::string& xml, const std::string& xsdPath,
                                                        Error* error);

}  // namespace quillmark
