#include <libxml/parser.h>

#include <mutex>

#include "xml/external_resources.h"
#include "xml/libxml_support.h"

namespace quillmark::xml::detail {

void ensureLibxmlInitialized() {
    static std::once_flag once;
    std::call_once(once, [] {
        xmlInitParser();
        installExternalResourceLoader();
    });
}

}  // namespace quillmark::xml::detail
