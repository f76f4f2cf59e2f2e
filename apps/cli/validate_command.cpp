// quillmark validate [--schema FILE]... [--schemas DIR]... [--scenarios FILE]
//                    [--semantics standard|compatible] [--phase NAME] [--timeout SECONDS]
//                    [--format text|json|svrl] [--max-input-size SIZE] FILE...
// Validates each file against the named schemas and/or the schemas of the directories
// that fit it, or, with neither, with the rule sets of its scenario; reports every file
// once, in order: its issues and a summary, or why it is not validated (also on stderr).
// A file that cannot be read or checked does not stop the batch.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "input_size_option.h"
#include "profile_options.h"
#include "quillmark/xml.h"
#include "validate_output.h"
#include "validate_schemas.h"

namespace quillmark::cli {

namespace {

struct ValidateOptions {
    std::vector<std::string> schemaFiles;
    std::vector<std::string> schemaDirectories;
    std::optional<std::string> scenarioFile;
    ProfileOptions profile;
    std::optional<std::string> phase;
    OutputFormat format = OutputFormat::Text;
    std::optional<uint64_t> maxInputSize;
    std::vector<std::string> files;
};

// Exit statuses rank: a failure outweighs findings, findings outweigh success.
void escalate(int& status, int candidate) { status = std::max(status, candidate); }

bool loadSchemas(const ValidateOptions& options, ValidationSchemas& schemas) {
    if (options.schemaFiles.empty() && options.schemaDirectories.empty()) {
        if (auto failure = schemas.useScenarios(options.scenarioFile)) {
            std::cerr << *failure << '\n';
            return false;
        }
        return true;
    }
    for (const auto& path : options.schemaFiles) {
        if (auto failure = schemas.addSchemaFile(path)) {
            std::cerr << *failure << '\n';
            return false;
        }
    }
    for (const auto& directory : options.schemaDirectories) {
        if (auto failure = schemas.addSchemaDirectory(directory)) {
            std::cerr << *failure << '\n';
            return false;
        }
    }
    return true;
}

FileReport checkFile(const std::string& file, ValidationSchemas& schemas) {
    FileReport report{file, {}, {}, {}};
    Error error;
    auto text = xml::readTextFile(file, &error);
    auto document = text ? xml::Document::parse(*text, &error) : nullptr;
    if (!document) {
        report.failures.push_back(error.message());
        return report;
    }
    DocumentOutcome outcome = schemas.validate(*document, *text);
    report.result = std::move(outcome.result);
    report.failures = std::move(outcome.failures);
    report.scenario = std::move(outcome.scenario);
    return report;
}

// Validates and reports one file; returns its exit status.
int validateFile(const std::string& file, ValidationSchemas& schemas, OutputFormat format) {
    const FileReport report = checkFile(file, schemas);
    writeReport(format, std::cout, report);
    for (const auto& failure : report.failures) std::cerr << file << ": " << failure << '\n';
    if (!report.validated()) return kExitFailure;
    return report.result.errors.empty() ? kExitOk : kExitFindings;
}

int runValidate(const ValidateOptions& options) {
    if (options.scenarioFile && (!options.schemaFiles.empty() || !options.schemaDirectories.empty())) {
        std::cerr << "quillmark validate: --scenarios chooses rule sets by scenario; it cannot be combined with "
                     "--schema or --schemas\n";
        return kExitFailure;
    }
    applyInputSizeOption(options.maxInputSize);
    const xpath::EvaluationLimits limits = applyTimeout(options.profile);
    ValidationSchemas schemas(ValidationSettings{options.profile.semantics, options.phase, limits});
    if (!loadSchemas(options, schemas)) return kExitFailure;
    int status = kExitOk;
    for (const auto& file : options.files) escalate(status, validateFile(file, schemas, options.format));
    std::cout.flush();
    return status;
}

}  // namespace

CommandRunner addValidateCommand(CLI::App& app) {
    auto options = std::make_shared<ValidateOptions>();
    auto* command = app.add_subcommand("validate", "Validate XML documents against Schematron and XSD rule sets");
    command
        ->add_option("--schema", options->schemaFiles,
                     "A Schematron rule set or an XML Schema, known by its root element; repeatable, run in order")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("--schemas", options->schemaDirectories,
                        "A directory of schemas to pick from by document type; repeatable")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("--scenarios", options->scenarioFile,
                        "A scenario file consulted before the bundled scenarios (without --schema and --schemas, "
                        "each document is validated with the rule sets of the first scenario that fits it)");
    addProfileOptions(*command, options->profile);
    command->add_option("--phase", options->phase,
                        "The phase of the rule sets to run (standard profile): a phase id, or #ALL for every "
                        "pattern; default: each rule set's default phase");
    const std::map<std::string, OutputFormat> formats{
        {"text", OutputFormat::Text}, {"json", OutputFormat::Json}, {"svrl", OutputFormat::Svrl}};
    command->add_option("--format", options->format,
                        "Output format: text (default), json (JSON Lines) or svrl (one SVRL document per file)")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case));
    addInputSizeOption(*command, options->maxInputSize);
    command->add_option("FILE", options->files, "The XML documents to validate")->required();
    return [options] { return runValidate(*options); };
}

}  // namespace quillmark::cli
