// XSD files from third parties: what they may make the library read (local schema
// files only, each once; never the network, never a file named by an entity), what a
// schema that does not compile gives, and validations on several threads.

#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <sys/stat.h>

#include <string>
#include <thread>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "quillmark/xsd_validation.h"
#include "support/schematron_test_support.h"
#include "xml/local_listener.h"

namespace quillmark {
namespace {

using testing::LocalListener;
using testing::parseXML;

constexpr const char* kSecret = "TOP-SECRET-7731";
constexpr const char* kValue = R"~(<v xmlns="urn:test:v">other</v>)~";

// A schema whose enumeration would quote the entity's text in a finding.
std::string enumerationSchema(const std::string& doctype, const std::string& value) {
    return R"~(<?xml version="1.0"?>)~" + doctype + R"~(
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:v" xmlns="urn:test:v">
  <xs:element name="v"><xs:simpleType><xs:restriction base="xs:string">
    <xs:enumeration value=")~" + value + R"~("/>
  </xs:restriction></xs:simpleType></xs:element>
</xs:schema>)~";
}

// Everything the library said about one validation, in any of its forms.
std::string everythingSaid(const std::string& xml, const std::string& schemaPath) {
    std::string said;
    Error error;
    validateWithXSD(*parseXML(xml), schemaPath, &error);
    said += error.message() + "\n";
    for (const auto& [key, value] : error.userInfo) said += value + "\n";
    error.clear();
    if (auto result = validateXMLAgainstXSD(xml, schemaPath, &error)) {
        for (const auto& issue : result->errors) said += issue.message + "\n";
        for (const auto& issue : result->warnings) said += issue.message + "\n";
    }
    return said + error.message();
}

class XSDSafetyTest : public testing::TempDirectoryTest {};

TEST_F(XSDSafetyTest, EntitiesNeverReadLocalFiles) {
    const std::string secret = write("secret.txt", kSecret);
    const std::string passwd = "file:///etc/passwd";
    const std::vector<std::pair<std::string, std::string>> schemas = {
        // An external general entity in a value that findings quote.
        {"<!DOCTYPE xs:schema [<!ENTITY s SYSTEM \"" + secret + "\">]>", "&s;"},
        {"<!DOCTYPE xs:schema [<!ENTITY s SYSTEM \"" + passwd + "\">]>", "&s;"},
        // An external parameter entity whose text names a file that cannot exist, so
        // that the parser's complaint would quote it.
        {"<!DOCTYPE xs:schema [<!ENTITY % s SYSTEM \"" + passwd + "\">"
         "<!ENTITY % w \"<!ENTITY &#x25; leak SYSTEM 'file:///nonexistent/%s;'>\"> %w; %leak;]>",
         "x"},
        {"<!DOCTYPE xs:schema [<!ENTITY % s SYSTEM \"" + secret + "\"> %s;]>", "x"},
    };
    ::testing::internal::CaptureStderr();
    for (const auto& [doctype, value] : schemas) {
        SCOPED_TRACE(doctype);
        const std::string schema = write("leak.xsd", enumerationSchema(doctype, value));
        const std::string said = everythingSaid(kValue, schema);
        EXPECT_EQ(said.find(kSecret), std::string::npos) << said;
        EXPECT_EQ(said.find("root:"), std::string::npos) << said;
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(XSDSafetyTest, NothingReachesTheNetwork) {
    LocalListener listener;
    ASSERT_TRUE(listener.listening());
    const std::string element = R"~(<xs:element name="v" type="xs:string"/>)~";
    const std::vector<std::string> schemas = {
        enumerationSchema("", "x"),
        // import and include from the network
        R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:v">
            <xs:import namespace="urn:other" schemaLocation=")~" + listener.url("x.xsd") + R"~("/>)~" + element +
            "</xs:schema>",
        R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:v">
            <xs:include schemaLocation=")~" + listener.url("i.xsd") + R"~("/>)~" + element + "</xs:schema>",
        // entities, an external DTD
        enumerationSchema("<!DOCTYPE xs:schema [<!ENTITY s SYSTEM \"" + listener.url("e") + "\">]>", "&s;"),
        enumerationSchema("<!DOCTYPE xs:schema [<!ENTITY % s SYSTEM \"" + listener.url("p") + "\"> %s;]>", "x"),
        enumerationSchema("<!DOCTYPE xs:schema SYSTEM \"" + listener.url("d.dtd") + "\">", "x"),
    };
    // A document naming its own schema on the network, for the run whose schema does
    // not compile.
    const std::string document = R"~(<v xmlns="urn:test:v" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
        xsi:schemaLocation="urn:test:v )~" + listener.url("own.xsd") + R"~(">x</v>)~";
    ::testing::internal::CaptureStderr();
    for (const std::string& schema : schemas) everythingSaid(document, write("net.xsd", schema));
    everythingSaid(document, path("absent.xsd"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(listener.receivedConnection());
}

// Local includes and imports are read, each file once, with the library's checks:
// a FIFO where a schema file is expected fails the compilation at once.
TEST_F(XSDSafetyTest, LocalIncludesAndImportsAreReadOnceWithTheFileChecks) {
    write("types/common.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:v">
        <xs:include schemaLocation="../main.xsd"/>
        <xs:simpleType name="code"><xs:restriction base="xs:string"><xs:length value="2"/></xs:restriction></xs:simpleType>
      </xs:schema>)~");
    const std::string main = write("main.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"
        targetNamespace="urn:test:v" xmlns="urn:test:v">
        <xs:include schemaLocation="types/common.xsd"/>
        <xs:element name="v" type="code"/>
      </xs:schema>)~");
    Error error;
    auto schema = CompiledXSD::load(main, &error);
    ASSERT_TRUE(schema) << error.message();
    auto result = schema->validate(*parseXML(kValue), &error);
    ASSERT_TRUE(result);
    ASSERT_EQ(result->errors.size(), 1u);
    EXPECT_NE(result->errors[0].message.find("length"), std::string::npos) << result->errors[0].message;

    ASSERT_EQ(::mkfifo(path("pipe.xsd").c_str(), 0600), 0);
    write("fifo.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:test:v">
        <xs:include schemaLocation="pipe.xsd"/></xs:schema>)~");
    for (const char* broken : {"fifo.xsd", "pipe.xsd"}) {
        EXPECT_FALSE(CompiledXSD::load(path(broken), &error)) << broken;
        EXPECT_NE(error.message().find("not a regular file but a FIFO"), std::string::npos) << error.message();
    }
}

// A schema that does not compile is never a verdict of "valid".
TEST_F(XSDSafetyTest, SchemaThatDoesNotCompileValidatesNothing) {
    const std::string unknownType = write("unknown-type.xsd", R"~(<xs:schema
        xmlns:xs="http://www.w3.org/2001/XMLSchema"><xs:element name="v" type="missing"/></xs:schema>)~");
    Error error;
    EXPECT_FALSE(CompiledXSD::load(unknownType, &error));
    EXPECT_EQ(error.code, -2);
    EXPECT_TRUE(error.message().starts_with("Could not load XSD file " + unknownType + ": ")) << error.message();
    EXPECT_EQ(validateXMLAgainstXSD("<v/>", unknownType, &error), std::nullopt);
}

// A document with internal entities is validated like its expanded text, and a value
// that spans lines gives one finding.
TEST_F(XSDSafetyTest, EntitiesAndMultiLineValuesGiveOneFindingEach) {
    const std::string schema = write("code.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
        <xs:element name="v"><xs:simpleType><xs:restriction base="xs:string">
          <xs:pattern value="[A-Z]+"/></xs:restriction></xs:simpleType></xs:element></xs:schema>)~");
    Error error;
    auto valid = validateXMLAgainstXSD("<!DOCTYPE v [<!ENTITY c \"ABC\">]><v>&c;</v>", schema, &error);
    ASSERT_TRUE(valid) << error.message();
    EXPECT_TRUE(valid->valid) << valid->errors.front().message;

    auto invalid = validateXMLAgainstXSD("<v>first\nsecond\nthird</v>", schema, &error);
    ASSERT_TRUE(invalid) << error.message();
    ASSERT_EQ(invalid->errors.size(), 1u);
    EXPECT_NE(invalid->errors[0].message.find("first\nsecond\nthird"), std::string::npos) << invalid->errors[0].message;
}

// Each validation collects its own findings through its own contexts; the host's
// handlers stay installed and hear nothing.
TEST_F(XSDSafetyTest, ValidationsOnSeveralThreadsKeepTheirFindingsApart) {
    const std::string schema = write("count.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
        <xs:element name="n" type="xs:integer"/></xs:schema>)~");
    auto compiled = CompiledXSD::load(schema, nullptr);
    ASSERT_TRUE(compiled);
    std::vector<std::string> heard;
    xmlSetGenericErrorFunc(&heard, captureLibXMLError);
    std::vector<std::string> failures(6);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < failures.size(); ++t) {
        threads.emplace_back([&, t] {
            // Thread t writes the value "bad<t>"; every finding must quote its own.
            const std::string value = "bad" + std::to_string(t);
            const std::string xml = "<n>" + value + "</n>";
            auto document = parseXML(xml);
            for (int round = 0; round < 20 && failures[t].empty(); ++round) {
                Error error;
                validateWithXSD(*document, schema, &error);
                auto result = compiled->validate(*document, nullptr);
                const std::string spec = error.userInfo[kValidationErrorsKey];
                if (error.userInfo[kValidationErrorsLengthKey] != "1" || spec.find(value) == std::string::npos)
                    failures[t] = "validateWithXSD: " + spec;
                else if (!result || result->errors.size() != 1 ||
                         result->errors[0].message.find(value) == std::string::npos)
                    failures[t] = "CompiledXSD::validate";
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(xmlGenericErrorContext, &heard);
    xmlSetGenericErrorFunc(nullptr, nullptr);
    for (const auto& failure : failures) EXPECT_EQ(failure, "");
    EXPECT_TRUE(heard.empty());
}

}  // namespace
}  // namespace quillmark
