#include "quillmark/ui/status_dot.h"

#include <fmt/format.h>

namespace quillmark {

uint32_t dotColorRGB(QMDotColor color) {
    switch (color) {
        case QMDotColor::Red:
            return 0xFF3B30;
        case QMDotColor::Orange:
            return 0xFF9500;
        case QMDotColor::Green:
            return 0x34C759;
        case QMDotColor::Gray:
            return 0x8E8E93;
        case QMDotColor::White:
            return 0xFFFFFF;
    }
    return 0xFFFFFF;
}

std::string dotColorHex(QMDotColor color) { return fmt::format("#{:06X}", dotColorRGB(color)); }

QMStatusDotImage createStatusDotImage(QMDotColor color) { return QMStatusDotImage{color}; }

QMStatusDotImage statusIcon(const QMValidationResult& result) {
    if (!result.errors.empty()) return createStatusDotImage(QMDotColor::Red);
    if (!result.warnings.empty()) return createStatusDotImage(QMDotColor::Orange);
    return createStatusDotImage(QMDotColor::Green);
}

QMStatusDotImage statusIconForStatus(int64_t status) {
    static constexpr QMDotColor kColorsByStatus[] = {QMDotColor::Gray, QMDotColor::Green, QMDotColor::Orange,
                                                     QMDotColor::Red};
    // A status outside the table sets no colour: the inner circle keeps the ring's white.
    if (status < 0 || status >= static_cast<int64_t>(std::size(kColorsByStatus)))
        return createStatusDotImage(QMStatusDotImage::kRingColor);
    return createStatusDotImage(kColorsByStatus[status]);
}

}  // namespace quillmark
