#include "xpath/regex_translation.h"

#include "xpath/error.h"

namespace quillmark::xpath {

IcuRegex translateRegex(std::string_view, std::string_view) {
    throw XPathError(ErrorCode::FORX0002, "regular expressions are not implemented yet");
}

}  // namespace quillmark::xpath
