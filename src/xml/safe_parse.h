#pragma once
// The one way the library turns bytes into a libxml2 tree, for documents, rule sets,
// included files and XSD files alike: nothing is fetched (no network, no external DTD,
// no external entity; the document is refused when it refers to one), internal
// entities are expanded at parse time under a bound proportional to the input (or the
// document is refused), and libxml2's reports go to this parse only.

#include <libxml/tree.h>

#include <string_view>

#include "quillmark/error.h"

namespace quillmark::xml::detail {

enum class TextEncoding {
    Utf8,      // the bytes are UTF-8 whatever the XML declaration says
    Declared,  // libxml2 reads the byte order mark and the declaration
};

// A tree the caller frees with xmlFreeDoc, or null with `error` set (domain
// kXMLParserDomain, "<message> (line L, column C)"). `url` (may be null) is the
// document's base for relative references.
xmlDoc* parseSafely(std::string_view bytes, const char* url, TextEncoding encoding, Error* error);

}  // namespace quillmark::xml::detail
