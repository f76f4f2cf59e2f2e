#pragma once
// Draws the status dot: a white disc of 10 by 10 with a coloured disc of 8 by 8 on it.

#include <QColor>
#include <QIcon>
#include <QPixmap>

#include "quillmark/ui/status_dot.h"

namespace quillmark::viewer {

QColor dotColor(QMDotColor color);
// The dot at the given device pixel ratio (its logical size stays 10 by 10).
QPixmap statusDotPixmap(const QMStatusDotImage& dot, qreal devicePixelRatio);
// An icon that looks the same enabled and disabled: the colour carries the status.
QIcon statusDotIcon(const QMStatusDotImage& dot, qreal devicePixelRatio);

}  // namespace quillmark::viewer
