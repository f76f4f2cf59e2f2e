#include "xml/parse_errors.h"

#include <libxml/globals.h>

#include <fmt/format.h>

namespace quillmark::xml::detail {
namespace {

void ignoreGenericError(void*, const char*, ...) {}

}  // namespace

std::string oneLine(const char* text) {
    std::string result;
    bool pendingBlank = false;
    for (const char* c = text ? text : ""; *c; ++c) {
        const bool blank = *c == ' ' || *c == '\n' || *c == '\r' || *c == '\t';
        if (blank) {
            pendingBlank = !result.empty();
            continue;
        }
        if (pendingBlank) result += ' ';
        pendingBlank = false;
        result += *c;
    }
    return result;
}

GenericErrorSilencer::GenericErrorSilencer()
    : previousHandler_(xmlGenericError), previousContext_(xmlGenericErrorContext) {
    xmlSetGenericErrorFunc(nullptr, ignoreGenericError);
}

GenericErrorSilencer::~GenericErrorSilencer() { xmlSetGenericErrorFunc(previousContext_, previousHandler_); }

void ParseErrorCapture::record(LibxmlErrorArg error) {
    if (!error) return;
    const bool isError = error->level >= XML_ERR_ERROR;
    // Keep the first error; a warning only stands in until an error arrives.
    if (hasReport_ && (isError_ || !isError)) return;
    hasReport_ = true;
    isError_ = isError;
    code_ = error->code;
    message_ = oneLine(error->message);
    line_ = error->line;
    column_ = error->int2;
}

std::string ParseErrorCapture::description(const std::string& fallback) const {
    const std::string& message = hasReport_ && !message_.empty() ? message_ : fallback;
    return fmt::format("{} (line {}, column {})", message, line_, column_);
}

}  // namespace quillmark::xml::detail
