// Severity of issues and status of results: the values the result window colours by.

#include <gtest/gtest.h>

#include "quillmark/schematron_model.h"
#include "quillmark/schematron_validator.h"

namespace quillmark {
namespace {

TEST(SeverityTest, DerivesFromIdThenFlagThenRoleThenType) {
    struct Case {
        const char *assertionId, *flag, *role, *type, *expected;
    };
    const Case cases[] = {
        // PEPPOL rules are information whatever they declare; the prefix is case-sensitive.
        {"PEPPOL-EN16931-R001", "fatal", "error", "assert", "Info"}, {"PEPPOL-", "", "", "assert", "Info"},
        {"peppol-EN16931-R001", "fatal", "", "assert", "Error"},     {"CII-PEPPOL-1", "warning", "", "assert", "Warning"},
        // The flag: six words, compared after lower-casing, before the role; other flags
        // leave it to the role.
        {"BR-01", "WARN", "", "assert", "Warning"},        {"BR-01", "warning", "error", "assert", "Warning"},
        {"BR-01", "Fatal", "", "report", "Error"},         {"BR-01", "error", "", "report", "Error"},
        {"BR-01", "INFO", "", "assert", "Info"},           {"BR-01", "information", "error", "assert", "Info"},
        {"BR-01", "critical", "warning", "assert", "Warning"}, {"BR-01", " warning", "", "report", "Info"},
        // The role: case-sensitive substring search for fewer words.
        {"BR-01", "", "Warning", "assert", "Error"},       {"BR-01", "", "forewarned", "report", "Warning"},
        {"BR-01", "", "terrors", "report", "Error"},       {"BR-01", "", "fatal", "report", "Info"},
        {"BR-01", "", "information", "assert", "Error"},   {"BR-01", "", "warn-or-error", "assert", "Warning"},
        // The type last.
        {"", "", "", "assert", "Error"},                   {"", "", "", "report", "Info"},
        {"", "", "error", "xsd", "Error"},                 {"", "", "information", "info", "Info"},
    };
    for (const auto& c : cases) {
        QMValidationError issue;
        issue.assertionId = c.assertionId;
        issue.flag = c.flag;
        issue.role = c.role;
        issue.type = c.type;
        EXPECT_EQ(issue.severity(), c.expected) << c.assertionId << "|" << c.flag << "|" << c.role << "|" << c.type;
    }
}

TEST(StatusTest, CountsDecideNotTheValidFlag) {
    struct Case {
        size_t errors, warnings;
        bool valid;
        int64_t expected;
    };
    for (const Case& c : {Case{0, 0, true, 1}, Case{0, 0, false, 1}, Case{0, 3, true, 2}, Case{1, 0, true, 3},
                          Case{2, 5, false, 3}}) {
        QMValidationResult result;
        result.valid = c.valid;
        result.errors.resize(c.errors);
        result.warnings.resize(c.warnings);
        EXPECT_EQ(result.status(), c.expected) << c.errors << " errors, " << c.warnings << " warnings";
    }
}

TEST(VersionTest, SymbolsCarryTheLibraryIdentification) {
    EXPECT_EQ(QuillmarkVersionNumber, 1.0);
    EXPECT_STREQ(reinterpret_cast<const char*>(QuillmarkVersionString), "@(#)PROGRAM:Quillmark  PROJECT:Quillmark-1\n");
}

}  // namespace
}  // namespace quillmark
