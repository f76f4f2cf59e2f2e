// Text and JSON Lines output of `quillmark validate`.

#include "validate_output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "quillmark/xml.h"
#include <vector>

namespace quillmark::cli {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Official rule sets start their messages with the rule id ("[BR-CO-10]-Sum of ...");
// the line shows the id once, in front.
std::string withoutLeadingTag(const std::string& message, const std::string& id) {
    const std::string tag = "[" + id + "]";
    if (id.empty() || message.compare(0, tag.size(), tag) != 0) return message;
    size_t at = tag.size();
    while (at < message.size() && isBlank(message[at])) ++at;
    if (at < message.size() && message[at] == '-') ++at;
    while (at < message.size() && isBlank(message[at])) ++at;
    return at < message.size() ? message.substr(at) : message;
}

std::string issueLine(const std::string& file, const QMValidationError& issue) {
    std::string line = fmt::format("{}: {}: ", file, lowerCase(issue.severity()));
    if (!issue.assertionId.empty()) line += fmt::format("[{}] ", issue.assertionId);
    line += collapseWhiteSpace(withoutLeadingTag(issue.message, issue.assertionId));
    if (!issue.location.empty()) line += fmt::format(" (at {})", issue.location);
    return line;
}

std::string counted(size_t count, const char* singular, const char* plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

// "valid", "valid, 1 warning", "2 errors, 1 warning, 3 infos".
std::string summary(const QMValidationResult& result) {
    size_t warnings = 0;
    size_t infos = 0;
    for (const auto& issue : result.warnings) (issue.severity() == "Warning" ? warnings : infos) += 1;
    std::vector<std::string> parts;
    parts.push_back(result.errors.empty() ? "valid" : counted(result.errors.size(), "error", "errors"));
    if (warnings > 0) parts.push_back(counted(warnings, "warning", "warnings"));
    if (infos > 0) parts.push_back(counted(infos, "info", "infos"));
    return fmt::format("{}", fmt::join(parts, ", "));
}

nlohmann::ordered_json issueJson(const QMValidationError& issue) {
    return {
        {"pattern", issue.pattern},     {"rule", issue.rule},         {"assertion", issue.assertion},
        {"assertionId", issue.assertionId}, {"type", issue.type},     {"role", issue.role},
        {"flag", issue.flag},           {"severity", issue.severity()}, {"message", issue.message},
        {"location", issue.location},   {"schemaTitle", issue.schemaTitle},
    };
}

nlohmann::ordered_json issuesJson(const std::vector<QMValidationError>& issues) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& issue : issues) list.push_back(issueJson(issue));
    return list;
}

}  // namespace

std::string collapseWhiteSpace(std::string_view text) {
    std::string collapsed;
    bool pendingBlank = false;
    for (char c : text) {
        if (isBlank(c)) {
            pendingBlank = !collapsed.empty();
            continue;
        }
        if (pendingBlank) collapsed += ' ';
        pendingBlank = false;
        collapsed += c;
    }
    return collapsed;
}

void writeTextReport(std::ostream& out, const std::string& file, const QMValidationResult& result) {
    for (const auto& issue : result.errors) out << issueLine(file, issue) << '\n';
    for (const auto& issue : result.warnings) out << issueLine(file, issue) << '\n';
    out << file << ": " << summary(result) << '\n';
}

void writeJsonReport(std::ostream& out, const std::string& file, const QMValidationResult& result) {
    nlohmann::ordered_json object = {
        {"file", file},
        {"valid", result.valid},
        {"status", result.status()},
        {"schemaFiles", result.schemaFiles.value_or(std::vector<std::string>{})},
        {"errors", issuesJson(result.errors)},
        {"warnings", issuesJson(result.warnings)},
    };
    // Invalid UTF-8 in a message must not abort the report.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

namespace {

constexpr const char* kSvrlNamespace = "http://purl.oclc.org/dsdl/svrl";

void appendSvrlIssue(xml::Document& report, xml::Node root, const QMValidationError& issue) {
    const char* element = issue.type == "report" ? "svrl:successful-report" : "svrl:failed-assert";
    xml::Node entry = report.appendElement(root, element, kSvrlNamespace);
    if (!issue.assertionId.empty()) report.setAttribute(entry, "id", issue.assertionId);
    if (!issue.flag.empty()) report.setAttribute(entry, "flag", issue.flag);
    if (!issue.role.empty()) report.setAttribute(entry, "role", issue.role);
    report.setAttribute(entry, "location", issue.location);
    xml::Node text = report.appendElement(entry, "svrl:text", kSvrlNamespace);
    report.appendText(text, issue.message);
}

}  // namespace

void writeSvrlReport(std::ostream& out, const QMValidationResult& result) {
    auto report = xml::Document::create();
    xml::Node root = report->createRootElement("svrl:schematron-output", kSvrlNamespace);
    for (const auto& issue : result.errors) appendSvrlIssue(*report, root, issue);
    for (const auto& issue : result.warnings) appendSvrlIssue(*report, root, issue);
    out << report->xmlString(true);
}

}  // namespace quillmark::cli
