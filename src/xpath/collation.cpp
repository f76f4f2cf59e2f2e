#include "xpath/collation.h"

#include <string>

#include "xpath/error.h"

namespace quillmark::xpath {

void requireSupportedCollation(const Sequence& argument, std::string_view function) {
    const std::string uri = argument.empty() ? std::string() : argument.front().atomic().stringValue();
    if (uri == kCodepointCollation) return;
    throw XPathError(ErrorCode::FOCH0002,
                     std::string(function) + "() supports only the code point collation, not \"" + uri + "\"");
}

}  // namespace quillmark::xpath
