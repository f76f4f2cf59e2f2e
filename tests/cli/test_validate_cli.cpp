// `quillmark validate`: stdout, stderr and the exit status together, for text and JSON
// output, batches with unreadable or malformed files, and broken schemas.

#include <gtest/gtest.h>
#include <sys/stat.h>

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

// Issues are "FILE:LINE:COLUMN: severity: [ID] message (at PATH)", as compilers print
// them, in the order of the rule set's patterns; a summary line closes every file.
TEST_F(ValidateCliTest, TextListsIssuesThenASummaryPerFile) {
    CommandResult result = runCli({"validate", "--schema", kRules, kValid, kBadArithmetic, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("3 files: 1 valid, 2 invalid, 0 not validated (")) << result.err;
    EXPECT_EQ(textLines(result.out),
              (Lines{
                  kValid + ": valid",
                  kBadArithmetic + ":34:3: error: [QM-11] The sum of line net amounts 200.00 shall equal the sum "
                                   "of the invoice lines (205). (at /Invoice[1]/cac:LegalMonetaryTotal[1])",
                  kBadArithmetic + ":40:3: error: [QM-10] Invoice line 1: the net amount 145.00 shall equal "
                                   "quantity times price (140). (at /Invoice[1]/cac:InvoiceLine[1])",
                  kBadArithmetic + ": 2 errors",
                  kMissingFields + ":2:1: error: [QM-01] An invoice shall have an invoice number (cbc:ID). (at "
                                   "/Invoice[1])",
                  kMissingFields + ":2:1: error: [QM-03] An invoice shall name its currency "
                                   "(cbc:DocumentCurrencyCode). (at /Invoice[1])",
                  kMissingFields + ":2:1: error: [QM-04] An invoice shall name the seller "
                                   "(cac:PartyLegalEntity/cbc:RegistrationName). (at /Invoice[1])",
                  kMissingFields + ":2:1: warning: [QM-20] The invoice states neither a due date nor payment "
                                   "terms. (at /Invoice[1])",
                  kMissingFields + ": 3 errors, 1 warning",
              }));
    testing::expectCliRuns({{{"validate", "--schema", kRules, kValid}, kValid + ": valid\n", "", 0}});
}

// The compatible profile keeps the library's documented run: no line numbers, and
// issues in the order its run finds them.
TEST_F(ValidateCliTest, CompatibleProfileReportsWithoutLines) {
    testing::expectCliRuns({
        {{"validate", "--semantics", "compatible", "--schema", kRules, kBadArithmetic},
         kBadArithmetic + ": error: [QM-10] Invoice line 1: the net amount 145.00 shall equal quantity times price "
                          "(140). (at /Invoice[1]/cac:InvoiceLine[1])\n" +
             kBadArithmetic + ": error: [QM-11] The sum of line net amounts 200.00 shall equal the sum of the invoice "
                              "lines (205). (at /Invoice[1]/cac:LegalMonetaryTotal[1])\n" +
             kBadArithmetic + ": 2 errors\n",
         "", 1},
    });
    testing::expectUsageErrors({{"validate", "--semantics", "loose", "--schema", kRules, kValid}});
}

TEST_F(ValidateCliTest, JsonLinesHoldOneObjectPerFileWithTheDocumentedKeys) {
    CommandResult result = runCli({"validate", "--format", "json", "--schema", kRules, kValid, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("2 files: 1 valid, 1 invalid, 0 not validated (")) << result.err;
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
    EXPECT_EQ(invalid["errors"][0], json::parse(R"~({"pattern": "mandatory-fields", "rule": "/ubl:Invoice",
        "assertion": "QM-01", "assertionId": "QM-01", "type": "assert", "role": "", "flag": "fatal", "severity": "Error",
        "message": "[QM-01]-An invoice shall have an invoice number (cbc:ID).", "location": "/Invoice[1]",
        "schemaTitle": "Quillmark example rules for UBL invoices", "line": 2, "column": 1,
        "test": "normalize-space(cbc:ID) != ''", "ruleSet": "Quillmark example rules for UBL invoices",
        "scenario": null})~"));
    EXPECT_EQ(invalid["warnings"][0]["type"], "report");
    EXPECT_EQ(invalid["warnings"][0]["severity"], "Warning");
    // The compatible profile has no lines to report.
    const auto compatible = json::parse(
        runCli({"validate", "--semantics", "compatible", "--format", "json", "--schema", kRules, kMissingFields}).out);
    EXPECT_TRUE(compatible["errors"][0]["line"].is_null());
    EXPECT_EQ(compatible["errors"][0]["role"], "error");
}

// Files that cannot be read or parsed are named on stderr with the reason; the other
// files of the batch are still validated, and the exit status says something failed
// even when others have findings.
TEST_F(ValidateCliTest, UnreadableAndMalformedFilesDoNotStopTheBatch) {
    const std::string missing = path("missing.xml");
    const std::string malformed = write("malformed.xml", "<Invoice>\n  <cbc:ID>1</cbc:ID>\n");
    const std::string fifo = path("pipe.xml");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    CommandResult text = runCli({"validate", "--schema", kRules, missing, malformed, fifo, kMissingFields});
    EXPECT_EQ(text.exitCode, 2);
    auto errors = textLines(text.err);
    ASSERT_EQ(errors.size(), 4u) << text.err;
    EXPECT_TRUE(errors[0].starts_with(missing + ": ")) << errors[0];
    EXPECT_NE(errors[0].find("No such file"), std::string::npos) << errors[0];
    EXPECT_TRUE(errors[1].starts_with(malformed + ": ")) << errors[1];
    EXPECT_NE(errors[1].find("line "), std::string::npos) << errors[1];
    EXPECT_NE(errors[1].find("column "), std::string::npos) << errors[1];
    EXPECT_EQ(errors[2], fifo + ": cannot read " + fifo + ": not a regular file but a FIFO");
    EXPECT_TRUE(errors[3].starts_with("4 files: 0 valid, 1 invalid, 3 not validated (")) << errors[3];
    // Every file has its line on stdout, in order.
    auto output = textLines(text.out);
    ASSERT_EQ(output.size(), 8u) << text.out;
    EXPECT_EQ(output[0], missing + ": not validated");
    EXPECT_EQ(output[1], malformed + ": not validated");
    EXPECT_EQ(output[2], fifo + ": not validated");
    EXPECT_EQ(output[7], kMissingFields + ": 3 errors, 1 warning");

    CommandResult json = runCli({"validate", "--format", "json", "--schema", kRules, missing, malformed, kMissingFields});
    EXPECT_EQ(json.exitCode, 2);
    auto records = textLines(json.out);
    ASSERT_EQ(records.size(), 3u) << json.out;
    for (size_t i = 0; i < 2; ++i) {
        const auto failed = json::parse(records[i]);
        EXPECT_EQ(failed["file"], i == 0 ? missing : malformed);
        EXPECT_EQ(failed["valid"], false);
        EXPECT_EQ(failed["status"], 0);
        EXPECT_EQ(failed["errors"], json::array());
        EXPECT_EQ(failed["error"], textLines(json.err).at(i).substr(failed["file"].get<std::string>().size() + 2));
    }
    EXPECT_EQ(json::parse(records[2])["file"], kMissingFields);
    EXPECT_FALSE(json::parse(records[2]).contains("error"));

    CommandResult svrl = runCli(
        {"validate", "--format", "svrl", "--output-dir", path("svrl"), "--schema", kRules, missing, kMissingFields});
    EXPECT_EQ(svrl.exitCode, 2);
    // The report of each file in a file of its own (the SVRL itself is tested with the SVRL output).
    EXPECT_NE(testing::readFile(path("svrl/missing.svrl"))
                  .find("<svrl:text>not validated: cannot read " + missing + ": No such file or directory</svrl:text>"),
              std::string::npos);
    EXPECT_NE(testing::readFile(path("svrl/invoice-missing-fields.svrl")).find("QM-01"), std::string::npos);
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
    EXPECT_EQ(result.out, document + ":1:1: error: [L] First line, second line. (at /r[1])\n" + document + ": 1 error\n");
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

    // XSD issues have no id; their line, column and path are those of the element at fault.
    EXPECT_EQ(textLines(runCli({"validate", "--schema", xsd, document}).out),
              (Lines{document + ":1:4: error: Element 'n': 'many' is not a valid value of the atomic type "
                                "'xs:integer'. (at /r[1]/n[1])",
                     document + ": 1 error"}));
}

TEST_F(ValidateCliTest, SchemaDirectoriesPickRulesByDocumentType) {
    write("rules/invoice-basics.sch", testing::readFile(kRules));
    const std::string unrelated = write("order.xml", "<Order xmlns='urn:example:order'/>");
    CommandResult result = runCli({"validate", "--schemas", path("rules"), kBadArithmetic, unrelated});
    EXPECT_EQ(result.exitCode, 2);
    auto output = textLines(result.out);
    ASSERT_EQ(output.size(), 4u);
    EXPECT_EQ(output[2], kBadArithmetic + ": 2 errors");
    EXPECT_EQ(output[3], unrelated + ": not validated");
    const auto errors = textLines(result.err);
    ASSERT_EQ(errors.size(), 2u) << result.err;
    EXPECT_EQ(errors[0], unrelated + ": No matching Schematron schema found for this XML document");
    EXPECT_TRUE(errors[1].starts_with("2 files: 0 valid, 1 invalid, 1 not validated (")) << errors[1];
}

// A rule set that cannot be loaded, or an XSD that does not compile, leaves the document
// not validated; the other rule sets still run and their findings are reported.
TEST_F(ValidateCliTest, SchemaDirectoriesFailClosed) {
    write("rules/a-include.sch", testing::readFile(kRules).replace(
                                     testing::readFile(kRules).find("<pattern"), 0, "<include href=\"missing.sch\"/>"));
    write("rules/b-broken.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"
        targetNamespace="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"><xs:element name="Invoice"
        type="missing"/></xs:schema>)~");
    write("rules/c-basics.sch", testing::readFile(kRules));
    CommandResult result = runCli({"validate", "--format", "json", "--schemas", path("rules"), kBadArithmetic});
    EXPECT_EQ(result.exitCode, 2);
    const auto record = json::parse(result.out);
    EXPECT_EQ(record["valid"], false);
    EXPECT_EQ(record["status"], 0);
    EXPECT_EQ(record["errors"].size(), 2u);  // from c-basics.sch
    const std::string error = record["error"];
    EXPECT_NE(error.find(path("rules/a-include.sch") + ": include: cannot read " + path("rules/missing.sch")),
              std::string::npos)
        << error;
    EXPECT_NE(error.find(path("rules/b-broken.xsd") + ": Could not load XSD file"), std::string::npos) << error;
    // One line per failure.
    EXPECT_EQ(textLines(result.err),
              (Lines{kBadArithmetic + ": " + error.substr(0, error.find("; ")),
                     kBadArithmetic + ": " + error.substr(error.find("; ") + 2)}));
}

// A named schema is known by its root element, whatever its file name says; a file of
// any other kind is bad usage.
TEST_F(ValidateCliTest, NamedSchemasAreKnownByTheirRootElement) {
    const std::string xsd = write("UPPER.XSD", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
        <xs:element name="r" type="xs:integer"/></xs:schema>)~");
    const std::string xsdNamedSch = write("actually-xsd.sch", testing::readFile(xsd));
    const std::string document = write("r.xml", "<r>many</r>");
    for (const std::string& schema : {xsd, xsdNamedSch}) {
        CommandResult result = runCli({"validate", "--schema", schema, document});
        EXPECT_EQ(result.exitCode, 1) << schema << result.err;
        EXPECT_NE(result.out.find(document + ":1:1: error: "), std::string::npos) << result.out;
    }
    const std::string noNamespace = write("plain.sch", "<schema><pattern/></schema>");
    const std::string invoice = write("invoice.xsd", testing::readFile(kValid));
    for (const std::string& other : {noNamespace, invoice}) {
        CommandResult result = runCli({"validate", "--schema", other, kValid});
        EXPECT_EQ(result.exitCode, 2) << other;
        EXPECT_EQ(result.out, "") << other;
        EXPECT_EQ(result.err, other + ": neither a Schematron rule set nor an XML Schema (the root element is not a "
                                      "schema element of either)\n");
    }
}

// Text that XML cannot carry, from a rule set's message, is escaped: the SVRL stays
// well-formed, the text line shows it, and JSON escapes it as JSON does. Only the
// compatible profile can make such text: XPath 2.0 strings hold XML characters only.
TEST_F(ValidateCliTest, ControlCharactersInMessagesStayVisibleAndWellFormed) {
    const std::string rules = write("control.sch", testing::schematronText(R"~(<pattern id="p"><rule context="/r">
        <assert id="C" test="false()">bell<value-of select="codepoints-to-string((1, 0, 65))"/>end</assert>
        </rule></pattern>)~"));
    const std::string document = write("r.xml", "<r/>");
    EXPECT_EQ(runCli({"validate", "--semantics", "compatible", "--schema", rules, document}).out,
              document + ": error: [C] bell\\u0001\\u0000Aend (at /r[1])\n" + document + ": 1 error\n");
    EXPECT_EQ(json::parse(runCli({"validate", "--semantics", "compatible", "--format", "json", "--schema", rules, document})
                              .out)["errors"][0]["message"],
              std::string("bell\x01\x00" "Aend", 10));
    const std::string svrl =
        runCli({"validate", "--semantics", "compatible", "--format", "svrl", "--schema", rules, document}).out;
    // The tool itself reads it back as a context document.
    CommandResult readBack = runCli({"eval", "--context", write("report.svrl", svrl), "count(//*)"});
    EXPECT_EQ(readBack.exitCode, 0) << readBack.err << svrl;
    EXPECT_NE(svrl.find("<svrl:text>bell\\u0001\\u0000Aend</svrl:text>"), std::string::npos) << svrl;
}

TEST_F(ValidateCliTest, InputSizeLimitIsAnOption) {
    const std::string document = write("r.xml", "<r>" + std::string(2000, ' ') + "</r>");
    const std::string rules = write("r.sch", testing::schematronText(""));
    CommandResult result = runCli({"validate", "--max-input-size", "1k", "--schema", rules, document});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err,
              document + ": cannot read " + document + ": the file is larger than the input size limit of 1000 bytes\n");
    EXPECT_EQ(runCli({"validate", "--max-input-size", "1MiB", "--schema", rules, document}).exitCode, 0);
    testing::expectUsageErrors({{"validate", "--max-input-size", "lots", "--schema", rules, document},
                                {"validate", "--max-input-size", "0", "--schema", rules, document}});
}

}  // namespace
}  // namespace quillmark
