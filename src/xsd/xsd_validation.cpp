// XSD validation through libxml2's XML Schema module.
//
// The schema is compiled from files the library has read itself (see
// schema_compilation.h), and libxml2's reports are collected through the parser and
// validation contexts' own structured handlers: no global handler is touched, so
// validations on several threads keep their findings apart. One libxml2 report is one
// message, whatever line feeds it holds.

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "quillmark/schematron_validator.h"
#include "quillmark/unicode.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"
#include "standard/node_location.h"
#include "xml/libxml_support.h"
#include "xml/parse_errors.h"
#include "xml/safe_parse.h"
#include "xsd/schema_compilation.h"

namespace quillmark {

extern "C" void captureLibXMLError(void* context, const char* format, ...) {
    if (context == nullptr || format == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    // libxml2 quotes document content in its messages; keep the list valid UTF-8.
    std::string message = unicode::fromUtf16(unicode::toUtf16(std::string_view(text, static_cast<size_t>(length))));
    std::free(text);
    static_cast<std::vector<std::string>*>(context)->push_back(std::move(message));
}

namespace {

using xsd::LibxmlReport;
using xsd::ReportCollector;

// Keeps libxml2's quotations of document content valid UTF-8.
std::string validUtf8(const std::string& text) { return unicode::fromUtf16(unicode::toUtf16(text)); }

// What validating a document's serialization found.
struct LibXMLRun {
    bool documentParsed = false;
    int rc = 0;                         // xmlSchemaValidateDoc's return value
    std::vector<std::string> messages;  // one per report during validation
};

// Reads the serialized document back, compiles the XSD and validates. A schema that
// does not compile is not replaced by one assembled from the document's own schema
// locations (which libxml2 would do): the run ends with -1.
LibXMLRun runLibXMLValidation(const std::string& bytes, const std::string& schemaPath) {
    LibXMLRun run;
    xml::detail::DocHandle document(
        xml::detail::parseSafely(bytes, "", xml::detail::TextEncoding::Utf8, nullptr));
    if (!document) return run;
    run.documentParsed = true;
    std::string failure;
    xsd::SchemaHandle schema = xsd::compileSchemaFile(schemaPath, failure);
    if (!schema) {
        run.rc = -1;
        return run;
    }
    ReportCollector reports;
    run.rc = xsd::validateTree(schema.get(), document.get(), reports);
    for (const LibxmlReport& report : reports.reports()) run.messages.push_back(validUtf8(report.message));
    return run;
}

std::string joinLines(const std::vector<std::string>& lines) {
    std::string joined;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) joined += '\n';
        joined += lines[i];
    }
    return joined;
}

// The schema name that validateWithXSD returns: the last path component without its
// last extension ("base.rules.xsd" -> "base.rules").
std::string schemaBaseName(const std::string& schemaPath) {
    return std::filesystem::path(schemaPath).filename().stem().string();
}

Error invalidDocumentError(const LibXMLRun& run) {
    Error error;
    setError(&error, kXMLValidationDomain, run.rc, "XML is invalid.");
    error.userInfo[kValidationErrorsKey] = joinLines(run.messages);
    error.userInfo[kValidationErrorsLengthKey] = std::to_string(run.messages.size());
    return error;
}

// Trims white space and line ends (Unicode White_Space) at both ends.
std::string trimWhiteSpace(const std::string& text) {
    auto codePointAt = [&](int32_t& offset) {
        UChar32 c;
        U8_NEXT(text.data(), offset, static_cast<int32_t>(text.size()), c);
        return c;
    };
    int32_t begin = 0;
    while (begin < static_cast<int32_t>(text.size())) {
        int32_t next = begin;
        if (!u_isUWhiteSpace(codePointAt(next))) break;
        begin = next;
    }
    int32_t end = static_cast<int32_t>(text.size());
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(text.data(), begin, previous, c);
        if (!u_isUWhiteSpace(c)) break;
        end = previous;
    }
    return text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
}

std::optional<int64_t> validationErrorsLength(const Error& error) {
    auto found = error.userInfo.find(kValidationErrorsLengthKey);
    if (found == error.userInfo.end()) return std::nullopt;
    return std::strtoll(found->second.c_str(), nullptr, 10);
}

// Ascending by the number of captured messages; errors without that number first.
void sortByValidationErrorsLength(std::vector<Error>& errors) {
    std::stable_sort(errors.begin(), errors.end(), [](const Error& a, const Error& b) {
        return validationErrorsLength(a) < validationErrorsLength(b);
    });
}

Error combinedError(std::vector<Error> collected) {
    Error combined = collected.front();
    combined.underlyingErrors.assign(collected.begin() + 1, collected.end());
    return combined;
}

QMValidationError xsdIssue(std::string message, std::string role, const std::string& schemaTitle) {
    QMValidationError issue;
    issue.message = std::move(message);
    issue.type = "xsd";
    issue.role = std::move(role);
    issue.schemaTitle = schemaTitle;
    issue.location = "";
    return issue;
}

// The attribute of `element` that a finding is about. libxml2 gives the element as the
// node and names the attribute only in its message: "Element 'Line', attribute 'unit':
// ..." ("{URI}local" for a name in a namespace). Null when the message names none.
const xmlNode* attributeNamedIn(const std::string& message, const xmlNode* element) {
    constexpr std::string_view kMarker = "', attribute '";
    const size_t marker = message.find(kMarker);
    if (element->type != XML_ELEMENT_NODE || marker == std::string::npos) return nullptr;
    const size_t start = marker + kMarker.size();
    const size_t end = message.find('\'', start);
    if (end == std::string::npos) return nullptr;
    std::string_view name(message.data() + start, end - start);
    std::string_view uri;
    if (name.starts_with('{') && name.find('}') != std::string_view::npos) {
        uri = name.substr(1, name.find('}') - 1);
        name.remove_prefix(name.find('}') + 1);
    }
    for (const xmlAttr* attribute = element->properties; attribute; attribute = attribute->next) {
        const std::string attributeURI = attribute->ns ? xml::detail::toString(attribute->ns->href) : std::string();
        if (xml::detail::toString(attribute->name) == name && attributeURI == uri) {
            return reinterpret_cast<const xmlNode*>(attribute);
        }
    }
    return nullptr;
}

// Places a finding as the standard profile reports it: at the start tag of the node
// libxml2 names (its element's, for an attribute), with the node's location path;
// a report without a node keeps libxml2's own line and column.
void locate(QMValidationError& issue, const LibxmlReport& report, const std::string* source) {
    if (!report.node) {
        issue.line = std::max(report.line, 0);
        issue.column = issue.line > 0 ? std::max(report.column, 0) : 0;
        return;
    }
    const xmlNode* attribute = attributeNamedIn(issue.message, report.node);
    const xmlNode* node = attribute ? attribute : report.node;
    const standard::SourcePosition position = standard::sourcePosition(node, source);
    issue.line = position.line;
    issue.column = position.column;
    issue.location = standard::locationPath(node);
}

// The issue of one libxml2 report; none for a report without text. Plain findings keep
// the compatible form (libxml2's text trimmed, the schema named by its base name, no
// position); located ones have the message on one line and the schema's file name as
// schemaTitle and ruleSet.
std::optional<QMValidationError> findingIssue(const LibxmlReport& report, const std::string& schemaPath,
                                              CompiledXSD::FindingStyle style, const std::string* source) {
    const std::string role = report.isWarning ? "warning" : "error";
    switch (style) {
    case CompiledXSD::FindingStyle::Plain: {
        std::string message = trimWhiteSpace(validUtf8(report.message));
        if (message.empty()) return std::nullopt;
        return xsdIssue(std::move(message), role, schemaBaseName(schemaPath));
    }
    case CompiledXSD::FindingStyle::Located: {
        std::string message = xml::detail::oneLine(validUtf8(report.message).c_str());
        if (message.empty()) return std::nullopt;
        const std::string fileName = std::filesystem::path(schemaPath).filename().string();
        QMValidationError issue = xsdIssue(std::move(message), role, fileName);
        issue.ruleSet = fileName;  // an XML Schema has no title
        issue.semantics = Semantics::Standard;
        locate(issue, report, source);
        return issue;
    }
    }
    return std::nullopt;
}

}  // namespace

std::vector<QMValidationError> xsdIssuesFromValidationErrors(const std::string& validationErrors,
                                                             const std::string& schemaTitle) {
    std::vector<QMValidationError> issues;
    size_t start = 0;
    while (start <= validationErrors.size()) {
        size_t end = validationErrors.find('\n', start);
        if (end == std::string::npos) end = validationErrors.size();
        std::string piece = trimWhiteSpace(validationErrors.substr(start, end - start));
        start = end + 1;
        if (piece.empty()) continue;
        issues.push_back(xsdIssue(std::move(piece), "error", schemaTitle));
    }
    return issues;
}

std::optional<std::string> validateWithXSD(const xml::Document& document, const std::string& schemaPath,
                                           Error* error) {
    LibXMLRun run = runLibXMLValidation(document.xmlString(), schemaPath);
    if (!run.documentParsed) {
        setError(error, kXMLValidationDomain, -1, "Failed to parse XML.");
        return std::nullopt;
    }
    if (error && run.rc != 0) *error = invalidDocumentError(run);
    return schemaBaseName(schemaPath);
}

std::optional<std::string> validateWithXSDs(const xml::Document& document, const std::vector<std::string>& schemaPaths,
                                            Error* error) {
    std::vector<Error> collected;
    for (const auto& schemaPath : schemaPaths) {
        Error local;
        if (auto name = validateWithXSD(document, schemaPath, &local)) {
            if (error) error->clear();
            return name;
        }
        if (local) collected.push_back(std::move(local));
    }
    sortByValidationErrorsLength(collected);
    if (!error || collected.empty()) return std::nullopt;
    *error = combinedError(std::move(collected));
    return std::nullopt;
}

std::optional<QMValidationResult> QMSchematronValidator::validateXMLWithXSDFile(const std::string& xml,
                                                                                const std::string& xsdPath,
                                                                                Error* error) {
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    if (_semantics == Semantics::Standard) {
        // The standard profile reports libxml2's findings like any other.
        auto schema = CompiledXSD::load(xsdPath, error);
        if (!schema) return std::nullopt;
        return schema->validateLocated(*document, &xml, error);
    }
    Error local;
    auto name = validateWithXSD(*document, xsdPath, &local);

    auto entry = _schemaCatalog.find(xsdPath);
    std::string title = entry != _schemaCatalog.end() ? entry->second.title
                                                      : std::filesystem::path(xsdPath).filename().string();
    QMValidationResult result;
    result.patterns = std::vector<std::string>{};
    result.schemaFiles = std::vector<std::string>{title};
    // Any document that libxml2 could parse counts as valid here; the automatic
    // validation depends on this.
    if (name) {
        result.valid = true;
        return result;
    }
    result.valid = false;
    if (auto text = local.userInfo.find(kValidationErrorsKey); text != local.userInfo.end()) {
        result.errors = xsdIssuesFromValidationErrors(text->second, title);
    }
    if (error) *error = std::move(local);
    return result;
}

// ---- Compiled once, validated many times ----

std::shared_ptr<const CompiledXSD> CompiledXSD::load(const std::string& path, Error* error) {
    std::string failure;
    xsd::SchemaHandle schema = xsd::compileSchemaFile(path, failure);
    if (!schema) {
        setError(error, kXMLValidationDomain, -2, fmt::format("Could not load XSD file {}: {}", path, failure));
        return nullptr;
    }
    return std::shared_ptr<const CompiledXSD>(new CompiledXSD(path, schema.release()));
}

CompiledXSD::~CompiledXSD() { xmlSchemaFree(schema_); }

std::optional<QMValidationResult> CompiledXSD::validate(const xml::Document& document, Error* error) const {
    return validateReporting(document, FindingStyle::Plain, nullptr, error);
}

std::optional<QMValidationResult> CompiledXSD::validateLocated(const xml::Document& document, const std::string* source,
                                                               Error* error) const {
    return validateReporting(document, FindingStyle::Located, source, error);
}

std::optional<QMValidationResult> CompiledXSD::validateReporting(const xml::Document& document, FindingStyle style,
                                                                 const std::string* source, Error* error) const {
    ReportCollector reports;
    int rc = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        rc = xsd::validateTree(schema_, document.raw(), reports);
    }
    QMValidationResult result;
    for (const LibxmlReport& report : reports.reports()) {
        std::optional<QMValidationError> issue = findingIssue(report, path_, style, source);
        if (!issue) continue;
        (report.isWarning ? result.warnings : result.errors).push_back(std::move(*issue));
    }
    if (rc != 0 && result.errors.empty()) {
        // libxml2 gave up without saying why (an internal error): not validated.
        setError(error, kXMLValidationDomain, rc, fmt::format("XSD validation with {} failed (libxml2 code {})", path_, rc));
        return std::nullopt;
    }
    result.valid = result.errors.empty();
    result.patterns = std::vector<std::string>{};
    result.schemaFiles = std::vector<std::string>{path_};
    return result;
}

std::optional<QMValidationResult> validateXMLAgainstXSD(const std::string& xml, const std::string& xsdPath,
                                                        Error* error) {
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    auto schema = CompiledXSD::load(xsdPath, error);
    if (!schema) return std::nullopt;
    return schema->validate(*document, error);
}

}  // namespace quillmark
