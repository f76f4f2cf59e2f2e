// `quillmark validate` without rule options (each document validated with the bundled
// scenario that fits it), `--scenarios FILE` before the bundled ones, and `quillmark
// scenarios`: stdout, stderr and exit status together.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::CommandResult;
using testing::runCli;
using testing::textLines;
using Lines = std::vector<std::string>;

using ScenarioCliTest = testing::TempDirectoryTest;

TEST_F(ScenarioCliTest, OfficialExamplesAreValidatedByTheirScenarioAndOthersAreNot) {
    const std::string ubl = testing::corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml");
    const std::string cii = testing::corpusPath("en16931/cii/examples/CII_example1.xml");
    const std::string order = write("order.xml", "<Order xmlns=\"urn:example:order\"><ID>1</ID></Order>");
    CommandResult result = runCli({"validate", "--jobs", "1", ubl, order, cii});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(textLines(result.out), (Lines{ubl + ": valid, scenario EN 16931 UBL Invoice", order + ": not validated",
                                            cii + ": valid, scenario EN 16931 CII"}));
    const Lines errors = textLines(result.err);
    ASSERT_EQ(errors.size(), 2u) << result.err;
    EXPECT_EQ(errors[0], order + ": no scenario fits this document (root element {urn:example:order}Order, no "
                                 "customization ID); name its rule sets with --schema or --schemas, or give "
                                 "--scenarios FILE");
    EXPECT_TRUE(errors[1].starts_with("3 files: 2 valid, 0 invalid, 1 not validated (")) << errors[1];
}

TEST_F(ScenarioCliTest, FindingsNameTheirLineAndTheScenarioInEveryFormat) {
    // The official example with its sum of line amounts broken: BR-CO-10 at the totals.
    std::string invoice = testing::readFile(testing::corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"));
    const size_t totals = invoice.find("<cac:LegalMonetaryTotal>");
    ASSERT_NE(totals, std::string::npos);
    const size_t amount = invoice.find('>', invoice.find("<cbc:LineExtensionAmount", totals)) + 1;
    invoice.replace(amount, invoice.find('<', amount) - amount, "3900.00");
    const std::string file = write("invoice.xml", invoice);
    CommandResult text = runCli({"validate", file});
    EXPECT_EQ(text.exitCode, 1);
    const Lines lines = textLines(text.out);
    ASSERT_EQ(lines.size(), 3u) << text.out;
    EXPECT_TRUE(lines[0].starts_with(file + ":104:5: error: [BR-CO-10] ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with(file + ":104:5: error: [BR-CO-13] ")) << lines[1];
    EXPECT_EQ(lines[2], file + ": 2 errors, scenario EN 16931 UBL Invoice");

    CommandResult json = runCli({"validate", "--format", "json", file});
    const auto record = nlohmann::json::parse(json.out);
    EXPECT_EQ(record["scenario"], "EN 16931 UBL Invoice");
    EXPECT_EQ(record["errors"][0]["scenario"], "EN 16931 UBL Invoice");
    EXPECT_EQ(record["errors"][0]["line"], 104);
    EXPECT_EQ(record["schemaFiles"].size(), 2u) << "the UBL schema and the EN 16931 rules";
}

TEST_F(ScenarioCliTest, AUsersScenarioFileComesFirst) {
    write("rules/order.sch", testing::schematronText(R"~(<ns prefix="o" uri="urn:example:order"/>
      <pattern><rule context="/o:Order"><assert id="O-1" test="o:Buyer">An order names its buyer.</assert></rule>
      </pattern>)~"));
    const std::string scenarios = write("scenarios.json", R"~({"scenarios": [{"name": "Orders",
        "match": {"root": "{urn:example:order}Order"}, "validate": ["rules/order.sch"]}]})~");
    const std::string order = write("order.xml", "<Order xmlns=\"urn:example:order\"><ID>1</ID></Order>");
    testing::expectCliRuns({
        {{"validate", "--scenarios", scenarios, order},
         order + ":1:1: error: [O-1] An order names its buyer. (at /Order[1])\n" + order +
             ": 1 error, scenario Orders\n",
         "", 1},
    });
    CommandResult listed = runCli({"scenarios", "--scenarios", scenarios});
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(listed.out.starts_with("Orders\n  root: {urn:example:order}Order\n")) << listed.out;
    EXPECT_NE(listed.out.find("\nEN 16931 CII\n"), std::string::npos) << listed.out;
    // A broken scenario file is named with the reason, before any document.
    const std::string broken = write("broken.json", "{\"scenarios\": [");
    CommandResult failed = runCli({"validate", "--scenarios", broken, order});
    EXPECT_EQ(failed.exitCode, 2);
    EXPECT_EQ(failed.out, "");
    EXPECT_TRUE(failed.err.starts_with(broken)) << failed.err;
}

}  // namespace
}  // namespace quillmark
