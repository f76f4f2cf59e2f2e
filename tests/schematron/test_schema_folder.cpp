// A schema folder put together from the official rule sets (EN 16931, XRechnung with its
// shared variables, PEPPOL BIS 3.0) and the CII D16B schemas, as a host would ship it:
// what the catalog makes of it, which rule sets each official example invoice gets, and
// how the automatic validation merges their findings.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using testing::corpusPath;
using testing::readFile;

constexpr const char* kCIISchemaDirectory =
    "en16931/cii/schema/D16B SCRDM (Subset)/uncoupled clm/CII/uncefact/data/standard";

// Corpus file -> place in the folder. The EN 16931 files are the single-file
// ("preprocessed") editions, saved under names the catalog does not skip.
const std::vector<std::pair<std::string, std::string>> kFolderLayout = {
    {"en16931/ubl/schematron/preprocessed/EN16931-UBL-validation-preprocessed.sch", "en16931/EN16931-UBL-validation.sch"},
    {"en16931/cii/schematron/preprocessed/EN16931-CII-validation-preprocessed.sch", "en16931/EN16931-CII-validation.sch"},
    {"xrechnung/src/validation/schematron/common.sch", "xrechnung/common.sch"},
    {"xrechnung/src/validation/schematron/ubl/XRechnung-UBL-validation.sch", "xrechnung/ubl/XRechnung-UBL-validation.sch"},
    {"xrechnung/src/validation/schematron/cii/XRechnung-CII-validation.sch", "xrechnung/cii/XRechnung-CII-validation.sch"},
    {"peppol/rules/sch/PEPPOL-EN16931-UBL.sch", "peppol/PEPPOL-EN16931-UBL.sch"},
    {"peppol/rules/sch/PEPPOL-EN16931-CII.sch", "peppol/PEPPOL-EN16931-CII.sch"},
};

const std::set<std::string> kUBLRuleSets = {"en16931/EN16931-UBL-validation.sch",
                                            "xrechnung/ubl/XRechnung-UBL-validation.sch", "peppol/PEPPOL-EN16931-UBL.sch"};
const std::set<std::string> kCIIRuleSets = {
    "en16931/EN16931-CII-validation.sch", "xrechnung/cii/XRechnung-CII-validation.sch", "peppol/PEPPOL-EN16931-CII.sch",
    "cii-xsd/CrossIndustryInvoice_100pD16B.xsd", "cii-xsd/CrossIndustryInvoice_QualifiedDataType_100pD16B.xsd",
    "cii-xsd/CrossIndustryInvoice_ReusableAggregateBusinessInformationEntity_100pD16B.xsd",
    "cii-xsd/CrossIndustryInvoice_UnqualifiedDataType_100pD16B.xsd"};

std::vector<std::string> describe(const std::vector<QMValidationError>& issues) {
    return testing::issueLines(issues, testing::allFields);
}

std::vector<std::string> examples(const std::string& directory) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::directory_iterator(corpusPath(directory))) {
        std::string extension = entry.path().extension().string();
        if (extension == ".xml" || extension == ".XML") paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

class SchemaFolderTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!testing::corpusAvailable()) return;
        root_ = testing::makeTempDirectory("quillmark-schema-folder");
        for (const auto& [from, to] : kFolderLayout) {
            fs::create_directories(fs::path(root_ + "/" + to).parent_path());
            fs::copy_file(corpusPath(from), root_ + "/" + to);
        }
        fs::create_directories(root_ + "/cii-xsd");
        for (const auto& entry : fs::directory_iterator(corpusPath(kCIISchemaDirectory))) {
            fs::copy_file(entry.path(), root_ + "/cii-xsd/" + entry.path().filename().string());
        }
        validator_ = new QMSchematronValidator;
        validator_->addSchemaDirectory(root_);
    }
    static void TearDownTestSuite() {
        delete validator_;
        validator_ = nullptr;
        if (!root_.empty()) fs::remove_all(root_);
    }
    void SetUp() override {
        ASSERT_TRUE(validator_) << "the corpus is missing";
    }

    static std::string relative(const std::string& path) { return path.substr(root_.size() + 1); }
    static std::set<std::string> relativeMatches(const std::string& xml) {
        Error error;
        auto matches = validator_->findMatchingSchemasForXML(xml, &error);
        EXPECT_TRUE(matches) << error.message();
        std::set<std::string> names;
        for (const auto& path : matches.value_or(std::vector<std::string>{})) names.insert(relative(path));
        return names;
    }

    static std::string root_;
    static QMSchematronValidator* validator_;
};

std::string SchemaFolderTest::root_;
QMSchematronValidator* SchemaFolderTest::validator_ = nullptr;

TEST_F(SchemaFolderTest, CatalogHoldsTitlesNamespacesAndRequiredIdentifiers) {
    struct Expected {
        std::string path, title, someNamespace;
        std::optional<std::string> customizationID;
    };
    const std::string ubl = "urn:oasis:names:specification:ubl:schema:xsd:Invoice-2";
    const std::string cefact = "urn:un:unece:uncefact:data:standard:";
    const std::string rsm = cefact + "CrossIndustryInvoice:100";
    const std::string xrechnung =
        "Schematron Version @xr-schematron.version.full@ - XRechnung @xrechnung.version@ compatible - ";
    const std::vector<Expected> expected = {
        {"cii-xsd/CrossIndustryInvoice_100pD16B.xsd", "CrossIndustryInvoice_100pD16B", rsm, {}},
        {"cii-xsd/CrossIndustryInvoice_QualifiedDataType_100pD16B.xsd", "CrossIndustryInvoice_QualifiedDataType_100pD16B",
         cefact + "QualifiedDataType:100", {}},
        {"cii-xsd/CrossIndustryInvoice_ReusableAggregateBusinessInformationEntity_100pD16B.xsd",
         "CrossIndustryInvoice_ReusableAggregateBusinessInformationEntity_100pD16B",
         cefact + "ReusableAggregateBusinessInformationEntity:100", {}},
        {"cii-xsd/CrossIndustryInvoice_UnqualifiedDataType_100pD16B.xsd", "CrossIndustryInvoice_UnqualifiedDataType_100pD16B",
         cefact + "UnqualifiedDataType:100", {}},
        {"en16931/EN16931-CII-validation.sch", "EN16931 model bound to CII", rsm, {}},
        {"en16931/EN16931-UBL-validation.sch", "EN16931  model bound to UBL", ubl, {}},
        {"peppol/PEPPOL-EN16931-CII.sch", "Rules for PEPPOL BIS 3.0 Billing", rsm, {}},
        {"peppol/PEPPOL-EN16931-UBL.sch", "Rules for Peppol BIS 3.0 Billing",
         "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2",
         "urn:cen.eu:en16931:2017#compliant#urn:fdc:peppol.eu:2017:poacc:billing:3.0"},
        {"xrechnung/cii/XRechnung-CII-validation.sch", xrechnung + "CII", rsm, {}},
        {"xrechnung/ubl/XRechnung-UBL-validation.sch", xrechnung + "UBL - Invoice / Creditnote", ubl, {}},
    };
    // common.sch is a bare pattern, not a rule set of its own.
    ASSERT_EQ(validator_->schemaCatalog().size(), expected.size());
    auto entry = validator_->schemaCatalog().begin();
    for (const auto& e : expected) {
        EXPECT_EQ(relative(entry->first), e.path);
        EXPECT_EQ(entry->second.title, e.title) << e.path;
        EXPECT_EQ(entry->second.customizationID, e.customizationID) << e.path;
        EXPECT_EQ(entry->second.isXSD(), e.path.ends_with(".xsd")) << e.path;
        const auto& namespaces = entry->second.namespaces;
        EXPECT_TRUE(std::any_of(namespaces.begin(), namespaces.end(),
                                [&](const auto& declared) { return declared.second == e.someNamespace; }))
            << e.path;
        ++entry;
    }
}

TEST_F(SchemaFolderTest, EveryExampleGetsTheRuleSetsOfItsOwnSyntaxOnly) {
    for (const auto& [directory, own, baseRules] :
         {std::tuple{"en16931/ubl/examples", &kUBLRuleSets, "en16931/EN16931-UBL-validation.sch"},
          std::tuple{"en16931/cii/examples", &kCIIRuleSets, "en16931/EN16931-CII-validation.sch"}}) {
        for (const auto& example : examples(directory)) {
            std::set<std::string> matches = relativeMatches(readFile(example));
            EXPECT_EQ(matches.count(baseRules), 1u) << example;
            for (const auto& match : matches) EXPECT_EQ(own->count(match), 1u) << example << " got " << match;
        }
    }
    // The PEPPOL rules only for invoices that claim PEPPOL.
    EXPECT_EQ(relativeMatches(readFile(corpusPath("en16931/ubl/examples/BIS3_Invoice_positive.XML"))), kUBLRuleSets);
    EXPECT_EQ(relativeMatches(readFile(corpusPath("en16931/ubl/examples/ubl-tc434-example1.xml"))),
              (std::set<std::string>{"en16931/EN16931-UBL-validation.sch", "xrechnung/ubl/XRechnung-UBL-validation.sch"}));
}

// The concatenation of the single-schema runs, in the order the automatic validation used.
QMValidationResult singleRunsInOrder(QMSchematronValidator& validator, const std::string& xml,
                                     const std::vector<std::string>& paths) {
    QMValidationResult expected;
    for (const auto& path : paths) {
        Error error;
        auto result = validator.schemaCatalog().at(path).isXSD() ? validator.validateXMLWithXSDFile(xml, path, &error)
                                                                : validator.validateXMLWithSchemaFile(xml, path, &error);
        EXPECT_TRUE(result) << path << ": " << error.message();
        if (!result) continue;
        expected.errors.insert(expected.errors.end(), result->errors.begin(), result->errors.end());
        expected.warnings.insert(expected.warnings.end(), result->warnings.begin(), result->warnings.end());
    }
    return expected;
}

TEST_F(SchemaFolderTest, MergedFindingsAreTheSingleRunsInCatalogOrder) {
    for (const char* example : {"en16931/ubl/examples/ubl-tc434-example2.xml", "en16931/cii/examples/CII_example2.xml"}) {
        const std::string xml = readFile(corpusPath(example));
        Error error;
        auto merged = validator_->validateXMLWithAutoDetection(xml, &error);
        ASSERT_TRUE(merged) << example << ": " << error.message();
        EXPECT_FALSE(error) << example << ": " << error.message();
        ASSERT_TRUE(merged->schemaFiles);
        EXPECT_TRUE(std::is_sorted(merged->schemaFiles->begin(), merged->schemaFiles->end())) << example;

        QMValidationResult expected = singleRunsInOrder(*validator_, xml, *merged->schemaFiles);
        EXPECT_EQ(describe(merged->errors), describe(expected.errors)) << example;
        EXPECT_EQ(describe(merged->warnings), describe(expected.warnings)) << example;
        EXPECT_EQ(merged->valid, expected.errors.empty()) << example;
    }
}

TEST_F(SchemaFolderTest, SchemaInvalidInvoiceStillGetsItsRuleSetsWithOrWithoutErrorSlot) {
    // The CII schemas come first in catalog order. They find this invoice invalid, but an
    // XSD entry reports every well-formed document as valid and leaves the error slot
    // empty, so the rule sets after it run in both cases.
    std::string xml = readFile(corpusPath("en16931/cii/examples/CII_example5.xml"));
    const std::string anchor = "<rsm:ExchangedDocument>";
    xml.insert(xml.find(anchor) + anchor.size(), "<ram:Unexpected>1</ram:Unexpected>");

    Error error;
    auto withSlot = validator_->validateXMLWithAutoDetection(xml, &error);
    auto withoutSlot = validator_->validateXMLWithAutoDetection(xml, nullptr);
    ASSERT_TRUE(withSlot && withoutSlot);
    EXPECT_FALSE(error);
    EXPECT_EQ(relative(withSlot->schemaFiles->front()), "cii-xsd/CrossIndustryInvoice_100pD16B.xsd");
    EXPECT_EQ(describe(withSlot->errors), describe(withoutSlot->errors));
    EXPECT_EQ(describe(withSlot->warnings), describe(withoutSlot->warnings));
    for (const auto& issue : withSlot->errors) EXPECT_NE(issue.type, "xsd");
}

}  // namespace
}  // namespace quillmark
