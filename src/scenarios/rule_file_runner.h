#pragma once
// Runs XSD files and Schematron rule sets on documents, each file loaded once and kept
// for the whole batch, in either profile. Safe to use from several threads: documents
// of a batch may be validated at the same time.

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/semantics.h"
#include "quillmark/xml.h"
#include "standard/compiled_rule_set.h"

namespace quillmark {
class CompiledXSD;
}

namespace quillmark::scenarios {

// What running a list of files on one document gave.
struct FilesOutcome {
    QMValidationResult result;       // the findings of the files that ran, merged in file order
    std::vector<std::string> failures;  // one line per file that could not be loaded or run
    // A verdict only when every file ran: otherwise the document is not validated.
    bool validated() const { return failures.empty(); }
};

// "PATH: REASON", naming the file once: some reasons name it already.
std::string namingTheFile(const std::string& path, const std::string& reason);

class RuleFileRunner {
public:
    RuleFileRunner(Semantics semantics, standard::LoadOptions loadOptions, standard::RunOptions runOptions);
    ~RuleFileRunner();

    // `source` is the document's text when the caller has it (for the columns of issues).
    // With RunOptions::trace in the standard profile, the result carries the traces of
    // the rule sets in file order (engaged even when none ran); XSD findings are issues only.
    FilesOutcome run(const xml::Document& document, const std::vector<std::string>& files,
                     const std::string* source = nullptr);
    // Loads a file ahead of the documents; nullopt when it can be used, else why not.
    std::optional<std::string> preload(const std::string& path);
    Semantics semantics() const { return semantics_; }

private:
    struct Failed {
        std::string message;
    };
    using Loaded = std::variant<std::shared_ptr<const standard::CompiledRuleSet>, std::shared_ptr<const CompiledXSD>,
                                std::shared_ptr<const SchematronSchema>, Failed>;

    const Loaded& load(const std::string& path);
    Loaded loadUncached(const std::string& path);
    void runOne(const xml::Document& document, const std::string& path, const std::string* source,
                FilesOutcome& into);

    Semantics semantics_;
    standard::LoadOptions loadOptions_;
    standard::RunOptions runOptions_;
    std::mutex mutex_;
    std::map<std::string, std::unique_ptr<Loaded>> loaded_;
};

}  // namespace quillmark::scenarios
