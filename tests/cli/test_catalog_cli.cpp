// quillmark catalog: one JSON line per catalog entry, stdout, stderr and exit status
// checked together.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::runCli;

std::vector<json> jsonLines(const std::string& out) {
    std::vector<json> lines;
    std::istringstream stream(out);
    std::string line;
    while (std::getline(stream, line)) lines.push_back(json::parse(line));
    return lines;
}

class CatalogCliTest : public ::testing::Test {
protected:
    void SetUp() override {
        first_ = testing::makeTempDirectory("quillmark-cli-catalog");
        second_ = testing::makeTempDirectory("quillmark-cli-catalog");
        std::ofstream(first_ + "/rules.sch") << R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <title>Order rules</title>
  <ns prefix="o" uri="urn:order"/><ns prefix="c" uri="urn:common"/>
  <let name="ORDER-CIUS" value="'urn:order:1.0'"/>
</schema>)~";
        std::ofstream(first_ + "/rules-preprocessed.sch") << "<schema/>";
        std::ofstream(second_ + "/order.xsd")
            << R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:order"/>)~";
    }
    void TearDown() override {
        fs::remove_all(first_);
        fs::remove_all(second_);
    }

    std::string first_;
    std::string second_;
};

TEST_F(CatalogCliTest, PrintsOneLinePerEntry) {
    auto result = runCli({"catalog", "--schemas", first_, "--schemas", second_});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    auto lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 2u);

    std::map<std::string, json> byPath;
    for (const auto& line : lines) byPath[line.at("path")] = line;
    EXPECT_EQ(byPath.at(first_ + "/rules.sch"), json::parse(R"~({"path": ")~" + first_ + R"~(/rules.sch",
        "type": "schematron", "title": "Order rules", "namespaces": {"c": "urn:common", "o": "urn:order"},
        "customizationID": "urn:order:1.0"})~"));
    EXPECT_EQ(byPath.at(second_ + "/order.xsd"), json::parse(R"~({"path": ")~" + second_ + R"~(/order.xsd",
        "type": "xsd", "title": "order", "namespaces": {"target": "urn:order"}, "customizationID": null})~"));
    // Keys in a fixed order, so that pipelines can rely on the text too.
    EXPECT_EQ(result.out.substr(0, 9), R"~({"path":")~");
}

TEST_F(CatalogCliTest, SeveralDirectoriesAfterOneOption) {
    auto result = runCli({"catalog", "--schemas", first_, second_});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(jsonLines(result.out).size(), 2u);
}

TEST_F(CatalogCliTest, MissingDirectoryIsAOneLineError) {
    auto result = runCli({"catalog", "--schemas", first_, "--schemas", first_ + "/absent"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(first_ + "/absent"), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

TEST_F(CatalogCliTest, MalformedSchemaIsLoggedAndTheRestListed) {
    std::ofstream(first_ + "/broken.sch") << "<schema>";
    auto result = runCli({"catalog", "--schemas", first_});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(jsonLines(result.out).size(), 1u);
    EXPECT_EQ(result.err.rfind("Error parsing schema file " + first_ + "/broken.sch: ", 0), 0u) << result.err;
}

TEST(CatalogCliUsageTest, SchemasOptionIsRequired) {
    auto result = runCli({"catalog"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
}

TEST(CatalogCliCorpusTest, ListsThePeppolRuleSets) {
    if (!testing::corpusAvailable()) GTEST_SKIP() << "corpus not available";
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
