// quillmark ast EXPR: the tree dump of an expression.

#include <iostream>
#include <memory>
#include <string>

#include "commands.h"
#include "quillmark/evaluator.h"

namespace quillmark::cli {

namespace {

constexpr const char* kAstFooter = R"(Exit status:
  0  the tree is printed
  1  the expression does not parse (the reason is on stderr)
  2  the command line is wrong

Examples:
  quillmark ast '1 + 2 * 3'
      Show how operators bind: the product under the sum.
  quillmark ast 'cac:InvoiceLine[cbc:ID = "1"]/cbc:Note'
      Show the steps and predicates of a path.)";

}  // namespace

CommandRunner addAstCommand(CLI::App& app) {
    auto* command = app.add_subcommand("ast", "Print the expression tree of an expression");
    auto expression = std::make_shared<std::string>();
    command->add_option("EXPR", *expression, "The expression to parse")->required();
    command->footer(kAstFooter);
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
