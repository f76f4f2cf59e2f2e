#include <gtest/gtest.h>

#include "quillmark/error.h"
#include "quillmark/log.h"

namespace quillmark {
namespace {

TEST(Log, CaptureCollectsLinesInOrderAndRestoresPreviousSink) {
    std::vector<std::string> outer;
    LogSink previous = setLogSink([&](const std::string& line) { outer.push_back(line); });
    {
        ScopedLogCapture capture;
        log("one");
        log("two");
        EXPECT_EQ(capture.lines(), (std::vector<std::string>{"one", "two"}));
    }
    log("three");
    setLogSink(std::move(previous));
    EXPECT_EQ(outer, (std::vector<std::string>{"three"}));
}

TEST(ErrorSlot, SetOnlyWhenGivenAndClearable) {
    setError(nullptr, "D", 1, "ignored");  // no slot: nothing happens
    Error slot;
    EXPECT_FALSE(slot.isSet());
    setError(&slot, kXPath2EvaluatorDomain, 1, "Failed to parse XPath expression");
    ASSERT_TRUE(slot.isSet());
    EXPECT_EQ(slot.domain, "XPath2Evaluator");
    EXPECT_EQ(slot.message(), "Failed to parse XPath expression");
    slot.clear();
    EXPECT_FALSE(slot);
    setError(&slot, "D", 7, "");
    EXPECT_EQ(slot.message(), "D error 7");
}

}  // namespace
}  // namespace quillmark
