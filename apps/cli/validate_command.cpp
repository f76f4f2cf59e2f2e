// quillmark validate (not yet available).

#include <iostream>

#include "commands.h"

namespace quillmark::cli {

CommandRunner addValidateCommand(CLI::App& app) {
    app.add_subcommand("validate", "validate (not yet available)")->allow_extras();
    return [] {
        std::cerr << "quillmark: validate is not available yet\n";
        return kExitFailure;
    };
}

}  // namespace quillmark::cli
