// quillmark catalog (not yet available).

#include <iostream>

#include "commands.h"

namespace quillmark::cli {

CommandRunner addCatalogCommand(CLI::App& app) {
    app.add_subcommand("catalog", "catalog (not yet available)")->allow_extras();
    return [] {
        std::cerr << "quillmark: catalog is not available yet\n";
        return kExitFailure;
    };
}

}  // namespace quillmark::cli
