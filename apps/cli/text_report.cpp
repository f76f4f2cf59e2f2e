// Text output of `quillmark validate`: compiler-style issue lines and a summary per file.

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "validate_output.h"
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

// The issue line, then its explanation (if any) indented below it.
void writeIssue(std::ostream& out, const std::string& file, const QMValidationError& issue) {
    out << issueLine(file, issue) << '\n';
    for (const auto& line : issue.explanation) {
        out << "    " << visibleText(line.expression) << " = " << visibleText(line.value) << '\n';
    }
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
    for (const auto& issue : report.result.errors) writeIssue(out, file, issue);
    for (const auto& issue : report.result.warnings) writeIssue(out, file, issue);
    out << file << ": " << summary(report) << '\n';
}

}  // namespace quillmark::cli
