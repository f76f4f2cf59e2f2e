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
#include "quillmark/xml.h"

namespace quillmark {

// A catalog entry: "title", "namespaces" (prefix or "target" to URI), and optionally
// "customizationID" and "type" ("xsd").
struct CatalogEntry {
    std::string title;
    std::map<std::string, std::string> namespaces;
    std::optional<std::string> customizationID;
    std::optional<std::string> type;
    bool isXSD() const { return type && *type == "xsd"; }
};

class QMSchematronValidator {
public:
    QMSchematronValidator();

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

    // Customization identifier of a document: CustomizationID, else the CII guideline
    // parameter's ID; nullopt when there is none.
    static std::optional<std::string> documentCustomizationID(const xml::Document& document);

private:
    void addSchemaDirectory(const std::string& directory, std::set<std::string>& visiting);

    bool _isInitialized = true;
    std::map<std::string, CatalogEntry> _schemaCatalog;
    std::map<std::string, std::vector<std::string>> _matchingCache;
};

// ---- Convenience on a parsed document ----
std::optional<QMValidationResult> validateWithSchematron(const xml::Document& document, const std::string& schemaText,
                                                         Error* error);
std::optional<QMValidationResult> validateWithSchematronFile(const xml::Document& document,
                                                             const std::string& schemaPath, Error* error);

// ---- XSD validation of a document through libxml2 ----
// Returns the schema file's base name whenever libxml2 could parse the document;
// validity is told only through `error`.
std::optional<std::string> validateWithXSD(const xml::Document& document, const std::string& schemaPath,
                                           Error* error);
std::optional<std::string> validateWithXSDs(const xml::Document& document, const std::vector<std::string>& schemaPaths,
                                            Error* error);

// ---- Resources of the library ----
// The library's resource directory (string tables and the like).
std::string resourceDirectory();
std::optional<std::string> pathForResource(const std::string& name, const std::optional<std::string>& type,
                                           const std::optional<std::string>& subdirectory);
std::vector<std::string> pathsForResourcesOfType(const std::optional<std::string>& type,
                                                 const std::optional<std::string>& subdirectory);

// Version symbols.
extern const double QuillmarkVersionNumber;
extern const unsigned char QuillmarkVersionString[];

}  // namespace quillmark
