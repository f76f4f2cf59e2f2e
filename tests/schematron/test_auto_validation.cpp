// Automatic validation over small rule sets written here: merging in catalog order,
// the error slot handed from schema to schema, and documents that fit nothing.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLineRules = R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <ns prefix="o" uri="urn:order"/>
  <pattern id="lines">
    <rule id="line" context="o:Line">
      <assert id="LINE-1" test="o:Quantity > 0">Quantity must be positive</assert>
    </rule>
  </pattern>
</schema>)~";

constexpr const char* kRootRules = R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <ns prefix="o" uri="urn:order"/>
  <pattern id="root">
    <rule id="order" context="o:Order">
      <assert id="ORDER-1" test="o:Reference">An order needs a reference</assert>
      <report id="ORDER-2" test="count(o:Line) > 1" flag="warning">More than one line</report>
    </rule>
  </pattern>
</schema>)~";

// Well-formed, catalogued fine, but its include is missing: loading it fails when the
// caller asks for errors and goes on without the include otherwise.
constexpr const char* kRulesWithMissingInclude = R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <ns prefix="o" uri="urn:order"/>
  <pattern id="own">
    <rule id="seen" context="o:Order"><assert id="OWN-1" test="false()">own rule</assert></rule>
  </pattern>
  <include href="missing.sch"/>
</schema>)~";

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

std::vector<std::string> describe(const std::vector<QMValidationError>& issues) {
    std::vector<std::string> lines;
    for (const auto& issue : issues) lines.push_back(issue.assertionId + " " + issue.location + " " + issue.message);
    return lines;
}

class AutoValidationTest : public ::testing::Test {
protected:
    void SetUp() override { directory_ = testing::makeTempDirectory("quillmark-auto"); }
    void TearDown() override { fs::remove_all(directory_); }

    void write(const std::string& name, const std::string& text) { std::ofstream(path(name)) << text; }
    std::string path(const std::string& name) const { return directory_ + "/" + name; }
    QMSchematronValidator& registered() {
        validator_.addSchemaDirectory(directory_);
        return validator_;
    }

    std::string directory_;
    QMSchematronValidator validator_;
};

TEST_F(AutoValidationTest, MergesTheFindingsOfEveryFittingSchemaInCatalogOrder) {
    write("a-lines.sch", kLineRules);
    write("b-order.xsd", kOrderSchema);
    write("c-root.sch", kRootRules);
    QMSchematronValidator& validator = registered();

    Error error;
    auto merged = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(merged) << error.message();
    EXPECT_FALSE(error);
    EXPECT_EQ(merged->schemaFiles, (std::vector<std::string>{path("a-lines.sch"), path("b-order.xsd"), path("c-root.sch")}));
    EXPECT_EQ(describe(merged->errors), (std::vector<std::string>{"LINE-1 /Order[1]/Line[1] Quantity must be positive",
                                                                  "ORDER-1 /Order[1] An order needs a reference"}));
    EXPECT_EQ(describe(merged->warnings), std::vector<std::string>{"ORDER-2 /Order[1] More than one line"});
    EXPECT_FALSE(merged->valid);
    EXPECT_EQ(merged->status(), 3);
    EXPECT_EQ(merged->patterns, std::vector<std::string>{});
}

TEST_F(AutoValidationTest, XSDEntryNeverBlocksTheSchematronEntriesAfterIt) {
    // The XSD entry reports any well-formed document as valid and leaves the slot empty,
    // so the Schematron findings are the same whether it runs before or after them.
    write("a-order.xsd", kOrderSchema);
    write("b-root.sch", kRootRules);
    write("z-order.xsd", kOrderSchema);
    QMSchematronValidator& validator = registered();
    Error error;
    for (Error* slot : {static_cast<Error*>(nullptr), &error}) {
        auto merged = validator.validateXMLWithAutoDetection(kOrder, slot);
        ASSERT_TRUE(merged);
        EXPECT_EQ(describe(merged->errors), std::vector<std::string>{"ORDER-1 /Order[1] An order needs a reference"});
        EXPECT_EQ(describe(merged->warnings), std::vector<std::string>{"ORDER-2 /Order[1] More than one line"});
    }
    EXPECT_FALSE(error);
}

TEST_F(AutoValidationTest, AFailedSchemaStopsTheSchematronEntriesAfterItOnlyWithAnErrorSlot) {
    write("1-lines.sch", kLineRules);
    write("2-broken.sch", kRulesWithMissingInclude);
    write("3-order.xsd", kOrderSchema);
    write("4-root.sch", kRootRules);
    QMSchematronValidator& validator = registered();
    ScopedLogCapture log;  // the missing include is logged on every load

    Error error;
    auto withSlot = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(withSlot);
    EXPECT_EQ(describe(withSlot->errors), std::vector<std::string>{"LINE-1 /Order[1]/Line[1] Quantity must be positive"});
    EXPECT_TRUE(withSlot->warnings.empty());
    EXPECT_EQ(error.domain, kFileDomain);  // the include's read error, handed through
    EXPECT_EQ(withSlot->schemaFiles->size(), 4u);

    auto withoutSlot = validator.validateXMLWithAutoDetection(kOrder, nullptr);
    ASSERT_TRUE(withoutSlot);
    EXPECT_EQ(describe(withoutSlot->errors), (std::vector<std::string>{"LINE-1 /Order[1]/Line[1] Quantity must be positive",
                                                                       "OWN-1 /Order[1] own rule",
                                                                       "ORDER-1 /Order[1] An order needs a reference"}));
    EXPECT_EQ(describe(withoutSlot->warnings), std::vector<std::string>{"ORDER-2 /Order[1] More than one line"});
}

TEST_F(AutoValidationTest, AnErrorAlreadyInTheSlotStopsEverySchematronEntry) {
    write("a-lines.sch", kLineRules);
    write("b-order.xsd", kOrderSchema);
    QMSchematronValidator& validator = registered();
    Error error;
    setError(&error, "Earlier", 5, "left over");
    auto merged = validator.validateXMLWithAutoDetection(kOrder, &error);
    ASSERT_TRUE(merged);  // the XSD entry still ran
    EXPECT_TRUE(merged->errors.empty());
    EXPECT_TRUE(merged->valid);
    EXPECT_EQ(error.domain, "Earlier");
}

TEST_F(AutoValidationTest, DocumentThatFitsNothingGivesNothing) {
    write("a-lines.sch", kLineRules);
    QMSchematronValidator& validator = registered();
    const std::string unrelated = R"~(<Note xmlns="urn:note"/>)~";
    Error first;
    EXPECT_EQ(validator.validateXMLWithAutoDetection(unrelated, &first), std::nullopt);
    EXPECT_EQ(first.code, 404);
    Error second;
    EXPECT_EQ(validator.validateXMLWithAutoDetection(unrelated, &second), std::nullopt);
    EXPECT_FALSE(second);

    Error parseError;
    EXPECT_EQ(validator.validateXMLWithAutoDetection("<Order", &parseError), std::nullopt);
    EXPECT_EQ(parseError.domain, kXMLParserDomain);
}

}  // namespace
}  // namespace quillmark
