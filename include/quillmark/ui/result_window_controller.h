#pragma once
// The logic of the result window: the texts it shows for one result and one file, the
// outline rows and their navigation, cell contents and row heights, the element to
// highlight in the document's XML text when an issue is selected, and the copied text.
// A toolkit window (the viewer's result sheet) owns one and draws what it describes.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quillmark/schematron_model.h"
#include "quillmark/ui/text_view.h"
#include "quillmark/ui/validation_item.h"
#include "quillmark/xml.h"

namespace quillmark {

// How a cell of the outline looks.
struct QMCellDescription {
    enum class Kind { Message, Detail };
    enum class TextColor { Label, SecondaryLabel };

    Kind kind = Kind::Message;
    std::string identifier;  // "MessageCell" or "DetailCell"
    std::string text;
    std::optional<QMStatusDotImage> image;  // message cells: the row's dot
    double fontSize = 13;
    bool mediumWeight = true;
    bool wordWrap = false;
    TextColor color = TextColor::Label;
};

// Measures the height of `text` laid out in `width` points with the system font of
// `fontSize` points and unlimited height.
using QMTextMeasure = std::function<double(const std::string& text, double width, double fontSize)>;

// Actions whose menu item or control the result window validates.
enum class QMUserInterfaceAction { Copy, Other };

class QMValidationResultWindowController {
public:
    static constexpr double kIndentationPerLevel = 20;
    static constexpr double kTopLevelRowHeight = 24;
    static constexpr double kMinimumDetailRowHeight = 20;

    // ---- Showing a result ----
    void displayResult(const QMValidationResult& result, const std::string& fileName);
    const std::optional<QMValidationResult>& validationResult() const { return _validationResult; }
    const std::string& windowTitle() const { return _windowTitle; }
    const std::string& summaryText() const { return _summaryText; }
    const std::string& schemasText() const { return _schemasText; }
    static std::string closeButtonTitle();
    static std::string summaryForResult(const QMValidationResult& result);
    static std::string schemasLineForResult(const QMValidationResult& result);

    // ---- Outline rows ----
    void buildOutlineData();
    static QMValidationItemPtr createItemForError(const QMValidationError& error, bool isError);
    static std::string shapedTitle(const std::string& message);
    const std::vector<QMValidationItemPtr>& items() const { return _items; }
    // True exactly when `items` holds this very row.
    bool isTopLevel(const QMValidationItem* item) const;

    // ---- Navigation (null item = the invisible root) ----
    size_t numberOfChildrenOfItem(const QMValidationItem* item) const;
    const QMValidationItem* childOfItem(size_t index, const QMValidationItem* item) const;
    bool isItemExpandable(const QMValidationItem* item) const;

    // ---- Cells ----
    QMCellDescription cellForItem(const QMValidationItem& item) const;
    // Top-level rows are 24 high; a detail row is its measured text height in the
    // outline's width less indentation and margins, rounded up, plus 8, at least 20.
    // An absent outline counts as width 0.
    double heightOfRowByItem(const QMValidationItem& item, std::optional<double> outlineWidth,
                             const QMTextMeasure& measure) const;

    // ---- Selection and highlighting ----
    QMTextView* xmlTextView() const { return _xmlTextView; }
    void setXmlTextView(QMTextView* view) { _xmlTextView = view; }
    // The location to highlight when `item` becomes the selected row: that of an issue
    // row's error; nothing for detail rows, schema rows and no row.
    std::optional<std::string> locationForSelectedItem(const QMValidationItem* item) const;
    void outlineViewSelectionDidChange(const QMValidationItem* selected);
    // Evaluates `location` over the text view's text and selects the element's start tag.
    void highlightNodeInXML(const std::string& location);
    void findAndHighlightNode(xml::Node node, const std::string& text);
    // The range of the start tag of the element that `location` selects in `text`.
    static std::optional<QMTextRange> rangeOfLocationInXML(const std::string& location, const std::string& text);
    // The start tag of `node` found by searching `text` for its ancestors' tags in turn.
    static std::optional<QMTextRange> rangeOfNodeInText(xml::Node node, const std::string& text);

    // ---- Copy ----
    // The text copied for the selected rows, given in ascending row order; null rows
    // are skipped. Empty when nothing is to be copied.
    std::string copyText(const std::vector<const QMValidationItem*>& selectedRows) const;
    bool validateUserInterfaceItem(QMUserInterfaceAction action, size_t selectedRowCount) const;

private:
    std::optional<QMValidationResult> _validationResult;
    std::vector<QMValidationItemPtr> _items;
    std::string _windowTitle;
    std::string _summaryText;
    std::string _schemasText;
    QMTextView* _xmlTextView = nullptr;
};

// The text after the last "/" of a path; the whole text when it has none.
std::string lastPathComponent(const std::string& path);

}  // namespace quillmark
