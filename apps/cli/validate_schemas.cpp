// Loading the schemas of a `quillmark validate` call once, and running them per document.

#include "validate_schemas.h"

#include <filesystem>

namespace quillmark::cli {

namespace {

void append(QMValidationResult& merged, const QMValidationResult& part) {
    merged.errors.insert(merged.errors.end(), part.errors.begin(), part.errors.end());
    merged.warnings.insert(merged.warnings.end(), part.warnings.begin(), part.warnings.end());
    if (part.traces) merged.traces = part.traces;  // a document's traced rule sets run in one RuleFileRunner::run
}

void appendSchemaFiles(QMValidationResult& merged, const std::vector<std::string>& files) {
    if (!merged.schemaFiles) merged.schemaFiles.emplace();
    merged.schemaFiles->insert(merged.schemaFiles->end(), files.begin(), files.end());
}

void appendOutcome(DocumentOutcome& outcome, scenarios::FilesOutcome&& files) {
    append(outcome.result, files.result);
    appendSchemaFiles(outcome.result, files.result.schemaFiles.value_or(std::vector<std::string>{}));
    for (std::string& failure : files.failures) outcome.failures.push_back(std::move(failure));
}

}  // namespace

ValidationSchemas::ValidationSchemas(const ValidationSettings& settings)
    // Every run is traced, whatever the format: the trace, which SVRL reports are written
    // from, costs a small record per node a rule handles and a copy of each issue.
    : runner_(settings.semantics, standard::LoadOptions{settings.phase},
              standard::RunOptions{.limits = settings.limits, .explain = settings.explain, .trace = settings.trace}) {
    catalog_.setSemantics(settings.semantics);
    catalog_.setPhase(settings.phase);
}

std::optional<std::string> ValidationSchemas::addSchemaFile(const std::string& path) {
    if (std::optional<std::string> failure = runner_.preload(path)) return failure;
    named_.push_back(path);
    return std::nullopt;
}

std::optional<std::string> ValidationSchemas::addSchemaDirectory(const std::string& directory) {
    std::error_code code;
    if (!std::filesystem::is_directory(directory, code)) return directory + ": not a directory";
    catalog_.addSchemaDirectory(directory);
    autoDetect_ = true;
    return std::nullopt;
}

std::optional<std::string> ValidationSchemas::useScenarios(const std::optional<std::string>& userScenarios) {
    try {
        scenarios::ScenarioSet set;
        if (userScenarios) set = scenarios::ScenarioSet::load(*userScenarios);
        set.append(scenarios::ScenarioSet::load(rulesDirectory() + "/scenarios.json"));
        scenarios_ = std::move(set);
        return std::nullopt;
    } catch (const scenarios::ScenarioError& error) {
        return error.what();
    }
}

std::unique_ptr<QMSchematronValidator> ValidationSchemas::borrowValidator() {
    {
        std::lock_guard lock(idleMutex_);
        if (!idleValidators_.empty()) {
            std::unique_ptr<QMSchematronValidator> validator = std::move(idleValidators_.back());
            idleValidators_.pop_back();
            return validator;
        }
    }
    auto validator = std::make_unique<QMSchematronValidator>();
    validator->setSemantics(catalog_.semantics());
    validator->setPhase(catalog_.phase());
    validator->setSchemaCatalog(catalog_.schemaCatalog());
    return validator;
}

void ValidationSchemas::giveBack(std::unique_ptr<QMSchematronValidator> validator) {
    std::lock_guard lock(idleMutex_);
    idleValidators_.push_back(std::move(validator));
}

void ValidationSchemas::runDetected(const xml::Document& document, DocumentOutcome& outcome) {
    std::unique_ptr<QMSchematronValidator> validator = borrowValidator();
    StrictValidationReport report = validator->validateDocumentStrictly(document);
    giveBack(std::move(validator));
    switch (report.outcome) {
        case StrictValidationReport::Outcome::Validated:
            break;
        case StrictValidationReport::Outcome::NotWellFormed:
        case StrictValidationReport::Outcome::NoMatchingSchema:
            outcome.failures.push_back(report.error.message());
            return;
    }
    append(outcome.result, report.result);
    appendSchemaFiles(outcome.result, report.result.schemaFiles.value_or(std::vector<std::string>{}));
    for (const SchemaFailure& failure : report.failures) outcome.failures.push_back(
        scenarios::namingTheFile(failure.path, failure.error.isSet() ? failure.error.message() : "cannot be loaded"));
}

void ValidationSchemas::runScenario(const xml::Document& document, const std::string& source,
                                    DocumentOutcome& outcome) {
    const scenarios::Scenario* scenario = scenarios_->select(document);
    if (!scenario) {
        outcome.failures.push_back("no scenario fits this document (" + scenarios::describeDocumentType(document) +
                                   "); name its rule sets with --schema or --schemas, or give --scenarios FILE");
        return;
    }
    outcome.scenario = scenario->name;
    std::vector<std::string> files;
    for (const scenarios::RuleFile& file : scenario->files) files.push_back(file.pathFor(runner_.semantics()));
    appendOutcome(outcome, runner_.run(document, files, &source));
}

DocumentOutcome ValidationSchemas::validate(const xml::Document& document, const std::string& source) {
    DocumentOutcome outcome;
    outcome.result.schemaFiles.emplace();
    if (!named_.empty()) appendOutcome(outcome, runner_.run(document, named_, &source));
    if (autoDetect_) runDetected(document, outcome);
    if (scenarios_) runScenario(document, source, outcome);
    outcome.result.valid = outcome.result.errors.empty() && outcome.failures.empty();
    return outcome;
}

}  // namespace quillmark::cli
