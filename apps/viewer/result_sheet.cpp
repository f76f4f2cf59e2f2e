#include "result_sheet.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

#include "result_cell_delegate.h"
#include "viewer_strings.h"

namespace quillmark::viewer {

namespace {

QLabel* makeLabel(QWidget* parent, int pixelSize, QFont::Weight weight) {
    auto* label = new QLabel(parent);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    label->setFont(font);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    return label;
}

// Where a row stands in the outline: its top-level row, then its detail row (-1 for
// the top-level row itself).
std::pair<int, int> outlinePosition(const QModelIndex& index) {
    if (!index.parent().isValid()) return {index.row(), -1};
    return {index.parent().row(), index.row()};
}

}  // namespace

void OutlineView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    scheduleDelayedItemsLayout();
}

ResultSheet::ResultSheet(QMValidationResultWindowController* controller, QWidget* parent)
    : QDialog(parent), _controller(controller) {
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    setObjectName("resultSheet");
    resize(760, 460);

    _title = makeLabel(this, 15, QFont::DemiBold);
    _summary = makeLabel(this, 13, QFont::Normal);
    _schemas = makeLabel(this, 11, QFont::Normal);
    QPalette secondary = _schemas->palette();
    QColor secondaryText = secondary.color(QPalette::WindowText);
    secondaryText.setAlphaF(0.62f);
    secondary.setColor(QPalette::WindowText, secondaryText);
    _schemas->setPalette(secondary);

    _model = new ResultItemModel(controller, this);
    _outline = new OutlineView(this);
    _outline->setModel(_model);
    _outline->setItemDelegate(new ResultCellDelegate(_model, _outline));
    _outline->setHeaderHidden(true);
    _outline->setUniformRowHeights(false);
    _outline->setAlternatingRowColors(true);
    _outline->setIndentation(static_cast<int>(QMValidationResultWindowController::kIndentationPerLevel));
    _outline->setSelectionMode(QAbstractItemView::ExtendedSelection);
    _outline->setSelectionBehavior(QAbstractItemView::SelectRows);
    _outline->setEditTriggers(QAbstractItemView::NoEditTriggers);
    _outline->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _outline->header()->setStretchLastSection(true);

    _copyAction = new QAction(text("viewer.action.copy"), this);
    _copyAction->setShortcut(QKeySequence::Copy);
    _copyAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(_copyAction, &QAction::triggered, this, &ResultSheet::copy);
    addAction(_copyAction);
    _outline->addAction(_copyAction);
    _outline->setContextMenuPolicy(Qt::ActionsContextMenu);

    _closeButton = new QPushButton(toQString(QMValidationResultWindowController::closeButtonTitle()), this);
    _closeButton->setDefault(true);
    connect(_closeButton, &QPushButton::clicked, this, &ResultSheet::closeSheet);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(_closeButton);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(6);
    layout->addWidget(_title);
    layout->addWidget(_summary);
    layout->addWidget(_schemas);
    layout->addSpacing(4);
    layout->addWidget(_outline, 1);
    layout->addSpacing(6);
    layout->addLayout(buttons);

    connect(_outline->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ResultSheet::selectionChanged);
    connect(_model, &QAbstractItemModel::modelReset, this, &ResultSheet::updateActions);
    refreshTexts();
    updateActions();
    _outline->setFocus();
}

void ResultSheet::beginResultChange() { _model->beginResultChange(); }

void ResultSheet::endResultChange() {
    _model->endResultChange();
    refreshTexts();
    _outline->collapseAll();
}

void ResultSheet::refreshTexts() {
    setWindowTitle(toQString(_controller->windowTitle()));
    _title->setText(toQString(_controller->windowTitle()));
    _summary->setText(toQString(_controller->summaryText()));
    _schemas->setText(toQString(_controller->schemasText()));
    _schemas->setVisible(!_controller->schemasText().empty());
}

std::vector<const QMValidationItem*> ResultSheet::selectedItems() const {
    QModelIndexList rows = _outline->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex& a, const QModelIndex& b) { return outlinePosition(a) < outlinePosition(b); });
    std::vector<const QMValidationItem*> items;
    for (const QModelIndex& row : rows) items.push_back(_model->itemForIndex(row));
    return items;
}

void ResultSheet::selectionChanged(const QItemSelection& selected) {
    updateActions();
    // The row selected last counts as the selected one; after a mere deselection, the
    // first row still selected.
    QModelIndex row;
    if (!selected.indexes().isEmpty()) {
        row = selected.indexes().back();
    } else if (QModelIndexList rows = _outline->selectionModel()->selectedRows(); !rows.isEmpty()) {
        row = rows.front();
    }
    _controller->outlineViewSelectionDidChange(_model->itemForIndex(row));
}

void ResultSheet::updateActions() {
    const size_t selected = static_cast<size_t>(_outline->selectionModel()->selectedRows().size());
    _copyAction->setEnabled(_controller->validateUserInterfaceItem(QMUserInterfaceAction::Copy, selected));
}

void ResultSheet::copy() {
    const std::string text = _controller->copyText(selectedItems());
    if (text.empty()) return;
    QGuiApplication::clipboard()->setText(toQString(text));
}

void ResultSheet::closeSheet() { done(1); }

}  // namespace quillmark::viewer
