// `quillmark validate --explain`: the values that made each test fail, under the issue
// in text and as an `explanation` list in JSON; the rule set and scenario of every JSON
// issue; the compatible profile's note that it cannot explain.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using nlohmann::json;
using testing::CommandResult;
using testing::runCli;
using testing::sourcePath;
using testing::textLines;
using Lines = std::vector<std::string>;

const std::string kRules = sourcePath("examples/rules/invoice-basics.sch");
const std::string kBadArithmetic = sourcePath("examples/invoice-bad-arithmetic.xml");
const std::string kMissingFields = sourcePath("examples/invoice-missing-fields.xml");

// An official unit-test invoice whose line net amounts (110 + 90) do not add up to its
// sum of line net amounts (200.01).
std::string officialFailingInvoice() {
    const std::string path = testing::corpusPath("en16931/cases/ubl-invoice/BR-CO-10-8.xml");
    EXPECT_TRUE(std::filesystem::exists(path)) << "the shared corpus is missing: " << path;
    return path;
}

TEST(ExplainCli, TextShowsTheValuesUnderEachIssue) {
    testing::expectCliRuns({
        {{"validate", "--explain", "--schema", kRules, kBadArithmetic},
         kBadArithmetic + ":34:3: error: [QM-11] The sum of line net amounts 200.00 shall equal the sum of the invoice "
                          "lines (205). (at /Invoice[1]/cac:LegalMonetaryTotal[1])\n"
                          "    abs(cbc:LineExtensionAmount - $lineSum) = 5\n"
                          "    cbc:LineExtensionAmount - $lineSum = -5\n"
                          "    cbc:LineExtensionAmount = \"200.00\" (cbc:LineExtensionAmount)\n"
                          "    $lineSum = 205\n"
                          "    $tolerance = 0.01\n" +
             kBadArithmetic + ":40:3: error: [QM-10] Invoice line 1: the net amount 145.00 shall equal quantity times "
                              "price (140). (at /Invoice[1]/cac:InvoiceLine[1])\n"
                              "    abs(cbc:LineExtensionAmount - $expected) = 5\n"
                              "    cbc:LineExtensionAmount - $expected = 5\n"
                              "    cbc:LineExtensionAmount = \"145.00\" (cbc:LineExtensionAmount)\n"
                              "    $expected = 140\n"
                              "    $tolerance = 0.01\n" +
             kBadArithmetic + ": 2 errors\n",
         "", 1},
        // A fired report: what made it true.
        {{"validate", "--explain", "--schema", kRules, kMissingFields},
         kMissingFields + ":2:1: error: [QM-01] An invoice shall have an invoice number (cbc:ID). (at /Invoice[1])\n"
                          "    normalize-space(cbc:ID) = \"\"\n"
                          "    cbc:ID = \"\" (cbc:ID)\n" +
             kMissingFields + ":2:1: error: [QM-03] An invoice shall name its currency (cbc:DocumentCurrencyCode). (at "
                              "/Invoice[1])\n"
                              "    normalize-space(cbc:DocumentCurrencyCode) = \"\"\n"
                              "    cbc:DocumentCurrencyCode = ()\n" +
             kMissingFields + ":2:1: error: [QM-04] An invoice shall name the seller "
                              "(cac:PartyLegalEntity/cbc:RegistrationName). (at /Invoice[1])\n"
                              "    normalize-space(cac:AccountingS…Party/cac:PartyLegalEntity/cbc:RegistrationName) = \"\"\n"
                              "    cac:AccountingSupplierParty/cac:Party/cac:PartyLegalEntity/cbc:RegistrationName = ()\n" +
             kMissingFields + ":2:1: warning: [QM-20] The invoice states neither a due date nor payment terms. (at "
                              "/Invoice[1])\n"
                              "    cbc:DueDate = ()\n"
                              "    cac:PaymentTerms = ()\n" +
             kMissingFields + ": 3 errors, 1 warning\n",
         "", 1},
    });
}

TEST(ExplainCli, JsonIssuesCarryTheExplanationTheirRuleSetAndScenario) {
    CommandResult result = runCli({"validate", "--explain", "--format", "json", "--schema", kRules, kBadArithmetic});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(textLines(result.out).size(), 1u);
    const json report = json::parse(result.out);
    ASSERT_EQ(report["errors"].size(), 2u);
    const json& issue = report["errors"][0];
    EXPECT_EQ(issue["assertionId"], "QM-11");
    EXPECT_EQ(issue["rule"], "cac:LegalMonetaryTotal");  // the rule has no id: its context
    EXPECT_EQ(issue["ruleSet"], "Quillmark example rules for UBL invoices");
    EXPECT_TRUE(issue["scenario"].is_null());  // named rule sets, no scenario
    EXPECT_EQ(issue["explanation"], json::parse(R"~([
        {"expression": "abs(cbc:LineExtensionAmount - $lineSum)", "value": "5"},
        {"expression": "cbc:LineExtensionAmount - $lineSum", "value": "-5"},
        {"expression": "cbc:LineExtensionAmount", "value": "\"200.00\" (cbc:LineExtensionAmount)"},
        {"expression": "$lineSum", "value": "205"},
        {"expression": "$tolerance", "value": "0.01"}])~"));
    // Without --explain, no issue has the key.
    const json plain = json::parse(runCli({"validate", "--format", "json", "--schema", kRules, kBadArithmetic}).out);
    for (const json& unexplained : plain["errors"]) EXPECT_FALSE(unexplained.contains("explanation")) << unexplained;
}

using ExplainCliFiles = testing::TempDirectoryTest;

// A rule set without a title is named by its file name.
TEST_F(ExplainCliFiles, JsonNamesAnUntitledRuleSetByItsFileName) {
    const std::string rules = write("checks/untitled.sch", testing::schematronText(
        R"~(<pattern><rule context="/*"><assert id="U-1" test="false()">never</assert></rule></pattern>)~"));
    const json report = json::parse(runCli({"validate", "--format", "json", "--schema", rules, kBadArithmetic}).out);
    ASSERT_EQ(report["errors"].size(), 1u);
    EXPECT_EQ(report["errors"][0]["ruleSet"], "untitled.sch");
    EXPECT_EQ(report["errors"][0]["rule"], "/*");
}

// Scenario mode with the bundled EN 16931 rules: the official rule's test is explained
// down to the line amounts, and every issue names its scenario and rule set (an XSD's
// issues name the XSD file).
TEST(ExplainCli, OfficialRulesInScenarioModeAreExplained) {
    const std::string invoice = officialFailingInvoice();
    CommandResult text = runCli({"validate", "--explain", invoice});
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_EQ(text.err, "");
    const Lines lines = textLines(text.out);
    const std::string issue = invoice + ":4:4: error: [BR-CO-10] Sum of Invoice line net amount (BT-106) = Σ Invoice "
                                        "line net amount (BT-131). (at /Invoice[1]/cac:LegalMonetaryTotal[1])";
    const auto at = std::find(lines.begin(), lines.end(), issue);
    ASSERT_NE(at, lines.end()) << text.out;
    EXPECT_EQ(Lines(at + 1, std::min(at + 8, lines.end())),
              (Lines{
                  "    xs:decimal(cbc:LineExtensionAmount) = 200.01",
                  "    cbc:LineExtensionAmount = \"200.01\" (cbc:LineExtensionAmount)",
                  "    xs:decimal(round(sum(//(cac:Inv…al(cbc:LineExtensionAmount)) * 10 * 10) div 100) = 200",
                  "    round(sum(//(cac:InvoiceLine|ca…/xs:decimal(cbc:LineExtensionAmount)) * 10 * 10) = 20000",
                  "    sum(//(cac:InvoiceLine|cac:CreditNoteLine)/xs:decimal(cbc:LineExtensionAmount)) = 200",
                  "    //(cac:InvoiceLine|cac:CreditNoteLine)/xs:decimal(cbc:LineExtensionAmount) = 110, 90",
                  invoice + ":4:4: error: [BR-CO-13] Invoice total amount without VAT (BT-109) = Σ Invoice line net "
                            "amount (BT-131) - Sum of allowances on document level (BT-107) + Sum of charges on "
                            "document level (BT-108). (at /Invoice[1]/cac:LegalMonetaryTotal[1])",
              }));
    EXPECT_EQ(lines.back(), invoice + ": 36 errors, scenario EN 16931 UBL Invoice");

    CommandResult jsonRun = runCli({"validate", "--explain", "--format", "json", invoice});
    EXPECT_EQ(jsonRun.exitCode, 1);
    EXPECT_EQ(jsonRun.err, "");
    const json report = json::parse(jsonRun.out);
    ASSERT_FALSE(report["errors"].empty());
    for (const json& error : report["errors"]) {
        EXPECT_EQ(error["scenario"], "EN 16931 UBL Invoice");
        const std::string expected = error["type"] == "xsd" ? "UBL-Invoice-2.1.xsd" : "EN16931 model bound to UBL";
        EXPECT_EQ(error["ruleSet"], expected) << error;
        EXPECT_EQ(error.contains("explanation"), error["type"] != "xsd") << error;
    }
}

// The compatible profile cannot explain: one note on stderr for the whole batch, then
// the usual report.
TEST(ExplainCli, CompatibleProfileSaysItCannotExplainAndGoesOn) {
    CommandResult result =
        runCli({"validate", "--explain", "--semantics", "compatible", "--schema", kRules, kBadArithmetic, kBadArithmetic});
    EXPECT_EQ(result.exitCode, 1);
    const Lines err = textLines(result.err);
    ASSERT_FALSE(err.empty());
    EXPECT_EQ(err.front(), "quillmark validate: --explain needs the standard profile; issues are reported without "
                           "explanations");
    EXPECT_EQ(std::count_if(err.begin(), err.end(), [](const std::string& line) { return line.find("--explain") != std::string::npos; }), 1);
    for (const std::string& line : textLines(result.out)) EXPECT_FALSE(line.starts_with("    ")) << line;
    EXPECT_EQ(textLines(result.out).size(), 6u);
}

}  // namespace
}  // namespace quillmark
