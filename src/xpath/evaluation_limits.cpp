#include "xpath/evaluation_limits.h"

#include <string>

#include "xpath/error.h"

namespace quillmark::xpath {
namespace {
constexpr uint64_t kClockInterval = 4096;
}

EvaluationBudget::EvaluationBudget(const EvaluationLimits& limits)
    : limits_(limits), nextCheck_(kClockInterval), deadline_(std::chrono::steady_clock::now() + limits.maxTime) {}

bool EvaluationBudget::exhausted() {
    return used_ >= limits_.maxSteps || std::chrono::steady_clock::now() >= deadline_;
}

void EvaluationBudget::check() {
    nextCheck_ = used_ + kClockInterval;
    if (used_ >= limits_.maxSteps) {
        throw XPathError(ErrorCode::QMXP0001,
                         "the evaluation exceeded its budget of " + std::to_string(limits_.maxSteps) + " steps");
    }
    if (std::chrono::steady_clock::now() >= deadline_) {
        throw XPathError(ErrorCode::QMXP0001, "the evaluation exceeded its time limit of " +
                                                  std::to_string(limits_.maxTime.count() / 1000.0).substr(0, 6) +
                                                  " s");
    }
}

}  // namespace quillmark::xpath
