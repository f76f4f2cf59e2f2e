// Automatic validation over small rule sets written here: merging in catalog order,
// the error slot handed from schema to schema, and documents that fit nothing.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::schematronText;

const std::string kLineRules = schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="lines"><rule id="line" context="o:Line">
    <assert id="LINE-1" test="o:Quantity > 0">Quantity must be positive</assert></rule></pattern>)~");

const std::string kRootRules = schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="root"><rule id="order" context="o:Order">
    <assert id="ORDER-1" test="o:Reference">An order needs a reference</assert>
    <report id="ORDER-2" test="count(o:Line) > 1" flag="warning">More than one line</report></rule></pattern>)~");

// Well-formed, catalogued fine, but its include is missing: loading it fails when the
// caller asks for errors and goes on without the include otherwise.
const std::string kRulesWithMissingInclude = schematronText(R"~(<ns prefix="o" uri="urn:order"/>
  <pattern id="own"><rule id="seen" context="o:Order"><assert id="OWN-1" test="false()">own rule</assert></rule></pattern>
  <include href="missing.sch"/>)~");

constexpr const char* kOrderSchema = R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"
    targetNamespace="urn:order" xmlns="urn:order" elementFormDefault="qualified">
  <xs:element name="Order"><xs:complexType><xs:sequence>
    <xs:element name="Reference" type="xs:string"/>
    <xs:element name="Line" maxOccurs="unbounded"><xs:complexType><xs:sequence>
      <xs:element name="Quantity" type="xs:integer"/></xs:sequence></xs:complexType></xs:element>
  </xs:sequence></xs:complexType></xs:element>
</xs:schema>)~";

// No reference (an XSD violation and ORDER-1), a zero quantity (LINE-1), two lines (ORDER-2).
constexpr const char* kOrder =
    R"~(<Order xmlns="urn:order"><Line><Quantity>0</Quantity></Line><Line><Quantity>1</Quantity></Line></Order>)~";

using testing::idLocationMessage;
using Lines = std::vector<std::string>;

class AutoValidationTest : public testing::TempDirectoryTest {
protected:
    // Writes the named rule sets and registers the directory.
    QMSchematronValidator& registered(const std::vector<std::pair<std::string, std::string>>& files) {
        for (const auto& [name, text] : files) write(name, text);
        validator_.addSchemaDirectory(directory_);
        return validator_;
    }
    QMSchematronValidator validator_;
};

// The XSD entry reports any well-formed document as valid and leaves the error slot
// empty, so it never blocks the Schematron entries after it.
TEST_F(AutoValidationTest, MergesTheFindingsOfEveryFittingSchemaInCatalogOrder) {
    auto& validator = registered({{"a-lines.sch", kLineRules}, {"b-order.xsd", kOrderSchema}, {"c-root.sch", kRootRules}});
    Error error;
    auto merged = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(merged) << error.message();
    EXPECT_FALSE(error);
    EXPECT_EQ(merged->schemaFiles, (Lines{path("a-lines.sch"), path("b-order.xsd"), path("c-root.sch")}));
    EXPECT_EQ(idLocationMessage(merged->errors), (Lines{"LINE-1 /Order[1]/Line[1] Quantity must be positive",
                                                        "ORDER-1 /Order[1] An order needs a reference"}));
    EXPECT_EQ(idLocationMessage(merged->warnings), Lines{"ORDER-2 /Order[1] More than one line"});
    EXPECT_FALSE(merged->valid);
    EXPECT_EQ(merged->status(), 3);
    EXPECT_EQ(merged->patterns, Lines{});
}

TEST_F(AutoValidationTest, AFailedSchemaStopsTheSchematronEntriesAfterItOnlyWithAnErrorSlot) {
    auto& validator = registered({{"1-lines.sch", kLineRules}, {"2-broken.sch", kRulesWithMissingInclude},
                                  {"3-order.xsd", kOrderSchema}, {"4-root.sch", kRootRules}});
    ScopedLogCapture log;  // the missing include is logged on every load
    Error error;
    auto withSlot = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(withSlot);
    EXPECT_EQ(idLocationMessage(withSlot->errors), Lines{"LINE-1 /Order[1]/Line[1] Quantity must be positive"});
    EXPECT_TRUE(withSlot->warnings.empty());
    EXPECT_EQ(error.domain, kFileDomain);  // the include's read error, handed through
    EXPECT_EQ(withSlot->schemaFiles->size(), 4u);

    auto withoutSlot = validator.validateXMLWithAutoDetection(kOrder, nullptr);
    ASSERT_TRUE(withoutSlot);
    EXPECT_EQ(idLocationMessage(withoutSlot->errors),
              (Lines{"LINE-1 /Order[1]/Line[1] Quantity must be positive", "OWN-1 /Order[1] own rule",
                     "ORDER-1 /Order[1] An order needs a reference"}));
    EXPECT_EQ(idLocationMessage(withoutSlot->warnings), Lines{"ORDER-2 /Order[1] More than one line"});
}

TEST_F(AutoValidationTest, AnErrorAlreadyInTheSlotStopsEverySchematronEntry) {
    auto& validator = registered({{"a-lines.sch", kLineRules}, {"b-order.xsd", kOrderSchema}});
    Error error;
    setError(&error, "Earlier", 5, "left over");
    auto stopped = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(stopped);  // the XSD entry still ran
    EXPECT_TRUE(stopped->errors.empty());
    EXPECT_TRUE(stopped->valid);
    EXPECT_EQ(error.domain, "Earlier");
}

TEST_F(AutoValidationTest, DocumentThatFitsNothingGivesNothing) {
    auto& validator = registered({{"a-lines.sch", kLineRules}});
    const std::string unrelated = R"~(<Note xmlns="urn:note"/>)~";
    Error first;
    EXPECT_EQ(validator.validateXMLWithAutoDetection(unrelated, &first), std::nullopt);
    EXPECT_EQ(first.domain, "Quillmark");
    EXPECT_EQ(first.code, 404);
    Error second;  // the cached empty match gives no error the second time
    EXPECT_EQ(validator.validateXMLWithAutoDetection(unrelated, &second), std::nullopt);
    EXPECT_FALSE(second);

    Error parseError;
    EXPECT_EQ(validator.validateXMLWithAutoDetection("<Order", &parseError), std::nullopt);
    EXPECT_EQ(parseError.domain, kXMLParserDomain);
}

}  // namespace
}  // namespace quillmark
