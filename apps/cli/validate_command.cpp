// quillmark validate [--schema FILE]... [--schemas DIR]... [--scenarios FILE]
//                    [--semantics standard|compatible] [--phase NAME] [--timeout SECONDS]
//                    [--format text|json|svrl] [--output-dir DIR] [--jobs N]
//                    [--max-input-size SIZE] FILE|FOLDER...
// Validates each file (a folder stands for its .xml files) against the named schemas
// and/or the schemas of the directories that fit it, or, with neither, with the rule
// sets of its scenario; reports every file once, in order: its issues and a summary, or
// why it is not validated (also on stderr). A file that cannot be read or checked does
// not stop the batch. Files are validated on several threads; the output is the same
// as with one. A batch of several files ends with a summary line on stderr.

#include <algorithm>
#include <cctype>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "batch_summary.h"
#include "commands.h"
#include "input_files.h"
#include "input_size_option.h"
#include "parallel_batch.h"
#include "profile_options.h"
#include "progress_line.h"
#include "quillmark/xml.h"
#include "report_files.h"
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
    bool explain = false;
    std::string format = "text";
    std::optional<std::string> outputDirectory;
    unsigned jobs = defaultJobCount();
    std::optional<uint64_t> maxInputSize;
    std::vector<std::string> files;
};

const std::map<std::string, OutputFormat>& formatsByName() {
    static const std::map<std::string, OutputFormat> formats{
        {"text", OutputFormat::Text}, {"json", OutputFormat::Json}, {"svrl", OutputFormat::Svrl}};
    return formats;
}

// What validating one file gave, as it is to be written.
struct FileOutput {
    std::string report;    // for stdout or the report file
    std::string messages;  // for stderr
    Verdict verdict = Verdict::NotValidated;
};

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

FileReport checkFile(const InputFile& input, ValidationSchemas& schemas) {
    FileReport report{input.path, {}, {}, {}};
    if (input.failure) {
        report.failures.push_back(*input.failure);
        return report;
    }
    Error error;
    auto text = xml::readTextFile(input.path, &error);
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

Verdict verdictOf(const FileReport& report) {
    if (!report.validated()) return Verdict::NotValidated;
    return report.result.errors.empty() ? Verdict::Valid : Verdict::Invalid;
}

// Validates one file into text; what cannot be foreseen in the engines leaves the file
// not validated rather than ending the batch.
FileOutput validateFile(const InputFile& input, ValidationSchemas& schemas, OutputFormat format) {
    FileReport report{input.path, {}, {}, {}};
    try {
        report = checkFile(input, schemas);
    } catch (const std::exception& failure) {
        report.failures = {std::string("internal error: ") + failure.what()};
    }
    FileOutput output;
    std::ostringstream text;
    writeReport(format, text, report);
    output.report = std::move(text).str();
    for (const auto& failure : report.failures) output.messages += input.path + ": " + failure + '\n';
    output.verdict = verdictOf(report);
    return output;
}

// Where the reports go: stdout, or a file each below --output-dir.
class ReportSink {
public:
    ReportSink(const ValidateOptions& options, OutputFormat format, const std::vector<InputFile>& files) {
        if (!options.outputDirectory) return;
        directory_ = *options.outputDirectory;
        names_ = reportFileNames(files, reportExtension(format));
    }

    // Writes one file's output; false when its report could not be written.
    bool deliver(size_t item, const FileOutput& output) {
        progress_.clear();
        bool written = true;
        if (directory_.empty()) {
            std::cout << output.report << std::flush;
        } else if (auto failure = writeReportFile(directory_, names_[item], output.report)) {
            std::cerr << *failure << '\n';
            written = false;
        }
        std::cerr << output.messages;
        return written;
    }

    ProgressLine& progress() { return progress_; }

private:
    std::string directory_;  // "" for stdout
    std::vector<std::string> names_;
    ProgressLine progress_;
};

// The exit status of the batch.
int validateBatch(const ValidateOptions& options, OutputFormat format, const InputFiles& inputs,
                  ValidationSchemas& schemas, BatchSummary& summary) {
    const std::vector<InputFile>& files = inputs.files;
    std::vector<FileOutput> outputs(files.size());
    ReportSink sink(options, format, files);
    int status = kExitOk;
    if (files.size() > 1) sink.progress().show(0, files.size(), files.front().path);
    runInOrder(
        files.size(), options.jobs, [&](size_t item) { outputs[item] = validateFile(files[item], schemas, format); },
        [&](size_t item) {
            if (!sink.deliver(item, outputs[item])) status = kExitFailure;
            summary.count(outputs[item].verdict);
            outputs[item] = {};  // what is written need not be kept
            if (item + 1 < files.size()) sink.progress().show(item + 1, files.size(), files[item + 1].path);
        });
    sink.progress().clear();
    return std::max(status, summary.exitStatus());
}

// Several SVRL documents in one stream would not be one XML document.
bool svrlNeedsOutputDirectory(const ValidateOptions& options, OutputFormat format, const InputFiles& inputs) {
    return format == OutputFormat::Svrl && !options.outputDirectory && inputs.files.size() > 1;
}

int runValidate(const ValidateOptions& options) {
    BatchSummary summary;
    if (options.scenarioFile && (!options.schemaFiles.empty() || !options.schemaDirectories.empty())) {
        std::cerr << "quillmark validate: --scenarios chooses rule sets by scenario; it cannot be combined with "
                     "--schema or --schemas\n";
        return kExitFailure;
    }
    const OutputFormat format = formatsByName().at(options.format);
    const InputFiles inputs = collectInputFiles(options.files);
    if (svrlNeedsOutputDirectory(options, format, inputs)) {
        std::cerr << "quillmark validate: --format svrl writes one document per file; to validate "
                  << inputs.files.size() << " files, give --output-dir DIR\n";
        return kExitFailure;
    }
    applyInputSizeOption(options.maxInputSize);
    const xpath::EvaluationLimits limits = applyTimeout(options.profile);
    if (options.explain && options.profile.semantics == Semantics::Compatible) {
        std::cerr << "quillmark validate: --explain needs the standard profile; issues are reported without "
                     "explanations\n";
    }
    ValidationSchemas schemas(ValidationSettings{options.profile.semantics, options.phase, limits, options.explain,
                                                 format == OutputFormat::Svrl});
    if (!loadSchemas(options, schemas)) return kExitFailure;
    int status = kExitOk;
    for (const std::string& folder : inputs.emptyFolders) {
        std::cerr << folder << ": no .xml files in this folder\n";
        status = kExitFailure;
    }
    status = std::max(status, validateBatch(options, format, inputs, schemas, summary));
    if (inputs.files.size() > 1 || inputs.hasFolder) std::cerr << summary.line() << '\n';
    return status;
}

// Accepts a format name in any case; the option then holds it in lower case.
CLI::Validator formatName() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            const std::string name = CLI::ignore_case(value);
            if (!formatsByName().contains(name)) return "use text, json or svrl, not '" + value + "'";
            value = name;
            return "";
        },
        "", "FORMAT");
}

// A whole number of threads, in words when it is not one.
CLI::Validator jobCount() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            const bool digits = !value.empty() && value.size() <= 4 &&
                                std::all_of(value.begin(), value.end(), [](unsigned char c) { return std::isdigit(c); });
            if (!digits || std::stoi(value) < 1 || std::stoi(value) > 1024)
                return "use a whole number from 1 to 1024, not '" + value + "'";
            return "";
        },
        "", "N");
}

constexpr const char* kValidateFooter = R"(Several files, or a folder, end with a line on stderr such as
  12 files: 9 valid, 2 invalid, 1 not validated (3.4 s)

Exit status:
  0  every document is valid (warnings allowed)
  1  some document has errors
  2  some document was not validated (unreadable, not well-formed, no rule sets for it,
     or a rule set could not run), a rule set could not be loaded, or the command line
     is wrong

Examples:
  quillmark validate invoice.xml
      Validate with the official rule sets that fit the invoice (its scenario).
  quillmark validate --format json --jobs 4 invoices/ > results.jsonl
      Validate every .xml file below invoices/ on four threads, one JSON line each.
  quillmark validate --format svrl --output-dir reports/ --schema my-rules.sch a.xml b.xml
      Run your own rule set; write reports/a.svrl and reports/b.svrl.)";

}  // namespace

CommandRunner addValidateCommand(CLI::App& app) {
    auto options = std::make_shared<ValidateOptions>();
    auto* command = app.add_subcommand("validate", "Validate XML documents against Schematron and XSD rule sets");
    command
        ->add_option("--schema", options->schemaFiles,
                     "Validate with this Schematron rule set or XML Schema (told apart by its root element); "
                     "repeatable, run in the order given")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->option_text("FILE");
    command
        ->add_option("--schemas", options->schemaDirectories,
                     "Validate each document with the schemas in this directory that fit its type; repeatable")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->option_text("DIR");
    command
        ->add_option("--scenarios", options->scenarioFile,
                     "Consult this scenario file before the bundled scenarios (without --schema and --schemas, "
                     "each document is validated with the rule sets of the first scenario that fits it)")
        ->option_text("FILE");
    addProfileOptions(*command, options->profile);
    command
        ->add_option("--phase", options->phase,
                     "Run only this phase of the rule sets (standard profile): a phase id, or #ALL for every "
                     "pattern; default: each rule set's default phase")
        ->option_text("NAME");
    command->add_flag("--explain", options->explain,
                      "Under each failed assertion and fired report, the values that made its test fail: each "
                      "operand of its comparisons and function calls, and the variables it reads (standard profile)");
    command
        ->add_option("--format", options->format,
                     "How to report: text (one line per issue and a summary per file, the default), json (one "
                     "JSON object per file and line) or svrl (one SVRL document per file; several files need "
                     "--output-dir)")
        ->transform(formatName())
        ->option_text("text|json|svrl");
    command
        ->add_option("--output-dir", options->outputDirectory,
                     "Write one report per file into this directory (created when missing) instead of to stdout: "
                     "NAME.svrl, NAME.json or NAME.txt for NAME.xml, keeping the folders below a folder argument; "
                     "a name taken twice gets -2, -3, ...")
        ->option_text("DIR");
    command
        ->add_option("--jobs", options->jobs,
                     "Validate this many files at the same time (default: one per processor core); the output is "
                     "the same in any case")
        ->check(jobCount())
        ->option_text("N");
    addInputSizeOption(*command, options->maxInputSize);
    command
        ->add_option("FILE", options->files,
                     "The XML documents to validate; a folder stands for every .xml file below it, in path order")
        ->required();
    command->footer(kValidateFooter);
    return [options] { return runValidate(*options); };
}

}  // namespace quillmark::cli
