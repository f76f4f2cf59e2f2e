#include "screenshot.h"

#include <QApplication>
#include <QMenuBar>
#include <QPainter>
#include <QPainterPath>

#include "document_window.h"
#include "result_sheet.h"

namespace quillmark::viewer {

namespace {

constexpr int kTitleBarHeight = 30;
constexpr int kShadow = 14;

// Windows rendered offscreen have no decorations; draw a plain title bar.
void paintTitleBar(QPainter& painter, const QRect& rect, const QString& title, const QPalette& palette) {
    painter.fillRect(rect, palette.color(QPalette::Window).darker(112));
    painter.setPen(palette.color(QPalette::Mid));
    painter.drawLine(rect.bottomLeft(), rect.bottomRight());
    QFont font = QApplication::font();
    font.setPixelSize(13);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(palette.color(QPalette::WindowText));
    painter.drawText(rect, Qt::AlignCenter, title);
}

void paintShadow(QPainter& painter, const QRect& around) {
    painter.setPen(Qt::NoPen);
    // Stacked translucent layers: darkest next to the sheet, fading outwards.
    for (int i = kShadow; i > 0; --i) {
        painter.setBrush(QColor(0, 0, 0, 2 + (kShadow - i) / 4));
        painter.drawRoundedRect(QRectF(around).adjusted(-i, -i / 4.0, i, i + 3), i, i);
    }
}

}  // namespace

QImage renderDocumentWindow(DocumentWindow& window) {
    QApplication::processEvents();
    const QPixmap content = window.grab();
    const qreal ratio = content.devicePixelRatio();
    const QSize windowSize = content.deviceIndependentSize().toSize();

    ResultSheet* sheet = window.resultSheet();
    const bool sheetShown = sheet && sheet->isVisible();
    QPixmap sheetPixmap = sheetShown ? sheet->grab() : QPixmap();
    const QSize sheetSize = sheetShown ? sheetPixmap.deviceIndependentSize().toSize() : QSize();

    const int sheetTop = kTitleBarHeight + window.menuBar()->height();
    const int width = std::max(windowSize.width(), sheetSize.width() + 2 * kShadow);
    const int height = std::max(kTitleBarHeight + windowSize.height(), sheetTop + sheetSize.height() + kShadow);
    QImage image(QSize(width, height) * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(window.palette().color(QPalette::Window));

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    paintTitleBar(painter, QRect(0, 0, width, kTitleBarHeight), window.windowTitle(), window.palette());
    painter.drawPixmap(QPoint(0, kTitleBarHeight), content);
    if (sheetShown) {
        // The document dims behind the sheet, which hangs from the top of the window.
        painter.fillRect(QRect(0, sheetTop, width, height - sheetTop), QColor(0, 0, 0, 28));
        const QRect sheetRect(QPoint((width - sheetSize.width()) / 2, sheetTop), sheetSize);
        paintShadow(painter, sheetRect);
        painter.drawPixmap(sheetRect.topLeft(), sheetPixmap);
        painter.setPen(window.palette().color(QPalette::Mid));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(sheetRect.adjusted(0, 0, -1, -1));
    }
    return image;
}

}  // namespace quillmark::viewer
