// quillmark eval (placeholder until the evaluator lands).

#include <iostream>

#include "commands.h"

namespace quillmark::cli {

CommandRunner addEvalCommand(CLI::App& app) {
    app.add_subcommand("eval", "Evaluate an expression")->allow_extras();
    return [] { return kExitFailure; };
}

}  // namespace quillmark::cli
