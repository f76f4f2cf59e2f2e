// quillmark catalog: one JSON line per catalog entry, stdout, stderr and exit status
// checked together.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using nlohmann::json;
using testing::runCli;

std::vector<json> jsonLines(const std::string& out) {
    std::vector<json> lines;
    for (const auto& line : testing::textLines(out)) lines.push_back(json::parse(line));
    return lines;
}

class CatalogCliTest : public testing::TempDirectoryTest {
protected:
    void SetUp() override {
        TempDirectoryTest::SetUp();
        write("first/rules.sch", testing::schematronText(R"~(<title>Order rules</title>
  <ns prefix="o" uri="urn:order"/><ns prefix="c" uri="urn:common"/><let name="ORDER-CIUS" value="'urn:order:1.0'"/>)~"));
        write("first/rules-preprocessed.sch", "<schema/>");
        write("second/order.xsd",
              R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:order"/>)~");
    }
};

TEST_F(CatalogCliTest, PrintsOneLinePerEntry) {
    auto result = runCli({"catalog", "--schemas", path("first"), "--schemas", path("second")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    auto lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 2u);
    std::map<std::string, json> byPath;
    for (const auto& line : lines) byPath[line.at("path")] = line;
    EXPECT_EQ(byPath.at(path("first/rules.sch")), json::parse(R"~({"path": ")~" + path("first/rules.sch") + R"~(",
        "type": "schematron", "title": "Order rules", "namespaces": {"c": "urn:common", "o": "urn:order"},
        "customizationID": "urn:order:1.0"})~"));
    EXPECT_EQ(byPath.at(path("second/order.xsd")), json::parse(R"~({"path": ")~" + path("second/order.xsd") + R"~(",
        "type": "xsd", "title": "order", "namespaces": {"target": "urn:order"}, "customizationID": null})~"));
    // Keys in a fixed order, so that pipelines can rely on the text too.
    EXPECT_EQ(result.out.substr(0, 9), R"~({"path":")~");
    // Several directories may follow one option.
    EXPECT_EQ(runCli({"catalog", "--schemas", path("first"), path("second")}).out, result.out);
}

TEST_F(CatalogCliTest, ProblemsAreOneLineOnStderr) {
    auto missing = runCli({"catalog", "--schemas", path("first"), "--schemas", path("absent")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.out, "");
    EXPECT_NE(missing.err.find(path("absent")), std::string::npos) << missing.err;
    EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;

    // A malformed schema is logged and the rest listed.
    write("first/broken.sch", "<schema>");
    auto malformed = runCli({"catalog", "--schemas", path("first")});
    EXPECT_EQ(malformed.exitCode, 0);
    EXPECT_EQ(jsonLines(malformed.out).size(), 1u);
    EXPECT_TRUE(malformed.err.starts_with("Error parsing schema file " + path("first/broken.sch") + ": ")) << malformed.err;

    testing::expectUsageErrors({{"catalog"}});
}

TEST(CatalogCliCorpusTest, ListsThePeppolRuleSets) {
    ASSERT_TRUE(testing::corpusAvailable()) << "the corpus is missing";
    auto result = runCli({"catalog", "--schemas", testing::corpusPath("peppol/rules/sch")});
    EXPECT_EQ(result.exitCode, 0);
    auto lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[3]["title"], "Rules for Peppol BIS 3.0 Billing");
    EXPECT_EQ(lines[3]["customizationID"], "urn:cen.eu:en16931:2017#compliant#urn:fdc:peppol.eu:2017:poacc:billing:3.0");
    EXPECT_EQ(lines[0]["title"], "EN16931 model bound to CII");
    EXPECT_EQ(lines[0]["customizationID"], nullptr);
}

}  // namespace
}  // namespace quillmark
