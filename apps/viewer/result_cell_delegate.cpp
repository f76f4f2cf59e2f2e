#include "result_cell_delegate.h"

#include <QApplication>
#include <QPainter>
#include <QTextLayout>
#include <QTreeView>

#include "status_dot_pixmap.h"
#include "viewer_strings.h"

namespace quillmark::viewer {

namespace {

// Cell geometry in points (device-independent pixels).
constexpr int kImageLeading = 6;
constexpr int kImageSize = 10;
constexpr int kTextAfterImage = 8;
constexpr int kTextTrailing = 2;
constexpr int kTextTop = 4;
constexpr int kDetailInset = 2;

QTextOption wrappingOption() {
    QTextOption option(Qt::AlignLeft | Qt::AlignTop);
    // Location paths have no blanks; break them anywhere rather than overflow.
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

QColor textColor(const QStyleOptionViewItem& option, QMCellDescription::TextColor color) {
    const bool selected = option.state & QStyle::State_Selected;
    const QPalette::ColorGroup group = option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
    if (selected) return option.palette.color(group, QPalette::HighlightedText);
    QColor text = option.palette.color(group, QPalette::Text);
    switch (color) {
        case QMCellDescription::TextColor::Label:
            return text;
        case QMCellDescription::TextColor::SecondaryLabel:
            text.setAlphaF(0.62f);
            return text;
    }
    return text;
}

}  // namespace

QFont messageCellFont() {
    QFont font = QApplication::font();
    font.setPixelSize(13);
    font.setWeight(QFont::Medium);
    return font;
}

QFont detailCellFont() {
    QFont font = QApplication::font();
    font.setPixelSize(11);
    font.setWeight(QFont::Normal);
    return font;
}

double wrappedTextHeight(const QFont& font, const QString& text, double width) {
    QTextLayout layout(text, font);
    layout.setTextOption(wrappingOption());
    layout.beginLayout();
    double height = 0;
    const double lineWidth = std::max(1.0, width);
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(lineWidth);
        height += line.height();
    }
    layout.endLayout();
    return height;
}

ResultCellDelegate::ResultCellDelegate(ResultItemModel* model, QTreeView* view)
    : QStyledItemDelegate(view), _model(model), _view(view) {}

void ResultCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const QMValidationItem* item = _model->itemForIndex(index);
    if (!item) return;
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &background, painter, widget);

    QMCellDescription cell = _model->controller()->cellForItem(*item);
    painter->save();
    switch (cell.kind) {
        case QMCellDescription::Kind::Message:
            paintMessage(painter, option, cell);
            break;
        case QMCellDescription::Kind::Detail:
            paintDetail(painter, option, cell);
            break;
    }
    painter->restore();
}

void ResultCellDelegate::paintMessage(QPainter* painter, const QStyleOptionViewItem& option,
                                      const QMCellDescription& cell) const {
    const QRect rect = option.rect;
    const QRect imageRect(rect.left() + kImageLeading, rect.center().y() - kImageSize / 2 + 1, kImageSize,
                          kImageSize);
    if (cell.image) painter->drawPixmap(imageRect, statusDotPixmap(*cell.image, painter->device()->devicePixelRatioF()));

    QRect textRect = rect;
    textRect.setLeft(imageRect.right() + 1 + kTextAfterImage);
    textRect.setRight(rect.right() - kTextTrailing);
    textRect.setTop(rect.top() + kTextTop);
    const QFont font = messageCellFont();
    painter->setFont(font);
    painter->setPen(textColor(option, cell.color));
    const QString text = QFontMetrics(font).elidedText(toQString(cell.text), Qt::ElideRight, textRect.width());
    painter->drawText(textRect, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, text);
}

void ResultCellDelegate::paintDetail(QPainter* painter, const QStyleOptionViewItem& option,
                                     const QMCellDescription& cell) const {
    const QRectF textRect = QRectF(option.rect).adjusted(kDetailInset, kDetailInset, -kDetailInset, -kDetailInset);
    painter->setFont(detailCellFont());
    painter->setPen(textColor(option, cell.color));
    painter->drawText(textRect, toQString(cell.text), wrappingOption());
}

QSize ResultCellDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QMValidationItem* item = _model->itemForIndex(index);
    if (!item) return QStyledItemDelegate::sizeHint(option, index);
    const std::optional<double> outlineWidth =
        _view ? std::optional<double>(_view->viewport()->width()) : std::nullopt;
    auto measure = [](const std::string& text, double width, double fontSize) {
        QFont font = detailCellFont();
        font.setPixelSize(static_cast<int>(fontSize));
        return wrappedTextHeight(font, toQString(text), width);
    };
    const double height = _model->controller()->heightOfRowByItem(*item, outlineWidth, measure);
    return QSize(option.rect.width(), static_cast<int>(std::ceil(height)));
}

}  // namespace quillmark::viewer
