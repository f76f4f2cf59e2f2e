// Document-type detection: the namespaces and customization identifier of a document,
// which catalog entries fit it, and the matching cache with its 404 error.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::parseXML;
using Paths = std::vector<std::string>;

CatalogEntry entry(std::map<std::string, std::string> namespaces, std::optional<std::string> customizationID = {},
                   std::optional<std::string> type = {}) {
    return CatalogEntry{"rules", std::move(namespaces), std::move(customizationID), std::move(type)};
}

std::string invoice(const std::string& customizationID) {
    return R"~(<Invoice xmlns="urn:invoice" xmlns:cbc="urn:cbc"><cbc:CustomizationID>)~" + customizationID +
           "</cbc:CustomizationID></Invoice>";
}

// ---- Namespaces and identifier of a document ----

TEST(DocumentNamespacesTest, OnlyNamespacesOfElementsCountAtAnyDepth) {
    std::string open, close;
    for (int i = 0; i < 200; ++i) open += "<e>", close += "</e>";
    const std::string deep = open + R"~(<last xmlns="urn:deepest"/>)~" + close;
    const std::vector<std::pair<std::string, std::set<std::string>>> cases = {
        {R"~(<r:Root xmlns:r="urn:root" xmlns:unused="urn:unused" xmlns:at="urn:attribute">
               <child at:flag="1"><d:Deep xmlns:d="urn:deep"><plain/></d:Deep></child>
               <!-- comment --><?pi text?><Default xmlns="urn:default"/></r:Root>)~",
         {"urn:root", "urn:deep", "urn:default"}},
        {deep, {"urn:deepest"}},
    };
    for (const auto& [text, expected] : cases) {
        std::set<std::string> namespaces;
        QMSchematronValidator::collectNamespacesFromElement(parseXML(text)->rootElement(), namespaces);
        EXPECT_EQ(namespaces, expected);
    }
}

TEST(DocumentCustomizationIDTest, CustomizationIDElseGuidelineParameter) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {invoice("urn:cen.eu:en16931:2017"), "urn:cen.eu:en16931:2017"},
        {R"~(<rsm:CrossIndustryInvoice xmlns:rsm="urn:rsm" xmlns:ram="urn:ram"><rsm:ExchangedDocumentContext>
              <ram:GuidelineSpecifiedDocumentContextParameter><ram:ID>urn:cii</ram:ID>
              </ram:GuidelineSpecifiedDocumentContextParameter></rsm:ExchangedDocumentContext>
           </rsm:CrossIndustryInvoice>)~", "urn:cii"},
        {R"~(<X><GuidelineSpecifiedDocumentContextParameter><ID>guide</ID></GuidelineSpecifiedDocumentContextParameter>
              <Other><CustomizationID>custom</CustomizationID></Other></X>)~", "custom"},
        {R"~(<X><CustomizationID/></X>)~", ""},
        {R"~(<X><ID>urn:not-a-guideline</ID></X>)~", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(QMSchematronValidator::documentCustomizationID(*parseXML(text)), expected) << text;
    }
}

// ---- Which entries fit ----

class MatchingTest : public ::testing::Test {
protected:
    void SetUp() override {
        validator_.setSchemaCatalog({
            {"/rules/base.sch", entry({{"ubl", "urn:invoice"}}, "urn:example:base:2017")},
            {"/rules/national-3.sch", entry({{"ubl", "urn:invoice"}}, "national_3.0")},
            {"/rules/national-2.sch", entry({{"ubl", "urn:invoice"}}, "national_2.3")},
            {"/rules/open.sch", entry({{"x", "urn:other"}, {"cbc", "urn:cbc"}})},
            {"/rules/prefix-only.sch", entry({{"invoice", "urn:unused"}})},
            {"/xsd/invoice.xsd", entry({{"target", "urn:invoice"}}, std::nullopt, "xsd")},
        });
    }
    Paths matches(const std::string& xml) {
        Error error;
        auto found = validator_.findMatchingSchemasForXML(xml, &error);
        EXPECT_TRUE(found) << error.message();
        return found.value_or(Paths{});
    }

    QMSchematronValidator validator_;
};

// The identifier must begin with or contain the demand, case-sensitively; a document
// without one fits every entry of its namespaces.
TEST_F(MatchingTest, NamespacesAndIdentifierDecide) {
    const std::vector<std::pair<std::string, Paths>> cases = {
        {invoice("urn:example:base:2017#compliant#urn:example:national_3.0"),
         {"/rules/base.sch", "/rules/national-3.sch", "/rules/open.sch", "/xsd/invoice.xsd"}},
        {invoice("URN:EXAMPLE:BASE:2017"), {"/rules/open.sch", "/xsd/invoice.xsd"}},
        {R"~(<Invoice xmlns="urn:invoice"/>)~",
         {"/rules/base.sch", "/rules/national-2.sch", "/rules/national-3.sch", "/xsd/invoice.xsd"}},
        {"<Invoice><CustomizationID>x</CustomizationID></Invoice>", {}},
    };
    Error error;
    EXPECT_EQ(validator_.findMatchingSchemasForXML("<Invoice", &error), std::nullopt);
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_TRUE(validator_.matchingCache().empty());
    for (const auto& [xml, expected] : cases) EXPECT_EQ(matches(xml), expected) << xml;
}

TEST_F(MatchingTest, CacheIsKeyedBySortedNamespacesAndIdentifierUntilADirectoryIsRegistered) {
    matches(R"~(<b:Root xmlns:b="urn:b" xmlns:a="urn:a"><a:Child/></b:Root>)~");
    matches(invoice("urn:id"));
    // U+FF21 sorts before U+1F600 in UTF-8 byte order but after it in UTF-16 code units.
    matches("<x:R xmlns:x=\"urn:\xEF\xBC\xA1\"><y:C xmlns:y=\"urn:\xF0\x9F\x98\x80\"/></x:R>");
    Paths keys;
    for (const auto& [key, paths] : validator_.matchingCache()) keys.push_back(key);
    EXPECT_EQ(keys, (Paths{"urn:a|urn:b#", "urn:cbc|urn:invoice#urn:id", "urn:\xF0\x9F\x98\x80|urn:\xEF\xBC\xA1#"}));

    // The cached list is served until a directory is registered.
    const std::string xml = invoice("urn:id");
    auto first = matches(xml);
    validator_.setSchemaCatalog({{"/rules/new.sch", entry({{"ubl", "urn:invoice"}})}});
    EXPECT_EQ(matches(xml), first);  // stale on purpose: single-file changes keep the cache
    const std::string empty = testing::makeTempDirectory("quillmark-detection");
    validator_.addSchemaDirectory(empty);
    std::filesystem::remove_all(empty);
    EXPECT_EQ(matches(xml), Paths{"/rules/new.sch"});
}

TEST_F(MatchingTest, NoMatchSetsThe404ErrorOnlyTheFirstTime) {
    const std::string unrelated = R"~(<Order xmlns="urn:order"/>)~";
    Error first;
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, &first), Paths{});
    EXPECT_EQ(first.domain, "Quillmark");
    EXPECT_EQ(first.code, 404);
    EXPECT_EQ(first.localizedDescription, "No matching Schematron schema found for this XML document");
    Error second;
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, &second), Paths{});
    EXPECT_FALSE(second);
    EXPECT_EQ(validator_.findMatchingSchemasForXML(unrelated, nullptr), Paths{});

    // Success leaves the slot alone.
    setError(&second, "Earlier", 1, "kept");
    EXPECT_FALSE(validator_.findMatchingSchemasForXML(invoice("national_3.0"), &second)->empty());
    EXPECT_EQ(second.domain, "Earlier");
}

}  // namespace
}  // namespace quillmark
