// Derived values of the result records: the severity of one issue and the status of a
// whole result.

#include <algorithm>
#include <cctype>
#include <string_view>

#include "quillmark/schematron_model.h"

namespace quillmark {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// The flag words are plain ASCII and no other character lower-cases onto them, so an
// ASCII lower-casing decides exactly like a full Unicode one.
std::string asciiLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The flag decides by exact words; anything else leaves the decision to the role.
std::optional<std::string> severityOfFlag(const std::string& flag) {
    const std::string word = asciiLower(flag);
    if (word == "warning" || word == "warn") return "Warning";
    if (word == "information" || word == "info") return "Info";
    if (word == "fatal" || word == "error") return "Error";
    return std::nullopt;
}

// The role is searched as written, without lower-casing, and knows fewer words.
std::optional<std::string> severityOfRole(const std::string& role) {
    if (contains(role, "warn")) return "Warning";  // also covers "warning"
    if (contains(role, "error")) return "Error";
    return std::nullopt;
}

// The standard reading: the flag, else the role, each as one of the six words in any
// case; else an assert is an error and a report information.
std::string standardSeverity(const QMValidationError& issue) {
    if (auto decided = severityOfFlag(issue.flag)) return *decided;
    if (auto decided = severityOfFlag(issue.role)) return *decided;
    return issue.type == "report" ? "Info" : "Error";
}

}  // namespace

std::string QMValidationError::severity() const {
    if (semantics == Semantics::Standard) return standardSeverity(*this);
    // PEPPOL rules are shown as information whatever they declare.
    if (startsWith(assertionId, "PEPPOL-")) return "Info";
    if (auto decided = severityOfFlag(flag)) return *decided;
    if (auto decided = severityOfRole(role)) return *decided;
    return type == "assert" ? "Error" : "Info";
}

int64_t QMValidationResult::status() const {
    if (!errors.empty()) return 3;
    if (!warnings.empty()) return 2;
    return 1;
}

}  // namespace quillmark
