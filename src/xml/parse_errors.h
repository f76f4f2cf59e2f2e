#pragma once
// Collects what libxml2 reports while it parses, instead of letting it print.

#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>

#include <string>

#include "quillmark/error.h"

namespace quillmark::xml::detail {

// Keeps libxml2's unstructured messages (some XPath evaluation errors such as an
// unknown function are printed that way) off stderr while an instance lives; the
// previous handler of this thread is put back on destruction.
class GenericErrorSilencer {
public:
    GenericErrorSilencer();
    ~GenericErrorSilencer();
    GenericErrorSilencer(const GenericErrorSilencer&) = delete;
    GenericErrorSilencer& operator=(const GenericErrorSilencer&) = delete;

private:
    xmlGenericErrorFunc previousHandler_;
    void* previousContext_;
};

// The first error libxml2 reports on this thread while an instance lives (warnings
// only when no error follows). The previous structured handler is put back on
// destruction, so no handler of ours stays installed.
class ParseErrorCapture {
public:
    ParseErrorCapture();
    ~ParseErrorCapture();
    ParseErrorCapture(const ParseErrorCapture&) = delete;
    ParseErrorCapture& operator=(const ParseErrorCapture&) = delete;

    bool hasReport() const { return hasReport_; }
    int code() const { return code_; }
    // "<message> (line L, column C)", or `fallback` when nothing was reported.
    std::string description(const std::string& fallback) const;

#if LIBXML_VERSION >= 21200
    using ErrorArg = const xmlError*;
#else
    using ErrorArg = xmlError*;
#endif
    void record(ErrorArg error);

private:
    bool hasReport_ = false;
    bool isError_ = false;
    int code_ = 0;
    std::string message_;
    int line_ = 0;
    int column_ = 0;
    xmlStructuredErrorFunc previousHandler_;
    void* previousContext_;
    GenericErrorSilencer silencer_;
};

}  // namespace quillmark::xml::detail
