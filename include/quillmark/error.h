#pragma once
// Errors that end an operation travel through an optional `Error*` out-parameter:
// a null pointer means the caller does not want to know; a non-null pointer is an
// error slot that "holds an error" once it is set. Some operations look at the slot
// they were handed (the Schematron loader gives up when it already holds an error),
// so callers clear their slot before a call when they mean to start afresh.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quillmark {

// User-information key of the errors that an error combines.
inline constexpr const char* kUnderlyingErrorKey = "NSUnderlyingErrorKey";

struct Error {
    std::string domain;                 // empty while the slot holds no error
    int64_t code = 0;
    std::string localizedDescription;   // may be empty
    std::map<std::string, std::string> userInfo;
    std::vector<Error> underlyingErrors;  // the list kept under kUnderlyingErrorKey

    bool isSet() const { return !domain.empty(); }
    explicit operator bool() const { return isSet(); }
    void clear() { *this = Error{}; }

    // One line for people: the description, else "<domain> error <code>".
    std::string message() const;
};

// Writes an error into a slot when the caller gave one.
void setError(Error* slot, std::string domain, int64_t code, std::string description);

// Domains of the library's own errors.
inline constexpr const char* kQuillmarkErrorDomain = "QuillmarkErrorDomain";   // codes 1, 2
inline constexpr const char* kQuillmarkDomain = "Quillmark";                   // code 404
inline constexpr const char* kXPath2EvaluatorDomain = "XPath2Evaluator";       // code 1
inline constexpr const char* kXMLValidationDomain = "NSXMLDocumentValidation"; // XSD layer
// Errors of the XML parser and of file reading.
inline constexpr const char* kXMLParserDomain = "XMLParser";
inline constexpr const char* kFileDomain = "File";

}  // namespace quillmark
