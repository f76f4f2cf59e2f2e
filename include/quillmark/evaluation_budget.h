#pragma once
// Bounds on the work of evaluating a rule set's expressions for one document, so that a
// hostile or broken rule set or document ends with a clear error instead of running
// until it is killed. Two limits: a number of steps (function calls, path selections and
// the items they yield, predicate and loop rounds, XPath 1.0 operations, regular
// expression matching) and the wall time spent evaluating. The defaults are far above
// what real invoices need.
//
// A budget is spent, never refilled: once a limit is reached it stays exhausted, every
// later charge fails at once, and stopDescription() says why.

#include <chrono>
#include <cstdint>
#include <string>

namespace quillmark {

struct EvaluationLimits {
    uint64_t maxSteps = 4'000'000'000;
    std::chrono::milliseconds maxTime{60'000};
};

// The limits that budgets made without explicit limits start from (evaluators, and so
// validation runs, take them when they are created). Changing them affects every later
// budget, on every thread.
void setDefaultEvaluationLimits(const EvaluationLimits& limits);
EvaluationLimits defaultEvaluationLimits();

// Why an evaluation was stopped.
enum class EvaluationStop {
    None,
    StepLimit,   // the steps were used up
    TimeLimit,   // the wall time was used up
    RegexLimit,  // one regular-expression match ran too long or too deep
};

class EvaluationBudget {
public:
    explicit EvaluationBudget(const EvaluationLimits& limits = defaultEvaluationLimits());
    EvaluationBudget(const EvaluationBudget&) = delete;
    EvaluationBudget& operator=(const EvaluationBudget&) = delete;

    // Starts afresh with these limits: no steps used, no time spent, not stopped.
    void restart(const EvaluationLimits& limits);

    // Counts `steps` units of work; false once the budget is exhausted. Looks at the
    // clock every few thousand steps, so calling it in hot loops is cheap.
    bool charge(uint64_t steps = 1) {
        used_ += steps;
        if (used_ >= nextCheck_) check();
        return stop_ == EvaluationStop::None;
    }
    bool exhausted() const { return stop_ != EvaluationStop::None; }
    EvaluationStop stop() const { return stop_; }
    // Stops the budget for `reason` (the first reason is kept); `subject` names what ran
    // out (a regular expression's pattern), it may be empty.
    void stopFor(EvaluationStop reason, const std::string& subject = {});
    // What ran out, for people ("the time limit of 60 s was reached"); "" while the
    // budget lasts.
    std::string stopDescription() const;

    uint64_t stepsUsed() const { return used_; }
    // Steps left before the step limit, time left before the time limit (0 once
    // exhausted).
    uint64_t stepsLeft() const;
    std::chrono::milliseconds timeLeft() const;
    const EvaluationLimits& limits() const { return limits_; }

    // While a Scope lives, the budget's clock runs (time outside scopes is not counted)
    // and the budget is the calling thread's current one: work done below the
    // evaluator on that thread (regular expressions, XPath 1.0 selections) is charged
    // to it. Scopes nest; the innermost one's budget is current.
    class Scope {
    public:
        explicit Scope(EvaluationBudget& budget);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        EvaluationBudget& budget_;
        EvaluationBudget* previous_;
        bool startedClock_;
    };
    // The budget of the innermost live Scope on this thread; null outside every scope.
    static EvaluationBudget* current();

private:
    using Clock = std::chrono::steady_clock;
    void check();
    Clock::duration elapsed() const;

    EvaluationLimits limits_;
    uint64_t used_ = 0;
    uint64_t nextCheck_ = 0;
    EvaluationStop stop_ = EvaluationStop::None;
    std::string stopSubject_;
    Clock::duration spent_{};    // time of finished scopes
    Clock::time_point running_;  // start of the running clock
    int openScopes_ = 0;
};

}  // namespace quillmark
