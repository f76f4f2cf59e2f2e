// A document window's decisions: validation, status dot, sheet, window placement.

#include "quillmark/ui/document_window_controller.h"

#include "quillmark/ui/strings.h"

namespace quillmark {

namespace {

// Process-wide: windows loaded since start-up. Closing a window does not lower it, so
// every new window is placed further along.
int64_t& loadedWindowCount() {
    static int64_t count = 0;
    return count;
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
    QMValidationError notice;
    notice.type = "info";
    notice.role = "information";
    notice.message = error.isSet() && !error.localizedDescription.empty()
                         ? error.localizedDescription
                         : ui::localizedString("validation.no_schemas");
    notice.location = "/";
    notice.schemaTitle = kSchemaDetectionTitle;

    QMValidationResult result;
    result.valid = true;
    result.patterns.emplace();
    result.schemaFiles.emplace();
    result.warnings = {notice};
    return result;
}

bool QMXMLDocumentWindowController::isSchemaDetectionResult(const QMValidationResult& result) {
    return result.errors.empty() && result.warnings.size() == 1 &&
           result.warnings.front().schemaTitle == kSchemaDetectionTitle;
}

bool QMXMLDocumentWindowController::performValidationWithValidator(QMSchematronValidator& validator,
                                                                   const std::string& xml,
                                                                   const std::string& fileName) {
    if (_resultsTextView) _resultsTextView->setText(xml);

    Error error;
    std::optional<QMValidationResult> result = validator.validateXMLWithAutoDetection(xml, &error);
    if (!result) result = schemaDetectionResult(error);

    if (!_validationResultWindowController)
        _validationResultWindowController = std::make_unique<QMValidationResultWindowController>();
    _validationResultWindowController->setXmlTextView(_resultsTextView);
    _validationResultWindowController->displayResult(*result, fileName);

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

}  // namespace quillmark
