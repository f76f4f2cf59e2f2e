// Explanations of failed asserts and fired reports: which parts of the test get a line,
// how their text is taken from the test as written, how values are shown, and that
// re-evaluating never fails the run and stays within the evaluation budget.

#include <gtest/gtest.h>

#include "standard/explanation.h"
#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::isoRuleSet;
using Lines = std::vector<std::string>;

constexpr const char* kDocument = R"~(<invoice currency="EUR">
  <total>200</total>
  <due>2024-05-02</due>
  <note>  A remark that is much longer than forty characters,
          written over two lines.  </note>
  <line><amount>100</amount><code>A</code></line>
  <line><amount>100.01</amount><code>C</code></line>
  <item>1</item><item>2</item><item>3</item><item>4</item><item>5</item>
</invoice>)~";

struct ExplanationCase {
    std::string name;
    std::string assertion;  // an assert or report element on the rule for <invoice>
    Lines expected;         // "EXPRESSION = VALUE"
    std::string lets = "";  // let elements of the rule
};

void PrintTo(const ExplanationCase& c, std::ostream* out) { *out << c.name; }

std::shared_ptr<const CompiledRuleSet> ruleSetFor(const ExplanationCase& c) {
    return testing::compileRuleSet(isoRuleSet(R"~(<ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>
        <let name="tolerance" value="0.01"/>
        <pattern id="p"><rule context="invoice">)~" + c.lets + c.assertion + "</rule></pattern>"));
}

// The explanation lines of the one issue that running the case gives.
Lines explanationOf(const CompiledRuleSet& rules, const std::string& document, const RunOptions& options) {
    const auto parsed = testing::parseXML(document);
    const std::vector<QMValidationError> issues = testing::allIssues(rules.validate(*parsed, options));
    if (issues.size() != 1) return {"expected one issue, got " + std::to_string(issues.size())};
    Lines lines;
    for (const QMExplanationLine& line : issues.front().explanation) lines.push_back(line.expression + " = " + line.value);
    return lines;
}

class ExplanationTest : public ::testing::TestWithParam<ExplanationCase> {};

TEST_P(ExplanationTest, ShowsTheValuesThatDecidedTheTest) {
    const ExplanationCase& c = GetParam();
    RunOptions options;
    options.explain = true;
    EXPECT_EQ(explanationOf(*ruleSetFor(c), kDocument, options), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, ExplanationTest,
    ::testing::Values(
        ExplanationCase{"BothSidesOfAComparisonAndTheArgumentsOfTheirCalls",
                        R"~(<assert test="sum(line/amount) = total">x</assert>)~",
                        {"sum(line/amount) = 200.01", R"~(line/amount = "100" (amount), "100.01" (amount))~",
                         R"~(total = "200" (total))~"}},
        ExplanationCase{"OnlyTheFalseBranchesOfAFailedAnd",
                        R"~(<assert test="exists(total) and count(line) = 3 and @currency = 'EUR'">x</assert>)~",
                        {"count(line) = 2", R"~(line = "100A" (line), "100.01C" (line))~"}},
        ExplanationCase{"EveryBranchOfAFailedOr",
                        R"~(<assert test="empty(line) or (total > 1000)">x</assert>)~",
                        {R"~(line = "100A" (line), "100.01C" (line))~", R"~(total = "200" (total))~"}},
        ExplanationCase{"TheOperandOfNot", R"~(<assert test="not(due)">x</assert>)~",
                        {R"~(due = "2024-05-02" (due))~"}},
        ExplanationCase{"EveryNamesTheFirstBindingThatFails",
                        R"~(<assert test="every $code in line/code satisfies $code = ('A', 'B')">x</assert>)~",
                        {R"~($code = "C" (code))~"}},
        ExplanationCase{"SomeThatFailsShowsTheRangeAndItsFirstBinding",
                        R"~(<assert test="some $a in line/amount satisfies $a > 500">x</assert>)~",
                        {R"~(line/amount = "100" (amount), "100.01" (amount))~", R"~($a = "100" (amount))~"}},
        ExplanationCase{"RuleAndGlobalLetsTheTestReads",
                        R"~(<assert test="abs(total - $expected) &lt;= $tolerance">x</assert>)~",
                        {"abs(total - $expected) = 50", "total - $expected = 50", R"~(total = "200" (total))~",
                         "$expected = 150", "$tolerance = 0.01"},
                        R"~(<let name="expected" value="150"/>)~"},
        ExplanationCase{"ALetReadOnlyInAPredicate",
                        R"~(<assert test="count(line[amount > $limit]) = 0">x</assert>)~",
                        {"count(line[amount > $limit]) = 1", R"~(line[amount > $limit] = "100.01C" (line))~",
                         "$limit = 100.005"},
                        R"~(<let name="limit" value="100.005"/>)~"},
        ExplanationCase{"AnEmptyOperandOfAValueComparison", R"~(<assert test="missing eq 'x'">x</assert>)~",
                        {"missing = ()"}},
        ExplanationCase{"AFiredReportShowsWhatMadeItTrue",
                        R"~(<report test="not(terms) and not(@terms)">x</report>)~",
                        {"terms = ()", "@terms = ()"}},
        ExplanationCase{"AFiredReportWithOrShowsItsTrueBranches",
                        R"~(<report test="exists(terms) or count(item) > 4">x</report>)~",
                        {"count(item) = 5", R"~(item = "1" (item), "2" (item), "3" (item), … (5 items))~"}},
        ExplanationCase{"TheBranchAnIfTook",
                        R"~(<assert test="if (line) then count(line) = 3 else true()">x</assert>)~",
                        {R"~(line = "100A" (line), "100.01C" (line))~", "count(line) = 2"}},
        ExplanationCase{"ArithmeticAndCanonicalNumbers",
                        R"~(<assert test="total * total * total = xs:decimal(total) div 8">x</assert>)~",
                        {"total * total * total = 8.0E6", "total * total = 40000", R"~(total = "200" (total))~",
                         "xs:decimal(total) div 8 = 25"}},
        ExplanationCase{"InnerCastsAndScalingsPassTheirLineOn",
                        R"~(<assert test="round(xs:decimal(total) div 3 * 100) div 100 = 1">x</assert>)~",
                        {"round(xs:decimal(total) div 3 * 100) div 100 = 66.67",
                         "round(xs:decimal(total) div 3 * 100) = 6667", R"~(total = "200" (total))~"}},
        ExplanationCase{"InnerComputationsOfAnEmptyOperandPassTheirLineOn",
                        R"~(<assert test="round((xs:decimal(missing) + 1) * 100) div 100 = xs:decimal(total)">x</assert>)~",
                        {"round((xs:decimal(missing) + 1) * 100) div 100 = ()", "missing = ()",
                         "xs:decimal(total) = 200", R"~(total = "200" (total))~"}},
        ExplanationCase{"StringsDatesAttributesAndLongValues",
                        R"~(<assert test="concat(@currency, note) = '' or xs:date(due) lt xs:date('2000-01-01')">x</assert>)~",
                        {R"~(concat(@currency, note) = "EUR  A remark that is much longer than f…")~",
                         R"~(@currency = "EUR" (@currency))~",
                         R"~(note = "A remark that is much longer than forty …" (note))~", "xs:date(due) = 2024-05-02",
                         R"~(due = "2024-05-02" (due))~"}},
        ExplanationCase{"AFunctionOfTheContextItem", R"~(<assert test="string-length() = 0">x</assert>)~",
                        {"string-length() = 137", R"~(. = "200 2024-05-02 A remark that is much lon…" (invoice))~"}},
        ExplanationCase{"MultiLineTestsAreShownOnOneLine",
                        "<assert test=\"count(\n    item\n  ) = 0\">x</assert>",
                        {"count( item ) = 5", R"~(item = "1" (item), "2" (item), "3" (item), … (5 items))~"}},
        ExplanationCase{"OperandsOfOperandsUpToThreeLevels",
                        R"~(<assert test="string(string(string(string(string(total))))) = 'x'">x</assert>)~",
                        {R"~(string(string(string(string(string(total))))) = "200")~",
                         R"~(string(string(string(string(total)))) = "200")~", R"~(string(string(string(total))) = "200")~",
                         R"~(string(string(total)) = "200")~"}},
        ExplanationCase{"LongTextsKeepTheirStartAndEnd",
                        R"~(<assert test="sum((total, total, total, total, total, total, total, total, total, total, total, total)) div 100 = 1">x</assert>)~",
                        {"sum((total, total, total, total…tal, total, total, total, total, total)) div 100 = 24",
                         "sum((total, total, total, total…otal, total, total, total, total, total, total)) = 2400",
                         R"~((total, total, total, total, to…total, total, total, total, total, total, total) = "200" (total), "200" (total), "200" (total), … (12 items))~"}},
        ExplanationCase{"TwelveLinesAtMost",
                        R"~(<assert test="a1 and a2 and a3 and a4 and a5 and a6 and a7 and a8 and a9 and a10 and a11
                           and a12 and a13">x</assert>)~",
                        {"a1 = ()", "a2 = ()", "a3 = ()", "a4 = ()", "a5 = ()", "a6 = ()", "a7 = ()", "a8 = ()",
                         "a9 = ()", "a10 = ()", "a11 = ()", "a12 = ()"}},
        ExplanationCase{"TheFalseBranchAtTheStartOfALongAnd",
                        "<assert test=\"missing" + [] {
                            std::string rest;
                            for (int index = 0; index < 60; ++index) rest += " and true()";
                            return rest;
                        }() + "\">x</assert>",
                        {"missing = ()"}},
        ExplanationCase{"AnErrorInAPartTheTestDidNotEvaluateIsItsValue",
                        R"~(<assert test="count(line) = 5 and xs:integer('x') = 1">x</assert>)~",
                        {"count(line) = 2", R"~(line = "100A" (line), "100.01C" (line))~",
                         "xs:integer('x') = 1 = FORG0001: cannot cast xs:string \"x\" to xs:integer: not a valid lexical form"}}),
    [](const ::testing::TestParamInfo<ExplanationCase>& info) { return info.param.name; });

TEST(Explanation, IsMadeOnlyWhenAsked) {
    const auto rules = ruleSetFor({"", R"~(<assert test="count(line) = 3">x</assert>)~", {}});
    EXPECT_EQ(explanationOf(*rules, kDocument, RunOptions{}), Lines{});
}

TEST(Explanation, DisplaysValuesByKind) {
    using xpath::AtomicValue;
    using xpath::Item;
    const ExplanationLimits limits;
    EXPECT_EQ(displayValue({}, limits), "()");
    EXPECT_EQ(displayValue({Item(AtomicValue::fromString("a \"b\"\nc"))}, limits), R"~("a \"b\"\nc")~");
    EXPECT_EQ(displayValue({Item(AtomicValue::fromBoolean(true)), Item(AtomicValue::fromInteger(-3))}, limits),
              "true, -3");
    EXPECT_EQ(displayValue({Item(AtomicValue::fromDouble(0.5)), Item(AtomicValue::untypedAtomic("x")),
                            Item(AtomicValue::fromDouble(1e20)), Item(AtomicValue::fromInteger(4))},
                           limits),
              R"~(0.5, "x", 1.0E20, … (4 items))~");
    // Cut after forty characters, never inside a character.
    EXPECT_EQ(displayValue({Item(AtomicValue::fromString(std::string(39, 'a') + "äöü"))}, limits),
              "\"" + std::string(39, 'a') + "ä…\"");
}

// The explanation evaluates again in the run's context and its budget: once spent, the
// rest of the explanation is the budget's error, and the run goes on with its issue.
TEST(Explanation, StaysWithinTheEvaluationBudget) {
    std::string document = "<invoice>";
    for (int index = 0; index < 3000; ++index) document += "<item/>";
    document += "</invoice>";
    const auto rules = ruleSetFor({"", R"~(<assert test="count(item) = 0">x</assert>)~", {}});
    RunOptions options;
    options.explain = true;
    options.limits.maxSteps = 5000;  // the test fits, the test and its explanation do not
    EXPECT_EQ(explanationOf(*rules, document, options),
              (Lines{"count(item) = 3000", "item = QMXP0001: the evaluation exceeded its budget of 5000 steps"}));
}

// Every issue names its rule set and, lacking an id, its rule by the rule's context.
TEST(Explanation, IssuesNameTheirRuleSetAndRule) {
    const auto untitled = ruleSetFor({"", R"~(<assert test="false()">x</assert>)~", {}});
    const auto parsed = testing::parseXML(kDocument);
    const QMValidationError issue = untitled->validate(*parsed).errors.at(0);
    EXPECT_EQ(issue.rule, "invoice");
    EXPECT_EQ(issue.ruleSet, "rule set");  // what a rule set read from text is called
    const auto titled = testing::compileRuleSet(isoRuleSet(
        "<title>Checks</title><pattern><rule context=\"invoice\" id=\"r1\"><assert test=\"false()\">x</assert></rule>"
        "</pattern>"));
    const QMValidationError titledIssue = titled->validate(*parsed).errors.at(0);
    EXPECT_EQ(titledIssue.rule, "r1");
    EXPECT_EQ(titledIssue.ruleSet, "Checks");
}

}  // namespace
}  // namespace quillmark::standard
