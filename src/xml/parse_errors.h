#pragma once
// Collects what libxml2 reports while it parses, instead of letting it print.

#include <libxml/xmlerror.h>

#include <string>

#include "quillmark/error.h"
#include "xml/external_resources.h"

namespace quillmark::xml::detail {

// Keeps libxml2's unstructured messages (some XPath evaluation errors such as an
// unknown function are printed that way, with no per-context handler to take them)
// off stderr while an instance lives; the previous handler of this thread is put back
// on destruction.
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

// The first error of one parse (warnings only when no error follows). It is fed
// through the parser context's own structured handler (see ExternalResourceScope), so
// no global handler is touched.
class ParseErrorCapture {
public:
    bool hasReport() const { return hasReport_; }
    int code() const { return code_; }
    // "<message> (line L, column C)", or `fallback` when nothing was reported.
    std::string description(const std::string& fallback) const;

    void record(LibxmlErrorArg error);
    LibxmlMessageSink sink() {
        return [this](LibxmlErrorArg error) { record(error); };
    }

private:
    bool hasReport_ = false;
    bool isError_ = false;
    int code_ = 0;
    std::string message_;
    int line_ = 0;
    int column_ = 0;
};

// libxml2 messages end in a line break and some span two lines ("...encoding !\nBytes:
// 0xC3 0x28"); this is the message on one line, blanks collapsed.
std::string oneLine(const char* text);

}  // namespace quillmark::xml::detail
