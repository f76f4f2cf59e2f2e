#include <libxml/parser.h>

#include <mutex>

#include "xml/libxml_support.h"

namespace quillmark::xml::detail {

void ensureLibxmlInitialized() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

}  // namespace quillmark::xml::detail
