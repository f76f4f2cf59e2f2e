// JSON Lines output of `quillmark validate`: one object per input file.

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "validate_output.h"

namespace quillmark::cli {

namespace {

// The line and column when known, else null.
nlohmann::ordered_json positionJson(int64_t value) { return value > 0 ? nlohmann::ordered_json(value) : nullptr; }

// Text when there is some, else null.
nlohmann::ordered_json textOrNull(const std::string& text) {
    if (text.empty()) return nullptr;
    return text;
}

// The rule set's title or file name; an XSD's issues name the XSD file as their title.
nlohmann::ordered_json ruleSetJson(const QMValidationError& issue) {
    return textOrNull(issue.ruleSet.empty() ? issue.schemaTitle : issue.ruleSet);
}

nlohmann::ordered_json explanationJson(const std::vector<QMExplanationLine>& lines) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& line : lines) list.push_back({{"expression", line.expression}, {"value", line.value}});
    return list;
}

nlohmann::ordered_json issueJson(const QMValidationError& issue, const std::string& scenario) {
    nlohmann::ordered_json object = {
        {"pattern", issue.pattern},     {"rule", issue.rule},         {"assertion", issue.assertion},
        {"assertionId", issue.assertionId}, {"type", issue.type},     {"role", issue.role},
        {"flag", issue.flag},           {"severity", issue.severity()}, {"message", issue.message},
        {"location", issue.location},   {"schemaTitle", issue.schemaTitle},
        {"line", positionJson(issue.line)}, {"column", positionJson(issue.column)}, {"test", issue.test},
        {"ruleSet", ruleSetJson(issue)}, {"scenario", textOrNull(scenario)},
    };
    if (!issue.explanation.empty()) object["explanation"] = explanationJson(issue.explanation);
    return object;
}

nlohmann::ordered_json issuesJson(const std::vector<QMValidationError>& issues, const std::string& scenario) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& issue : issues) list.push_back(issueJson(issue, scenario));
    return list;
}

}  // namespace

void writeJsonReport(std::ostream& out, const FileReport& report) {
    const QMValidationResult& result = report.result;
    nlohmann::ordered_json object = {
        {"file", report.file},
        {"valid", report.validated() && result.errors.empty()},
        {"status", report.validated() ? result.status() : 0},
        {"schemaFiles", result.schemaFiles.value_or(std::vector<std::string>{})},
        {"errors", issuesJson(result.errors, report.scenario)},
        {"warnings", issuesJson(result.warnings, report.scenario)},
    };
    if (!report.scenario.empty()) object["scenario"] = report.scenario;
    if (!report.validated()) object["error"] = fmt::format("{}", fmt::join(report.failures, "; "));
    // Invalid UTF-8 in a message must not abort the report.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace quillmark::cli
