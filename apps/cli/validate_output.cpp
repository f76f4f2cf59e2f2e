// Text, JSON Lines and SVRL output of `quillmark validate`.

#include "validate_output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <vector>

#include "quillmark/xml.h"
#include "visible_text.h"

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

// "FILE:LINE:COLUMN", "FILE:LINE" or "FILE", as far as the position is known.
std::string position(const std::string& file, const QMValidationError& issue) {
    if (issue.line <= 0) return file;
    if (issue.column <= 0) return fmt::format("{}:{}", file, issue.line);
    return fmt::format("{}:{}:{}", file, issue.line, issue.column);
}

std::string issueLine(const std::string& file, const QMValidationError& issue) {
    std::string line = fmt::format("{}: {}: ", position(file, issue), lowerCase(issue.severity()));
    if (!issue.assertionId.empty()) line += fmt::format("[{}] ", visibleText(issue.assertionId));
    line += visibleText(collapseWhiteSpace(withoutLeadingTag(issue.message, issue.assertionId)));
    if (!issue.location.empty()) line += fmt::format(" (at {})", visibleText(issue.location));
    return line;
}

std::string counted(size_t count, const char* singular, const char* plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

// "valid", "valid, 1 warning", "2 errors, 1 warning, 3 infos"; "not validated" and
// the counts of what was found for a file that is not validated.
std::string summary(const FileReport& report) {
    const QMValidationResult& result = report.result;
    size_t warnings = 0;
    size_t infos = 0;
    for (const auto& issue : result.warnings) (issue.severity() == "Warning" ? warnings : infos) += 1;
    std::vector<std::string> parts;
    if (!report.validated()) parts.push_back("not validated");
    if (!result.errors.empty()) parts.push_back(counted(result.errors.size(), "error", "errors"));
    if (parts.empty()) parts.push_back("valid");
    if (warnings > 0) parts.push_back(counted(warnings, "warning", "warnings"));
    if (infos > 0) parts.push_back(counted(infos, "info", "infos"));
    if (!report.scenario.empty()) parts.push_back("scenario " + report.scenario);
    return fmt::format("{}", fmt::join(parts, ", "));
}

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

void writeTextReport(std::ostream& out, const FileReport& report) {
    const std::string file = visibleText(report.file);
    for (const auto& issue : report.result.errors) out << issueLine(file, issue) << '\n';
    for (const auto& issue : report.result.warnings) out << issueLine(file, issue) << '\n';
    out << file << ": " << summary(report) << '\n';
}

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

namespace {

constexpr const char* kSvrlNamespace = "http://purl.oclc.org/dsdl/svrl";

// Text as XML can carry it: line breaks stay, other control characters are escaped.
std::string xmlText(const std::string& text) { return visibleText(text, LineBreaks::Keep); }

void appendSvrlText(xml::Document& svrl, xml::Node parent, const std::string& text) {
    xml::Node element = svrl.appendElement(parent, "svrl:text", kSvrlNamespace);
    svrl.appendText(element, xmlText(text));
}

void appendSvrlIssue(xml::Document& svrl, xml::Node root, const QMValidationError& issue) {
    const char* element = issue.type == "report" ? "svrl:successful-report" : "svrl:failed-assert";
    xml::Node entry = svrl.appendElement(root, element, kSvrlNamespace);
    if (!issue.assertionId.empty()) svrl.setAttribute(entry, "id", xmlText(issue.assertionId));
    if (!issue.flag.empty()) svrl.setAttribute(entry, "flag", xmlText(issue.flag));
    if (!issue.role.empty()) svrl.setAttribute(entry, "role", xmlText(issue.role));
    svrl.setAttribute(entry, "location", xmlText(issue.location));
    appendSvrlText(svrl, entry, issue.message);
}

}  // namespace

void writeSvrlReport(std::ostream& out, const FileReport& report) {
    auto svrl = xml::Document::create();
    xml::Node root = svrl->createRootElement("svrl:schematron-output", kSvrlNamespace);
    for (const auto& failure : report.failures) appendSvrlText(*svrl, root, "not validated: " + failure);
    for (const auto& issue : report.result.errors) appendSvrlIssue(*svrl, root, issue);
    for (const auto& issue : report.result.warnings) appendSvrlIssue(*svrl, root, issue);
    out << svrl->xmlString(true);
}

}  // namespace quillmark::cli
