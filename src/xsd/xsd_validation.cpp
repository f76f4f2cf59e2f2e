// XSD validation through libxml2's XML Schema module.
//
// The document handed to libxml2 is a fresh serialization of the parsed document.
// libxml2 reports validity problems through its process-global generic error handler;
// our handler collects them only for the length of xmlSchemaValidateDoc and the
// default handler is put back right after. Messages about reading the document and
// the XSD file are collected separately so that they do not clutter the terminal; they
// are never part of the document's findings.

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "quillmark/schematron_validator.h"
#include "quillmark/unicode.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"

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

// What one pass through libxml2 found.
struct LibXMLRun {
    bool documentParsed = false;
    bool schemaCompiled = false;
    int rc = 0;                                 // xmlSchemaValidateDoc's return value
    std::vector<std::string> messages;          // reported during xmlSchemaValidateDoc
    std::vector<std::string> schemaMessages;    // reported while reading and compiling the XSD
    std::vector<std::string> documentMessages;  // reported while reading the serialized document
};

// Parses the serialized document, compiles the XSD and validates. Every libxml2 object
// is freed here, in the order validation context, schema, parser context, document.
LibXMLRun runLibXMLValidation(const std::string& bytes, const std::string& schemaPath) {
    LibXMLRun run;
    if (bytes.size() > static_cast<size_t>(INT_MAX)) return run;
    xmlSetGenericErrorFunc(&run.documentMessages, captureLibXMLError);
    xmlDocPtr document = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "", nullptr, 0);
    xmlSetGenericErrorFunc(nullptr, nullptr);
    if (document == nullptr) return run;
    run.documentParsed = true;

    // libxml2 accepts NULL in each of these calls and reports failure through them.
    xmlSetGenericErrorFunc(&run.schemaMessages, captureLibXMLError);
    xmlSchemaParserCtxtPtr parserContext = xmlSchemaNewParserCtxt(schemaPath.c_str());
    xmlSchemaPtr schema = xmlSchemaParse(parserContext);
    xmlSchemaValidCtxtPtr validContext = xmlSchemaNewValidCtxt(schema);
    run.schemaCompiled = schema != nullptr;

    xmlSetGenericErrorFunc(&run.messages, captureLibXMLError);
    run.rc = xmlSchemaValidateDoc(validContext, document);
    xmlSetGenericErrorFunc(nullptr, nullptr);

    xmlSchemaFreeValidCtxt(validContext);
    xmlSchemaFree(schema);
    xmlSchemaFreeParserCtxt(parserContext);
    xmlFreeDoc(document);
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
        QMValidationError issue;
        issue.message = std::move(piece);
        issue.type = "xsd";
        issue.role = "error";
        issue.schemaTitle = schemaTitle;
        issue.location = "";
        issues.push_back(std::move(issue));
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

std::optional<QMValidationResult> validateXMLAgainstXSD(const std::string& xml, const std::string& xsdPath,
                                                        Error* error) {
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    LibXMLRun run = runLibXMLValidation(document->xmlString(), xsdPath);
    if (!run.documentParsed) {
        setError(error, kXMLValidationDomain, -1, "Failed to parse XML.");
        return std::nullopt;
    }
    if (!run.schemaCompiled) {
        std::string reason = trimWhiteSpace(joinLines(run.schemaMessages));
        reason = reason.substr(0, reason.find('\n'));
        if (reason.empty()) reason = "not a usable XML schema";
        setError(error, kXMLValidationDomain, -2, fmt::format("Could not load XSD file {}: {}", xsdPath, reason));
        return std::nullopt;
    }
    std::string title = schemaBaseName(xsdPath);
    QMValidationResult result;
    result.errors = xsdIssuesFromValidationErrors(joinLines(run.messages), title);
    if (run.rc != 0 && result.errors.empty()) {
        // libxml2 gave up without saying why (an internal error); do not call that valid.
        result.errors = xsdIssuesFromValidationErrors(
            fmt::format("XSD validation failed with libxml2 code {}", run.rc), title);
    }
    result.valid = result.errors.empty();
    result.patterns = std::vector<std::string>{};
    result.schemaFiles = std::vector<std::string>{xsdPath};
    return result;
}

}  // namespace quillmark
