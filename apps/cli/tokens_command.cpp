// quillmark tokens EXPR: one token description per line.

#include <iostream>
#include <memory>
#include <string>

#include "commands.h"
#include "quillmark/token.h"

namespace quillmark::cli {

namespace {

constexpr const char* kTokensFooter = R"(Exit status:
  0  the tokens are printed (characters that start no token are named on stderr and
     skipped)
  2  the command line is wrong

Examples:
  quillmark tokens 'count(//cac:InvoiceLine) > 0'
      One line per token: names, operators, literals.)";

}  // namespace

CommandRunner addTokensCommand(CLI::App& app) {
    auto* command = app.add_subcommand("tokens", "Print the tokens of an expression, one per line");
    auto expression = std::make_shared<std::string>();
    command->add_option("EXPR", *expression, "The expression to split into tokens")->required();
    command->footer(kTokensFooter);
    return [expression] {
        for (const auto& token : tokenize(*expression)) std::cout << token.description() << '\n';
        return kExitOk;
    };
}

}  // namespace quillmark::cli
