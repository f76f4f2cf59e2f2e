// XSD validation through libxml2: the document operations, the validator operation
// whose result reports every well-formed document as valid, the findings-as-issues
// entry point for tools, and the handling of libxml2's global error handler.

#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using testing::corpusAvailable;
using testing::corpusPath;
using testing::readFile;

constexpr const char* kOrderSchema = R"~(<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:order"
           xmlns="urn:test:order" elementFormDefault="qualified">
  <xs:element name="Order">
    <xs:complexType>
      <xs:sequence>
        <xs:element name="ID" type="xs:string"/>
        <xs:element name="Quantity" type="xs:positiveInteger" maxOccurs="unbounded"/>
      </xs:sequence>
    </xs:complexType>
  </xs:element>
</xs:schema>
)~";

constexpr const char* kValidOrder = R"~(<Order xmlns="urn:test:order"><ID>A-1</ID><Quantity>3</Quantity></Order>)~";
// Two validity problems: a quantity that is not a positive integer, and an unknown element.
constexpr const char* kInvalidOrder =
    R"~(<Order xmlns="urn:test:order"><ID>A-1</ID><Quantity>-3</Quantity><Colour>red</Colour></Order>)~";

const std::string kCIISchemaPath =
    "en16931/cii/schema/D16B SCRDM (Subset)/uncoupled clm/CII/uncefact/data/standard/CrossIndustryInvoice_100pD16B.xsd";

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

std::shared_ptr<xml::Document> parse(const std::string& text) {
    Error error;
    auto document = xml::Document::parse(text, &error);
    EXPECT_TRUE(document) << error.message();
    return document;
}

// A document that libxml2 cannot read back: nothing but the XML declaration.
std::shared_ptr<xml::Document> documentWithoutRoot() { return xml::Document::create(); }

// Redirects the process's stderr into a file while it lives.
class StderrCapture {
public:
    StderrCapture() : path_(testing::makeTempDirectory("quillmark-stderr") + "/stderr") {
        std::fflush(stderr);
        saved_ = dup(STDERR_FILENO);
        FILE* file = std::fopen(path_.c_str(), "w");
        dup2(fileno(file), STDERR_FILENO);
        std::fclose(file);
    }
    ~StderrCapture() { restore(); }
    std::string text() {
        restore();
        return readFile(path_);
    }

private:
    void restore() {
        if (saved_ < 0) return;
        std::fflush(stderr);
        dup2(saved_, STDERR_FILENO);
        close(saved_);
        saved_ = -1;
    }
    std::string path_;
    int saved_ = -1;
};

class XSDValidationTest : public ::testing::Test {
protected:
    void SetUp() override {
        directory_ = testing::makeTempDirectory("quillmark-xsd");
        schemaPath_ = directory_ + "/order.xsd";
        writeFile(schemaPath_, kOrderSchema);
    }
    void TearDown() override { fs::remove_all(directory_); }

    std::string directory_;
    std::string schemaPath_;
};

// ---- validateWithXSD ----

TEST_F(XSDValidationTest, ValidDocumentReturnsBaseNameAndLeavesErrorUntouched) {
    auto document = parse(kValidOrder);
    Error error;
    EXPECT_EQ(validateWithXSD(*document, schemaPath_, &error), "order");
    EXPECT_FALSE(error);
}

TEST_F(XSDValidationTest, InvalidDocumentReturnsBaseNameAndDescribesEveryViolation) {
    auto document = parse(kInvalidOrder);
    Error error;
    EXPECT_EQ(validateWithXSD(*document, schemaPath_, &error), "order");
    ASSERT_TRUE(error);
    EXPECT_EQ(error.domain, "NSXMLDocumentValidation");
    EXPECT_GT(error.code, 0);  // xmlSchemaValidateDoc's positive return value
    EXPECT_EQ(error.localizedDescription, "XML is invalid.");
    const std::string& messages = error.userInfo.at(kValidationErrorsKey);
    EXPECT_NE(messages.find("Quantity"), std::string::npos) << messages;
    EXPECT_NE(messages.find("Colour"), std::string::npos) << messages;
    // One handler call per report; libxml2 ends each report with a line feed, which
    // stays in the joined text next to the joining ones.
    EXPECT_EQ(error.userInfo.at(kValidationErrorsLengthKey), "2");
    EXPECT_NE(messages.find("\n\n"), std::string::npos);
}

TEST_F(XSDValidationTest, NameIsTheFileNameWithoutItsLastExtension) {
    auto document = parse(kValidOrder);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"base.rules.xsd", "base.rules"},
        {"cii.xsd", "cii"},
        {"noextension", "noextension"},
    };
    for (const auto& [fileName, expected] : cases) {
        writeFile(directory_ + "/" + fileName, kOrderSchema);
        EXPECT_EQ(validateWithXSD(*document, directory_ + "/" + fileName, nullptr), expected) << fileName;
    }
}

TEST_F(XSDValidationTest, MissingSchemaStillReturnsTheNameWithAnInvalidError) {
    auto document = parse(kValidOrder);
    Error error;
    EXPECT_EQ(validateWithXSD(*document, directory_ + "/absent.xsd", &error), "absent");
    ASSERT_TRUE(error);
    EXPECT_EQ(error.localizedDescription, "XML is invalid.");
    EXPECT_NE(error.code, 0);
}

TEST_F(XSDValidationTest, UnreadableSerializationGivesParseErrorAndNoName) {
    auto document = documentWithoutRoot();
    Error error;
    EXPECT_EQ(validateWithXSD(*document, schemaPath_, &error), std::nullopt);
    EXPECT_EQ(error.domain, "NSXMLDocumentValidation");
    EXPECT_EQ(error.code, -1);
    EXPECT_EQ(error.localizedDescription, "Failed to parse XML.");
    EXPECT_TRUE(error.userInfo.empty());
}

TEST_F(XSDValidationTest, WorksWithoutAnErrorSlot) {
    EXPECT_EQ(validateWithXSD(*parse(kInvalidOrder), schemaPath_, nullptr), "order");
    EXPECT_EQ(validateWithXSD(*documentWithoutRoot(), schemaPath_, nullptr), std::nullopt);
}

// ---- validateWithXSDs ----

TEST_F(XSDValidationTest, SeveralSchemasReturnTheFirstUsableNameAndClearTheSlot) {
    writeFile(directory_ + "/second.xsd", kOrderSchema);
    auto document = parse(kInvalidOrder);
    Error error;
    setError(&error, "Earlier", 7, "left over");
    EXPECT_EQ(validateWithXSDs(*document, {schemaPath_, directory_ + "/second.xsd"}, &error), "order");
    EXPECT_FALSE(error);
}

TEST_F(XSDValidationTest, EmptySchemaListGivesNothingAndNoError) {
    Error error;
    EXPECT_EQ(validateWithXSDs(*parse(kValidOrder), {}, &error), std::nullopt);
    EXPECT_FALSE(error);
}

TEST_F(XSDValidationTest, CombinedErrorKeepsTheOthersAsUnderlyingErrors) {
    auto document = documentWithoutRoot();
    Error error;
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
    for (const char* xml : {kValidOrder, kInvalidOrder}) {
        QMSchematronValidator validator;
        Error error;
        auto result = validator.validateXMLWithXSDFile(xml, schemaPath_, &error);
        ASSERT_TRUE(result) << xml;
        EXPECT_TRUE(result->valid);
        EXPECT_TRUE(result->errors.empty());
        EXPECT_TRUE(result->warnings.empty());
        EXPECT_EQ(result->patterns, std::vector<std::string>{});
        EXPECT_EQ(result->schemaFiles, std::vector<std::string>{"order.xsd"});
        EXPECT_FALSE(error) << xml;
    }
}

TEST_F(XSDValidationTest, ValidatorNamesTheSchemaByItsCatalogTitle) {
    QMSchematronValidator validator;
    validator.addSchemaDirectory(directory_);
    ASSERT_EQ(validator.schemaCatalog().count(schemaPath_), 1u);
    auto result = validator.validateXMLWithXSDFile(kValidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->schemaFiles, std::vector<std::string>{"order"});
}

TEST_F(XSDValidationTest, ValidatorRejectsTextThatIsNotWellFormed) {
    QMSchematronValidator validator;
    Error error;
    EXPECT_EQ(validator.validateXMLWithXSDFile("<Order>", schemaPath_, &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

// ---- ValidationErrors text to issues ----

TEST(XSDIssuesTest, SplitsTrimsAndSkipsEmptyLines) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"a\n\n  b  \n", {"a", "b"}},
        {"a\r\nb\r\n", {"a", "b"}},
        {"\t one two \t", {"one two"}},
        {"\xC2\xA0wide\xE3\x80\x80", {"wide"}},  // no-break and ideographic spaces
        {" \n\n \r\n", {}},
        {"", {}},
    };
    for (const auto& [text, expected] : cases) {
        auto issues = xsdIssuesFromValidationErrors(text, "order");
        std::vector<std::string> messages;
        for (const auto& issue : issues) messages.push_back(issue.message);
        EXPECT_EQ(messages, expected) << text;
    }
}

TEST(XSDIssuesTest, IssuesAreErrorsOfTheNamedSchemaWithoutLocation) {
    auto issues = xsdIssuesFromValidationErrors("Element 'X': not expected.\n", "cii");
    ASSERT_EQ(issues.size(), 1u);
    const QMValidationError& issue = issues.front();
    EXPECT_EQ(issue.type, "xsd");
    EXPECT_EQ(issue.role, "error");
    EXPECT_EQ(issue.schemaTitle, "cii");
    EXPECT_EQ(issue.location, "");
    EXPECT_EQ(issue.severity(), "Error");
    EXPECT_TRUE(issue.pattern.empty() && issue.rule.empty() && issue.assertionId.empty() && issue.flag.empty());
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

TEST_F(XSDValidationTest, DefaultHandlerIsBackAfterEveryValidation) {
    xmlSetGenericErrorFunc(nullptr, nullptr);
    const xmlGenericErrorFunc defaultHandler = xmlGenericError;
    std::vector<std::string> hostMessages;
    for (const char* xml : {kValidOrder, kInvalidOrder}) {
        // A handler that the host installed is not kept either: the default comes back.
        xmlSetGenericErrorFunc(&hostMessages, captureLibXMLError);
        validateWithXSD(*parse(xml), schemaPath_, nullptr);
        EXPECT_EQ(xmlGenericError, defaultHandler) << xml;
        EXPECT_EQ(xmlGenericErrorContext, nullptr) << xml;
    }
    EXPECT_TRUE(hostMessages.empty());
}

TEST_F(XSDValidationTest, ProblemsWithTheSchemaFileStayOffTheTerminal) {
    writeFile(directory_ + "/broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>");
    StderrCapture capture;
    validateWithXSD(*parse(kValidOrder), directory_ + "/broken.xsd", nullptr);
    validateWithXSD(*parse(kValidOrder), directory_ + "/absent.xsd", nullptr);
    EXPECT_EQ(capture.text(), "");
}

// ---- validateXMLAgainstXSD: findings as issues ----

TEST_F(XSDValidationTest, FindingsBecomeIssues) {
    auto valid = validateXMLAgainstXSD(kValidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(valid);
    EXPECT_TRUE(valid->valid);
    EXPECT_TRUE(valid->errors.empty());
    EXPECT_EQ(valid->schemaFiles, std::vector<std::string>{schemaPath_});

    auto invalid = validateXMLAgainstXSD(kInvalidOrder, schemaPath_, nullptr);
    ASSERT_TRUE(invalid);
    EXPECT_FALSE(invalid->valid);
    EXPECT_EQ(invalid->status(), 3);
    ASSERT_EQ(invalid->errors.size(), 2u);
    EXPECT_NE(invalid->errors[0].message.find("Quantity"), std::string::npos);
    EXPECT_NE(invalid->errors[1].message.find("Colour"), std::string::npos);
    for (const auto& issue : invalid->errors) {
        EXPECT_EQ(issue.schemaTitle, "order");
        EXPECT_EQ(issue.type, "xsd");
        EXPECT_EQ(issue.message.back() != '\n', true);
    }
}

TEST_F(XSDValidationTest, UnusableSchemaOrDocumentIsAnError) {
    writeFile(directory_ + "/broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>");
    writeFile(directory_ + "/not-a-schema.xsd", "<html/>");
    for (const std::string& path :
         {directory_ + "/absent.xsd", directory_ + "/broken.xsd", directory_ + "/not-a-schema.xsd"}) {
        Error error;
        EXPECT_EQ(validateXMLAgainstXSD(kValidOrder, path, &error), std::nullopt) << path;
        EXPECT_EQ(error.domain, "NSXMLDocumentValidation") << path;
        EXPECT_EQ(error.code, -2) << path;
        EXPECT_NE(error.message().find(path), std::string::npos) << error.message();
    }
    Error error;
    EXPECT_EQ(validateXMLAgainstXSD("<Order", schemaPath_, &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
}

// ---- Official CII schema and examples ----

class CIISchemaTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!corpusAvailable()) GTEST_SKIP() << "corpus not available";
    }
};

TEST_F(CIISchemaTest, OfficialExamplesAreValid) {
    const std::string schema = corpusPath(kCIISchemaPath);
    int checked = 0;
    for (const auto& entry : fs::directory_iterator(corpusPath("en16931/cii/examples"))) {
        if (entry.path().extension() != ".xml") continue;
        std::string xml = readFile(entry.path().string());
        Error error;
        auto result = validateXMLAgainstXSD(xml, schema, &error);
        ASSERT_TRUE(result) << entry.path() << ": " << error.message();
        EXPECT_TRUE(result->valid) << entry.path() << ": " << result->errors.front().message;
        EXPECT_EQ(validateWithXSD(*parse(xml), schema, &error), "CrossIndustryInvoice_100pD16B");
        EXPECT_FALSE(error) << entry.path();
        ++checked;
    }
    EXPECT_GT(checked, 10);
}

TEST_F(CIISchemaTest, ElementOutOfPlaceIsReported) {
    std::string xml = readFile(corpusPath("en16931/cii/examples/CII_example1.xml"));
    const std::string anchor = "<rsm:ExchangedDocument>";
    size_t at = xml.find(anchor);
    ASSERT_NE(at, std::string::npos);
    xml.insert(at + anchor.size(), "<ram:Unexpected>1</ram:Unexpected>");

    auto result = validateXMLAgainstXSD(xml, corpusPath(kCIISchemaPath), nullptr);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->valid);
    ASSERT_FALSE(result->errors.empty());
    EXPECT_NE(result->errors.front().message.find("Unexpected"), std::string::npos) << result->errors.front().message;

    Error error;
    EXPECT_EQ(validateWithXSD(*parse(xml), corpusPath(kCIISchemaPath), &error), "CrossIndustryInvoice_100pD16B");
    EXPECT_EQ(error.localizedDescription, "XML is invalid.");
    EXPECT_GT(error.code, 0);
}

}  // namespace
}  // namespace quillmark
