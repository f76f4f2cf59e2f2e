// Strict automatic validation and telling schema files apart: every fitting schema is
// tried, a schema that cannot be used is reported and never makes a document valid,
// and a file's kind comes from its root element, not from its name.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::schematronText;
using Lines = std::vector<std::string>;
using Outcome = StrictValidationReport::Outcome;

constexpr const char* kDocument = R"~(<r xmlns="urn:t"><n>x</n></r>)~";

std::string rulesReporting(const std::string& id) {
    return schematronText(R"~(<ns prefix="t" uri="urn:t"/><pattern id="p"><rule context="/t:r">
        <assert id=")~" + id + R"~(" test="false()">found</assert></rule></pattern>)~");
}

const std::string kIntegerXSD = R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:t"
    xmlns="urn:t" elementFormDefault="qualified"><xs:element name="r"><xs:complexType><xs:sequence>
    <xs:element name="n" type="xs:integer"/></xs:sequence></xs:complexType></xs:element></xs:schema>)~";

class StrictValidationTest : public testing::TempDirectoryTest {
protected:
    StrictValidationReport validate(const std::string& xml = kDocument) {
        QMSchematronValidator validator;
        validator.addSchemaDirectory(path("rules"));
        return validator.validateXMLStrictly(xml);
    }
    static Lines failedFiles(const StrictValidationReport& report) {
        Lines files;
        for (const auto& failure : report.failures) files.push_back(failure.path + ": " + failure.error.message());
        return files;
    }
};

// A rule set whose include cannot be read and an XSD that does not compile are
// failures; the schemas after them still run, and the document is not validated.
TEST_F(StrictValidationTest, FailingSchemasAreReportedAndSkipNoOther) {
    write("rules/a-include.sch", schematronText(R"~(<ns prefix="t" uri="urn:t"/><include href="missing.sch"/>)~"));
    write("rules/b-broken.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace="urn:t">
        <xs:element name="r" type="missing"/></xs:schema>)~");
    write("rules/c-good.sch", rulesReporting("LATER"));
    ScopedLogCapture log;
    const StrictValidationReport report = validate();
    EXPECT_EQ(report.outcome, Outcome::Validated);
    EXPECT_FALSE(report.isVerdict());
    EXPECT_FALSE(report.result.valid);
    EXPECT_EQ(testing::ids(report.result.errors), Lines{"LATER"});
    const Lines failures = failedFiles(report);
    ASSERT_EQ(failures.size(), 2u);
    EXPECT_EQ(failures[0], path("rules/a-include.sch") + ": cannot read " + path("rules/missing.sch") +
                               ": No such file or directory");
    EXPECT_TRUE(failures[1].starts_with(path("rules/b-broken.xsd") + ": Could not load XSD file ")) << failures[1];
    EXPECT_EQ(report.result.schemaFiles,
              (Lines{path("rules/a-include.sch"), path("rules/b-broken.xsd"), path("rules/c-good.sch")}));
}

// Every schema ran: the result is a verdict, with the XSD's findings among the issues.
TEST_F(StrictValidationTest, XSDFindingsCountWhenEverySchemaRan) {
    write("rules/order.xsd", kIntegerXSD);
    write("rules/rules.sch", rulesReporting("RULE"));
    const StrictValidationReport report = validate();
    ASSERT_TRUE(report.isVerdict()) << failedFiles(report).front();
    Lines types;
    for (const auto& issue : report.result.errors) types.push_back(issue.type);
    EXPECT_EQ(types, (Lines{"xsd", "assert"}));

    write("rules/rules.sch", schematronText(R"~(<ns prefix="t" uri="urn:t"/>)~"));
    const StrictValidationReport clean = validate(R"~(<r xmlns="urn:t"><n>3</n></r>)~");
    EXPECT_TRUE(clean.isVerdict());
    EXPECT_TRUE(clean.result.valid);
    EXPECT_EQ(clean.result.status(), 1);
}

TEST_F(StrictValidationTest, MalformedOrUnmatchedDocumentsAreNotValidated) {
    write("rules/rules.sch", rulesReporting("RULE"));
    const StrictValidationReport malformed = validate("<r xmlns='urn:t'>");
    EXPECT_EQ(malformed.outcome, Outcome::NotWellFormed);
    EXPECT_EQ(malformed.error.domain, kXMLParserDomain);
    EXPECT_FALSE(malformed.isVerdict());

    // The second time the key is cached; strict validation still says why.
    for (int round = 0; round < 2; ++round) {
        const StrictValidationReport unmatched = validate("<other xmlns='urn:other'/>");
        EXPECT_EQ(unmatched.outcome, Outcome::NoMatchingSchema);
        EXPECT_EQ(unmatched.error.code, 404);
        EXPECT_FALSE(unmatched.isVerdict());
    }
}

// ---- Telling schema files apart ----

TEST_F(StrictValidationTest, SchemaFilesAreKnownByTheirRootElement) {
    const std::vector<std::pair<std::string, std::optional<SchemaFileKind>>> cases = {
        {schematronText(""), SchemaFileKind::Schematron},
        {"<sch:schema xmlns:sch='http://www.ascc.net/xml/schematron'/>", SchemaFileKind::Schematron},
        {kIntegerXSD, SchemaFileKind::XSD},
        // An XSD in Latin-1, as its declaration says.
        {"<?xml version='1.0' encoding='ISO-8859-1'?><xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
         "<xs:annotation><xs:documentation>Stra\xDF" "e</xs:documentation></xs:annotation></xs:schema>",
         SchemaFileKind::XSD},
        {"<schema><pattern/></schema>", SchemaFileKind::Other},  // no namespace
        {"<html xmlns='http://www.w3.org/1999/xhtml'/>", SchemaFileKind::Other},
        {"<schema xmlns='urn:something-else'/>", SchemaFileKind::Other},
        {"<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>", std::nullopt},  // not well-formed
    };
    int number = 0;
    for (const auto& [content, kind] : cases) {
        const std::string file = write("file" + std::to_string(number++) + ".XSD", content);
        Error error;
        EXPECT_EQ(schemaFileKind(file, &error), kind) << content;
        EXPECT_EQ(error.isSet(), !kind) << content;
        if (error) {
            EXPECT_TRUE(error.message().starts_with(file + ": ")) << error.message();
        }
    }
    Error error;
    EXPECT_EQ(schemaFileKind(path("absent.sch"), &error), std::nullopt);
    EXPECT_EQ(error.domain, kFileDomain);
}

}  // namespace
}  // namespace quillmark
