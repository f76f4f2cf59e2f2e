#pragma once
// Bounds on the work one evaluation may do, so that hostile expressions, rule sets and
// documents end with an error instead of running until killed. The defaults are far
// above what real invoices and rule sets need.

#include <chrono>
#include <cstdint>

namespace quillmark::xpath {

struct EvaluationLimits {
    uint64_t maxSteps = 2'000'000'000;             // items visited, calls made, loop rounds
    std::chrono::milliseconds maxTime{60'000};     // wall time of one document's evaluation
    int maxCallDepth = 512;                        // nested calls of rule-set functions
};

// The work still allowed: charged in the evaluator's loops; raises QMXP0001 when spent.
class EvaluationBudget {
public:
    explicit EvaluationBudget(const EvaluationLimits& limits = {});

    // Counts `steps` units of work; looks at the clock every few thousand units.
    void charge(uint64_t steps = 1) {
        used_ += steps;
        if (used_ >= nextCheck_) check();
    }
    // True when the budget is spent (for callbacks that must not throw, such as ICU's).
    bool exhausted();
    uint64_t stepsUsed() const { return used_; }
    const EvaluationLimits& limits() const { return limits_; }

private:
    void check();

    EvaluationLimits limits_;
    uint64_t used_ = 0;
    uint64_t nextCheck_ = 0;
    std::chrono::steady_clock::time_point deadline_;
};

}  // namespace quillmark::xpath
