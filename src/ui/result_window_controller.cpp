// The result window's texts, cells, row heights, selection and copy.

#include "quillmark/ui/result_window_controller.h"

#include <algorithm>
#include <cmath>

#include "quillmark/ui/strings.h"

namespace quillmark {

std::string QMValidationResultWindowController::closeButtonTitle() { return ui::localizedString("button.close"); }

std::string QMValidationResultWindowController::summaryForResult(const QMValidationResult& result) {
    // Counts, not the stored validity flag, decide the summary.
    if (result.errors.empty() && result.warnings.empty()) return ui::localizedString("validation.valid");
    return ui::localizedFormat("validation.invalid",
                               {std::to_string(result.errors.size()), std::to_string(result.warnings.size())});
}

std::string QMValidationResultWindowController::schemasLineForResult(const QMValidationResult& result) {
    if (!result.schemaFiles || result.schemaFiles->empty()) return "";
    std::string names;
    for (const auto& schemaFile : *result.schemaFiles) {
        if (!names.empty()) names += ", ";
        names += lastPathComponent(schemaFile);
    }
    return ui::localizedFormat("validation.schemas", {names});
}

void QMValidationResultWindowController::displayResult(const QMValidationResult& result,
                                                       const std::string& fileName) {
    _validationResult = result;
    _windowTitle = ui::localizedFormat("validation.title", {fileName});
    _summaryText = summaryForResult(result);
    _schemasText = schemasLineForResult(result);
    buildOutlineData();
}

QMCellDescription QMValidationResultWindowController::cellForItem(const QMValidationItem& item) const {
    QMCellDescription cell;
    if (isTopLevel(&item)) {
        cell.kind = QMCellDescription::Kind::Message;
        cell.identifier = "MessageCell";
        cell.text = item.title;
        cell.image = item.statusIndicator;
        return cell;
    }
    cell.kind = QMCellDescription::Kind::Detail;
    cell.identifier = "DetailCell";
    cell.text = item.displayText();
    cell.fontSize = 11;
    cell.mediumWeight = false;
    cell.wordWrap = true;
    cell.color = QMCellDescription::TextColor::SecondaryLabel;
    return cell;
}

double QMValidationResultWindowController::heightOfRowByItem(const QMValidationItem& item,
                                                              std::optional<double> outlineWidth,
                                                              const QMTextMeasure& measure) const {
    if (isTopLevel(&item)) return kTopLevelRowHeight;
    double width = outlineWidth.value_or(0) - 2 * kIndentationPerLevel - 40;
    double measured = measure ? measure(item.displayText(), width, 11) : 0;
    return std::max(kMinimumDetailRowHeight, std::ceil(measured) + 8);
}

std::optional<std::string> QMValidationResultWindowController::locationForSelectedItem(
    const QMValidationItem* item) const {
    if (!item || !isTopLevel(item) || !item->error) return std::nullopt;
    return item->error->location;
}

void QMValidationResultWindowController::outlineViewSelectionDidChange(const QMValidationItem* selected) {
    if (auto location = locationForSelectedItem(selected)) highlightNodeInXML(*location);
}

std::string QMValidationResultWindowController::copyText(
    const std::vector<const QMValidationItem*>& selectedRows) const {
    std::string text;
    for (const QMValidationItem* item : selectedRows) {
        if (!item) continue;
        if (!text.empty()) text += "\n";
        if (!isTopLevel(item)) {
            text += item->displayText();
            continue;
        }
        // Children are copied with their issue whether or not the row is expanded.
        text += item->title;
        if (!item->children) continue;
        for (const auto& child : *item->children) text += "\n  " + child->displayText();
    }
    return text;
}

bool QMValidationResultWindowController::validateUserInterfaceItem(QMUserInterfaceAction action,
                                                                   size_t selectedRowCount) const {
    switch (action) {
        case QMUserInterfaceAction::Copy:
            return selectedRowCount > 0;
        case QMUserInterfaceAction::Other:
            return false;
    }
    return false;
}

}  // namespace quillmark
