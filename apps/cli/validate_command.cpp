// quillmark validate [--schema FILE]... [--schemas DIR]... [--format text|json|svrl] FILE...
// Validates each file against the named schemas and/or the schemas of the directories
// that fit it, prints its issues and a summary, and goes on with the other files when
// one cannot be read.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "quillmark/xml.h"
#include "validate_output.h"
#include "validate_schemas.h"

namespace quillmark::cli {

namespace {

struct ValidateOptions {
    std::vector<std::string> schemaFiles;
    std::vector<std::string> schemaDirectories;
    OutputFormat format = OutputFormat::Text;
    std::vector<std::string> files;
};

// Exit statuses rank: a failure outweighs findings, findings outweigh success.
void escalate(int& status, int candidate) { status = std::max(status, candidate); }

bool loadSchemas(const ValidateOptions& options, ValidationSchemas& schemas) {
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

// Validates one file; returns its exit status.
int validateFile(const std::string& file, ValidationSchemas& schemas, OutputFormat format) {
    Error error;
    auto text = xml::readTextFile(file, &error);
    if (!text) {
        std::cerr << file << ": " << error.message() << '\n';
        return kExitFailure;
    }
    auto document = xml::Document::parse(*text, &error);
    if (!document) {
        std::cerr << file << ": " << error.message() << '\n';
        return kExitFailure;
    }
    DocumentOutcome outcome = schemas.validate(*text, *document);
    int status = outcome.result.errors.empty() ? kExitOk : kExitFindings;
    if (outcome.failure) {
        std::cerr << file << ": " << *outcome.failure << '\n';
        escalate(status, kExitFailure);
    }
    if (outcome.anySchemaRan) writeReport(format, std::cout, file, outcome.result);
    return status;
}

int runValidate(const ValidateOptions& options) {
    if (options.schemaFiles.empty() && options.schemaDirectories.empty()) {
        std::cerr << "quillmark validate: give at least one --schema FILE or --schemas DIR\n";
        return kExitFailure;
    }
    ValidationSchemas schemas;
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
    command->add_option("--schema", options->schemaFiles, "A Schematron (.sch) or XSD (.xsd) file; repeatable, run in order")
        ->allow_extra_args(false);
    command->add_option("--schemas", options->schemaDirectories,
                        "A directory of schemas to pick from by document type; repeatable")
        ->allow_extra_args(false);
    const std::map<std::string, OutputFormat> formats{
        {"text", OutputFormat::Text}, {"json", OutputFormat::Json}, {"svrl", OutputFormat::Svrl}};
    command->add_option("--format", options->format,
                        "Output format: text (default), json (JSON Lines) or svrl (one SVRL document per file)")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case));
    command->add_option("FILE", options->files, "The XML documents to validate")->required();
    return [options] { return runValidate(*options); };
}

}  // namespace quillmark::cli
