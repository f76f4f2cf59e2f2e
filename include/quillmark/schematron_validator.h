#pragma once
// The Schematron validator: loads rule sets, runs them over documents, keeps a catalog
// of the schema files found in registered directories, picks the schemas that fit a
// document and merges their findings. Problems that do not end an operation are
// logged; errors that end one come back through the `Error*` slot.

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "quillmark/error.h"
#include "quillmark/evaluator.h"
#include "quillmark/schematron_model.h"
#include "quillmark/semantics.h"
#include "quillmark/xml.h"

namespace quillmark {

// The description of the error (domain kQuillmarkDomain, code 404) for a document that
// no catalogued schema fits.
inline constexpr const char* kNoMatchingSchemaDescription = "No matching Schematron schema found for this XML document";

// A schema that could not be used on a document in a strict validation.
struct SchemaFailure {
    std::string path;  // the schema file
    Error error;       // why: it could not be read, parsed, loaded with its includes,
                       // compiled, or run to its end
};

// The outcome of a strict validation (QMSchematronValidator::validateDocumentStrictly).
struct StrictValidationReport {
    enum class Outcome {
        Validated,         // every fitting schema was tried; see `failures`
        NotWellFormed,     // `error` holds the parser's error
        NoMatchingSchema,  // `error` holds the 404 error
    };
    Outcome outcome = Outcome::Validated;
    Error error;
    // The findings of the schemas that ran, merged in catalog order; schemaFiles = the
    // fitting schema paths. Empty unless the outcome is Validated.
    QMValidationResult result;
    std::vector<SchemaFailure> failures;

    // True only when every fitting schema ran to its end: then `result` is a verdict.
    // Otherwise the document is not validated, whatever `result` holds.
    bool isVerdict() const { return outcome == Outcome::Validated && failures.empty(); }
};

// A catalog entry: "title", "namespaces" (prefix or "target" to URI), and optionally
// "customizationID" and "type" ("xsd").
struct CatalogEntry {
    std::string title;
    std::map<std::string, std::string> namespaces;
    std::optional<std::string> customizationID;
    std::optional<std::string> type;
    bool isXSD() const { return type && *type == "xsd"; }
};

namespace standard {
class CompiledRuleSet;
}

// Errors of rule sets that the standard profile refuses (unreadable, an include cycle,
// an expression that does not compile): code 1, the description names the file.
inline constexpr const char* kRuleSetDomain = "QuillmarkRuleSet";

class QMSchematronValidator {
public:
    QMSchematronValidator();
    ~QMSchematronValidator();
    QMSchematronValidator(QMSchematronValidator&&) noexcept;
    QMSchematronValidator& operator=(QMSchematronValidator&&) noexcept;

    // ---- Profile ----
    // How rule sets are read: Compatible (the default: the library's documented
    // dialect) or Standard (XPath 2.0 and ISO Schematron as a standard XSLT 2.0
    // processor runs them). Validation from files, automatic validation and the
    // catalog follow it; validateDocument(document, schema) always runs the loaded
    // model in the compatible profile.
    Semantics semantics() const { return _semantics; }
    void setSemantics(Semantics semantics) { _semantics = semantics; }
    // The phase the standard profile runs: nullopt for each rule set's default phase,
    // "#ALL" for every pattern, else a phase id.
    const std::optional<std::string>& phase() const { return _phase; }
    void setPhase(std::optional<std::string> phase);
    // A rule-set file compiled for the standard profile, compiled once per validator
    // and phase; null with `error` set (domain kRuleSetDomain) when it cannot be used.
    std::shared_ptr<const standard::CompiledRuleSet> compiledRuleSet(const std::string& path, Error* error);
    // Validates a parsed document with a rule-set file in the validator's profile.
    std::optional<QMValidationResult> validateDocumentWithSchemaFile(const xml::Document& document,
                                                                     const std::string& schemaPath, Error* error);

    // ---- Loader ----
    std::shared_ptr<SchematronSchema> parseSchema(const std::string& text, Error* error);
    std::shared_ptr<SchematronSchema> parseSchema(const std::string& text, const std::optional<std::string>& basePath,
                                                  Error* error);
    std::string processIncludes(const std::string& text, const std::string& basePath, Error* error);

    // ---- Validation run ----
    QMValidationResult validateDocument(const xml::Document& document, const SchematronSchema& schema, Error* error);
    std::optional<QMValidationResult> validateXMLWithSchema(const std::string& xml, const std::string& schemaText,
                                                            Error* error);
    std::optional<QMValidationResult> validateXMLWithSchemaFile(const std::string& xml, const std::string& schemaPath,
                                                                Error* error);
    // Loads a rule-set file with its includes (what validateXMLWithSchemaFile does
    // before it parses the document); lets a caller run one schema over many files.
    std::shared_ptr<SchematronSchema> loadSchemaFile(const std::string& schemaPath, Error* error);
    std::string evaluateMessageWithValueOf(xml::Node messageElement, QMXPath2Evaluator& evaluator,
                                           xml::Node contextNode, Error* error);
    static std::string getNodePath(xml::Node node);
    static bool toBoolean(const Value& value);

    // ---- XSD ----
    std::optional<QMValidationResult> validateXMLWithXSDFile(const std::string& xml, const std::string& xsdPath,
                                                             Error* error);

    // ---- Catalog ----
    void addSchemaDirectory(const std::string& directory);
    void catalogSchemaFile(const std::string& path);
    void catalogXSDFile(const std::string& path);
    static std::optional<std::string> extractEN16931CustomizationIDRequirement(const xml::Document& schema);
    bool runSelfTest() const { return true; }

    bool isInitialized() const { return _isInitialized; }
    void setIsInitialized(bool value) { _isInitialized = value; }
    // Keys in sorted path order: the catalog's iteration order is stable.
    const std::map<std::string, CatalogEntry>& schemaCatalog() const { return _schemaCatalog; }
    void setSchemaCatalog(std::map<std::string, CatalogEntry> catalog) { _schemaCatalog = std::move(catalog); }
    const std::map<std::string, std::vector<std::string>>& matchingCache() const { return _matchingCache; }
    void setMatchingCache(std::map<std::string, std::vector<std::string>> cache) { _matchingCache = std::move(cache); }

    // ---- Detection and automatic validation ----
    static void collectNamespacesFromElement(xml::Node element, std::set<std::string>& into);
    std::optional<std::vector<std::string>> findMatchingSchemasForXML(const std::string& xml, Error* error);
    std::optional<QMValidationResult> validateXMLWithAutoDetection(const std::string& xml, Error* error);

    // Automatic validation that fails closed, for tools and viewers. Unlike
    // validateXMLWithAutoDetection, every fitting schema runs with an error slot of its
    // own, so one failure skips no other schema; a rule set with an include that cannot
    // be read, an XSD file that does not compile, or a run that ends early is a
    // failure; and XSD schemas report libxml2's findings on the document.
    StrictValidationReport validateXMLStrictly(const std::string& xml);
    StrictValidationReport validateDocumentStrictly(const xml::Document& document);

    // Customization identifier of a document: CustomizationID, else the CII guideline
    // parameter's ID; nullopt when there is none.
    static std::optional<std::string> documentCustomizationID(const xml::Document& document);

private:
    // Catalog keys that fit the document, from the matching cache when it has them
    // (`cached` says so), else computed and stored there.
    std::vector<std::string> matchingSchemaPaths(const xml::Document& document, bool* cached);
    std::optional<QMValidationResult> validateXMLWithStandardSchemaText(const std::string& xml,
                                                                        const std::string& schemaText, Error* error);
    // False when the directory cannot be listed.
    bool addSchemaDirectory(const std::string& directory, std::set<std::string>& visited);

    bool _isInitialized = true;
    Semantics _semantics = Semantics::Compatible;
    std::optional<std::string> _phase;
    std::map<std::string, std::shared_ptr<const standard::CompiledRuleSet>> _compiledRuleSets;
    std::map<std::string, CatalogEntry> _schemaCatalog;
    std::map<std::string, std::vector<std::string>> _matchingCache;
};

// ---- Convenience on a parsed document ----
// In the compatible profile (the default) the document is serialized and validated
// with a fresh validator, without resolving includes; in the standard profile the rule
// set is compiled (a file with its includes, relative to the file) and run on the
// document as it is.
std::optional<QMValidationResult> validateWithSchematron(const xml::Document& document, const std::string& schemaText,
                                                         Error* error, Semantics semantics = Semantics::Compatible);
std::optional<QMValidationResult> validateWithSchematronFile(const xml::Document& document,
                                                             const std::string& schemaPath, Error* error,
                                                             Semantics semantics = Semantics::Compatible);

// ---- XSD validation of a document through libxml2 ----
// Returns the schema file's base name whenever libxml2 could parse the document;
// validity is told only through `error`.
std::optional<std::string> validateWithXSD(const xml::Document& document, const std::string& schemaPath,
                                           Error* error);
std::optional<std::string> validateWithXSDs(const xml::Document& document, const std::vector<std::string>& schemaPaths,
                                            Error* error);

// ---- Telling schema files apart ----
enum class SchemaFileKind {
    Schematron,  // root element `schema` in the ISO Schematron or the Schematron 1.5 namespace
    XSD,         // root element `schema` in the XML Schema namespace
    Other,       // any other root element
};
// The kind of a schema file by its root element, whatever its name. nullopt with
// `error` set when the file cannot be read or is not well-formed XML.
std::optional<SchemaFileKind> schemaFileKind(const std::string& path, Error* error);

// ---- Resources of the library ----
// The library's resource directory (string tables and the like).
// The library's resource directory (string tables and the like): QUILLMARK_RESOURCE_DIR
// when set, else <prefix>/share/quillmark beside the installed library or tool, else
// the source tree's resources/.
std::string resourceDirectory();
// The bundled rule sets and their scenarios: QUILLMARK_RULES_DIR when set, else
// <prefix>/share/quillmark/rules when installed, else the source tree's rules/.
std::string rulesDirectory();
std::optional<std::string> pathForResource(const std::string& name, const std::optional<std::string>& type,
                                           const std::optional<std::string>& subdirectory);
std::vector<std::string> pathsForResourcesOfType(const std::optional<std::string>& type,
                                                 const std::optional<std::string>& subdirectory);

// Version symbols.
extern const double QuillmarkVersionNumber;
extern const unsigned char QuillmarkVersionString[];

}  // namespace quillmark
