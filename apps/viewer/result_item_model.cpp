#include "result_item_model.h"

#include "viewer_strings.h"

namespace quillmark::viewer {

// An index's internal pointer is its parent row (null for top-level rows), so that
// parent() needs no back links in the rows.

ResultItemModel::ResultItemModel(QMValidationResultWindowController* controller, QObject* parent)
    : QAbstractItemModel(parent), _controller(controller) {}

const QMValidationItem* ResultItemModel::itemForIndex(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this || index.row() < 0) return nullptr;
    auto* parentItem = static_cast<const QMValidationItem*>(index.internalPointer());
    return _controller->childOfItem(static_cast<size_t>(index.row()), parentItem);
}

QModelIndex ResultItemModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    const QMValidationItem* parentItem = itemForIndex(parent);
    if (parent.isValid() && !parentItem) return {};
    return createIndex(row, column, const_cast<QMValidationItem*>(parentItem));
}

QModelIndex ResultItemModel::parent(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    auto* parentItem = static_cast<const QMValidationItem*>(index.internalPointer());
    if (!parentItem) return {};
    const auto& rows = _controller->items();
    for (size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].get() == parentItem) return createIndex(static_cast<int>(row), 0, nullptr);
    }
    return {};
}

int ResultItemModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0) return 0;
    if (parent.isValid() && !itemForIndex(parent)) return 0;
    return static_cast<int>(_controller->numberOfChildrenOfItem(itemForIndex(parent)));
}

int ResultItemModel::columnCount(const QModelIndex&) const { return 1; }

QVariant ResultItemModel::data(const QModelIndex& index, int role) const {
    const QMValidationItem* item = itemForIndex(index);
    if (!item) return {};
    QMCellDescription cell = _controller->cellForItem(*item);
    switch (role) {
        case Qt::DisplayRole:
        case Qt::ToolTipRole:
            return toQString(cell.text);
        case CellKindRole:
            return static_cast<int>(cell.kind);
        case StatusColorRole:
            if (!cell.image) return {};
            return static_cast<int>(cell.image->color);
        default:
            return {};
    }
}

Qt::ItemFlags ResultItemModel::flags(const QModelIndex& index) const {
    if (!itemForIndex(index)) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

}  // namespace quillmark::viewer
