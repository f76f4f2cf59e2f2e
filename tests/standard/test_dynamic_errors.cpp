// Dynamic errors never give a false verdict: an error in a test, a let or a message
// makes that assertion an error issue and the run goes on; an error while matching a
// rule context is no match, logged once; a spent evaluation budget ends the run with
// an error.

#include <gtest/gtest.h>

#include "quillmark/log.h"
#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::firings;
using testing::isoRuleSet;
using testing::runOn;

constexpr const char* kDeclarations = R"~(<ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>)~";
constexpr const char* kDocument = R"~(<list><item amount="5"/><item amount=""/><item amount="-1"/></list>)~";

std::shared_ptr<const CompiledRuleSet> compile(const std::string& patterns) {
    return testing::compileRuleSet(isoRuleSet(kDeclarations + patterns));
}

TEST(StandardDynamicErrors, AnErrorInATestIsAnErrorOfThatAssertionOnly) {
    const auto rules = compile(R"~(
      <pattern id="amounts"><rule context="item" id="items">
        <report id="before" test="true()" flag="information">before</report>
        <assert id="positive" test="xs:decimal(@amount) gt 0" flag="warning">not positive</assert>
        <report id="after" test="true()" role="info">after</report>
      </rule></pattern>)~");
    const QMValidationResult result = runOn(*rules, kDocument);
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.status(), 3);
    ASSERT_EQ(result.errors.size(), 1u);
    const QMValidationError& issue = result.errors[0];
    EXPECT_EQ(issue.type, kDynamicErrorType);
    EXPECT_EQ(issue.severity(), "Error");  // although the assertion is a warning
    EXPECT_EQ(issue.pattern, "amounts");
    EXPECT_EQ(issue.rule, "items");
    EXPECT_EQ(issue.assertionId, "positive");
    EXPECT_EQ(issue.test, "xs:decimal(@amount) gt 0");
    EXPECT_EQ(issue.location, "/list[1]/item[2]");
    EXPECT_EQ(issue.line, 1);
    EXPECT_NE(issue.message.find("FORG0001"), std::string::npos) << issue.message;
    EXPECT_NE(issue.message.find("xs:decimal(@amount) gt 0"), std::string::npos) << issue.message;
    // Every other assertion ran, on every node.
    EXPECT_EQ(testing::issueLines(result.warnings, [](const QMValidationError& i) { return i.assertionId; }),
              (std::vector<std::string>{"before", "after", "before", "after", "before", "positive", "after"}));
}

TEST(StandardDynamicErrors, AnErrorInAMessageIsAnErrorOfThatAssertion) {
    const auto rules = compile(R"~(
      <pattern><rule context="item">
        <report id="shows" test="true()">amount <value-of select="xs:decimal(@amount)"/></report>
        <report id="named" test="@amount = ''" diagnostics="bad">empty</report>
      </rule></pattern>
      <diagnostics><diagnostic id="bad"><value-of select="1 div xs:integer(@amount)"/></diagnostic></diagnostics>)~");
    const QMValidationResult result = runOn(*rules, kDocument);
    EXPECT_EQ(testing::issueLines(result.errors,
                                  [](const QMValidationError& i) { return i.assertionId + " " + i.location; }),
              (std::vector<std::string>{"shows /list[1]/item[2]", "named /list[1]/item[2]"}));
    EXPECT_EQ(testing::issueLines(result.warnings, [](const QMValidationError& i) { return i.message; }),
              (std::vector<std::string>{"amount 5", "amount -1"}));
}

// Two rules competing for the items: the first one's context fails on some of them.
std::string competingRules(const std::string& firstContext) {
    return R"~(
      <pattern>
        <rule context=")~" + firstContext + R"~(" id="positive-items">
          <report id="positive" test="true()">positive</report>
        </rule>
        <rule context="item" id="other-items">
          <report id="other" test="true()">other</report>
        </rule>
      </pattern>
      <pattern><rule context="list"><report id="list" test="true()">list</report></rule></pattern>)~";
}

constexpr const char* kBadAmounts = R"~(<list><item amount="5"/><item amount=""/><item amount="x"/></list>)~";

TEST(StandardDynamicErrors, AnErrorWhileMatchingAContextIsNoMatchLoggedOnce) {
    const auto rules = compile(competingRules("item[xs:decimal(@amount) &gt; 0]"));
    ScopedLogCapture log;
    const QMValidationResult result = runOn(*rules, kBadAmounts);
    // The failing items go to the next rule of the pattern; other patterns run.
    EXPECT_EQ(firings(result), (std::vector<std::string>{"positive@/list[1]/item[1]", "other@/list[1]/item[2]",
                                                         "other@/list[1]/item[3]", "list@/list[1]"}));
    EXPECT_TRUE(result.valid);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("item[xs:decimal(@amount) > 0]"), std::string::npos) << log.lines()[0];
    EXPECT_NE(log.lines()[0].find("/list[1]/item[2]"), std::string::npos) << log.lines()[0];
    EXPECT_NE(log.lines()[0].find("FORG0001"), std::string::npos) << log.lines()[0];
}

// A predicate that may select by position is still evaluated for the node alone, with
// the node's own position among its siblings: the errors on item[2] and item[3] do not
// stop item[1] from matching.
TEST(StandardDynamicErrors, AnErrorOnASiblingDoesNotStopAMatch) {
    for (const std::string context : {"item[xs:decimal(@amount) gt 0]",
                                      "item[if (position() = last() - 2) then true() else xs:decimal(@amount) gt 0]"}) {
        const auto rules = compile(competingRules(context));
        ScopedLogCapture log;
        EXPECT_EQ(firings(runOn(*rules, kBadAmounts)),
                  (std::vector<std::string>{"positive@/list[1]/item[1]", "other@/list[1]/item[2]",
                                            "other@/list[1]/item[3]", "list@/list[1]"}))
            << context;
    }
}

TEST(StandardDynamicErrors, ASpentBudgetEndsTheRunAsInvalid) {
    const auto rules = compile(R"~(
      <pattern><rule context="list">
        <assert id="huge" test="count(for $i in 1 to 1000000 return $i) gt 0">never</assert>
      </rule></pattern>)~");
    const auto document = testing::parseXML(kDocument);
    RunOptions options;
    options.limits.maxSteps = 10'000;
    const QMValidationResult result = rules->validate(*document, options);
    EXPECT_FALSE(result.valid);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].type, kDynamicErrorType);
    EXPECT_NE(result.errors[0].message.find("Validation stopped"), std::string::npos) << result.errors[0].message;
}

}  // namespace
}  // namespace quillmark::standard
