#pragma once
// The outline of a result window as a Qt item model: one column, top-level rows for
// issues (or schemas) and detail rows below them. The rows live in the result window
// controller; the model only points at them, so a change of result must be wrapped
// in beginResultChange() and endResultChange().

#include <QAbstractItemModel>

#include "quillmark/ui/result_window_controller.h"

namespace quillmark::viewer {

class ResultItemModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role { CellKindRole = Qt::UserRole + 1, StatusColorRole };

    explicit ResultItemModel(QMValidationResultWindowController* controller, QObject* parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // The row an index stands for; null for the root and for stale indexes.
    const QMValidationItem* itemForIndex(const QModelIndex& index) const;
    QMValidationResultWindowController* controller() const { return _controller; }

    void beginResultChange() { beginResetModel(); }
    void endResultChange() { endResetModel(); }

private:
    QMValidationResultWindowController* _controller;
};

}  // namespace quillmark::viewer
