// XSD findings as the standard profile reports them: each placed at the start tag of the
// element or attribute libxml2 names, with that node's location path, libxml2's message
// on one line and the schema's file name; the plain findings stay unplaced.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xsd_validation.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::parseXML;

constexpr const char* kOrderSchema = R"~(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:order"
           xmlns="urn:test:order" elementFormDefault="qualified">
  <xs:element name="Order"><xs:complexType><xs:sequence>
    <xs:element name="ID" type="xs:string"/>
    <xs:element name="Line" maxOccurs="unbounded"><xs:complexType><xs:sequence>
      <xs:element name="Quantity" type="xs:positiveInteger"/>
    </xs:sequence>
    <xs:attribute name="unit" type="xs:NCName"/>
    </xs:complexType></xs:element>
  </xs:sequence></xs:complexType></xs:element>
</xs:schema>
)~";

// One place per finding: "LINE:COLUMN LOCATION".
std::vector<std::string> places(const QMValidationResult& result) {
    return testing::issueLines(result.errors, [](const QMValidationError& issue) {
        return std::to_string(issue.line) + ":" + std::to_string(issue.column) + " " + issue.location;
    });
}

class XSDPositionsTest : public testing::TempDirectoryTest {
protected:
    void SetUp() override {
        TempDirectoryTest::SetUp();
        schema_ = CompiledXSD::load(write("order.xsd", kOrderSchema), nullptr);
        ASSERT_TRUE(schema_);
    }
    QMValidationResult located(const std::string& xml, bool withSource = true) {
        Error error;
        auto result = schema_->validateLocated(*parseXML(xml), withSource ? &xml : nullptr, &error);
        EXPECT_TRUE(result) << error.message();
        return result ? *result : QMValidationResult{};
    }
    std::shared_ptr<const CompiledXSD> schema_;
};

TEST_F(XSDPositionsTest, FindingsArePlacedAtTheStartTagOfTheNodeAtFault) {
    struct Case {
        const char* name;
        std::string xml;
        std::vector<std::string> places;
    };
    const Case cases[] = {
        {"a bad value, indented",
         "<Order xmlns=\"urn:test:order\">\n  <ID>A</ID>\n  <Line>\n    <Quantity>-3</Quantity>\n  </Line>\n</Order>",
         {"4:5 /Order[1]/Line[1]/Quantity[1]"}},
        {"several findings, two on one line",
         "<Order xmlns=\"urn:test:order\"><ID>A</ID>\n"
         "<Line><Quantity>0</Quantity></Line><Line><Quantity>x</Quantity></Line>\n"
         "<Colour/>\n</Order>",
         {"2:7 /Order[1]/Line[1]/Quantity[1]", "2:42 /Order[1]/Line[2]/Quantity[1]", "3:1 /Order[1]/Colour[1]"}},
        {"an attribute: its element's start tag, the attribute's path",
         "<Order xmlns=\"urn:test:order\"><ID>A</ID>\n   <Line unit=\"two words\"><Quantity>1</Quantity></Line></Order>",
         {"2:4 /Order[1]/Line[1]/@unit"}},
        {"a start tag written over several lines begins where it opens",
         "<Order xmlns=\"urn:test:order\"><ID>A</ID>\n  <Line\n     unit=\"1x\"\n  ><Quantity>1</Quantity></Line></Order>",
         {"2:3 /Order[1]/Line[1]/@unit"}},
        {"a missing child: the parent that lacks it",
         "<Order xmlns=\"urn:test:order\">\n<ID>A</ID>\n<Line></Line></Order>",
         {"3:1 /Order[1]/Line[1]"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QMValidationResult result = located(c.xml);
        EXPECT_FALSE(result.valid);
        EXPECT_EQ(places(result), c.places);
        for (const QMValidationError& issue : result.errors) {
            EXPECT_EQ(issue.type + " " + issue.role + " " + issue.severity(), "xsd error Error");
            EXPECT_EQ(issue.schemaTitle + " " + issue.ruleSet, "order.xsd order.xsd");
            EXPECT_EQ(issue.semantics, Semantics::Standard);
            EXPECT_EQ(issue.pattern + issue.rule + issue.assertionId, "");
            EXPECT_EQ(issue.message.find('\n'), std::string::npos) << issue.message;
            EXPECT_EQ(issue.message.rfind("Element '", 0), 0u) << issue.message;
        }
    }
}

// The message is libxml2's, on one line, naming what is wrong.
TEST_F(XSDPositionsTest, MessageIsLibxmlsOnOneLine) {
    QMValidationResult result =
        located("<Order xmlns=\"urn:test:order\"><ID>A</ID><Line unit=\"a b\"><Quantity>-3</Quantity></Line></Order>");
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_EQ(result.errors[0].message,
              "Element '{urn:test:order}Line', attribute 'unit': 'a b' is not a valid value of the atomic type "
              "'xs:NCName'.");
    EXPECT_EQ(result.errors[1].message,
              "Element '{urn:test:order}Quantity': '-3' is not a valid value of the atomic type 'xs:positiveInteger'.");
}

// Without the document's text the line is still known; the column is not.
TEST_F(XSDPositionsTest, WithoutTheTextOnlyTheLine) {
    const std::string xml = "<Order xmlns=\"urn:test:order\">\n  <ID>A</ID>\n  <Bad/>\n</Order>";
    EXPECT_EQ(places(located(xml, false)), std::vector<std::string>{"3:0 /Order[1]/Bad[1]"});
}

// The plain findings (compatible profile, validateXMLAgainstXSD) keep their form.
TEST_F(XSDPositionsTest, PlainFindingsStayUnplaced) {
    const std::string xml = "<Order xmlns=\"urn:test:order\">\n  <ID>A</ID>\n  <Bad/>\n</Order>";
    auto result = schema_->validate(*parseXML(xml), nullptr);
    ASSERT_TRUE(result);
    ASSERT_EQ(result->errors.size(), 1u);
    const QMValidationError& issue = result->errors.front();
    EXPECT_EQ(std::to_string(issue.line) + ":" + std::to_string(issue.column) + " [" + issue.location + "] " +
                  issue.schemaTitle,
              "0:0 [] order");
}

// The validator in the standard profile reports XSD findings placed; in the compatible
// profile every well-formed document stays valid.
TEST_F(XSDPositionsTest, ValidatorPlacesFindingsInTheStandardProfile) {
    const std::string xml = "<Order xmlns=\"urn:test:order\">\n  <ID>A</ID>\n  <Bad/>\n</Order>";
    QMSchematronValidator validator;
    validator.setSemantics(Semantics::Standard);
    auto standard = validator.validateXMLWithXSDFile(xml, path("order.xsd"), nullptr);
    ASSERT_TRUE(standard);
    EXPECT_EQ(places(*standard), std::vector<std::string>{"3:3 /Order[1]/Bad[1]"});

    validator.setSemantics(Semantics::Compatible);
    auto compatible = validator.validateXMLWithXSDFile(xml, path("order.xsd"), nullptr);
    ASSERT_TRUE(compatible);
    EXPECT_TRUE(compatible->valid && compatible->errors.empty());
}

}  // namespace
}  // namespace quillmark
