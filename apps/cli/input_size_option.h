#pragma once
// --max-input-size SIZE: the largest file a command reads (documents, rule sets and
// their includes, XSD files), with an optional unit (k, M, G; KiB, MiB, GiB).

#include <cstdint>
#include <optional>

#include <CLI/CLI.hpp>

namespace quillmark::cli {

void addInputSizeOption(CLI::App& command, std::optional<uint64_t>& limit);
// Sets the library's limit when the option was given.
void applyInputSizeOption(const std::optional<uint64_t>& limit);

}  // namespace quillmark::cli
