// Document-type detection: the namespaces and customization identifier of a document,
// which catalog entries fit it, and the matching cache with its 404 error.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

std::shared_ptr<xml::Document> parse(const std::string& text) {
    Error error;
    auto document = xml::Document::parse(text, &error);
    EXPECT_TRUE(document) << error.message();
    return document;
}

CatalogEntry schematronEntry(std::map<std::string, std::string> namespaces,
                             std::optional<std::string> customizationID = std::nullopt) {
    CatalogEntry entry;
    entry.title = "rules";
    entry.namespaces = std::move(namespaces);
    entry.customizationID = std::move(customizationID);
    return entry;
}

CatalogEntry xsdEntry(const std::string& targetNamespace) {
    CatalogEntry entry;
    entry.title = "schema";
    entry.namespaces = {{"target", targetNamespace}};
    entry.type = "xsd";
    return entry;
}

std::string invoice(const std::string& customizationID) {
    return R"~(<Invoice xmlns="urn:invoice" xmlns:cbc="urn:cbc"><cbc:CustomizationID>)~" + customizationID +
           "</cbc:CustomizationID></Invoice>";
}

// ---- Namespaces and identifier of a document ----

TEST(DocumentNamespacesTest, OnlyNamespacesOfElementsCount) {
    auto document = parse(R"~(<r:Root xmlns:r="urn:root" xmlns:unused="urn:unused" xmlns:at="urn:attribute">
  <child at:flag="1"><d:Deep xmlns:d="urn:deep"><plain/></d:Deep></child>
  <!-- comment --><?pi text?>
  <Default xmlns="urn:default"/>
</r:Root>)~");
    std::set<std::string> namespaces;
    QMSchematronValidator::collectNamespacesFromElement(document->rootElement(), namespaces);
    EXPECT_EQ(namespaces, (std::set<std::string>{"urn:root", "urn:deep", "urn:default"}));
}

TEST(DocumentNamespacesTest, DeepNestingIsWalkedCompletely) {
    std::string text;
    for (int i = 0; i < 200; ++i) text += "<e>";
    text += R"~(<last xmlns="urn:deepest"/>)~";
    for (int i = 0; i < 200; ++i) text += "</e>";
    auto document = parse(text);
    std::set<std::string> namespaces;
    QMSchematronValidator::collectNamespacesFromElement(document->rootElement(), namespaces);
    EXPECT_EQ(namespaces, std::set<std::string>{"urn:deepest"});
}

TEST(DocumentCustomizationIDTest, CustomizationIDElseGuidelineParameter) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {invoice("urn:cen.eu:en16931:2017"), "urn:cen.eu:en16931:2017"},
        {R"~(<rsm:CrossIndustryInvoice xmlns:rsm="urn:rsm" xmlns:ram="urn:ram"><rsm:ExchangedDocumentContext>
              <ram:GuidelineSpecifiedDocumentContextParameter><ram:ID>urn:cii</ram:ID>
              </ram:GuidelineSpecifiedDocumentContextParameter></rsm:ExchangedDocumentContext>
            </rsm:CrossIndustryInvoice>)~",
         "urn:cii"},
        {R"~(<X><GuidelineSpecifiedDocumentContextParameter><ID>guide</ID></GuidelineSpecifiedDocumentContextParameter>
              <Other><CustomizationID>custom</CustomizationID></Other></X>)~",
         "custom"},
        {R"~(<X><CustomizationID/></X>)~", ""},
        {R"~(<X><ID>urn:not-a-guideline</ID></X>)~", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(QMSchematronValidator::documentCustomizationID(*parse(text)), expected) << text;
    }
}

// ---- Which entries fit ----

class MatchingTest : public ::testing::Test {
protected:
    void SetUp() override {
        validator_.setSchemaCatalog({
            {"/rules/base.sch", schematronEntry({{"ubl", "urn:invoice"}}, "urn:example:base:2017")},
            {"/rules/national-3.sch", schematronEntry({{"ubl", "urn:invoice"}}, "national_3.0")},
            {"/rules/national-2.sch", schematronEntry({{"ubl", "urn:invoice"}}, "national_2.3")},
            {"/rules/open.sch", schematronEntry({{"x", "urn:other"}, {"cbc", "urn:cbc"}})},
            {"/rules/prefix-only.sch", schematronEntry({{"invoice", "urn:unused"}})},
            {"/xsd/invoice.xsd", xsdEntry("urn:invoice")},
        });
    }
    std::vector<std::string> matches(const std::string& xml) {
        Error error;
        auto found = validator_.findMatchingSchemasForXML(xml, &error);
        EXPECT_TRUE(found) << error.message();
        return found.value_or(std::vector<std::string>{});
    }

    QMSchematronValidator validator_;
};

TEST_F(MatchingTest, IdentifierMustBeginWithOrContainTheDemand) {
    EXPECT_EQ(matches(invoice("urn:example:base:2017#compliant#urn:example:national_3.0")),
              (std::vector<std::string>{"/rules/base.sch", "/rules/national-3.sch", "/rules/open.sch",
                                        "/xsd/invoice.xsd"}));
    EXPECT_EQ(matches(invoice("URN:EXAMPLE:BASE:2017")), (std::vector<std::string>{"/rules/open.sch", "/xsd/invoice.xsd"}));
}

TEST_F(MatchingTest, DocumentWithoutIdentifierFitsEveryEntryOfItsNamespaces) {
    EXPECT_EQ(matches(R"~(<Invoice xmlns="urn:invoice"/>)~"),
              (std::vector<std::string>{"/rules/base.sch", "/rules/national-2.sch", "/rules/national-3.sch",
                                        "/xsd/invoice.xsd"}));
}

TEST_F(MatchingTest, DocumentWithoutNamespacesFitsNothing) {
    Error error;
    EXPECT_EQ(validator_.findMatchingSchemasForXML("<Invoice><CustomizationID>x</CustomizationID></Invoice>", &error),
              std::vector<std::string>{});
    EXPECT_EQ(error.code, 404);
}

TEST_F(MatchingTest, NotWellFormedTextGivesNothingAndTheParserError) {
    Error error;
    EXPECT_EQ(validator_.findMatchingSchemasForXML("<Invoice", &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_TRUE(validator_.matchingCache().empty());
}

// ---- Cache ----

TEST_F(MatchingTest, CacheKeyIsSortedNamespacesAndIdentifier) {
    matches(R"~(<b:Root xmlns:b="urn:b" xmlns:a="urn:a"><a:Child/></b:Root>)~");
    matches(invoice("urn:id"));
    // U+FF21 sorts before U+1F600 in UTF-8 byte order but after it in UTF-16 code units.
    matches("<x:R xmlns:x=\"urn:\xEF\xBC\xA1\"><y:C xmlns:y=\"urn:\xF0\x9F\x98\x80\"/></x:R>");
    std::vector<std::string> keys;
    for (const auto& [key, paths] : validator_.matchingCache()) keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"urn:a|urn:b#", "urn:cbc|urn:invoice#urn:id",
                                              "urn:\xF0\x9F\x98\x80|urn:\xEF\xBC\xA1#"}));
}

TEST_F(MatchingTest, CachedListIsServedUntilADirectoryIsRegistered) {
    const std::string xml = invoice("national_2.3");
    auto first = matches(xml);
    validator_.setSchemaCatalog({{"/rules/new.sch", schematronEntry({{"ubl", "urn:invoice"}})}});
    EXPECT_EQ(matches(xml), first);  // stale on purpose: single-file changes keep the cache
    const std::string empty = testing::makeTempDirectory("quillmark-detection");
    validator_.addSchemaDirectory(empty);
    std::filesystem::remove_all(empty);
    EXPECT_EQ(matches(xml), (std::vector<std::string>{"/rules/new.sch"}));
}

TEST_F(MatchingTest, NoMatchSetsThe404ErrorOnlyTheFirstTime) {
    const std::string unrelated = R"~(<Order xmlns="urn:order"/>)~";
    Error first;
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, &first), std::vector<std::string>{});
    EXPECT_EQ(first.domain, "Quillmark");
    EXPECT_EQ(first.code, 404);
    EXPECT_EQ(first.localizedDescription, "No matching Schematron schema found for this XML document");

    Error second;
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, &second), std::vector<std::string>{});
    EXPECT_FALSE(second);
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, nullptr), std::vector<std::string>{});
}

TEST_F(MatchingTest, SuccessLeavesTheErrorSlotAlone) {
    Error error;
    setError(&error, "Earlier", 1, "kept");
    EXPECT_FALSE(validator_.findMatchingSchemasForXML(invoice("national_3.0"), &error)->empty());
    EXPECT_EQ(error.domain, "Earlier");
}

}  // namespace
}  // namespace quillmark
