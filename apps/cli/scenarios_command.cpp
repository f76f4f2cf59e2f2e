// quillmark scenarios [--scenarios FILE]: lists the scenarios in the order they are
// consulted, each with its match and the files it runs.

#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "quillmark/schematron_validator.h"
#include "scenarios/scenario.h"

namespace quillmark::cli {
namespace {

struct ScenariosOptions {
    std::optional<std::string> scenarioFile;
};

void printScenario(const scenarios::Scenario& scenario) {
    std::cout << scenario.name << '\n';
    const scenarios::ScenarioMatch& match = scenario.match;
    if (match.rootNamespace) {
        std::cout << "  root: {" << *match.rootNamespace << "}" << match.rootLocalName.value_or("*") << '\n';
    }
    if (match.customizationID) std::cout << "  customization ID starts with: " << *match.customizationID << '\n';
    if (match.xpath) std::cout << "  xpath: " << match.xpathText << '\n';
    for (const scenarios::RuleFile& file : scenario.files) {
        std::cout << "  runs: " << file.standardPath;
        if (file.compatiblePath != file.standardPath) std::cout << " (compatible profile: " << file.compatiblePath << ")";
        std::cout << '\n';
    }
}

int runScenarios(const ScenariosOptions& options) {
    try {
        scenarios::ScenarioSet set;
        if (options.scenarioFile) set = scenarios::ScenarioSet::load(*options.scenarioFile);
        set.append(scenarios::ScenarioSet::load(rulesDirectory() + "/scenarios.json"));
        for (const scenarios::Scenario& scenario : set.scenarios()) printScenario(scenario);
        return kExitOk;
    } catch (const scenarios::ScenarioError& error) {
        std::cerr << error.what() << '\n';
        return kExitFailure;
    }
}

constexpr const char* kScenariosFooter = R"(Exit status:
  0  the scenarios are printed
  2  the scenario file cannot be used, or the command line is wrong

Examples:
  quillmark scenarios
      List the bundled scenarios: which documents each fits and the rule sets it runs.
  quillmark scenarios --scenarios my-scenarios.json
      Check your scenario file and see it listed before the bundled ones.)";

}  // namespace

CommandRunner addScenariosCommand(CLI::App& app) {
    auto options = std::make_shared<ScenariosOptions>();
    auto* command = app.add_subcommand("scenarios", "List the scenarios that choose rule sets by document type");
    command
        ->add_option("--scenarios", options->scenarioFile,
                     "A scenario file to consult before the bundled scenarios")
        ->option_text("FILE");
    command->footer(kScenariosFooter);
    return [options] { return runScenarios(*options); };
}

}  // namespace quillmark::cli
