#include "status_dot_pixmap.h"

#include <QPainter>

namespace quillmark::viewer {

namespace {

QRectF toQRectF(const QMRect& rect) { return QRectF(rect.x, rect.y, rect.width, rect.height); }

}  // namespace

QColor dotColor(QMDotColor color) { return QColor::fromRgb(dotColorRGB(color)); }

QPixmap statusDotPixmap(const QMStatusDotImage& dot, qreal devicePixelRatio) {
    const int side = qCeil(QMStatusDotImage::kSize * devicePixelRatio);
    QPixmap pixmap(side, side);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);

    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(dotColor(QMStatusDotImage::kRingColor));
    painter.drawEllipse(toQRectF(QMStatusDotImage::kRingRect));
    painter.setBrush(dotColor(dot.color));
    painter.drawEllipse(toQRectF(QMStatusDotImage::kFillRect));
    return pixmap;
}

QIcon statusDotIcon(const QMStatusDotImage& dot, qreal devicePixelRatio) {
    QPixmap pixmap = statusDotPixmap(dot, devicePixelRatio);
    QIcon icon;
    icon.addPixmap(pixmap, QIcon::Normal);
    icon.addPixmap(pixmap, QIcon::Disabled);
    return icon;
}

}  // namespace quillmark::viewer
