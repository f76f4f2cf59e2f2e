#pragma once
// Draws the outline's cells as the result window describes them: message cells with
// the status dot and a one-line medium-weight title, detail cells with wrapped
// secondary text; row heights come from the controller's rule.

#include <QStyledItemDelegate>

#include "result_item_model.h"

class QTreeView;

namespace quillmark::viewer {

QFont messageCellFont();
QFont detailCellFont();
// Height of `text` wrapped (at word boundaries, else anywhere) into `width` pixels.
double wrappedTextHeight(const QFont& font, const QString& text, double width);

class ResultCellDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    ResultCellDelegate(ResultItemModel* model, QTreeView* view);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    void paintMessage(QPainter* painter, const QStyleOptionViewItem& option, const QMCellDescription& cell) const;
    void paintDetail(QPainter* painter, const QStyleOptionViewItem& option, const QMCellDescription& cell) const;

    ResultItemModel* _model;
    QTreeView* _view;
};

}  // namespace quillmark::viewer
