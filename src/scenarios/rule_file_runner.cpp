#include "scenarios/rule_file_runner.h"

#include "quillmark/schematron_validator.h"
#include "quillmark/xsd_validation.h"
#include "standard/rule_set_error.h"

namespace quillmark::scenarios {
namespace {

void append(QMValidationResult& into, QMValidationResult&& part) {
    for (auto& issue : part.errors) into.errors.push_back(std::move(issue));
    for (auto& issue : part.warnings) into.warnings.push_back(std::move(issue));
    if (!part.traces) return;
    if (!into.traces) into.traces.emplace();
    for (auto& trace : *part.traces) into.traces->push_back(std::move(trace));
}

}  // namespace

RuleFileRunner::RuleFileRunner(Semantics semantics, standard::LoadOptions loadOptions, standard::RunOptions runOptions)
    : semantics_(semantics), loadOptions_(std::move(loadOptions)), runOptions_(runOptions) {}

RuleFileRunner::~RuleFileRunner() = default;

const RuleFileRunner::Loaded& RuleFileRunner::load(const std::string& path) {
    {
        std::lock_guard lock(mutex_);
        if (auto found = loaded_.find(path); found != loaded_.end()) return *found->second;
    }
    // Loading may take a while; other threads go on with files already loaded. Two
    // threads may load the same file at once: the first result is kept.
    auto loaded = std::make_unique<Loaded>(loadUncached(path));
    std::lock_guard lock(mutex_);
    auto [entry, inserted] = loaded_.try_emplace(path, std::move(loaded));
    return *entry->second;
}

std::string namingTheFile(const std::string& path, const std::string& reason) {
    return reason.starts_with(path + ": ") ? reason : path + ": " + reason;
}

RuleFileRunner::Loaded RuleFileRunner::loadUncached(const std::string& path) {
    Error error;
    const std::optional<SchemaFileKind> kind = schemaFileKind(path, &error);
    if (!kind) return Failed{namingTheFile(path, error.message())};
    switch (*kind) {
    case SchemaFileKind::XSD: {
        std::shared_ptr<const CompiledXSD> xsd = CompiledXSD::load(path, &error);
        if (!xsd) return Failed{namingTheFile(path, error.message())};
        return xsd;
    }
    case SchemaFileKind::Schematron:
        if (semantics_ == Semantics::Standard) {
            try {
                return standard::CompiledRuleSet::loadFile(path, loadOptions_);
            } catch (const standard::RuleSetError& failure) {
                return Failed{namingTheFile(path, failure.what())};
            }
        } else {
            QMSchematronValidator validator;
            std::shared_ptr<SchematronSchema> schema = validator.loadSchemaFile(path, &error);
            if (!schema || error) return Failed{namingTheFile(path, error ? error.message() : "cannot be loaded")};
            return std::shared_ptr<const SchematronSchema>(schema);
        }
    case SchemaFileKind::Other: break;
    }
    return Failed{namingTheFile(path, "neither a Schematron rule set nor an XML Schema (the root element is not a schema "
                          "element of either)")};
}

void RuleFileRunner::runOne(const xml::Document& document, const std::string& path, const std::string* source,
                            FilesOutcome& into) {
    const Loaded& loaded = load(path);
    if (const auto* failed = std::get_if<Failed>(&loaded)) {
        into.failures.push_back(failed->message);
        return;
    }
    if (const auto* rules = std::get_if<std::shared_ptr<const standard::CompiledRuleSet>>(&loaded)) {
        standard::RunOptions options = runOptions_;
        options.source = source;
        append(into.result, (*rules)->validate(document, options));
        return;
    }
    if (const auto* schema = std::get_if<std::shared_ptr<const SchematronSchema>>(&loaded)) {
        QMSchematronValidator validator;
        Error error;
        QMValidationResult result = validator.validateDocument(document, **schema, &error);
        // A run stopped by its evaluation budget has no findings to trust.
        if (error) into.failures.push_back(path + ": " + error.message());
        else append(into.result, std::move(result));
        return;
    }
    Error error;
    const CompiledXSD& xsd = *std::get<std::shared_ptr<const CompiledXSD>>(loaded);
    // The standard profile places XSD findings like its own; the compatible one keeps them unplaced.
    std::optional<QMValidationResult> result = semantics_ == Semantics::Standard
                                                   ? xsd.validateLocated(document, source, &error)
                                                   : xsd.validate(document, &error);
    if (!result) {
        into.failures.push_back(path + ": " + error.message());
        return;
    }
    for (auto* issues : {&result->errors, &result->warnings}) {
        for (QMValidationError& issue : *issues) issue.semantics = semantics_;
    }
    append(into.result, std::move(*result));
}

std::optional<std::string> RuleFileRunner::preload(const std::string& path) {
    if (const auto* failed = std::get_if<Failed>(&load(path))) return failed->message;
    return std::nullopt;
}

FilesOutcome RuleFileRunner::run(const xml::Document& document, const std::vector<std::string>& files,
                                 const std::string* source) {
    FilesOutcome outcome;
    outcome.result.schemaFiles = files;
    // Traced runs: even a document that only XML Schemas check gets its (empty) trace.
    if (semantics_ == Semantics::Standard && runOptions_.trace) outcome.result.traces.emplace();
    for (const std::string& path : files) runOne(document, path, source, outcome);
    outcome.result.valid = outcome.result.errors.empty() && outcome.failures.empty();
    return outcome;
}

}  // namespace quillmark::scenarios
