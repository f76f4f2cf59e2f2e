#pragma once
// The logic of a document window: it shows one XML document, runs the automatic
// validation, keeps one result window per document window, colours the status dot,
// decides whether the dot can be clicked and whether the result sheet opens by itself,
// and places each new window 40 points further right and down than the one before.

#include <cstdint>
#include <memory>
#include <string>

#include "quillmark/error.h"
#include "quillmark/schematron_validator.h"
#include "quillmark/ui/result_window_controller.h"
#include "quillmark/ui/status_dot.h"
#include "quillmark/ui/text_view.h"

namespace quillmark {

// The schema title of the notice shown for a document that no schema fits.
inline constexpr const char* kSchemaDetectionTitle = "Schema Detection";
// The schema title of the finding shown for a document that is not well-formed XML.
inline constexpr const char* kWellFormednessTitle = "XML Parser";

struct QMStatusButtonState {
    QMStatusDotImage image = statusIconForStatus(0);
    bool enabled = false;
};

class QMXMLDocumentWindowController {
public:
    static constexpr int64_t kCascadeStep = 40;
    static constexpr double kStatusButtonSize = 24;
    static constexpr double kStatusContainerWidth = 30;

    // Windows whose layout has been loaded since the process started; never decreases.
    static int64_t windowCount();
    // Call when the window's layout is loaded: counts the window and returns how far
    // (in points, right and down) it is to be moved from its layout position.
    int64_t windowDidLoad();

    QMTextView* resultsTextView() const { return _resultsTextView; }
    void setResultsTextView(QMTextView* view) { _resultsTextView = view; }

    const QMStatusButtonState& statusButton() const { return _statusButton; }
    void updateStatusButton(QMStatusDotImage image, bool hasIssues);

    // Shows the text, validates it, fills the result window and sets the dot. Returns
    // true when the result sheet is to be opened now.
    bool performValidationWithValidator(QMSchematronValidator& validator, const std::string& xml,
                                        const std::string& fileName);
    // As performValidationWithValidator, failing closed (QMSchematronValidator::
    // validateXMLStrictly): a document that is not well-formed shows the parser's
    // error as a finding (red dot, sheet opens); a schema that could not be used shows
    // as an error row naming it, every other fitting schema still runs, and the dot is
    // red when the document has errors, else grey ("not validated"), never green; the
    // sheet opens. A document that no schema fits gets the usual notice.
    bool performStrictValidationWithValidator(QMSchematronValidator& validator, const std::string& xml,
                                              const std::string& fileName);
    // Whether the dot's action has a sheet to show (a result window exists).
    bool canShowValidationSheet() const { return _validationResultWindowController != nullptr; }

    // Created by the first validation and reused afterwards; null before.
    QMValidationResultWindowController* validationResultWindowController() const {
        return _validationResultWindowController.get();
    }

    // The result standing in for a validation that produced none: valid, no errors, one
    // informational notice under the title "Schema Detection" at location "/", with the
    // error's description as its message, or the default text when there is none.
    static QMValidationResult schemaDetectionResult(const Error& error);
    // The notice result made by schemaDetectionResult (one warning, no errors).
    static bool isSchemaDetectionResult(const QMValidationResult& result);
    // The result shown for a document that is not well-formed: not valid, one error
    // with the parser's description under the title "XML Parser".
    static QMValidationResult notWellFormedResult(const Error& parseError);
    // One error per schema that could not be used: type "schema", role "error", the
    // schema's file name as title, the reason as message.
    static std::vector<QMValidationError> schemaFailureIssues(const std::vector<SchemaFailure>& failures);

private:
    // Shows the result in the result window (created on first use).
    void displayResult(const QMValidationResult& result, const std::string& fileName);
    QMTextView* _resultsTextView = nullptr;
    QMStatusButtonState _statusButton;
    std::unique_ptr<QMValidationResultWindowController> _validationResultWindowController;
};

}  // namespace quillmark
