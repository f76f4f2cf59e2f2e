// quillmark ast EXPR: the tree dump of an expression.

#include <iostream>
#include <memory>
#include <string>

#include "commands.h"
#include "quillmark/evaluator.h"

namespace quillmark::cli {

CommandRunner addAstCommand(CLI::App& app) {
    auto* command = app.add_subcommand("ast", "Print the expression tree of an expression");
    auto expression = std::make_shared<std::string>();
    command->add_option("EXPR", *expression, "The expression")->required();
    return [expression] {
        QMXPath2Evaluator evaluator;
        Error error;
        auto dump = evaluator.dumpAST(*expression, &error);
        if (!dump) {
            std::cerr << error.localizedDescription << '\n';
            return kExitFindings;
        }
        std::cout << *dump << '\n';
        return kExitOk;
    };
}

}  // namespace quillmark::cli
