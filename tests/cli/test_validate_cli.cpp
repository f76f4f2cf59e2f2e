// `quillmark validate`: stdout, stderr and the exit status together, for text and JSON
// output, batches with unreadable or malformed files, and broken schemas.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::CommandResult;
using testing::runCli;
using testing::sourcePath;

const std::string kRules = sourcePath("examples/rules/invoice-basics.sch");
const std::string kValid = sourcePath("examples/invoice-valid.xml");
const std::string kBadArithmetic = sourcePath("examples/invoice-bad-arithmetic.xml");
const std::string kMissingFields = sourcePath("examples/invoice-missing-fields.xml");

using testing::textLines;
using Lines = std::vector<std::string>;
using nlohmann::json;

using ValidateCliTest = testing::TempDirectoryTest;

TEST_F(ValidateCliTest, TextListsIssuesThenASummaryPerFile) {
    CommandResult result = runCli({"validate", "--schema", kRules, kValid, kBadArithmetic, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(textLines(result.out),
              (Lines{
                  kValid + ": valid",
                  kBadArithmetic + ": error: [QM-10] Invoice line 1: the net amount 145.00 shall equal "
                                   "quantity times price (140). (at /Invoice[1]/cac:InvoiceLine[1])",
                  kBadArithmetic + ": error: [QM-11] The sum of line net amounts 200.00 shall equal the sum "
                                   "of the invoice lines (205). (at /Invoice[1]/cac:LegalMonetaryTotal[1])",
                  kBadArithmetic + ": 2 errors",
                  kMissingFields + ": error: [QM-01] An invoice shall have an invoice number (cbc:ID). (at "
                                   "/Invoice[1])",
                  kMissingFields + ": error: [QM-03] An invoice shall name its currency "
                                   "(cbc:DocumentCurrencyCode). (at /Invoice[1])",
                  kMissingFields + ": error: [QM-04] An invoice shall name the seller "
                                   "(cac:PartyLegalEntity/cbc:RegistrationName). (at /Invoice[1])",
                  kMissingFields + ": warning: [QM-20] The invoice states neither a due date nor payment "
                                   "terms. (at /Invoice[1])",
                  kMissingFields + ": 3 errors, 1 warning",
              }));
    testing::expectCliRuns({{{"validate", "--schema", kRules, kValid}, kValid + ": valid\n", "", 0}});
}

TEST_F(ValidateCliTest, JsonLinesHoldOneObjectPerFileWithTheDocumentedKeys) {
    CommandResult result = runCli({"validate", "--format", "json", "--schema", kRules, kValid, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    auto output = textLines(result.out);
    ASSERT_EQ(output.size(), 2u);
    EXPECT_EQ(json::parse(output[0]), (json{{"file", kValid}, {"valid", true}, {"status", 1},
                                           {"schemaFiles", json::array({kRules})}, {"errors", json::array()},
                                           {"warnings", json::array()}}));
    const auto invalid = json::parse(output[1]);
    EXPECT_EQ(invalid["valid"], false);
    EXPECT_EQ(invalid["status"], 3);
    ASSERT_EQ(invalid["errors"].size(), 3u);
    ASSERT_EQ(invalid["warnings"].size(), 1u);
    EXPECT_EQ(invalid["errors"][0], json::parse(R"~({"pattern": "mandatory-fields", "rule": "", "assertion": "QM-01",
        "assertionId": "QM-01", "type": "assert", "role": "error", "flag": "fatal", "severity": "Error",
        "message": "[QM-01]-An invoice shall have an invoice number (cbc:ID).", "location": "/Invoice[1]",
        "schemaTitle": ""})~"));
    EXPECT_EQ(invalid["warnings"][0]["type"], "report");
    EXPECT_EQ(invalid["warnings"][0]["severity"], "Warning");
}

// Files that cannot be read or parsed are named on stderr with the reason; the other
// files of the batch are still validated, and the exit status says something failed
// even when others have findings.
TEST_F(ValidateCliTest, SvrlReportsFailedAssertsAndFiredReports) {
    CommandResult result = runCli({"validate", "--format", "svrl", "--schema", kRules, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    const std::string svrl = "http://purl.oclc.org/dsdl/svrl";
    EXPECT_EQ(result.out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<svrl:schematron-output xmlns:svrl=\"" + svrl + "\">\n"
                          "  <svrl:failed-assert id=\"QM-01\" flag=\"fatal\" role=\"error\" location=\"/Invoice[1]\">\n"
                          "    <svrl:text>[QM-01]-An invoice shall have an invoice number (cbc:ID).</svrl:text>\n"
                          "  </svrl:failed-assert>\n"
                          "  <svrl:failed-assert id=\"QM-03\" flag=\"fatal\" role=\"error\" location=\"/Invoice[1]\">\n"
                          "    <svrl:text>[QM-03]-An invoice shall name its currency (cbc:DocumentCurrencyCode).</svrl:text>\n"
                          "  </svrl:failed-assert>\n"
                          "  <svrl:failed-assert id=\"QM-04\" flag=\"fatal\" role=\"error\" location=\"/Invoice[1]\">\n"
                          "    <svrl:text>[QM-04]-An invoice shall name the seller "
                          "(cac:PartyLegalEntity/cbc:RegistrationName).</svrl:text>\n"
                          "  </svrl:failed-assert>\n"
                          "  <svrl:successful-report id=\"QM-20\" flag=\"warning\" role=\"info\" location=\"/Invoice[1]\">\n"
                          "    <svrl:text>[QM-20]-The invoice states neither a due date nor payment terms.</svrl:text>\n"
                          "  </svrl:successful-report>\n"
                          "</svrl:schematron-output>\n");
}

TEST_F(ValidateCliTest, UnreadableAndMalformedFilesDoNotStopTheBatch) {
    const std::string missing = path("missing.xml");
    const std::string malformed = write("malformed.xml", "<Invoice>\n  <cbc:ID>1</cbc:ID>\n");
    for (const std::string format : {"text", "json"}) {
        SCOPED_TRACE(format);
        CommandResult result =
            runCli({"validate", "--format", format, "--schema", kRules, missing, malformed, kMissingFields});
        EXPECT_EQ(result.exitCode, 2);
        auto errors = textLines(result.err);
        ASSERT_EQ(errors.size(), 2u) << result.err;
        EXPECT_TRUE(errors[0].starts_with(missing + ": ")) << errors[0];
        EXPECT_NE(errors[0].find("No such file"), std::string::npos) << errors[0];
        EXPECT_TRUE(errors[1].starts_with(malformed + ": ")) << errors[1];
        EXPECT_NE(errors[1].find("line "), std::string::npos) << errors[1];
        EXPECT_NE(errors[1].find("column "), std::string::npos) << errors[1];
        EXPECT_NE(result.out.find(kMissingFields), std::string::npos);
        EXPECT_EQ(result.out.find(malformed), std::string::npos);
    }
}

TEST_F(ValidateCliTest, BrokenSchemasStopBeforeAnyDocument) {
    const std::string broken = write("broken.sch", "<schema>\n<pattern>\n</schema>\n");
    const std::string brokenXSD = write("broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>");
    for (const std::string& schema : {broken, brokenXSD, path("absent.sch")}) {
        CommandResult result = runCli({"validate", "--schema", kRules, "--schema", schema, kValid});
        EXPECT_EQ(result.exitCode, 2) << schema;
        EXPECT_EQ(result.out, "") << schema;
        auto errors = textLines(result.err);
        ASSERT_EQ(errors.size(), 1u) << result.err;
        EXPECT_TRUE(errors[0].starts_with(schema + ": ")) << errors[0];
    }
    EXPECT_NE(runCli({"validate", "--schema", broken, kValid}).err.find("line 3"), std::string::npos);

    testing::expectUsageErrors({
        {"validate", kValid},                                         // no schema at all
        {"validate", "--schema", kRules},                             // no file
        {"validate", "--format", "svg", "--schema", kRules, kValid},  // unknown format
        {"validate", "--schemas", path("nowhere"), kValid},           // no such directory
    });
}

TEST_F(ValidateCliTest, MessagesAreCollapsedToOneLine) {
    const std::string rules = write("lines.sch", testing::schematronText(R"~(
      <pattern id="p"><rule context="/r"><assert id="L" test="false()">
          First line,
             second	line.   </assert></rule></pattern>)~"));
    const std::string document = write("r.xml", "<r/>");
    CommandResult result = runCli({"validate", "--schema", rules, document});
    EXPECT_EQ(result.out, document + ": error: [L] First line, second line. (at /r[1])\n" + document + ": 1 error\n");
}

TEST_F(ValidateCliTest, NamedSchemasRunInOrderAndMergeTheirIssues) {
    const std::string xsd = write("count.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
      <xs:element name="r"><xs:complexType><xs:sequence><xs:element name="n" type="xs:integer"/></xs:sequence>
      </xs:complexType></xs:element></xs:schema>)~");
    const std::string rules = write("r.sch", testing::schematronText(R"~(
      <pattern id="p"><rule context="/r"><report id="INFO" test="true()">seen</report></rule></pattern>)~"));
    const std::string document = write("r.xml", "<r><n>many</n></r>");
    CommandResult result = runCli({"validate", "--format", "json", "--schema", rules, "--schema", xsd, document});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    const auto report = json::parse(result.out);
    EXPECT_EQ(report["schemaFiles"], json::array({rules, xsd}));
    ASSERT_GE(report["errors"].size(), 1u);
    EXPECT_EQ(report["errors"][0]["type"], "xsd");
    EXPECT_EQ(report["warnings"][0]["assertionId"], "INFO");

    // XSD issues have neither an id nor a location.
    auto output = textLines(runCli({"validate", "--schema", xsd, document}).out);
    ASSERT_GE(output.size(), 2u);
    EXPECT_TRUE(output[0].starts_with(document + ": error: ")) << output[0];
    EXPECT_EQ(output[0].find("(at "), std::string::npos) << output[0];
    EXPECT_EQ(output[0].find("["), std::string::npos) << output[0];
}

TEST_F(ValidateCliTest, SchemaDirectoriesPickRulesByDocumentType) {
    write("rules/invoice-basics.sch", testing::readFile(kRules));
    const std::string unrelated = write("order.xml", "<Order xmlns='urn:example:order'/>");
    CommandResult result = runCli({"validate", "--schemas", path("rules"), kBadArithmetic, unrelated});
    EXPECT_EQ(result.exitCode, 2);
    auto output = textLines(result.out);
    ASSERT_FALSE(output.empty());
    EXPECT_EQ(output.back(), kBadArithmetic + ": 2 errors");
    EXPECT_EQ(result.err, unrelated + ": No matching Schematron schema found for this XML document\n");
}

}  // namespace
}  // namespace quillmark
