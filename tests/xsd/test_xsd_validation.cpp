// XSD validation through libxml2: the document operations, the validator operation
// whose result reports every well-formed document as valid, the findings-as-issues
// entry point for tools, and libxml2's error handlers.

#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <libxml/xmlerror.h>

#include <filesystem>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using testing::corpusAvailable;
using testing::corpusPath;
using testing::parseXML;
using testing::readFile;

constexpr const char* kOrderSchema = R"~(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:order"
           xmlns="urn:test:order" elementFormDefault="qualified">
  <xs:element name="Order"><xs:complexType><xs:sequence>
    <xs:element name="ID" type="xs:string"/>
    <xs:element name="Quantity" type="xs:positiveInteger" maxOccurs="unbounded"/>
  </xs:sequence></xs:complexType></xs:element>
</xs:schema>
)~";

constexpr const char* kValidOrder = R"~(<Order xmlns="urn:test:order"><ID>A-1</ID><Quantity>3</Quantity></Order>)~";
// Two validity problems: a quantity that is not a positive integer, and an unknown element.
constexpr const char* kInvalidOrder =
    R"~(<Order xmlns="urn:test:order"><ID>A-1</ID><Quantity>-3</Quantity><Colour>red</Colour></Order>)~";

const std::string kCIISchemaPath =
    "en16931/cii/schema/D16B SCRDM (Subset)/uncoupled clm/CII/uncefact/data/standard/CrossIndustryInvoice_100pD16B.xsd";

// A document that libxml2 cannot read back: nothing but the XML declaration.
std::shared_ptr<xml::Document> documentWithoutRoot() { return xml::Document::create(); }

class XSDValidationTest : public testing::TempDirectoryTest {
protected:
    void SetUp() override {
        TempDirectoryTest::SetUp();
        schemaPath_ = write("order.xsd", kOrderSchema);
    }
    std::string schemaPath_;
};

// ---- validateWithXSD ----

// The schema's base name comes back whatever the outcome, unless the document cannot be
// read back; an error slot is optional.
TEST_F(XSDValidationTest, ReturnsTheSchemaNameAndDescribesTheOutcome) {
    write("base.rules.xsd", kOrderSchema);
    write("noextension", kOrderSchema);
    struct Case {
        std::shared_ptr<xml::Document> document;
        std::string schema;
        std::optional<std::string> name;
        const char* description;  // empty: no error
    };
    const Case cases[] = {
        {parseXML(kValidOrder), "order.xsd", "order", ""},
        {parseXML(kValidOrder), "base.rules.xsd", "base.rules", ""},
        {parseXML(kValidOrder), "noextension", "noextension", ""},
        {parseXML(kInvalidOrder), "order.xsd", "order", "XML is invalid."},
        {parseXML(kValidOrder), "absent.xsd", "absent", "XML is invalid."},
        {documentWithoutRoot(), "order.xsd", std::nullopt, "Failed to parse XML."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.schema + " " + c.description);
        Error error;
        EXPECT_EQ(validateWithXSD(*c.document, path(c.schema), &error), c.name);
        EXPECT_EQ(error.localizedDescription, c.description);
        EXPECT_EQ(error.domain, *c.description ? "NSXMLDocumentValidation" : "");
        EXPECT_EQ(validateWithXSD(*c.document, path(c.schema), nullptr), c.name);
    }
}

TEST_F(XSDValidationTest, InvalidDocumentDescribesEveryViolation) {
    Error error;
    validateWithXSD(*parseXML(kInvalidOrder), schemaPath_, &error);
    EXPECT_GT(error.code, 0);  // xmlSchemaValidateDoc's positive return value
    const std::string& messages = error.userInfo.at(kValidationErrorsKey);
    EXPECT_NE(messages.find("Quantity"), std::string::npos) << messages;
    EXPECT_NE(messages.find("Colour"), std::string::npos) << messages;
    // One handler call per report; libxml2 ends each report with a line feed, which
    // stays in the joined text next to the joining ones.
    EXPECT_EQ(error.userInfo.at(kValidationErrorsLengthKey), "2");
    EXPECT_NE(messages.find("\n\n"), std::string::npos);

    Error missing;
    validateWithXSD(*parseXML(kValidOrder), path("absent.xsd"), &missing);
    EXPECT_NE(missing.code, 0);
    Error unreadable;
    validateWithXSD(*documentWithoutRoot(), schemaPath_, &unreadable);
    EXPECT_TRUE(unreadable.userInfo.empty());
}

// ---- validateWithXSDs ----

TEST_F(XSDValidationTest, SeveralSchemasReturnTheFirstUsableNameOrCombineTheErrors) {
    write("second.xsd", kOrderSchema);
    Error error;
    setError(&error, "Earlier", 7, "left over");
    EXPECT_EQ(validateWithXSDs(*parseXML(kInvalidOrder), {schemaPath_, path("second.xsd")}, &error), "order");
    EXPECT_FALSE(error);  // the slot is cleared
    EXPECT_EQ(validateWithXSDs(*parseXML(kValidOrder), {}, &error), std::nullopt);
    EXPECT_FALSE(error);

    // The first error carries the others as underlying errors.
    auto document = documentWithoutRoot();
    EXPECT_EQ(validateWithXSDs(*document, {schemaPath_, schemaPath_, schemaPath_}, &error), std::nullopt);
    EXPECT_EQ(error.domain, "NSXMLDocumentValidation");
    EXPECT_EQ(error.code, -1);
    EXPECT_EQ(error.localizedDescription, "Failed to parse XML.");
    ASSERT_EQ(error.underlyingErrors.size(), 2u);
    EXPECT_EQ(error.underlyingErrors[0].code, -1);
    Error single;
    EXPECT_EQ(validateWithXSDs(*document, {schemaPath_}, &single), std::nullopt);
    EXPECT_EQ(single.code, -1);
    EXPECT_TRUE(single.underlyingErrors.empty());
}

// ---- validateXMLWithXSDFile ----

TEST_F(XSDValidationTest, ValidatorReportsEveryWellFormedDocumentAsValid) {
    QMSchematronValidator validator;
    for (const char* xml : {kValidOrder, kInvalidOrder}) {
        Error error;
        auto result = validator.validateXMLWithXSDFile(xml, schemaPath_, &error);
        ASSERT_TRUE(result) << xml;
        EXPECT_TRUE(result->valid && result->errors.empty() && result->warnings.empty());
        EXPECT_EQ(result->patterns, std::vector<std::string>{});
        EXPECT_EQ(result->schemaFiles, std::vector<std::string>{"order.xsd"});
        EXPECT_FALSE(error) << xml;
    }
    // A catalogued schema is named by its catalog title.
    validator.addSchemaDirectory(directory_);
    auto result = validator.validateXMLWithXSDFile(kValidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->schemaFiles, std::vector<std::string>{"order"});

    Error error;
    EXPECT_EQ(validator.validateXMLWithXSDFile("<Order>", schemaPath_, &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

// ---- ValidationErrors text to issues ----

TEST(XSDIssuesTest, OneErrorPerNonEmptyTrimmedLineWithoutLocation) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"a\n\n  b  \n", {"a", "b"}},
        {"a\r\nb\r\n", {"a", "b"}},
        {"\t one two \t", {"one two"}},
        {"\xC2\xA0wide\xE3\x80\x80", {"wide"}},  // no-break and ideographic spaces
        {" \n\n \r\n", {}},
        {"", {}},
    };
    for (const auto& [text, expected] : cases) {
        auto issues = xsdIssuesFromValidationErrors(text, "cii");
        EXPECT_EQ(testing::issueLines(issues, [](const auto& issue) { return issue.message; }), expected) << text;
        for (const auto& i : issues) {
            EXPECT_EQ(i.type + "|" + i.role + "|" + i.schemaTitle + "|" + i.severity(), "xsd|error|cii|Error");
            EXPECT_EQ(i.location + i.pattern + i.rule + i.assertionId + i.flag, "");
        }
    }
}

// ---- The libxml2 error handler ----

TEST(CaptureLibXMLErrorTest, AppendsOneFormattedEntryPerCall) {
    std::vector<std::string> messages;
    captureLibXMLError(&messages, "%s:%d\n", "line", 3);
    captureLibXMLError(&messages, "%s", "bad \xFF byte");
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0], "line:3\n");
    EXPECT_EQ(messages[1], "bad \xEF\xBF\xBD byte");  // kept as valid UTF-8
}

// Reports go to the validation's own contexts: a handler the host installed stays
// installed and hears nothing.
TEST_F(XSDValidationTest, HostHandlerStaysInstalledAndHearsNothing) {
    std::vector<std::string> hostMessages;
    xmlSetGenericErrorFunc(&hostMessages, captureLibXMLError);
    for (const char* xml : {kValidOrder, kInvalidOrder}) {
        validateWithXSD(*parseXML(xml), schemaPath_, nullptr);
        validateWithXSD(*parseXML(xml), path("absent.xsd"), nullptr);
        validateXMLAgainstXSD(xml, schemaPath_, nullptr);
        EXPECT_EQ(xmlGenericErrorContext, &hostMessages) << xml;
    }
    xmlSetGenericErrorFunc(nullptr, nullptr);
    EXPECT_TRUE(hostMessages.empty());
}

// ---- validateXMLAgainstXSD: findings as issues ----

TEST_F(XSDValidationTest, FindingsBecomeIssues) {
    auto valid = validateXMLAgainstXSD(kValidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(valid);
    EXPECT_TRUE(valid->valid && valid->errors.empty());
    EXPECT_EQ(valid->schemaFiles, std::vector<std::string>{schemaPath_});

    auto invalid = validateXMLAgainstXSD(kInvalidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(invalid);
    EXPECT_FALSE(invalid->valid);
    EXPECT_EQ(invalid->status(), 3);
    ASSERT_EQ(invalid->errors.size(), 2u);
    EXPECT_NE(invalid->errors[0].message.find("Quantity"), std::string::npos);
    EXPECT_NE(invalid->errors[1].message.find("Colour"), std::string::npos);
    for (const auto& issue : invalid->errors) {
        EXPECT_EQ(issue.schemaTitle + " " + issue.type, "order xsd");
        EXPECT_NE(issue.message.back(), '\n');
    }
}

// Problems with the schema file are errors of the call and stay off the terminal.
TEST_F(XSDValidationTest, UnusableSchemaOrDocumentIsAnError) {
    write("broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>");
    write("not-a-schema.xsd", "<html/>");
    ::testing::internal::CaptureStderr();
    for (const std::string& schema : {path("absent.xsd"), path("broken.xsd"), path("not-a-schema.xsd")}) {
        Error error;
        EXPECT_EQ(validateXMLAgainstXSD(kValidOrder, schema, &error), std::nullopt) << schema;
        EXPECT_EQ(error.domain, "NSXMLDocumentValidation") << schema;
        EXPECT_EQ(error.code, -2) << schema;
        EXPECT_NE(error.message().find(schema), std::string::npos) << error.message();
        validateWithXSD(*parseXML(kValidOrder), schema, nullptr);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    Error error;
    EXPECT_EQ(validateXMLAgainstXSD("<Order", schemaPath_, &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

// ---- Official CII schema and examples ----

TEST(CIISchemaTest, OfficialExamplesAreValidAndAnElementOutOfPlaceIsReported) {
    ASSERT_TRUE(corpusAvailable()) << "the corpus is missing: " << corpusPath("");
    const std::string schema = corpusPath(kCIISchemaPath);
    int checked = 0;
    for (const auto& entry : fs::directory_iterator(corpusPath("en16931/cii/examples"))) {
        if (entry.path().extension() != ".xml") continue;
        std::string xml = readFile(entry.path().string());
        Error error;
        auto result = validateXMLAgainstXSD(xml, schema, &error);
        ASSERT_TRUE(result) << entry.path() << ": " << error.message();
        EXPECT_TRUE(result->valid) << entry.path() << ": " << result->errors.front().message;
        EXPECT_EQ(validateWithXSD(*parseXML(xml), schema, &error), "CrossIndustryInvoice_100pD16B");
        EXPECT_FALSE(error) << entry.path();
        ++checked;
    }
    EXPECT_GT(checked, 10);

    std::string xml = readFile(corpusPath("en16931/cii/examples/CII_example1.xml"));
    const std::string anchor = "<rsm:ExchangedDocument>";
    ASSERT_NE(xml.find(anchor), std::string::npos);
    xml.insert(xml.find(anchor) + anchor.size(), "<ram:Unexpected>1</ram:Unexpected>");
    auto result = validateXMLAgainstXSD(xml, schema, nullptr);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->valid);
    ASSERT_FALSE(result->errors.empty());
    EXPECT_NE(result->errors.front().message.find("Unexpected"), std::string::npos) << result->errors.front().message;
    Error error;
    EXPECT_EQ(validateWithXSD(*parseXML(xml), schema, &error), "CrossIndustryInvoice_100pD16B");
    EXPECT_EQ(error.localizedDescription, "XML is invalid.");
    EXPECT_GT(error.code, 0);
}

}  // namespace
}  // namespace quillmark
