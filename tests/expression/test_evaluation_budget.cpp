// The evaluation budget: runaway work (a rule-set function that calls itself twice,
// nested XPath 1.0 selections, regular expressions that backtrack without end, many
// slow matches) ends with the evaluator stopped and a clear reason instead of running
// until killed; once stopped, every evaluation yields absent at once. Regular
// expressions that are cut short are an error, never "no match".

#include <chrono>
#include <thread>

#include "expression_test_support.h"
#include "quillmark/log.h"

namespace quillmark::testing {
namespace {

using namespace std::chrono_literals;

constexpr EvaluationLimits kGenerousSteps{.maxSteps = 4'000'000'000, .maxTime = 600s};

class EvaluationBudgetTest : public FunctionTest {
protected:
    void expectStopped(EvaluationStop reason, const std::string& description) {
        EXPECT_TRUE(evaluator.evaluationStopped());
        EXPECT_EQ(evaluator.budget().stop(), reason);
        const Error error = evaluator.stopError();
        EXPECT_EQ(error.domain, kXPath2EvaluatorDomain);
        EXPECT_EQ(error.code, kEvaluationStoppedCode);
        EXPECT_EQ(error.message(), "Evaluation stopped: " + description);
        // Stopped for good: nothing is evaluated any more.
        EXPECT_EQ(typedEval("1 + 1"), "absent");
    }

    // A text that the pattern (a+)+$ needs about 2^n steps to reject.
    static std::string backtrackingText(size_t n) { return "'" + std::string(n, 'a') + "b'"; }
};

TEST_F(EvaluationBudgetTest, WorkWithinTheBudgetIsUnaffected) {
    EXPECT_FALSE(evaluator.evaluationStopped());
    EXPECT_EQ(evaluator.budget().limits().maxSteps, defaultEvaluationLimits().maxSteps);
    EXPECT_EQ(typedEval("sum(cac:Line/cbc:Amount)"), "double 12.5");
    EXPECT_EQ(typedEval("count(cac:Line[boolean(matches(cbc:Amount, '^[0-9.]+$'))])"), "integer 2");
    EXPECT_FALSE(evaluator.evaluationStopped());
    EXPECT_FALSE(evaluator.stopError().isSet());
    EXPECT_GT(evaluator.budget().stepsUsed(), 0u);
}

TEST_F(EvaluationBudgetTest, DoublyRecursiveFunctionStopsAtTheStepLimit) {
    evaluator.setEvaluationLimits({.maxSteps = 100'000, .maxTime = 600s});
    evaluator.registerFunction("f", {"x"}, "f($x) + f($x)", {});
    ScopedLogCapture capture;  // the nesting limit is met on the way
    eval("f(1)");
    expectStopped(EvaluationStop::StepLimit, "the limit of 100000 steps was reached");
    EXPECT_LT(evaluator.budget().stepsUsed(), 101'000u);  // a little more on the way out
}

TEST_F(EvaluationBudgetTest, DoublyRecursiveFunctionStopsAtTheTimeLimit) {
    evaluator.setEvaluationLimits({.maxSteps = kGenerousSteps.maxSteps, .maxTime = 200ms});
    evaluator.registerFunction("f", {"x"}, "f($x) + f($x)", {});
    ScopedLogCapture capture;
    eval("f(1)");
    expectStopped(EvaluationStop::TimeLimit, "the time limit of 0.2 s was reached");
}

std::shared_ptr<xml::Document> wideDocument(int children) {
    std::string text = "<r>";
    for (int i = 0; i < children; ++i) text += "<e/>";
    return xml::Document::parse(text + "</r>", nullptr);
}

TEST_F(EvaluationBudgetTest, NestedSelectionsStopAtTheStepLimit) {
    document = wideDocument(400);
    evaluator.setEvaluationLimits({.maxSteps = 50'000, .maxTime = 600s});
    eval("count(//*[count(//*[count(//*) > 1]) > 1])");
    expectStopped(EvaluationStop::StepLimit, "the limit of 50000 steps was reached");
}

// Inside one XPath 1.0 selection libxml2 counts its operations against what is left of
// the thread's current budget, steps and time.
TEST(XPathOperationLimitTest, SelectionsStopWithTheCurrentBudget) {
    auto document = wideDocument(400);
    const std::string cubic = "//*[count(//*[count(//*) > 1]) > 1]";
    const std::pair<EvaluationLimits, EvaluationStop> cases[] = {
        {{.maxSteps = 100'000, .maxTime = 600s}, EvaluationStop::StepLimit},
        {{.maxSteps = 4'000'000'000, .maxTime = 20ms}, EvaluationStop::TimeLimit},
    };
    for (const auto& [limits, reason] : cases) {
        EvaluationBudget budget(limits);
        EvaluationBudget::Scope scope(budget);
        bool failed = false;
        xml::XPathEngine engine;
        EXPECT_TRUE(engine.select(document->rootElement(), cubic, &failed).empty());
        EXPECT_TRUE(failed);
        EXPECT_EQ(budget.stop(), reason);
    }
    // Without a current budget nothing limits a selection.
    xml::XPathEngine engine;
    EXPECT_EQ(engine.select(document->rootElement(), "//*[count(//*) > 1]").size(), 401u);
}

// A pattern that backtracks past the time allowed for one match is an error for the
// function that runs it, not "no match"; nothing is logged, the error says it all.
TEST_F(EvaluationBudgetTest, RunawayPatternStopsEvaluationInEveryRegexFunction) {
    const std::string text = backtrackingText(48);
    for (const std::string& expression : {"matches(" + text + ", '(a+)+$')", "tokenize(" + text + ", '(a+)+$')",
                                          "replace(" + text + ", '(a+)+$', '')"}) {
        SCOPED_TRACE(expression);
        evaluator.setEvaluationLimits(kGenerousSteps);
        ScopedLogCapture capture;
        eval(expression);
        expectStopped(EvaluationStop::RegexLimit,
                      "the regular expression '(a+)+$' exceeded the time or depth allowed for one match");
        EXPECT_TRUE(capture.lines().empty());
    }
}

// The time allowed for one match grows with the text, so that a long text is scanned to
// its end rather than cut short.
TEST_F(EvaluationBudgetTest, LongTextsAreScannedToTheirEnd) {
    document = xml::Document::parse("<r>" + std::string(4'000'000, 'a') + "</r>", nullptr);
    EXPECT_EQ(typedEval("string-length(replace(., 'a(?=a)', ''))"), "integer 1");
    EXPECT_EQ(typedEval("matches(., '^\\p{L}+$')"), "integer 1");
    EXPECT_FALSE(evaluator.evaluationStopped());
}

// Each match stays within the time allowed for one match, but together they outlast the
// document's time: the matching time is charged to the evaluation budget.
TEST_F(EvaluationBudgetTest, ManySlowMatchesShareTheTimeLimit) {
    std::string items = "<r>";
    for (int i = 0; i < 2000; ++i) items += "<s>" + std::string(16, 'a') + "b</s>";
    document = xml::Document::parse(items + "</r>", nullptr);
    evaluator.setEvaluationLimits({.maxSteps = kGenerousSteps.maxSteps, .maxTime = 300ms});
    eval("count(s[matches(., '(a+)+$')])");
    expectStopped(EvaluationStop::TimeLimit, "the time limit of 0.3 s was reached");
}

// Steps and time are counted across all evaluations of one evaluator.
TEST_F(EvaluationBudgetTest, EvaluationsShareOneBudget) {
    evaluator.setEvaluationLimits({.maxSteps = 2'000, .maxTime = 600s});
    int evaluations = 0;
    while (!evaluator.evaluationStopped() && evaluations < 10'000) {
        eval("count(cac:Line[cbc:Amount > 1])");
        ++evaluations;
    }
    EXPECT_TRUE(evaluator.evaluationStopped());
    EXPECT_GT(evaluations, 10);
    EXPECT_LT(evaluations, 2'000);
}

// The defaults apply to evaluators made after they were set.
TEST(EvaluationLimitsTest, DefaultsApplyToLaterEvaluators) {
    const EvaluationLimits saved = defaultEvaluationLimits();
    setDefaultEvaluationLimits({.maxSteps = 1'234, .maxTime = 5s});
    QMXPath2Evaluator later;
    setDefaultEvaluationLimits(saved);
    EXPECT_EQ(later.budget().limits().maxSteps, 1'234u);
    EXPECT_EQ(later.budget().limits().maxTime, 5s);
    EXPECT_EQ(QMXPath2Evaluator().budget().limits().maxSteps, saved.maxSteps);
}

// Outside every scope the budget's clock stands still: time between evaluations is not
// counted.
TEST(EvaluationBudgetClockTest, CountsTimeOnlyWhileAScopeIsOpen) {
    EvaluationBudget budget({.maxSteps = 1'000'000'000, .maxTime = 50ms});
    {
        EvaluationBudget::Scope scope(budget);
        EXPECT_EQ(EvaluationBudget::current(), &budget);
    }
    EXPECT_EQ(EvaluationBudget::current(), nullptr);
    std::this_thread::sleep_for(80ms);
    EXPECT_TRUE(budget.charge(10'000));
    EXPECT_GT(budget.timeLeft(), 0ms);
    {
        EvaluationBudget::Scope scope(budget);
        std::this_thread::sleep_for(80ms);
        EXPECT_FALSE(budget.charge(10'000));
    }
    EXPECT_EQ(budget.stop(), EvaluationStop::TimeLimit);
    EXPECT_EQ(budget.timeLeft(), 0ms);
}

}  // namespace
}  // namespace quillmark::testing
