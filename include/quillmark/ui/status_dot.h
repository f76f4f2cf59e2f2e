#pragma once
// The status dot: a 10-by-10 image made of a white filled circle in (0, 0, 10, 10) and
// a filled circle in the status colour in (1, 1, 8, 8), that is a coloured dot of
// diameter 8 with a one-point white ring. The library describes the dot; a toolkit
// draws it.

#include <cstdint>
#include <string>

#include "quillmark/schematron_model.h"

namespace quillmark {

enum class QMDotColor { Red, Orange, Green, Gray, White };

// 0xRRGGBB of a dot colour (red FF3B30, orange FF9500, green 34C759, grey 8E8E93, white).
uint32_t dotColorRGB(QMDotColor color);
// "#RRGGBB".
std::string dotColorHex(QMDotColor color);

struct QMRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const QMRect&, const QMRect&) = default;
};

struct QMStatusDotImage {
    static constexpr double kSize = 10;
    static constexpr QMRect kRingRect{0, 0, 10, 10};
    static constexpr QMRect kFillRect{1, 1, 8, 8};
    static constexpr QMDotColor kRingColor = QMDotColor::White;

    QMDotColor color = QMDotColor::White;  // the inner circle
    friend bool operator==(const QMStatusDotImage&, const QMStatusDotImage&) = default;
};

// A dot in the given colour.
QMStatusDotImage createStatusDotImage(QMDotColor color);
// Red with at least one error, else orange with at least one warning, else green.
QMStatusDotImage statusIcon(const QMValidationResult& result);
// Grey for 0, green 1, orange 2, red 3; any other value leaves the inner circle in the
// ring's white.
QMStatusDotImage statusIconForStatus(int64_t status);

}  // namespace quillmark
