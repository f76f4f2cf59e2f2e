#include "quillmark/evaluation_budget.h"

#include <algorithm>
#include <mutex>

#include <fmt/format.h>

namespace quillmark {
namespace {

// Steps between two looks at the clock: a step costs tens of nanoseconds, so the clock
// is read about every tenth of a millisecond.
constexpr uint64_t kStepsBetweenClockChecks = 4096;

std::mutex& defaultsMutex() {
    static std::mutex mutex;
    return mutex;
}

EvaluationLimits& defaults() {
    static EvaluationLimits limits;
    return limits;
}

thread_local EvaluationBudget* currentBudget = nullptr;

std::string secondsText(std::chrono::milliseconds time) {
    return fmt::format("{:g} s", static_cast<double>(time.count()) / 1000.0);
}

}  // namespace

void setDefaultEvaluationLimits(const EvaluationLimits& limits) {
    std::lock_guard lock(defaultsMutex());
    defaults() = limits;
}

EvaluationLimits defaultEvaluationLimits() {
    std::lock_guard lock(defaultsMutex());
    return defaults();
}

EvaluationBudget::EvaluationBudget(const EvaluationLimits& limits) : limits_(limits) {}

void EvaluationBudget::restart(const EvaluationLimits& limits) {
    limits_ = limits;
    used_ = 0;
    nextCheck_ = 0;
    stop_ = EvaluationStop::None;
    stopSubject_.clear();
    spent_ = {};
    if (openScopes_ > 0) running_ = Clock::now();
}

void EvaluationBudget::check() {
    nextCheck_ = std::min(used_ + kStepsBetweenClockChecks, limits_.maxSteps);
    if (stop_ != EvaluationStop::None) return;
    if (used_ >= limits_.maxSteps) {
        stopFor(EvaluationStop::StepLimit);
    } else if (elapsed() >= limits_.maxTime) {
        stopFor(EvaluationStop::TimeLimit);
    }
}

EvaluationBudget::Clock::duration EvaluationBudget::elapsed() const {
    return openScopes_ > 0 ? spent_ + (Clock::now() - running_) : spent_;
}

void EvaluationBudget::stopFor(EvaluationStop reason, const std::string& subject) {
    if (stop_ != EvaluationStop::None || reason == EvaluationStop::None) return;
    stop_ = reason;
    stopSubject_ = subject;
    nextCheck_ = used_;
}

std::string EvaluationBudget::stopDescription() const {
    switch (stop_) {
        case EvaluationStop::None: return "";
        case EvaluationStop::StepLimit:
            return fmt::format("the limit of {} steps was reached", limits_.maxSteps);
        case EvaluationStop::TimeLimit:
            return "the time limit of " + secondsText(limits_.maxTime) + " was reached";
        case EvaluationStop::RegexLimit:
            return "the regular expression '" + stopSubject_ + "' exceeded the time or depth allowed for one match";
    }
    return "";
}

uint64_t EvaluationBudget::stepsLeft() const {
    if (exhausted() || used_ >= limits_.maxSteps) return 0;
    return limits_.maxSteps - used_;
}

std::chrono::milliseconds EvaluationBudget::timeLeft() const {
    if (exhausted()) return std::chrono::milliseconds(0);
    const auto left = limits_.maxTime - std::chrono::duration_cast<std::chrono::milliseconds>(elapsed());
    return std::max(left, std::chrono::milliseconds(0));
}

EvaluationBudget::Scope::Scope(EvaluationBudget& budget)
    : budget_(budget), previous_(currentBudget), startedClock_(budget.openScopes_ == 0) {
    if (startedClock_) budget_.running_ = Clock::now();
    ++budget_.openScopes_;
    currentBudget = &budget_;
}

EvaluationBudget::Scope::~Scope() {
    --budget_.openScopes_;
    if (startedClock_) budget_.spent_ += Clock::now() - budget_.running_;
    currentBudget = previous_;
}

EvaluationBudget* EvaluationBudget::current() { return currentBudget; }

}  // namespace quillmark
