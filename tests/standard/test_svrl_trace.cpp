// The standard run's trace (RunOptions::trace), the record SVRL reports are written
// from: patterns in the order of the active phase, in each the rules that handled a
// node in document order (the first matching rule of the pattern only), each followed
// by the issues found at that node; rule-set title, schemaVersion and sch:ns bindings.

#include <gtest/gtest.h>

#include <algorithm>

#include "standard/standard_test_support.h"

namespace quillmark {
namespace {

using testing::compileRuleSet;
using testing::isoRuleSet;

QMValidationResult tracedRun(const std::string& ruleSet, const std::string& document,
                             const standard::LoadOptions& load = {}, standard::RunOptions run = {}) {
    const auto rules = compileRuleSet(ruleSet, load);
    const auto parsed = testing::parseXML(document);
    EXPECT_TRUE(parsed);
    if (!parsed) return {};
    run.trace = true;
    return rules->validate(*parsed, run);
}

// "pattern ID", "rule CONTEXT", "assert ID@LOCATION" or "report ID@LOCATION" per event.
std::vector<std::string> eventLines(const QMRuleSetTrace& trace) {
    std::vector<std::string> lines;
    for (const QMRunEvent& event : trace.events) {
        switch (event.kind) {
        case QMRunEvent::Kind::ActivePattern: lines.push_back("pattern " + trace.patterns.at(event.index).id); break;
        case QMRunEvent::Kind::FiredRule: lines.push_back("rule " + trace.rules.at(event.index).context); break;
        case QMRunEvent::Kind::Issue: {
            const QMValidationError& issue = trace.issues.at(event.index);
            lines.push_back(issue.type + " " + issue.assertionId + "@" + issue.location);
            break;
        }
        }
    }
    return lines;
}

const QMRuleSetTrace& onlyTrace(const QMValidationResult& result) {
    static const QMRuleSetTrace none;
    EXPECT_TRUE(result.traces);
    if (!result.traces) return none;
    EXPECT_EQ(result.traces->size(), 1u);
    return result.traces->empty() ? none : result.traces->front();
}

using Lines = std::vector<std::string>;

const std::string kDocument = "<a><b n='1'><c/></b><b n='2'/><d/></a>";

TEST(SvrlTrace, IsRecordedOnlyWhenAsked) {
    const auto rules =
        compileRuleSet(isoRuleSet("<pattern id='p'><rule context='b'><assert test='false()'/></rule></pattern>"));
    const auto document = testing::parseXML(kDocument);
    ASSERT_TRUE(document);
    const QMValidationResult plain = rules->validate(*document);
    EXPECT_FALSE(plain.traces);
    EXPECT_EQ(plain.errors.size(), 2u);
}

// Pattern by pattern; in a pattern, nodes in document order (an element before its
// attributes and children), each node with the first rule of the pattern that matches
// it, rules that find nothing included, patterns that handle nothing included.
TEST(SvrlTrace, ListsPatternsThenFiredRulesInDocumentOrderWithTheirIssues) {
    const std::string rules = isoRuleSet(
        "<pattern id='first'>"
        "  <rule context='b'><assert id='B1' test='@n = 2'/><report id='B2' test='c'/></rule>"
        "  <rule context='b | d'><assert id='never' test='false()'/></rule>"
        "  <rule context='d'><assert id='D1' test='false()'/></rule>"
        "  <rule context='@n'><assert id='N1' test='. = 1'/></rule>"
        "</pattern>"
        "<pattern id='silent'><rule context='nothing'><assert id='X' test='false()'/></rule></pattern>"
        "<pattern id='root'><rule context='/a'><report id='R1' test='true()'/></rule></pattern>");
    const QMValidationResult result = tracedRun(rules, kDocument);
    EXPECT_EQ(eventLines(onlyTrace(result)), (Lines{
                                                 "pattern first",
                                                 "rule b",
                                                 "assert B1@/a[1]/b[1]",
                                                 "report B2@/a[1]/b[1]",
                                                 "rule @n",
                                                 "rule b",
                                                 "rule @n",
                                                 "assert N1@/a[1]/b[2]/@n",
                                                 "rule b | d",
                                                 "assert never@/a[1]/d[1]",
                                                 "pattern silent",
                                                 "pattern root",
                                                 "rule /a",
                                                 "report R1@/a[1]",
                                             }));
}

// The trace holds each issue of the result once, as the result has it.
TEST(SvrlTrace, HoldsEveryIssueOfTheResultOnce) {
    const std::string rules = isoRuleSet(
        "<pattern id='p'><rule context='b'>"
        "  <assert id='E' test='false()' flag='fatal'>at <value-of select='@n'/></assert>"
        "  <report id='W' test='true()' role='warning'>note <name/></report>"
        "</rule></pattern>");
    const QMValidationResult result = tracedRun(rules, kDocument);
    const std::vector<QMValidationError>& traced = onlyTrace(result).issues;
    const std::vector<QMValidationError> issues = testing::allIssues(result);
    const auto summary = [](const QMValidationError& issue) {
        return issue.assertionId + "|" + issue.test + "|" + issue.message + "|" + issue.location + "|" + issue.flag +
               "|" + issue.role + "|" + issue.severity();
    };
    EXPECT_EQ(testing::issueLines(traced, summary),
              (Lines{"E|false()|at 1|/a[1]/b[1]|fatal||Error", "W|true()|note b|/a[1]/b[1]||warning|Warning",
                     "E|false()|at 2|/a[1]/b[2]|fatal||Error", "W|true()|note b|/a[1]/b[2]||warning|Warning"}));
    std::vector<std::string> fromTrace = testing::issueLines(traced, summary);
    std::vector<std::string> fromResult = testing::issueLines(issues, summary);
    std::sort(fromTrace.begin(), fromTrace.end());
    std::sort(fromResult.begin(), fromResult.end());
    EXPECT_EQ(fromTrace, fromResult);
    EXPECT_EQ(result.errors.size(), 2u);
}

TEST(SvrlTrace, NamesTheRuleSetAndItsNamespaces) {
    const std::string rules = isoRuleSet(
        "<title>Example   rules</title>"
        "<ns prefix='x' uri='urn:x'/><ns prefix='y' uri='urn:y'/>"
        "<pattern id='p' name='Pattern name'><rule context='x:a' id='rule-a' role='totals' flag='fatal'>"
        "<assert test='true()'/></rule></pattern>",
        "queryBinding='xslt2' schemaVersion='1.3.9'");
    const QMValidationResult result = tracedRun(rules, "<a xmlns='urn:x'/>");
    const QMRuleSetTrace& trace = onlyTrace(result);
    EXPECT_EQ(trace.title, "Example rules");
    EXPECT_EQ(trace.schemaVersion, "1.3.9");
    EXPECT_EQ(trace.namespaces, (std::vector<std::pair<std::string, std::string>>{{"x", "urn:x"}, {"y", "urn:y"}}));
    ASSERT_EQ(trace.patterns.size(), 1u);
    EXPECT_EQ(trace.patterns[0].id, "p");
    EXPECT_EQ(trace.patterns[0].name, "Pattern name");
    ASSERT_EQ(trace.rules.size(), 1u);
    EXPECT_EQ(trace.rules[0].id, "rule-a");
    EXPECT_EQ(trace.rules[0].context, "x:a");
    EXPECT_EQ(trace.rules[0].role, "totals");
    EXPECT_EQ(trace.rules[0].flag, "fatal");
}

// Only the active phase's patterns are reported as active.
TEST(SvrlTrace, ListsTheActivePhasesPatternsOnly) {
    const std::string rules = isoRuleSet(
        "<phase id='late'><active pattern='two'/></phase>"
        "<pattern id='one'><rule context='a'><assert test='true()'/></rule></pattern>"
        "<pattern id='two'><rule context='a'><assert test='true()'/></rule></pattern>",
        "queryBinding='xslt2' defaultPhase='late'");
    EXPECT_EQ(eventLines(onlyTrace(tracedRun(rules, "<a/>"))), (Lines{"pattern two", "rule a"}));
    EXPECT_EQ(eventLines(onlyTrace(tracedRun(rules, "<a/>", standard::LoadOptions{"#ALL"}))),
              (Lines{"pattern one", "rule a", "pattern two", "rule a"}));
}

// An assertion that cannot be evaluated is an issue of its rule; a run stopped by its
// budget keeps what it traced, and its own issue (which belongs to no rule) is in the
// result only.
TEST(SvrlTrace, KeepsDynamicErrorsUnderTheirRuleAndLeavesTheStopOut) {
    const std::string failing = isoRuleSet(
        "<pattern id='p'><rule context='b'><assert id='bad' test=\"xs:integer(concat(@n, 'x')) = 1\"/></rule>"
        "</pattern>");
    EXPECT_EQ(eventLines(onlyTrace(tracedRun(failing, kDocument))),
              (Lines{"pattern p", "rule b", std::string(standard::kDynamicErrorType) + " bad@/a[1]/b[1]", "rule b",
                     std::string(standard::kDynamicErrorType) + " bad@/a[1]/b[2]"}));

    const std::string endless = isoRuleSet(
        "<pattern id='p'><rule context='b'><assert id='slow' test='count(for $i in 1 to 1000000 return $i) = 0'/>"
        "</rule></pattern>");
    standard::RunOptions run;
    run.limits.maxSteps = 10'000;
    const QMValidationResult stopped = tracedRun(endless, kDocument, {}, run);
    ASSERT_EQ(stopped.errors.size(), 1u);
    EXPECT_NE(stopped.errors[0].message.find("Validation stopped"), std::string::npos) << stopped.errors[0].message;
    EXPECT_EQ(eventLines(onlyTrace(stopped)), (Lines{"pattern p", "rule b"}));
}

}  // namespace
}  // namespace quillmark
