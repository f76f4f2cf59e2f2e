#pragma once
// Where a node is: its location path (/Invoice[1]/cac:InvoiceLine[2], with /@name for
// an attribute and /text()[n] for a text node) and the line and column of its start
// tag in the document as read.

#include <libxml/tree.h>

#include <cstdint>
#include <string>

namespace quillmark::standard {

std::string locationPath(const xmlNode* node);

struct SourcePosition {
    int64_t line = 0;    // 0 when unknown
    int64_t column = 0;  // 0 when unknown
};

// The line comes from the parser; the column is found in `source` (the document's
// text), on that line, when given.
SourcePosition sourcePosition(const xmlNode* node, const std::string* source = nullptr);

}  // namespace quillmark::standard
