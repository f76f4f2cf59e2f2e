// JSON Lines output of `quillmark validate`: one object per input file.

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "validate_output.h"

namespace quillmark::cli {

namespace {

// The line and column when known, else null.
nlohmann::ordered_json positionJson(int64_t value) { return value > 0 ? nlohmann::ordered_json(value) : nullptr; }

nlohmann::ordered_json issueJson(const QMValidationError& issue) {
    return {
        {"pattern", issue.pattern},     {"rule", issue.rule},         {"assertion", issue.assertion},
        {"assertionId", issue.assertionId}, {"type", issue.type},     {"role", issue.role},
        {"flag", issue.flag},           {"severity", issue.severity()}, {"message", issue.message},
        {"location", issue.location},   {"schemaTitle", issue.schemaTitle},
        {"line", positionJson(issue.line)}, {"column", positionJson(issue.column)}, {"test", issue.test},
    };
}

nlohmann::ordered_json issuesJson(const std::vector<QMValidationError>& issues) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& issue : issues) list.push_back(issueJson(issue));
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
        {"errors", issuesJson(result.errors)},
        {"warnings", issuesJson(result.warnings)},
    };
    if (!report.scenario.empty()) object["scenario"] = report.scenario;
    if (!report.validated()) object["error"] = fmt::format("{}", fmt::join(report.failures, "; "));
    // Invalid UTF-8 in a message must not abort the report.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace quillmark::cli
