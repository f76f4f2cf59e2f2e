// How severe a finding is in the standard profile: the flag (of the assertion, else of
// its rule) as one of six words in any case, else the role read the same way, else an
// assert is an error and a report information; and what the findings make of the
// verdict.

#include <gtest/gtest.h>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::isoRuleSet;
using testing::runOn;

struct SeverityCase {
    std::string ruleAttributes;
    std::string assertion;  // a firing assert or report
    std::string severity;
    std::string flag;  // as the issue carries it
};

void PrintTo(const SeverityCase& c, std::ostream* out) { *out << c.ruleAttributes + " " + c.assertion; }

class StandardSeverities : public ::testing::TestWithParam<SeverityCase> {};

TEST_P(StandardSeverities, FollowFlagThenRoleThenKind) {
    const SeverityCase& c = GetParam();
    const auto rules = testing::compileRuleSet(
        isoRuleSet("<pattern><rule context=\"a\" " + c.ruleAttributes + ">" + c.assertion + "</rule></pattern>"));
    const auto issues = testing::allIssues(runOn(*rules, "<a/>"));
    ASSERT_EQ(issues.size(), 1u);
    EXPECT_EQ(issues[0].severity(), c.severity);
    EXPECT_EQ(issues[0].flag, c.flag);
    EXPECT_EQ(issues[0].semantics, Semantics::Standard);
}

std::string firingAssert(const std::string& attributes) {
    return "<assert id=\"x\" test=\"false()\" " + attributes + ">m</assert>";
}
std::string firingReport(const std::string& attributes) {
    return "<report id=\"x\" test=\"true()\" " + attributes + ">m</report>";
}

INSTANTIATE_TEST_SUITE_P(
    Readings, StandardSeverities,
    ::testing::Values(
        // The flag words.
        SeverityCase{"", firingReport("flag=\"fatal\""), "Error", "fatal"},
        SeverityCase{"", firingReport("flag=\"error\""), "Error", "error"},
        SeverityCase{"", firingAssert("flag=\"warning\""), "Warning", "warning"},
        SeverityCase{"", firingAssert("flag=\"warn\""), "Warning", "warn"},
        SeverityCase{"", firingAssert("flag=\"information\""), "Info", "information"},
        SeverityCase{"", firingAssert("flag=\"info\""), "Info", "info"},
        SeverityCase{"", firingAssert("flag=\"WARNING\""), "Warning", "WARNING"},
        // The rule's flag when the assertion has none; the assertion's wins.
        SeverityCase{"flag=\"warning\"", firingAssert(""), "Warning", "warning"},
        SeverityCase{"flag=\"warning\"", firingAssert("flag=\"fatal\""), "Error", "fatal"},
        SeverityCase{"flag=\"information\"", firingReport("flag=\"error\""), "Error", "error"},
        // The role, in any case, when no flag decides; words inside other words do not count.
        SeverityCase{"", firingAssert("role=\"WARN\""), "Warning", ""},
        SeverityCase{"", firingAssert("role=\"Info\""), "Info", ""},
        SeverityCase{"", firingReport("role=\"error\""), "Error", ""},
        SeverityCase{"", firingReport("role=\"Fatal\""), "Error", ""},
        SeverityCase{"", firingAssert("flag=\"important\" role=\"warning\""), "Warning", "important"},
        SeverityCase{"", firingAssert("role=\"warnings\""), "Error", ""},
        SeverityCase{"", firingReport("role=\"no error\""), "Info", ""},
        SeverityCase{"", firingAssert("flag=\"fatal\" role=\"information\""), "Error", "fatal"},
        // Neither: an assert is an error, a report information.
        SeverityCase{"", firingAssert(""), "Error", ""},
        SeverityCase{"", firingReport(""), "Info", ""},
        // Rule ids do not change a severity in this profile.
        SeverityCase{"", "<assert id=\"PEPPOL-EN16931-R001\" test=\"false()\" flag=\"fatal\">m</assert>", "Error", "fatal"},
        SeverityCase{"", "<assert id=\"PEPPOL-EN16931-R002\" test=\"false()\">m</assert>", "Error", ""},
        SeverityCase{"", "<assert id=\"PEPPOL-EN16931-R003\" test=\"false()\" flag=\"warning\">m</assert>", "Warning",
                     "warning"}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

struct VerdictCase {
    std::string assertions;
    bool valid;
    int64_t status;
    size_t errors;
    size_t warnings;
};

class StandardVerdicts : public ::testing::TestWithParam<VerdictCase> {};

TEST_P(StandardVerdicts, FollowTheSeveritiesOfTheFindings) {
    const VerdictCase& c = GetParam();
    const auto rules = testing::compileRuleSet(isoRuleSet("<pattern><rule context=\"a\">" + c.assertions + "</rule></pattern>"));
    const QMValidationResult result = runOn(*rules, "<a/>");
    EXPECT_EQ(result.valid, c.valid);
    EXPECT_EQ(result.status(), c.status);
    EXPECT_EQ(result.errors.size(), c.errors);
    EXPECT_EQ(result.warnings.size(), c.warnings);
}

INSTANTIATE_TEST_SUITE_P(
    Findings, StandardVerdicts,
    ::testing::Values(VerdictCase{"<assert test=\"true()\">m</assert>", true, 1, 0, 0},
                      VerdictCase{firingReport(""), true, 2, 0, 1},
                      VerdictCase{firingAssert("flag=\"warning\"") + firingReport(""), true, 2, 0, 2},
                      VerdictCase{firingAssert("flag=\"warning\"") + firingAssert(""), false, 3, 1, 1},
                      VerdictCase{firingReport("flag=\"fatal\""), false, 3, 1, 0}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

}  // namespace
}  // namespace quillmark::standard
