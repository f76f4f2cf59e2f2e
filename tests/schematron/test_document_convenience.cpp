// Validating a document the host already holds, against rule-set text or a rule-set file.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::schematronText;
using Lines = std::vector<std::string>;

const std::string kOrderRules = schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="lines"><rule id="line" context="o:Line">
    <assert id="LINE-1" test="o:Quantity > 0">Quantity must be positive, got <value-of select="o:Quantity"/></assert>
  </rule></pattern>)~");

constexpr const char* kOrderText =
    R"~(<Order xmlns="urn:order"><Line><Quantity>2</Quantity></Line><Line><Quantity>0</Quantity></Line></Order>)~";

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
    for (const auto& document : {testing::parseXML(kOrderText), buildOrderInMemory()}) {
        auto result = validateWithSchematron(*document, kOrderRules, &error);
        ASSERT_TRUE(result) << error.message();
        EXPECT_EQ(testing::idLocationMessage(result->errors),
                  Lines{"LINE-1 /Order[1]/Line[2] Quantity must be positive, got 0"});
        EXPECT_FALSE(result->valid);
    }
    EXPECT_FALSE(error);
    // Broken rules give the parser's error.
    EXPECT_EQ(validateWithSchematron(*testing::parseXML(kOrderText), "<schema>", &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

using DocumentConvenienceFileTest = testing::TempDirectoryTest;

TEST_F(DocumentConvenienceFileTest, IncludesAreNotResolved) {
    // The line rule lives in an included file; the including file checks the root.
    write("main.sch", schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="order"><rule id="root" context="o:Order">
    <report id="ORDER-SEEN" test="true()">order</report></rule></pattern>
  <include href="lines.sch"/>)~"));
    write("lines.sch", schematronText(R"~(<pattern id="lines">
  <rule id="line" context="o:Line"><assert id="LINE-1" test="o:Quantity > 0">positive</assert></rule></pattern>)~"));
    Error error;
    auto document = testing::parseXML(kOrderText);
    auto result = validateWithSchematronFile(*document, path("main.sch"), &error);
    ASSERT_TRUE(result) << error.message();
    EXPECT_TRUE(result->errors.empty());
    EXPECT_EQ(testing::idLocationMessage(result->warnings), Lines{"ORDER-SEEN /Order[1] order"});

    // The validator's own file operation does resolve them, and names no schema files.
    QMSchematronValidator validator;
    auto resolved = validator.validateXMLWithSchemaFile(kOrderText, path("main.sch"), nullptr);
    ASSERT_TRUE(resolved);
    EXPECT_EQ(testing::ids(resolved->errors), Lines{"LINE-1"});
    EXPECT_FALSE(resolved->schemaFiles);

    EXPECT_EQ(validateWithSchematronFile(*document, path("absent.sch"), &error), std::nullopt);
    EXPECT_EQ(error.domain, kFileDomain);
}

// The standard profile reads a union context as XPath 2.0 does (the compatible dialect's
// union selects nothing) and resolves includes relative to the rule-set file.
TEST_F(DocumentConvenienceFileTest, StandardProfileReadsXPath2AndResolvesIncludes) {
    write("main.sch", schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="order"><rule context="/o:Order | /o:Invoice">
    <assert id="BUYER" test="o:Buyer">a buyer</assert></rule></pattern>
  <include href="lines.sch"/>)~"));
    write("lines.sch", R"~(<pattern xmlns="http://purl.oclc.org/dsdl/schematron" id="lines">
  <rule context="o:Line"><assert id="LINE-1" test="o:Quantity > 0">positive</assert></rule></pattern>)~");
    const auto document = testing::parseXML(kOrderText);
    Error error;
    auto standard = validateWithSchematronFile(*document, path("main.sch"), &error, Semantics::Standard);
    ASSERT_TRUE(standard) << error.message();
    EXPECT_EQ(testing::ids(standard->errors), (Lines{"BUYER", "LINE-1"}));
    // Rule-set text has no base path: its include cannot be found, and the rule set is
    // refused rather than run in part.
    EXPECT_FALSE(validateWithSchematron(*document, testing::readFile(path("main.sch")), &error, Semantics::Standard));
    EXPECT_EQ(error.domain, kRuleSetDomain);
    error.clear();
    auto compatible = validateWithSchematronFile(*document, path("main.sch"), &error);
    ASSERT_TRUE(compatible) << error.message();
    EXPECT_EQ(testing::ids(compatible->errors), Lines{});
}

}  // namespace
}  // namespace quillmark
