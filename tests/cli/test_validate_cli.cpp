// `quillmark validate`: stdout, stderr and the exit status together, for text and JSON
// output, batches with unreadable or malformed files, and broken schemas.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "support/test_support.h"

namespace quillmark {
namespace {

using ::quillmark::testing::CommandResult;
using ::quillmark::testing::makeTempDirectory;
using ::quillmark::testing::runCli;
using ::quillmark::testing::sourcePath;

const std::string kRules = sourcePath("examples/rules/invoice-basics.sch");
const std::string kValid = sourcePath("examples/invoice-valid.xml");
const std::string kBadArithmetic = sourcePath("examples/invoice-bad-arithmetic.xml");
const std::string kMissingFields = sourcePath("examples/invoice-missing-fields.xml");

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> list;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) list.push_back(line);
    return list;
}

class ValidateCliTest : public ::testing::Test {
protected:
    void SetUp() override { directory = makeTempDirectory("quillmark-validate-cli"); }
    void TearDown() override { std::filesystem::remove_all(directory); }
    std::string write(const std::string& name, const std::string& text) {
        const std::string path = directory + "/" + name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    std::string directory;
};

TEST_F(ValidateCliTest, TextListsIssuesThenASummaryPerFile) {
    CommandResult result = runCli({"validate", "--schema", kRules, kValid, kBadArithmetic, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(lines(result.out),
              (std::vector<std::string>{
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
}

TEST_F(ValidateCliTest, ValidFilesExitZero) {
    CommandResult result = runCli({"validate", "--schema", kRules, kValid});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kValid + ": valid\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(ValidateCliTest, JsonLinesHoldOneObjectPerFileWithTheDocumentedKeys) {
    CommandResult result = runCli({"validate", "--format", "json", "--schema", kRules, kValid, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    auto output = lines(result.out);
    ASSERT_EQ(output.size(), 2u);
    const auto valid = nlohmann::json::parse(output[0]);
    const auto invalid = nlohmann::json::parse(output[1]);

    auto keys = [](const nlohmann::json& object) {
        std::set<std::string> names;
        for (const auto& item : object.items()) names.insert(item.key());
        return names;
    };
    EXPECT_EQ(keys(valid), (std::set<std::string>{"file", "valid", "status", "schemaFiles", "errors", "warnings"}));
    EXPECT_EQ(valid["file"], kValid);
    EXPECT_EQ(valid["valid"], true);
    EXPECT_EQ(valid["status"], 1);
    EXPECT_EQ(valid["schemaFiles"], nlohmann::json::array({kRules}));
    EXPECT_TRUE(valid["errors"].empty());

    EXPECT_EQ(invalid["valid"], false);
    EXPECT_EQ(invalid["status"], 3);
    ASSERT_EQ(invalid["errors"].size(), 3u);
    ASSERT_EQ(invalid["warnings"].size(), 1u);
    const auto& issue = invalid["errors"][0];
    EXPECT_EQ(keys(issue), (std::set<std::string>{"pattern", "rule", "assertion", "assertionId", "type", "role",
                                                  "flag", "severity", "message", "location", "schemaTitle"}));
    EXPECT_EQ(issue["pattern"], "mandatory-fields");
    EXPECT_EQ(issue["assertionId"], "QM-01");
    EXPECT_EQ(issue["assertion"], "QM-01");
    EXPECT_EQ(issue["type"], "assert");
    EXPECT_EQ(issue["role"], "error");
    EXPECT_EQ(issue["flag"], "fatal");
    EXPECT_EQ(issue["severity"], "Error");
    EXPECT_EQ(issue["location"], "/Invoice[1]");
    const auto& warning = invalid["warnings"][0];
    EXPECT_EQ(warning["type"], "report");
    EXPECT_EQ(warning["severity"], "Warning");
}

// Files that cannot be read or parsed are named on stderr with the reason; the other
// files of the batch are still validated, and the exit status says something failed.
TEST_F(ValidateCliTest, UnreadableAndMalformedFilesDoNotStopTheBatch) {
    const std::string missing = directory + "/missing.xml";
    const std::string malformed = write("malformed.xml", "<Invoice>\n  <cbc:ID>1</cbc:ID>\n");
    for (const std::string format : {"text", "json"}) {
        CommandResult result = runCli({"validate", "--format", format, "--schema", kRules, missing, malformed, kValid});
        EXPECT_EQ(result.exitCode, 2) << format;
        auto errors = lines(result.err);
        ASSERT_EQ(errors.size(), 2u) << result.err;
        EXPECT_EQ(errors[0].rfind(missing + ": ", 0), 0u) << errors[0];
        EXPECT_NE(errors[0].find("No such file"), std::string::npos) << errors[0];
        EXPECT_EQ(errors[1].rfind(malformed + ": ", 0), 0u) << errors[1];
        EXPECT_NE(errors[1].find("line "), std::string::npos) << errors[1];
        EXPECT_NE(errors[1].find("column "), std::string::npos) << errors[1];
        EXPECT_EQ(lines(result.out).size(), 1u) << result.out;
        EXPECT_NE(result.out.find(kValid), std::string::npos);
    }
}

TEST_F(ValidateCliTest, FindingsAndFailuresTogetherExitWithTheFailure) {
    CommandResult result = runCli({"validate", "--schema", kRules, kMissingFields, directory + "/none.xml"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.out.find("3 errors, 1 warning"), std::string::npos);
}

TEST_F(ValidateCliTest, BrokenSchemasStopBeforeAnyDocument) {
    const std::string broken = write("broken.sch", "<schema>\n<pattern>\n</schema>\n");
    const std::string brokenXSD = write("broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>");
    for (const std::string& schema : {broken, brokenXSD, directory + "/absent.sch"}) {
        CommandResult result = runCli({"validate", "--schema", kRules, "--schema", schema, kValid});
        EXPECT_EQ(result.exitCode, 2) << schema;
        EXPECT_EQ(result.out, "") << schema;
        auto errors = lines(result.err);
        ASSERT_EQ(errors.size(), 1u) << result.err;
        EXPECT_EQ(errors[0].rfind(schema + ": ", 0), 0u) << errors[0];
    }
    CommandResult result = runCli({"validate", "--schema", broken, kValid});
    EXPECT_NE(result.err.find("line 3"), std::string::npos) << result.err;
}

TEST_F(ValidateCliTest, BadUsageExitsTwo) {
    const std::vector<std::vector<std::string>> calls{
        {"validate", kValid},                                       // no schema at all
        {"validate", "--schema", kRules},                           // no file
        {"validate", "--format", "svg", "--schema", kRules, kValid},  // unknown format
        {"validate", "--schemas", directory + "/nowhere", kValid},  // no such directory
    };
    for (const auto& call : calls) {
        CommandResult result = runCli(call);
        EXPECT_EQ(result.exitCode, 2) << call.back();
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
}

TEST_F(ValidateCliTest, MessagesAreCollapsedToOneLine) {
    const std::string rules = write("lines.sch", R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
      <pattern id="p"><rule context="/r"><assert id="L" test="false()">
          First line,
             second	line.   </assert></rule></pattern></schema>)~");
    const std::string document = write("r.xml", "<r/>");
    CommandResult result = runCli({"validate", "--schema", rules, document});
    EXPECT_EQ(result.out, document + ": error: [L] First line, second line. (at /r[1])\n" + document + ": 1 error\n");
}

TEST_F(ValidateCliTest, NamedSchemasRunInOrderAndMergeTheirIssues) {
    const std::string xsd = write("count.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
      <xs:element name="r"><xs:complexType><xs:sequence><xs:element name="n" type="xs:integer"/></xs:sequence>
      </xs:complexType></xs:element></xs:schema>)~");
    const std::string rules = write("r.sch", R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
      <pattern id="p"><rule context="/r"><report id="INFO" test="true()">seen</report></rule></pattern></schema>)~");
    const std::string document = write("r.xml", "<r><n>many</n></r>");
    CommandResult result = runCli({"validate", "--format", "json", "--schema", rules, "--schema", xsd, document});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report["schemaFiles"], nlohmann::json::array({rules, xsd}));
    ASSERT_GE(report["errors"].size(), 1u);
    EXPECT_EQ(report["errors"][0]["type"], "xsd");
    EXPECT_EQ(report["warnings"][0]["assertionId"], "INFO");

    CommandResult text = runCli({"validate", "--schema", xsd, document});
    auto output = lines(text.out);
    ASSERT_GE(output.size(), 2u);
    // XSD issues have neither an id nor a location.
    EXPECT_EQ(output[0].rfind(document + ": error: ", 0), 0u) << output[0];
    EXPECT_EQ(output[0].find("(at "), std::string::npos) << output[0];
    EXPECT_EQ(output[0].find("["), std::string::npos) << output[0];
}

TEST_F(ValidateCliTest, SchemaDirectoriesPickRulesByDocumentType) {
    std::filesystem::create_directories(directory + "/rules");
    std::filesystem::copy_file(kRules, directory + "/rules/invoice-basics.sch");
    const std::string unrelated = write("order.xml", "<Order xmlns='urn:example:order'/>");
    CommandResult result = runCli({"validate", "--schemas", directory + "/rules", kBadArithmetic, unrelated});
    EXPECT_EQ(result.exitCode, 2);
    auto output = lines(result.out);
    ASSERT_FALSE(output.empty());
    EXPECT_EQ(output.back(), kBadArithmetic + ": 2 errors");
    EXPECT_EQ(result.err, unrelated + ": No matching Schematron schema found for this XML document\n");
}

}  // namespace
}  // namespace quillmark
