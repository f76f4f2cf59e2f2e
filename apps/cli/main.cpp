// quillmark: tokenize, dump, evaluate expressions and validate XML documents against
// Schematron and XSD rule sets.

#include <cctype>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"

namespace {

using namespace quillmark::cli;

constexpr const char* kMainFooter = "Run 'quillmark COMMAND --help' for a command's options, exit status and examples.";

CLI::App* chosenCommand(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands({})) {
        if (command->parsed()) return command;
    }
    return nullptr;
}

std::string commandNames(CLI::App& app) {
    std::string names;
    for (CLI::App* command : app.get_subcommands({})) names += (names.empty() ? "" : ", ") + command->get_name();
    return names;
}

std::string oneLine(std::string text) {
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    return text;
}

// Writes "quillmark validate: WHAT; see 'quillmark validate --help'" (for a command, or
// for the tool when `command` is null) and gives the exit status of bad usage.
int usageError(CLI::App* command, const std::string& what) {
    const std::string name = command ? "quillmark " + command->get_name() : "quillmark";
    std::cerr << name << ": " << oneLine(what) << "; see '" << name << " --help'\n";
    return kExitFailure;
}

// What the command line holds that the command (or, before it, the tool) does not
// take, as a reason; "" when there is nothing.
// CLI11 keeps the "--" that ends the options among them; after it, every word is an
// argument.
std::string unknownArgument(const std::vector<std::string>& extras, bool isCommand, CLI::App& app) {
    bool optionsEnded = false;
    for (const std::string& word : extras) {
        if (word == "--" && !optionsEnded) {
            optionsEnded = true;
            continue;
        }
        if (!optionsEnded && word.starts_with("-") && word.size() > 1) return "unknown option " + word;
        if (!isCommand) return "unknown command '" + word + "' (the commands are " + commandNames(app) + ")";
        return "unexpected argument '" + word + "'";
    }
    return "";
}

// The usage error for words that no option takes, if there are any: those before the
// command first.
std::optional<int> rejectUnknownArguments(CLI::App& app, CLI::App* command) {
    if (std::string reason = unknownArgument(app.remaining(), false, app); !reason.empty())
        return usageError(nullptr, reason);
    if (!command) return std::nullopt;
    if (std::string reason = unknownArgument(command->remaining(), true, app); !reason.empty())
        return usageError(command, reason);
    return std::nullopt;
}

// Help names values in words. CLI11 would show the C++ type of a value ("TEXT",
// "UINT:SIZE [b, kb(=1000b), ...]"); an option without a value name of its own is shown
// with the last word of its name instead ("--max-input-size SIZE"), an argument with
// its name alone.
void plainValueNames(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) {
        if (!option->get_option_text().empty() || option->get_type_name().empty()) continue;  // flags
        if (!option->nonpositional()) {
            option->type_name("");
            continue;
        }
        std::string word = option->get_name();
        word = word.substr(word.find_last_of('-') + 1);
        for (char& c : word) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        option->option_text(word);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Validate XML documents, above all e-invoices, against Schematron and XSD rule sets.", "quillmark"};
    app.set_version_flag("--version", "quillmark 1.0");
    app.footer(kMainFooter);

    std::vector<std::pair<CLI::App*, CommandRunner>> commands;
    auto add = [&](CommandRunner (*addCommand)(CLI::App&)) {
        auto runner = addCommand(app);
        commands.emplace_back(app.get_subcommands({}).back(), std::move(runner));
    };
    add(addTokensCommand);
    add(addAstCommand);
    add(addEvalCommand);
    add(addValidateCommand);
    add(addCatalogCommand);
    add(addScenariosCommand);
    // Words that no option takes are kept, so that the message can name them.
    app.allow_extras();
    for (auto& [command, run] : commands) {
        command->allow_extras();
        plainValueNames(*command);
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // A misspelt option explains a missing value better than the missing value does.
        CLI::App* command = chosenCommand(app);
        if (std::optional<int> status = rejectUnknownArguments(app, command)) return *status;
        return usageError(command, e.what());
    }
    CLI::App* command = chosenCommand(app);
    if (std::optional<int> status = rejectUnknownArguments(app, command)) return *status;
    for (auto& [candidate, run] : commands) {
        if (candidate == command) return run();
    }
    return usageError(nullptr, "name a command: " + commandNames(app));
}
