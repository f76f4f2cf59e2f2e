#pragma once
// The schemas of one `quillmark validate` call, in one of three modes: named Schematron
// and XSD files (--schema), directories chosen from by document type (--schemas), or,
// with neither, the scenarios (the bundled official rule sets, and a user's scenario
// file first). Each file is loaded once for all documents. Whatever keeps a schema from
// checking a document makes that document "not validated"; nothing is skipped with a
// warning. Documents may be validated on several threads at once.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "scenarios/rule_file_runner.h"
#include "scenarios/scenario.h"

namespace quillmark::cli {

// What validating one document gave: the merged findings, the reasons (each naming the
// file at fault) when some schema could not check it, and the scenario used.
struct DocumentOutcome {
    QMValidationResult result;
    std::vector<std::string> failures;
    std::string scenario;  // "" unless chosen by scenario
};

struct ValidationSettings {
    Semantics semantics = Semantics::Standard;
    std::optional<std::string> phase;
    xpath::EvaluationLimits limits;
    bool explain = false;  // standard profile: issues carry the values that made their tests fail
    bool trace = false;    // standard profile: record patterns and fired rules, for SVRL reports
};

class ValidationSchemas {
public:
    explicit ValidationSchemas(const ValidationSettings& settings);

    // Loads a named schema, told apart by its root element: a Schematron rule set, or an
    // XSD. nullopt on success, else the reason, naming the file (a file of any other
    // kind is refused too).
    std::optional<std::string> addSchemaFile(const std::string& path);
    // Registers a directory for picking schemas by document type.
    std::optional<std::string> addSchemaDirectory(const std::string& directory);
    // Chooses each document's rule sets by scenario: those of `userScenarios` first (when
    // given), then the bundled ones. nullopt on success, else why a scenario file cannot
    // be used.
    std::optional<std::string> useScenarios(const std::optional<std::string>& userScenarios);

    // Runs the named schemas in order, then the fitting schemas of the directories, or
    // the document's scenario.
    // `source` is the document's text (for the columns of issues). Thread-safe.
    DocumentOutcome validate(const xml::Document& document, const std::string& source);

private:
    // A validator keeps the rule sets it compiled and the schemas it matched without a
    // lock: each thread validating by directory borrows one of its own, made from the
    // directories' catalog when none is idle, and gives it back for the next document.
    std::unique_ptr<QMSchematronValidator> borrowValidator();
    void giveBack(std::unique_ptr<QMSchematronValidator> validator);
    void runDetected(const xml::Document& document, DocumentOutcome& outcome);
    void runScenario(const xml::Document& document, const std::string& source, DocumentOutcome& outcome);

    scenarios::RuleFileRunner runner_;
    std::vector<std::string> named_;
    QMSchematronValidator catalog_;  // the directories' catalog, never used to validate
    std::mutex idleMutex_;
    std::vector<std::unique_ptr<QMSchematronValidator>> idleValidators_;
    bool autoDetect_ = false;
    std::optional<scenarios::ScenarioSet> scenarios_;
};

}  // namespace quillmark::cli
