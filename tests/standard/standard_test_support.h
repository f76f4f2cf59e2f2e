#pragma once
// Helpers of the standard run's unit tests: small rule sets written inline, compiled,
// run over small documents, and their issues summarised in one line each.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "standard/compiled_rule_set.h"
#include "standard/rule_set_error.h"
#include "support/schematron_test_support.h"

namespace quillmark::testing {

// An ISO Schematron rule set around `body`; `attributes` go on the schema element.
inline std::string isoRuleSet(const std::string& body, const std::string& attributes = "queryBinding=\"xslt2\"") {
    return std::string("<schema xmlns=\"") + kSchematronNamespace + "\" " + attributes + ">" + body + "</schema>";
}

// One pattern holding the given rules.
inline std::string onePattern(const std::string& rules) {
    return isoRuleSet("<pattern id=\"p\">" + rules + "</pattern>");
}

inline std::shared_ptr<const standard::CompiledRuleSet> compileRuleSet(const std::string& text,
                                                                      const standard::LoadOptions& options = {},
                                                                      const std::string& baseDirectory = ".") {
    return standard::CompiledRuleSet::loadText(text, baseDirectory, options);
}

inline QMValidationResult runOn(const standard::CompiledRuleSet& rules, const std::string& documentText) {
    const auto document = parseXML(documentText);
    if (!document) return {};
    return rules.validate(*document);
}

// Errors first, then warnings and information, each in the order of the run.
inline std::vector<QMValidationError> allIssues(const QMValidationResult& result) {
    std::vector<QMValidationError> issues = result.errors;
    issues.insert(issues.end(), result.warnings.begin(), result.warnings.end());
    return issues;
}

// "ID@LOCATION" per issue, errors first.
inline std::vector<std::string> firings(const QMValidationResult& result) {
    return issueLines(allIssues(result), [](const QMValidationError& i) { return i.assertionId + "@" + i.location; });
}

inline std::vector<std::string> messages(const QMValidationResult& result) {
    return issueLines(allIssues(result), [](const QMValidationError& i) { return i.message; });
}

// The message of the RuleSetError that loading `text` throws; "" when it loads.
inline std::string loadError(const std::string& text, const standard::LoadOptions& options = {},
                             const std::string& baseDirectory = ".") {
    try {
        compileRuleSet(text, options, baseDirectory);
    } catch (const standard::RuleSetError& error) {
        return error.what();
    }
    return "";
}

inline std::string loadFileError(const std::string& path, const standard::LoadOptions& options = {}) {
    try {
        standard::CompiledRuleSet::loadFile(path, options);
    } catch (const standard::RuleSetError& error) {
        return error.what();
    }
    return "";
}

}  // namespace quillmark::testing
