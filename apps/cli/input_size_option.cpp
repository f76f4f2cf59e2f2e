#include "input_size_option.h"

#include "quillmark/xml.h"

namespace quillmark::cli {

void addInputSizeOption(CLI::App& command, std::optional<uint64_t>& limit) {
    command
        .add_option("--max-input-size", limit,
                    "Largest file to read, in bytes or with a unit such as 64MiB (default 256MiB); larger files are "
                    "refused")
        ->transform(CLI::AsSizeValue(/*kb_is_1000=*/true))
        ->check(CLI::PositiveNumber);
}

void applyInputSizeOption(const std::optional<uint64_t>& limit) {
    if (limit) xml::setMaxInputSize(*limit);
}

}  // namespace quillmark::cli
