// The validation run: applies a loaded rule set to a parsed document. Every failed assert
// and every fired report becomes an issue; problems inside the run are logged and the
// run goes on.

#include <unicode/unistr.h>

#include <algorithm>
#include <map>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"

namespace quillmark {

namespace {

const std::string kVariablePatternId = "variable-pattern";

std::string orNull(const std::optional<std::string>& text) { return text ? *text : "(null)"; }

// Evaluators may report problems through the slot; each one is taken out so that the
// slot is empty again for the next expression.
bool takeReportedError(Error* slot, std::string& description) {
    if (!slot || !slot->isSet()) return false;
    description = slot->message();
    slot->clear();
    return true;
}

bool containsIgnoringCase(const std::string& text, const std::string& part) {
    icu::UnicodeString folded = icu::UnicodeString::fromUTF8(text).foldCase();
    return folded.indexOf(icu::UnicodeString::fromUTF8(part).foldCase()) >= 0;
}

// German national specialisations (and documents that do not say what they follow) let
// PEPPOL asserts without a role count as warnings rather than errors.
bool isNationalCIUS(const std::optional<std::string>& customizationID) {
    if (!customizationID) return true;
    return containsIgnoringCase(*customizationID, "xeinkauf") || containsIgnoringCase(*customizationID, "xrechnung");
}

// A context that is not absolute is searched for anywhere in the document. The prefix is
// plain text, so only the first branch of a union gets it.
std::string absoluteContext(const std::string& context) {
    if (!context.empty() && context.front() == '/') return context;
    return "//" + context;
}

std::vector<xml::Node> nodesOf(const Value& value) {
    std::vector<xml::Node> nodes;
    for (const Value& item : QMXPath2Evaluator::normalizeToArray(value)) {
        if (item.isNode()) nodes.push_back(item.asNode());
    }
    return nodes;
}

// The global variables as the run sets them again before every node. A let whose first
// evaluation depended on nothing that can change (no variables but earlier such lets; no
// variables bound, no rule-set function called, nothing logged) gets its first value
// back; the others are evaluated again.
class GlobalLets {
public:
    explicit GlobalLets(const std::vector<SchematronLet>& lets) : lets_(lets), settled_(lets.size()) {}

    const std::vector<SchematronLet>& lets() const { return lets_; }
    // The value of let `index` when it cannot change.
    const std::optional<Value>& settledValue(size_t index) const { return settled_[index]; }

    // Let `index` was first evaluated to `value`, depending on what `record` noted.
    void noteFirstValue(size_t index, const EvaluationRecord& record, const Value& value) {
        const bool settled = record.dependsOnlyOnVariablesRead() &&
                             std::all_of(record.variablesRead.begin(), record.variablesRead.end(),
                                         [this](const std::string& name) { return lastSetIsSettled(name); });
        if (settled) settled_[index] = value;
        lastSet_[lets_[index].name.value_or("")] = settled;
    }
    // Let `index` could not be evaluated: its variable was left as it was.
    void noteNoValue(size_t index) { lastSet_[lets_[index].name.value_or("")] = false; }

private:
    // Whether the global let that last set the variable (so far, in order) is settled.
    bool lastSetIsSettled(const std::string& name) const {
        auto found = lastSet_.find(name);
        return found != lastSet_.end() && found->second;
    }

    const std::vector<SchematronLet>& lets_;
    std::vector<std::optional<Value>> settled_;
    std::map<std::string, bool> lastSet_;
};

class ValidationRun {
public:
    ValidationRun(QMSchematronValidator& validator, const xml::Document& document, const SchematronSchema& schema,
                  Error* error)
        : validator_(validator),
          document_(document.node()),
          schema_(schema),
          evaluator_(schema.namespaces),
          error_(error),
          nationalCIUS_(isNationalCIUS(QMSchematronValidator::documentCustomizationID(document))),
          globalLets_(schema.lets) {
        evaluator_.setUnchangingDocument(document_);  // nothing edits the document during a run
    }

    QMValidationResult run() {
        for (const SchematronFunction& function : schema_.functions) {
            evaluator_.registerFunction(function.name, function.parameters, function.bodyExpression,
                                        function.variables);
        }
        setGlobalLets();
        for (const SchematronPattern& pattern : schema_.patterns) {
            if (stopped()) break;
            runPattern(pattern);
        }

        QMValidationResult result;
        result.valid = errors_.empty() && !stopped();
        result.errors = std::move(errors_);
        result.warnings = std::move(warnings_);
        return result;
    }

    // Why the run ended early: its evaluation budget was used up. Unset otherwise.
    Error stopError() const { return evaluator_.stopError(); }

private:
    bool stopped() const { return evaluator_.evaluationStopped(); }

    // Sets one let evaluated against `context`; false (and the error's text) when the
    // evaluator reported an error, in which case the variable is left as it was.
    bool setLet(const SchematronLet& let, xml::Node context, std::string& reported) {
        Value value = evaluator_.evaluate(let.value.value_or(""), context, error_);
        if (takeReportedError(error_, reported)) return false;
        evaluator_.setVariable(let.name.value_or(""), value);  // absent removes it
        return true;
    }

    // The global variables are set at the start, noting which of them cannot change.
    void setGlobalLets() {
        for (size_t i = 0; i < globalLets_.lets().size() && !stopped(); ++i) {
            const SchematronLet& let = globalLets_.lets()[i];
            EvaluationRecord record;
            Value value = evaluator_.evaluate(let.value.value_or(""), document_, error_, record);
            std::string reported;
            if (takeReportedError(error_, reported)) {
                log("Error evaluating global let '" + orNull(let.name) + "' = '" + orNull(let.value) +
                    "': " + reported);
                globalLets_.noteNoValue(i);
                continue;
            }
            evaluator_.setVariable(let.name.value_or(""), value);  // absent removes it
            globalLets_.noteFirstValue(i, record, value);
        }
    }

    // Before every matched node the global variables are set again, silently.
    void restoreGlobalLets() {
        for (size_t i = 0; i < globalLets_.lets().size() && !stopped(); ++i) {
            const SchematronLet& let = globalLets_.lets()[i];
            if (const std::optional<Value>& settled = globalLets_.settledValue(i)) {
                evaluator_.setVariable(let.name.value_or(""), *settled);
                continue;
            }
            std::string reported;
            setLet(let, document_, reported);
        }
    }

    void runPattern(const SchematronPattern& pattern) {
        if (pattern.patternId == kVariablePatternId) return;  // its lets are the global ones
        for (const SchematronLet& let : pattern.lets) {
            std::string reported;
            if (!setLet(let, document_, reported)) {
                log("Error evaluating pattern let '" + orNull(let.name) + "' = '" + orNull(let.value) +
                    "': " + reported);
            }
        }
        for (const SchematronRule& rule : pattern.rules) {
            if (stopped()) return;
            runRule(pattern, rule);
        }
    }

    // Every rule applies to every node its context selects, even nodes that an earlier
    // rule of the same pattern matched. A rule without a context matches nothing.
    void runRule(const SchematronPattern& pattern, const SchematronRule& rule) {
        if (rule.abstract || !rule.context) return;
        std::optional<std::vector<xml::Node>> nodes = contextNodes(*rule.context);
        if (!nodes) return;
        for (xml::Node node : *nodes) {
            if (stopped()) return;
            runNode(pattern, rule, node);
        }
    }

    // The nodes a rule context selects; nullopt when the evaluator reported an error. A
    // context whose value depends on no variable is evaluated once per run.
    std::optional<std::vector<xml::Node>> contextNodes(const std::string& context) {
        const std::string text = absoluteContext(context);
        if (auto known = contexts_.find(text); known != contexts_.end()) return known->second;
        EvaluationRecord record;
        Value selected = evaluator_.evaluate(text, document_, error_, record);
        std::string reported;
        if (takeReportedError(error_, reported)) {
            log("Error evaluating context '" + context + "': " + reported);
            return std::nullopt;
        }
        std::vector<xml::Node> nodes = nodesOf(selected);
        if (record.dependsOnlyOnVariablesRead() && record.variablesRead.empty() && !stopped()) {
            contexts_.emplace(text, nodes);
        }
        return nodes;
    }

    void runNode(const SchematronPattern& pattern, const SchematronRule& rule, xml::Node node) {
        restoreGlobalLets();
        for (const SchematronLet& let : rule.lets) {
            std::string reported;
            if (!setLet(let, node, reported)) {
                log("Error evaluating let '" + orNull(let.name) + "' = '" + orNull(let.value) + "': " + reported);
            }
        }
        for (const SchematronAssertion& assertion : rule.assertions) {
            if (stopped()) return;
            runAssertion(pattern, rule, assertion, node);
        }
    }

    void runAssertion(const SchematronPattern& pattern, const SchematronRule& rule,
                      const SchematronAssertion& assertion, xml::Node node) {
        Value outcome = evaluator_.evaluate(assertion.test.value_or(""), node, error_);
        std::string reported;
        if (takeReportedError(error_, reported)) {
            log("Error evaluating test '" + orNull(assertion.test) + "': " + reported);
            return;
        }
        if (stopped()) return;  // the value means nothing
        const bool truth = QMSchematronValidator::toBoolean(outcome);
        const bool fires = assertion.type == "assert" ? !truth : truth;
        if (!fires) return;
        QMValidationError issue = makeIssue(pattern, rule, assertion, node);
        if (!stopped()) file(std::move(issue));
    }

    QMValidationError makeIssue(const SchematronPattern& pattern, const SchematronRule& rule,
                                const SchematronAssertion& assertion, xml::Node node) {
        QMValidationError issue;
        issue.pattern = pattern.patternId.value_or("");
        issue.rule = rule.ruleId.value_or("");
        issue.assertion = assertion.assertionId.value_or("");
        issue.assertionId = issue.assertion;
        issue.type = assertion.type;
        issue.flag = assertion.flag.value_or("");
        issue.role = assertion.role ? *assertion.role : defaultRole(assertion);
        issue.message = assertion.messageElement
                            ? validator_.evaluateMessageWithValueOf(assertion.messageElement, evaluator_, node, error_)
                            : assertion.message;
        issue.location = QMSchematronValidator::getNodePath(node);
        return issue;
    }

    std::string defaultRole(const SchematronAssertion& assertion) const {
        if (nationalCIUS_ && assertion.assertionId && assertion.assertionId->starts_with("PEPPOL-")) return "warning";
        return assertion.type == "assert" ? "error" : "info";
    }

    // Information goes with the warnings: a result has no third list.
    void file(QMValidationError issue) {
        if (issue.severity() == "Error") {
            errors_.push_back(std::move(issue));
        } else {
            warnings_.push_back(std::move(issue));
        }
    }

    QMSchematronValidator& validator_;
    xml::Node document_;
    const SchematronSchema& schema_;
    QMXPath2Evaluator evaluator_;
    Error* error_;
    bool nationalCIUS_;
    GlobalLets globalLets_;
    std::map<std::string, std::vector<xml::Node>> contexts_;  // by context text
    std::vector<QMValidationError> errors_;
    std::vector<QMValidationError> warnings_;
};

// Runs the schema over the document. A run whose evaluation budget was used up ends
// early with a result that is not valid; `stop` then says why (and is logged).
QMValidationResult runValidation(QMSchematronValidator& validator, const xml::Document& document,
                                 const SchematronSchema& schema, Error* error, Error& stop) {
    ValidationRun run(validator, document, schema, error);
    QMValidationResult result = run.run();
    stop = run.stopError();
    if (stop.isSet()) log("Validation stopped: " + stop.message());
    return result;
}

}  // namespace

// The error slot receives the reason when the run was stopped.
QMValidationResult QMSchematronValidator::validateDocument(const xml::Document& document,
                                                           const SchematronSchema& schema, Error* error) {
    Error stop;
    QMValidationResult result = runValidation(*this, document, schema, error, stop);
    if (stop.isSet() && error) *error = stop;
    return result;
}

namespace {

// The schema is always loaded before the document is parsed.
std::optional<QMValidationResult> validateXMLWithLoadedSchema(QMSchematronValidator& validator,
                                                              const std::shared_ptr<SchematronSchema>& schema,
                                                              const std::string& xml, Error* error) {
    if (!schema) return std::nullopt;
    auto document = xml::Document::parse(xml, error);
    if (!document) return std::nullopt;
    Error stop;
    QMValidationResult result = runValidation(validator, *document, *schema, error, stop);
    if (!stop.isSet()) return result;
    if (error) *error = stop;
    return std::nullopt;  // a run that was stopped validated nothing
}

}  // namespace

std::optional<QMValidationResult> QMSchematronValidator::validateXMLWithSchema(const std::string& xml,
                                                                               const std::string& schemaText,
                                                                               Error* error) {
    if (_semantics == Semantics::Standard) return validateXMLWithStandardSchemaText(xml, schemaText, error);
    return validateXMLWithLoadedSchema(*this, parseSchema(schemaText, error), xml, error);
}

std::optional<QMValidationResult> QMSchematronValidator::validateXMLWithSchemaFile(const std::string& xml,
                                                                                   const std::string& schemaPath,
                                                                                   Error* error) {
    if (_semantics == Semantics::Standard) {
        // The rule set is compiled before the document is parsed, as in the compatible profile.
        if (!compiledRuleSet(schemaPath, error)) return std::nullopt;
        auto document = xml::Document::parse(xml, error);
        if (!document) return std::nullopt;
        return validateDocumentWithSchemaFile(*document, schemaPath, error);
    }
    return validateXMLWithLoadedSchema(*this, loadSchemaFile(schemaPath, error), xml, error);
}

}  // namespace quillmark
