#pragma once
// The result window, shown as a window-modal sheet over its document window: title,
// summary line, schemas line, the outline of issues and a Close button. Selecting an
// issue highlights its element in the document's text; Ctrl+C copies the selected rows.

#include <QDialog>
#include <QTreeView>

#include "quillmark/ui/result_window_controller.h"
#include "result_item_model.h"

class QAction;
class QLabel;
class QPushButton;

namespace quillmark::viewer {

// A tree view that lays its rows out again when its width changes, since wrapped
// detail rows grow and shrink with it.
class OutlineView : public QTreeView {
    Q_OBJECT
public:
    using QTreeView::QTreeView;

protected:
    void resizeEvent(QResizeEvent* event) override;
};

class ResultSheet : public QDialog {
    Q_OBJECT
public:
    ResultSheet(QMValidationResultWindowController* controller, QWidget* parent);

    // Wrap every change of the controller's result in these two calls.
    void beginResultChange();
    void endResultChange();

    QTreeView* outlineView() const { return _outline; }
    ResultItemModel* model() const { return _model; }
    QAction* copyAction() const { return _copyAction; }
    QLabel* summaryLabel() const { return _summary; }
    QLabel* schemasLabel() const { return _schemas; }
    QLabel* titleLabel() const { return _title; }
    QPushButton* closeButton() const { return _closeButton; }

    // The selected rows in the order the outline lists them.
    std::vector<const QMValidationItem*> selectedItems() const;
    void copy();
    void closeSheet();

private:
    void refreshTexts();
    void selectionChanged(const QItemSelection& selected);
    void updateActions();

    QMValidationResultWindowController* _controller;
    ResultItemModel* _model;
    OutlineView* _outline;
    QLabel* _title;
    QLabel* _summary;
    QLabel* _schemas;
    QPushButton* _closeButton;
    QAction* _copyAction;
};

}  // namespace quillmark::viewer
