#pragma once
// Sub-commands of the quillmark tool. Each adds itself to the application and returns
// the function that runs it once the command line has been parsed; that function
// returns the process exit status.

#include <functional>

#include <CLI/CLI.hpp>

namespace quillmark::cli {

using CommandRunner = std::function<int()>;

CommandRunner addTokensCommand(CLI::App& app);
CommandRunner addAstCommand(CLI::App& app);
CommandRunner addEvalCommand(CLI::App& app);
CommandRunner addValidateCommand(CLI::App& app);
CommandRunner addCatalogCommand(CLI::App& app);
CommandRunner addScenariosCommand(CLI::App& app);

// Exit statuses shared by the commands.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFindings = 1;  // some document has errors
inline constexpr int kExitFailure = 2;   // unreadable input or bad usage

}  // namespace quillmark::cli
