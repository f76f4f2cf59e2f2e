#pragma once
// The "KEY=VALUE" arguments of --ns and --var.

#include <string>

namespace quillmark::cli {

// Splits "KEY=VALUE"; false when there is no "=" or the key is empty.
bool splitAssignment(const std::string& text, std::string& key, std::string& value);

}  // namespace quillmark::cli
