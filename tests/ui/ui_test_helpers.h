#pragma once
// Builders shared by the presentation tests.

#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/ui/strings.h"
#include "quillmark/ui/text_view.h"

namespace quillmark::testing {

inline QMValidationError makeIssue(std::string message, std::string location = "", std::string pattern = "",
                                   std::string rule = "", std::string assertion = "") {
    QMValidationError issue;
    issue.message = std::move(message);
    issue.location = std::move(location);
    issue.pattern = std::move(pattern);
    issue.rule = std::move(rule);
    issue.assertion = std::move(assertion);
    issue.assertionId = issue.assertion;
    return issue;
}

inline QMValidationResult makeResult(std::vector<QMValidationError> errors, std::vector<QMValidationError> warnings,
                                     std::optional<std::vector<std::string>> schemaFiles = std::nullopt) {
    QMValidationResult result;
    result.valid = errors.empty();
    result.errors = std::move(errors);
    result.warnings = std::move(warnings);
    result.schemaFiles = std::move(schemaFiles);
    return result;
}

// Pins the language of the string table for one test.
class LanguageScope {
public:
    explicit LanguageScope(ui::Language language) { ui::setLanguageOverride(language); }
    ~LanguageScope() { ui::setLanguageOverride(std::nullopt); }
    LanguageScope(const LanguageScope&) = delete;
    LanguageScope& operator=(const LanguageScope&) = delete;
};

// A text view that remembers what was done to it.
class RecordingTextView : public QMTextView {
public:
    explicit RecordingTextView(std::string text = "") : content(std::move(text)) {}
    std::string text() const override { return content; }
    void setText(const std::string& text) override { content = text; }
    void selectRange(QMTextRange range) override { selections.push_back(range); }

    std::string content;
    std::vector<QMTextRange> selections;
};

}  // namespace quillmark::testing
