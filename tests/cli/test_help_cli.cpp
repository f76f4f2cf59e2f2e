// The tool's help and its answers to a wrong command line: every command's help lists
// its exit statuses and examples in plain words, and a wrong word is named in one line.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::CommandResult;
using testing::runCli;

struct HelpCase {
    std::string command;
    std::vector<std::string> exitStatuses;  // the statuses the command can end with
    std::vector<std::string> options;       // options shown with a plain value name
};

TEST(HelpCli, EveryCommandExplainsItsExitStatusesAndGivesExamples) {
    const std::vector<HelpCase> cases{
        {"validate",
         {"0", "1", "2"},
         {"--format text|json|svrl", "--semantics standard|compatible", "--jobs N", "--output-dir DIR",
          "--schema FILE", "--schemas DIR", "--phase NAME", "--timeout SECONDS"}},
        {"eval", {"0", "1", "2"}, {"--context FILE", "--ns PREFIX=URI", "--var NAME=EXPR", "--at EXPR"}},
        {"catalog", {"0", "2"}, {"--schemas DIR"}},
        {"scenarios", {"0", "2"}, {"--scenarios FILE"}},
        {"tokens", {"0", "2"}, {}},
        {"ast", {"0", "1", "2"}, {}},
    };
    for (const HelpCase& c : cases) {
        SCOPED_TRACE(c.command);
        CommandResult result = runCli({c.command, "--help"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        const std::string& help = result.out;
        EXPECT_NE(help.find("Exit status:\n"), std::string::npos) << help;
        EXPECT_NE(help.find("Examples:\n  quillmark " + c.command), std::string::npos) << help;
        const std::string statuses = help.substr(help.find("Exit status:"), help.find("Examples:") - help.find("Exit status:"));
        for (const std::string status : {"0", "1", "2"}) {
            const bool listed = statuses.find("\n  " + status + "  ") != std::string::npos;
            const bool expected = std::find(c.exitStatuses.begin(), c.exitStatuses.end(), status) != c.exitStatuses.end();
            EXPECT_EQ(listed, expected) << "exit status " << status << "\n" << statuses;
        }
        for (const std::string& option : c.options) EXPECT_NE(help.find(option), std::string::npos) << option << "\n" << help;
        // Neither the names of internal types nor the values they map to.
        for (const std::string internal : {"ENUM", "->", "UINT", "TEXT", "FLOAT"})
            EXPECT_EQ(help.find(internal), std::string::npos) << internal << "\n" << help;
    }
    CommandResult main = runCli({"--help"});
    EXPECT_EQ(main.exitCode, 0);
    EXPECT_NE(main.out.find("Run 'quillmark COMMAND --help'"), std::string::npos) << main.out;
}

// A wrong command line gets one line on stderr that names what is wrong and where to
// read more, nothing on stdout, and exit status 2.
TEST(HelpCli, AWrongCommandLineIsNamedInOneLine) {
    const std::string invoice = testing::sourcePath("examples/invoice-valid.xml");
    const std::string rules = testing::sourcePath("examples/rules/invoice-basics.sch");
    const std::string commands = "(the commands are tokens, ast, eval, validate, catalog, scenarios)";
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"validate", "--frmat", "json", "--schema", rules, invoice},
         "quillmark validate: unknown option --frmat; see 'quillmark validate --help'"},
        // The misspelt option is named, not the file that then seems to be missing.
        {{"validate", "--schema", rules, "--verbose"},
         "quillmark validate: unknown option --verbose; see 'quillmark validate --help'"},
        {{"valdate", invoice}, "quillmark: unknown command 'valdate' " + commands + "; see 'quillmark --help'"},
        {{"--verbose", "validate", invoice}, "quillmark: unknown option --verbose; see 'quillmark --help'"},
        {{}, "quillmark: name a command: tokens, ast, eval, validate, catalog, scenarios; see 'quillmark --help'"},
        {{"tokens", "a", "b"}, "quillmark tokens: unexpected argument 'b'; see 'quillmark tokens --help'"},
        // After "--" every word is an argument, even one that looks like an option.
        {{"tokens", "--", "a", "-b"}, "quillmark tokens: unexpected argument '-b'; see 'quillmark tokens --help'"},
        {{"validate", "--format", "svg", "--schema", rules, invoice},
         "quillmark validate: --format: use text, json or svrl, not 'svg'; see 'quillmark validate --help'"},
        {{"validate", "--semantics", "loose", "--schema", rules, invoice},
         "quillmark validate: --semantics: use standard or compatible, not 'loose'; see 'quillmark validate --help'"},
        {{"eval", "--timeout", "-1", "1"},
         "quillmark eval: --timeout: use a number of seconds greater than 0, not '-1'; see 'quillmark eval --help'"},
        {{"validate", "--jobs", "0", "--schema", rules, invoice},
         "quillmark validate: --jobs: use a whole number from 1 to 1024, not '0'; see 'quillmark validate --help'"},
        {{"validate", "--jobs", "many", "--schema", rules, invoice},
         "quillmark validate: --jobs: use a whole number from 1 to 1024, not 'many'; see 'quillmark validate --help'"},
        {{"validate", "--schema", rules}, "quillmark validate: FILE is required; see 'quillmark validate --help'"},
        {{"catalog"}, "quillmark catalog: --schemas is required; see 'quillmark catalog --help'"},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(testing::commandLine(arguments));
        CommandResult result = runCli(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, message + "\n");
    }
    // Formats are known in any case.
    EXPECT_EQ(runCli({"validate", "--format", "JSON", "--schema", rules, invoice}).exitCode, 0);
}

}  // namespace
}  // namespace quillmark
