// A document window's decisions: validation, status dot, sheet, window placement.

#include "quillmark/ui/document_window_controller.h"

#include <filesystem>

#include "quillmark/ui/strings.h"

namespace quillmark {

namespace {

// Process-wide: windows loaded since start-up. Closing a window does not lower it, so
// every new window is placed further along.
int64_t& loadedWindowCount() {
    static int64_t count = 0;
    return count;
}

// An issue that the window makes up itself (no pattern, rule or assertion).
QMValidationError windowIssue(std::string type, std::string role, std::string message, std::string location,
                              std::string schemaTitle) {
    QMValidationError issue;
    issue.type = std::move(type);
    issue.role = std::move(role);
    issue.message = std::move(message);
    issue.location = std::move(location);
    issue.schemaTitle = std::move(schemaTitle);
    return issue;
}

// A result of that one issue, as an error or as a warning.
QMValidationResult resultOf(QMValidationError issue, bool isError) {
    QMValidationResult result;
    result.valid = !isError;
    result.patterns.emplace();
    result.schemaFiles.emplace();
    (isError ? result.errors : result.warnings).push_back(std::move(issue));
    return result;
}

}  // namespace

int64_t QMXMLDocumentWindowController::windowCount() { return loadedWindowCount(); }

int64_t QMXMLDocumentWindowController::windowDidLoad() {
    int64_t offset = loadedWindowCount() * kCascadeStep;
    ++loadedWindowCount();
    _statusButton = QMStatusButtonState{};
    return offset;
}

void QMXMLDocumentWindowController::updateStatusButton(QMStatusDotImage image, bool hasIssues) {
    _statusButton.image = image;
    _statusButton.enabled = hasIssues;
}

QMValidationResult QMXMLDocumentWindowController::schemaDetectionResult(const Error& error) {
    std::string message = error.isSet() && !error.localizedDescription.empty()
                              ? error.localizedDescription
                              : ui::localizedString("validation.no_schemas");
    return resultOf(windowIssue("info", "information", std::move(message), "/", kSchemaDetectionTitle), false);
}

bool QMXMLDocumentWindowController::isSchemaDetectionResult(const QMValidationResult& result) {
    return result.errors.empty() && result.warnings.size() == 1 &&
           result.warnings.front().schemaTitle == kSchemaDetectionTitle;
}

QMValidationResult QMXMLDocumentWindowController::notWellFormedResult(const Error& parseError) {
    return resultOf(windowIssue("xml", "error", parseError.message(), "", kWellFormednessTitle), true);
}

std::vector<QMValidationError> QMXMLDocumentWindowController::schemaFailureIssues(
    const std::vector<SchemaFailure>& failures) {
    std::vector<QMValidationError> issues;
    for (const SchemaFailure& failure : failures) {
        issues.push_back(windowIssue("schema", "error", failure.error.message(), "",
                                     std::filesystem::path(failure.path).filename().string()));
    }
    return issues;
}

void QMXMLDocumentWindowController::displayResult(const QMValidationResult& result, const std::string& fileName) {
    if (!_validationResultWindowController)
        _validationResultWindowController = std::make_unique<QMValidationResultWindowController>();
    _validationResultWindowController->setXmlTextView(_resultsTextView);
    _validationResultWindowController->displayResult(result, fileName);
}

bool QMXMLDocumentWindowController::performValidationWithValidator(QMSchematronValidator& validator,
                                                                   const std::string& xml,
                                                                   const std::string& fileName) {
    if (_resultsTextView) _resultsTextView->setText(xml);

    Error error;
    std::optional<QMValidationResult> result = validator.validateXMLWithAutoDetection(xml, &error);
    if (!result) result = schemaDetectionResult(error);
    displayResult(*result, fileName);

    // No schema fits: a grey dot the user may click; the notice does not pop up.
    if (isSchemaDetectionResult(*result)) {
        updateStatusButton(statusIconForStatus(0), true);
        return false;
    }
    const size_t issues = result->errors.size() + result->warnings.size();
    const int64_t status = !result->errors.empty() ? 3 : !result->warnings.empty() ? 2 : 1;
    updateStatusButton(statusIconForStatus(status), issues != 0);
    return issues != 0;
}

bool QMXMLDocumentWindowController::performStrictValidationWithValidator(QMSchematronValidator& validator,
                                                                         const std::string& xml,
                                                                         const std::string& fileName) {
    if (_resultsTextView) _resultsTextView->setText(xml);
    StrictValidationReport report = validator.validateXMLStrictly(xml);
    switch (report.outcome) {
        case StrictValidationReport::Outcome::NoMatchingSchema:
            displayResult(schemaDetectionResult(report.error), fileName);
            updateStatusButton(statusIconForStatus(0), true);
            return false;
        case StrictValidationReport::Outcome::NotWellFormed:
            displayResult(notWellFormedResult(report.error), fileName);
            updateStatusButton(statusIconForStatus(3), true);
            return true;
        case StrictValidationReport::Outcome::Validated:
            break;
    }
    QMValidationResult& result = report.result;
    const bool documentHasErrors = !result.errors.empty();
    std::vector<QMValidationError> failures = schemaFailureIssues(report.failures);
    result.errors.insert(result.errors.begin(), failures.begin(), failures.end());
    displayResult(result, fileName);

    const size_t issues = result.errors.size() + result.warnings.size();
    // A schema that could not check the document leaves it not validated (grey), unless
    // what did run found errors.
    const int64_t status = documentHasErrors ? 3 : !failures.empty() ? 0 : !result.warnings.empty() ? 2 : 1;
    updateStatusButton(statusIconForStatus(status), issues != 0);
    return issues != 0;
}

}  // namespace quillmark
