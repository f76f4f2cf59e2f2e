// The status dot: colours, the status table and the result's own dot.

#include <gtest/gtest.h>

#include "quillmark/ui/status_dot.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::makeIssue;
using testing::makeResult;

TEST(StatusDot, IsAWhiteRingAroundAColouredCircleInSystemColours) {
    EXPECT_EQ(QMStatusDotImage::kSize, 10);
    EXPECT_EQ(QMStatusDotImage::kRingRect, (QMRect{0, 0, 10, 10}));
    EXPECT_EQ(QMStatusDotImage::kFillRect, (QMRect{1, 1, 8, 8}));
    EXPECT_EQ(QMStatusDotImage::kRingColor, QMDotColor::White);
    EXPECT_EQ(createStatusDotImage(QMDotColor::Orange).color, QMDotColor::Orange);
    const std::pair<QMDotColor, const char*> colours[] = {{QMDotColor::Red, "#FF3B30"}, {QMDotColor::Orange, "#FF9500"},
                                                          {QMDotColor::Green, "#34C759"}, {QMDotColor::Gray, "#8E8E93"},
                                                          {QMDotColor::White, "#FFFFFF"}};
    for (const auto& [colour, hex] : colours) EXPECT_EQ(dotColorHex(colour), hex);
}

TEST(StatusDot, ColourForEachStatus) {
    const std::pair<int64_t, QMDotColor> table[] = {{0, QMDotColor::Gray},   {1, QMDotColor::Green},
                                                    {2, QMDotColor::Orange}, {3, QMDotColor::Red},
                                                    {4, QMDotColor::White},  {-1, QMDotColor::White},
                                                    {INT64_MAX, QMDotColor::White}};
    for (const auto& [status, colour] : table) EXPECT_EQ(statusIconForStatus(status).color, colour) << status;

    // A result's own dot follows its issues and agrees with the dot drawn from its status.
    QMValidationResult markedInvalid = makeResult({}, {});
    markedInvalid.valid = false;
    const std::pair<QMValidationResult, QMDotColor> results[] = {
        {makeResult({makeIssue("e")}, {makeIssue("w")}), QMDotColor::Red},
        {makeResult({}, {makeIssue("w")}), QMDotColor::Orange},
        {makeResult({}, {}), QMDotColor::Green},
        {markedInvalid, QMDotColor::Green},
    };
    for (const auto& [result, colour] : results) {
        EXPECT_EQ(statusIcon(result).color, colour);
        EXPECT_EQ(statusIconForStatus(result.status()), statusIcon(result));
    }
}

}  // namespace
}  // namespace quillmark
