// quillmark: tokenize, dump, evaluate expressions and validate XML documents against
// Schematron and XSD rule sets.

#include <iostream>
#include <utility>
#include <vector>

#include "commands.h"

int main(int argc, char** argv) {
    using namespace quillmark::cli;
    CLI::App app{"Validate XML documents, above all e-invoices, against Schematron and XSD rule sets.", "quillmark"};
    app.require_subcommand(1);
    app.set_version_flag("--version", "quillmark 1.0");

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

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return kExitFailure;
    }
    for (auto& [command, run] : commands) {
        if (command->parsed()) return run();
    }
    return kExitFailure;
}
