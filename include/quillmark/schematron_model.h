#pragma once
// Plain records: a loaded Schematron rule set, and the outcome of a validation
// (Schematron and XSD alike) with the derived issue severity and result status.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillmark/semantics.h"
#include "quillmark/xml.h"

namespace quillmark {

struct SchematronLet {
    std::optional<std::string> name;   // without "$"
    std::optional<std::string> value;  // expression text
};

struct SchematronAssertion {
    std::optional<std::string> assertionId;
    std::string type;  // "assert" or "report"
    std::optional<std::string> test;
    std::string message;            // whole text content, unrendered
    xml::Node messageElement;       // the assert/report element; lives in the schema's document
    std::optional<std::string> role;
    std::optional<std::string> flag;
};

struct SchematronRule {
    std::optional<std::string> context;
    std::vector<SchematronLet> lets;
    std::vector<SchematronAssertion> assertions;
    std::optional<std::string> ruleId;
    bool abstract = false;
};

struct SchematronPattern {
    std::optional<std::string> patternId;
    std::optional<std::string> name;
    std::vector<SchematronRule> rules;
    std::vector<SchematronLet> lets;
};

struct SchematronFunction {
    std::string name;  // with prefix
    std::vector<std::string> parameters;
    std::string bodyExpression;
    std::vector<std::map<std::string, std::string>> variables;  // "name", "select"
};

struct SchematronSchema {
    std::vector<SchematronPattern> patterns;
    std::map<std::string, std::string> namespaces;
    std::optional<std::string> queryBinding;  // never filled
    std::vector<SchematronLet> lets;
    std::vector<SchematronFunction> functions;
    // Keeps the message elements of the assertions alive.
    std::shared_ptr<xml::Document> document;
};

// One line of an issue's explanation: a part of the test as written in the rule set, and
// its value at the offending node as text ("200.01", "\"EUR\" (@currencyID)", "()").
struct QMExplanationLine {
    std::string expression;
    std::string value;
    friend bool operator==(const QMExplanationLine&, const QMExplanationLine&) = default;
};

struct QMValidationError {
    std::string pattern;
    std::string rule;  // the rule's id; in the standard run its context when it has no id
    std::string assertion;
    std::string assertionId;
    std::string test;
    std::string type;
    std::string role;
    std::string flag;
    std::string message;
    std::string location;
    std::string schemaTitle;
    // Where the offending node's start tag is in the document as read; 0 when unknown.
    int64_t line = 0;
    int64_t column = 0;
    // How the severity is read: the compatible rules (PEPPOL ids are information, the
    // role is searched for words) or the standard ones (flag, else role, as words).
    Semantics semantics = Semantics::Compatible;
    // The rule set that found the issue: its title, or its file name when it has none
    // (standard run; empty where not known).
    std::string ruleSet;
    // The values that made the test fail (or the report fire), a dozen lines at most:
    // filled by the standard run when asked to explain (RunOptions::explain), else empty.
    std::vector<QMExplanationLine> explanation;

    // "Error", "Warning" or "Info", derived on every call.
    std::string severity() const;
};

// A pattern of the active phase, and a rule that handled a node, in a run's trace.
struct QMTracedPattern {
    std::string id;    // "" when it has none
    std::string name;  // its name attribute
};

struct QMTracedRule {
    std::string id;       // "" when it has none
    std::string context;  // as written
    std::string role;
    std::string flag;
};

// A step of a standard Schematron run, as a validation report (SVRL) tells it.
struct QMRunEvent {
    enum class Kind {
        ActivePattern,  // a pattern begins: patterns[index]
        FiredRule,      // a rule of that pattern handled a node: rules[index]
        Issue,          // an assertion of that rule failed, or a report fired, there: issues[index]
    };
    Kind kind = Kind::ActivePattern;
    size_t index = 0;  // into the trace's patterns, rules or issues, by kind
};

// One Schematron rule set's run over one document, step by step. Recorded by the
// standard run only when asked (standard::RunOptions::trace), for SVRL reports.
struct QMRuleSetTrace {
    std::string title;          // the rule set's title
    std::string schemaVersion;  // its schemaVersion attribute
    std::vector<std::pair<std::string, std::string>> namespaces;  // its sch:ns, prefix and URI, in order
    std::vector<QMTracedPattern> patterns;  // the active phase's patterns, in order
    std::vector<QMTracedRule> rules;        // the rules that handled some node, each once
    std::vector<QMValidationError> issues;  // copies of the issues its patterns found
    // Pattern by pattern: the pattern, then each node one of its rules handled, in
    // document order, as the rule, followed by the issues found there.
    std::vector<QMRunEvent> events;
};

struct QMValidationResult {
    bool valid = false;
    std::vector<QMValidationError> errors;
    std::vector<QMValidationError> warnings;  // severities "Warning" and "Info"
    std::optional<std::vector<std::string>> patterns;
    std::optional<std::vector<std::string>> schemaFiles;
    // The runs of the Schematron rule sets, in order, when the standard run was asked to
    // trace them; nullopt otherwise (the compatible profile never traces). Issues found
    // outside a rule set's patterns (XML Schema findings, a run stopped by its budget)
    // are in errors and warnings only.
    std::optional<std::vector<QMRuleSetTrace>> traces;

    // 1 passed, 2 warnings only, 3 errors (0, not validated, is never derived).
    int64_t status() const;
};

}  // namespace quillmark
