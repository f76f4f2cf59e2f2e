#include "assignment.h"

namespace quillmark::cli {

bool splitAssignment(const std::string& text, std::string& key, std::string& value) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) return false;
    key = text.substr(0, equals);
    value = text.substr(equals + 1);
    return true;
}

}  // namespace quillmark::cli
