// Severity of issues and status of results: the values the result window colours by.

#include <gtest/gtest.h>

#include <cstring>

#include "quillmark/schematron_model.h"
#include "quillmark/schematron_validator.h"

namespace quillmark {
namespace {

struct SeverityCase {
    const char* assertionId;
    const char* flag;
    const char* role;
    const char* type;
    const char* expected;
};

class SeverityTest : public ::testing::TestWithParam<SeverityCase> {};

TEST_P(SeverityTest, DerivesFromIdThenFlagThenRoleThenType) {
    const SeverityCase& c = GetParam();
    QMValidationError issue;
    issue.assertionId = c.assertionId;
    issue.flag = c.flag;
    issue.role = c.role;
    issue.type = c.type;
    EXPECT_EQ(issue.severity(), c.expected)
        << "id=" << c.assertionId << " flag=" << c.flag << " role=" << c.role << " type=" << c.type;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SeverityTest,
    ::testing::Values(
        // PEPPOL rules are information whatever they declare.
        SeverityCase{"PEPPOL-EN16931-R001", "fatal", "error", "assert", "Info"},
        SeverityCase{"PEPPOL-", "", "", "assert", "Info"},
        SeverityCase{"peppol-EN16931-R001", "fatal", "", "assert", "Error"},  // prefix is case-sensitive
        SeverityCase{"CII-PEPPOL-1", "warning", "", "assert", "Warning"},     // not at the start
        // The flag: six words, compared after lower-casing.
        SeverityCase{"BR-01", "WARN", "", "assert", "Warning"},
        SeverityCase{"BR-01", "warning", "error", "assert", "Warning"},  // flag before role
        SeverityCase{"BR-01", "Fatal", "", "report", "Error"},
        SeverityCase{"BR-01", "error", "", "report", "Error"},
        SeverityCase{"BR-01", "INFO", "", "assert", "Info"},
        SeverityCase{"BR-01", "information", "error", "assert", "Info"},
        SeverityCase{"BR-01", "critical", "warning", "assert", "Warning"},  // unknown flag: role decides
        SeverityCase{"BR-01", "critical", "", "report", "Info"},
        SeverityCase{"BR-01", " warning", "", "report", "Info"},  // exact words only
        // The role: case-sensitive substring search for fewer words.
        SeverityCase{"BR-01", "", "Warning", "assert", "Error"},
        SeverityCase{"BR-01", "", "Warning", "report", "Info"},
        SeverityCase{"BR-01", "", "forewarned", "report", "Warning"},
        SeverityCase{"BR-01", "", "terrors", "report", "Error"},
        SeverityCase{"BR-01", "", "fatal", "report", "Info"},
        SeverityCase{"BR-01", "", "information", "assert", "Error"},
        SeverityCase{"BR-01", "", "warn-or-error", "assert", "Warning"},
        // The type last.
        SeverityCase{"", "", "", "assert", "Error"},
        SeverityCase{"", "", "", "report", "Info"},
        SeverityCase{"", "", "error", "xsd", "Error"},
        SeverityCase{"", "", "information", "info", "Info"}));

struct StatusCase {
    size_t errors;
    size_t warnings;
    bool valid;
    int64_t expected;
};

class StatusTest : public ::testing::TestWithParam<StatusCase> {};

TEST_P(StatusTest, CountsDecideNotTheValidFlag) {
    const StatusCase& c = GetParam();
    QMValidationResult result;
    result.valid = c.valid;
    result.errors.resize(c.errors);
    result.warnings.resize(c.warnings);
    EXPECT_EQ(result.status(), c.expected) << c.errors << " errors, " << c.warnings << " warnings";
}

INSTANTIATE_TEST_SUITE_P(Table, StatusTest,
                         ::testing::Values(StatusCase{0, 0, true, 1}, StatusCase{0, 0, false, 1},
                                           StatusCase{0, 1, false, 2}, StatusCase{0, 3, true, 2},
                                           StatusCase{1, 0, true, 3}, StatusCase{2, 5, false, 3}));

TEST(VersionTest, SymbolsCarryTheLibraryIdentification) {
    EXPECT_EQ(QuillmarkVersionNumber, 1.0);
    EXPECT_STREQ(reinterpret_cast<const char*>(QuillmarkVersionString),
                 "@(#)PROGRAM:Quillmark  PROJECT:Quillmark-1\n");
}

}  // namespace
}  // namespace quillmark
