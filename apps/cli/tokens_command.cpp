// quillmark tokens EXPR: one token description per line.

#include <iostream>
#include <memory>
#include <string>

#include "commands.h"
#include "quillmark/token.h"

namespace quillmark::cli {

CommandRunner addTokensCommand(CLI::App& app) {
    auto* command = app.add_subcommand("tokens", "Print the tokens of an expression, one per line");
    auto expression = std::make_shared<std::string>();
    command->add_option("EXPR", *expression, "The expression")->required();
    return [expression] {
        for (const auto& token : tokenize(*expression)) std::cout << token.description() << '\n';
        return kExitOk;
    };
}

}  // namespace quillmark::cli
