// Validating a document the host already holds, against rule-set text or a rule-set file.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOrderRules = R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <ns prefix="o" uri="urn:order"/>
  <pattern id="lines">
    <rule id="line" context="o:Line">
      <assert id="LINE-1" test="o:Quantity > 0">Quantity must be positive, got <value-of select="o:Quantity"/></assert>
    </rule>
  </pattern>
</schema>)~";

constexpr const char* kOrderText = R"~(<Order xmlns="urn:order"><Line><Quantity>2</Quantity></Line><Line><Quantity>0</Quantity></Line></Order>)~";

std::vector<std::string> describe(const QMValidationResult& result) {
    std::vector<std::string> lines;
    for (const auto& issue : result.errors) lines.push_back(issue.assertionId + " " + issue.location + " " + issue.message);
    for (const auto& issue : result.warnings) lines.push_back("warning " + issue.assertionId + " " + issue.location);
    return lines;
}

std::shared_ptr<xml::Document> buildOrderInMemory() {
    auto document = xml::Document::create();
    xml::Node order = document->createRootElement("Order", "urn:order");
    for (const char* quantity : {"2", "0"}) {
        xml::Node line = document->appendElement(order, "Line", "urn:order");
        document->appendText(document->appendElement(line, "Quantity", "urn:order"), quantity);
    }
    return document;
}

TEST(DocumentConvenienceTest, BuiltAndParsedDocumentsGiveTheSameFindings) {
    Error error;
    auto parsed = xml::Document::parse(kOrderText, &error);
    ASSERT_TRUE(parsed) << error.message();
    auto fromText = validateWithSchematron(*parsed, kOrderRules, &error);
    ASSERT_TRUE(fromText) << error.message();
    auto fromMemory = validateWithSchematron(*buildOrderInMemory(), kOrderRules, &error);
    ASSERT_TRUE(fromMemory) << error.message();

    const std::vector<std::string> expected = {"LINE-1 /Order[1]/Line[2] Quantity must be positive, got 0"};
    EXPECT_EQ(describe(*fromText), expected);
    EXPECT_EQ(describe(*fromMemory), expected);
    EXPECT_FALSE(fromMemory->valid);
    EXPECT_FALSE(error);
}

TEST(DocumentConvenienceTest, BrokenRulesAreThePlatformsError) {
    Error error;
    auto document = xml::Document::parse(kOrderText, &error);
    EXPECT_EQ(validateWithSchematron(*document, "<schema>", &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

class DocumentConvenienceFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        directory_ = testing::makeTempDirectory("quillmark-convenience");
        // The line rule lives in an included file; the including file checks the root.
        std::ofstream(directory_ + "/main.sch") << R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <ns prefix="o" uri="urn:order"/>
  <pattern id="order">
    <rule id="root" context="o:Order"><report id="ORDER-SEEN" test="true()">order</report></rule>
  </pattern>
  <include href="lines.sch"/>
</schema>)~";
        std::ofstream(directory_ + "/lines.sch") << R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <pattern id="lines">
    <rule id="line" context="o:Line"><assert id="LINE-1" test="o:Quantity > 0">positive</assert></rule>
  </pattern>
</schema>)~";
    }
    void TearDown() override { fs::remove_all(directory_); }

    std::string directory_;
};

TEST_F(DocumentConvenienceFileTest, IncludesAreNotResolved) {
    Error error;
    auto document = xml::Document::parse(kOrderText, &error);
    auto result = validateWithSchematronFile(*document, directory_ + "/main.sch", &error);
    ASSERT_TRUE(result) << error.message();
    EXPECT_EQ(describe(*result), std::vector<std::string>{"warning ORDER-SEEN /Order[1]"});

    // The validator's own file operation does resolve them.
    QMSchematronValidator validator;
    auto resolved = validator.validateXMLWithSchemaFile(kOrderText, directory_ + "/main.sch", nullptr);
    ASSERT_TRUE(resolved);
    EXPECT_EQ(resolved->errors.size(), 1u);
}

TEST_F(DocumentConvenienceFileTest, UnreadableFileIsTheFileError) {
    Error error;
    auto document = xml::Document::parse(kOrderText, &error);
    EXPECT_EQ(validateWithSchematronFile(*document, directory_ + "/absent.sch", &error), std::nullopt);
    EXPECT_EQ(error.domain, kFileDomain);
}

}  // namespace
}  // namespace quillmark
