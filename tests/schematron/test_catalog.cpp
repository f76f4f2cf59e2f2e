// The schema catalog: which files a directory registers, what their entries hold,
// the customization identifier a rule set demands, and the log lines of problems.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

void writeFile(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << text;
}

std::string schematron(const std::string& body) {
    return R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">)~" + body + "</schema>";
}

std::string xsd(const std::string& targetNamespace) {
    return R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace=")~" + targetNamespace + R"~("/>)~";
}

std::vector<std::string> catalogKeys(const QMSchematronValidator& validator) {
    std::vector<std::string> keys;
    for (const auto& [path, entry] : validator.schemaCatalog()) keys.push_back(path);
    return keys;
}

bool startsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

class CatalogTest : public ::testing::Test {
protected:
    void SetUp() override { root_ = testing::makeTempDirectory("quillmark-catalog"); }
    void TearDown() override {
        std::error_code ignored;
        fs::permissions(path("locked"), fs::perms::owner_all, fs::perm_options::add, ignored);
        fs::remove_all(root_, ignored);
    }
    std::string path(const std::string& relative) const { return root_ + "/" + relative; }

    std::string root_;
};

TEST(ValidatorCreationTest, StartsEmpty) {
    QMSchematronValidator validator;
    EXPECT_TRUE(validator.isInitialized());
    EXPECT_TRUE(validator.schemaCatalog().empty());
    EXPECT_TRUE(validator.matchingCache().empty());
    EXPECT_TRUE(validator.runSelfTest());
}

// ---- Which files a directory registers ----

TEST_F(CatalogTest, RegistersSchematronAndXSDFilesRecursively) {
    writeFile(path("a.sch"), schematron(""));
    writeFile(path("a-preprocessed.sch"), schematron(""));
    writeFile(path("b.xsd"), xsd("urn:b"));
    writeFile(path("c.SCH"), schematron(""));
    writeFile(path("e.XSD"), xsd("urn:e"));
    writeFile(path("notes.txt"), schematron(""));
    writeFile(path("sub/d.sch"), schematron(""));
    writeFile(path("sub/deeper/f.xsd"), xsd("urn:f"));

    QMSchematronValidator validator;
    ScopedLogCapture log;
    validator.addSchemaDirectory(root_);
    EXPECT_EQ(catalogKeys(validator),
              (std::vector<std::string>{path("a.sch"), path("b.xsd"), path("sub/d.sch"), path("sub/deeper/f.xsd")}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(CatalogTest, KeysAreTheDirectoryJoinedWithTheNameAsGiven) {
    writeFile(path("sub/a.sch"), schematron(""));
    QMSchematronValidator validator;
    validator.addSchemaDirectory(root_ + "/sub/../sub/");
    EXPECT_EQ(catalogKeys(validator), std::vector<std::string>{root_ + "/sub/../sub/a.sch"});
}

TEST_F(CatalogTest, FollowsSymbolicLinksAndSkipsCycles) {
    writeFile(path("rules/a.sch"), schematron(""));
    writeFile(path("elsewhere/x.sch"), schematron(""));
    fs::create_directory_symlink(root_ + "/rules", path("rules/loop"));
    fs::create_directory_symlink(root_ + "/elsewhere", path("rules/linked"));

    QMSchematronValidator validator;
    ScopedLogCapture log;
    validator.addSchemaDirectory(path("rules"));
    EXPECT_EQ(catalogKeys(validator), (std::vector<std::string>{path("rules/a.sch"), path("rules/linked/x.sch")}));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find(path("rules/loop")), std::string::npos) << log.lines()[0];
}

TEST_F(CatalogTest, SameFileRegisteredTwiceKeepsTheLaterEntry) {
    writeFile(path("a.sch"), schematron("<title>First</title>"));
    QMSchematronValidator validator;
    validator.addSchemaDirectory(root_);
    writeFile(path("a.sch"), schematron("<title>Second</title>"));
    validator.addSchemaDirectory(root_);
    ASSERT_EQ(validator.schemaCatalog().size(), 1u);
    EXPECT_EQ(validator.schemaCatalog().at(path("a.sch")).title, "Second");
}

// ---- Matching cache ----

TEST_F(CatalogTest, RegisteringADirectoryEmptiesTheMatchingCache) {
    QMSchematronValidator validator;
    validator.setMatchingCache({{"urn:x#", {"/somewhere.sch"}}});
    validator.addSchemaDirectory(root_);
    EXPECT_TRUE(validator.matchingCache().empty());
}

TEST_F(CatalogTest, UnreadableDirectoryLogsOneLineAndKeepsTheCache) {
    writeFile(path("file.sch"), schematron(""));
    fs::create_directory(path("locked"));
    std::vector<std::string> unreadable = {path("absent"), path("file.sch")};
    if (geteuid() != 0) {  // permissions do not stop the superuser
        fs::permissions(path("locked"), fs::perms::none);
        unreadable.push_back(path("locked"));
    }
    for (const auto& directory : unreadable) {
        QMSchematronValidator validator;
        validator.setMatchingCache({{"urn:x#", {"/somewhere.sch"}}});
        ScopedLogCapture log;
        validator.addSchemaDirectory(directory);
        ASSERT_EQ(log.lines().size(), 1u) << directory;
        EXPECT_TRUE(startsWith(log.lines()[0], "Error reading schema directory " + directory + ": ")) << log.lines()[0];
        EXPECT_EQ(validator.matchingCache().size(), 1u) << directory;
        EXPECT_TRUE(validator.schemaCatalog().empty());
    }
}

TEST_F(CatalogTest, CataloguingSingleFilesKeepsTheCache) {
    writeFile(path("a.sch"), schematron(""));
    writeFile(path("b.xsd"), xsd("urn:b"));
    QMSchematronValidator validator;
    validator.setMatchingCache({{"urn:x#", {}}});
    validator.catalogSchemaFile(path("a.sch"));
    validator.catalogXSDFile(path("b.xsd"));
    EXPECT_EQ(validator.schemaCatalog().size(), 2u);
    EXPECT_EQ(validator.matchingCache().size(), 1u);
}

// ---- Entries ----

TEST_F(CatalogTest, SchematronEntryHoldsTitleNamespacesAndRequirement) {
    writeFile(path("full.sch"), R"~(<sch:schema xmlns:sch="http://purl.oclc.org/dsdl/schematron">
  <sch:title>EN16931 model bound to UBL</sch:title>
  <sch:title>ignored second title</sch:title>
  <sch:ns prefix="cbc" uri="urn:cbc"/>
  <sch:ns prefix="ubl" uri="urn:invoice"/>
  <sch:ns prefix="noUri"/>
  <sch:ns uri="urn:no-prefix"/>
  <sch:pattern>
    <sch:ns prefix="nested" uri="urn:nested"/>
    <sch:rule context="ubl:Invoice">
      <sch:assert test="starts-with(cbc:CustomizationID, 'urn:cen.eu:en16931:2017')">BT-24</sch:assert>
    </sch:rule>
  </sch:pattern>
</sch:schema>)~");
    writeFile(path("untitled.sch"), schematron(R"~(<ns prefix="a" uri="urn:a"/>)~"));

    QMSchematronValidator validator;
    validator.addSchemaDirectory(root_);
    const CatalogEntry& full = validator.schemaCatalog().at(path("full.sch"));
    EXPECT_EQ(full.title, "EN16931 model bound to UBL");
    EXPECT_EQ(full.namespaces, (std::map<std::string, std::string>{{"cbc", "urn:cbc"}, {"ubl", "urn:invoice"}}));
    EXPECT_EQ(full.customizationID, "urn:cen.eu:en16931:2017");
    EXPECT_FALSE(full.type);
    EXPECT_FALSE(full.isXSD());

    const CatalogEntry& untitled = validator.schemaCatalog().at(path("untitled.sch"));
    EXPECT_EQ(untitled.title, "untitled.sch");  // a file-name title keeps its extension
    EXPECT_EQ(untitled.namespaces, (std::map<std::string, std::string>{{"a", "urn:a"}}));
    EXPECT_FALSE(untitled.customizationID);
}

TEST_F(CatalogTest, XSDEntryHoldsTargetNamespaceAndNameWithoutExtension) {
    writeFile(path("base.rules.xsd"), xsd("urn:rules"));
    QMSchematronValidator validator;
    validator.addSchemaDirectory(root_);
    const CatalogEntry& entry = validator.schemaCatalog().at(path("base.rules.xsd"));
    EXPECT_EQ(entry.title, "base.rules");
    EXPECT_EQ(entry.namespaces, (std::map<std::string, std::string>{{"target", "urn:rules"}}));
    EXPECT_EQ(entry.type, "xsd");
    EXPECT_TRUE(entry.isXSD());
    EXPECT_FALSE(entry.customizationID);
}

TEST_F(CatalogTest, FilesThatAreNotSchemasLeaveNoEntryAndNoLogLine) {
    writeFile(path("pattern-only.sch"), R"~(<pattern xmlns="http://purl.oclc.org/dsdl/schematron" id="variable-pattern"/>)~");
    writeFile(path("no-target.xsd"), R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"/>)~");
    writeFile(path("html.xsd"), R"~(<html targetNamespace="urn:x"/>)~");
    QMSchematronValidator validator;
    ScopedLogCapture log;
    validator.addSchemaDirectory(root_);
    EXPECT_TRUE(validator.schemaCatalog().empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(CatalogTest, UnreadableOrMalformedFilesAreLogged) {
    writeFile(path("broken.sch"), "<schema><title>");
    writeFile(path("broken.xsd"), "<xs:schema");
    fs::create_symlink(path("nowhere"), path("dangling.sch"));
    fs::create_symlink(path("nowhere"), path("dangling.xsd"));
    writeFile(path("good.sch"), schematron(""));

    QMSchematronValidator validator;
    ScopedLogCapture log;
    validator.addSchemaDirectory(root_);
    EXPECT_EQ(catalogKeys(validator), std::vector<std::string>{path("good.sch")});
    const std::vector<std::string> expectedPrefixes = {
        "Error parsing schema file " + path("broken.sch") + ": ",
        "Error parsing XSD file " + path("broken.xsd") + ": ",
        "Error reading schema file " + path("dangling.sch") + ": ",
        "Error reading XSD file " + path("dangling.xsd") + ": ",
    };
    ASSERT_EQ(log.lines().size(), expectedPrefixes.size());
    for (size_t i = 0; i < expectedPrefixes.size(); ++i) {
        EXPECT_TRUE(startsWith(log.lines()[i], expectedPrefixes[i])) << log.lines()[i];
        EXPECT_GT(log.lines()[i].size(), expectedPrefixes[i].size()) << "no reason given: " << log.lines()[i];
    }
}

// ---- Customization identifier demanded by a rule set ----

std::optional<std::string> requirementOf(const std::string& body) {
    Error error;
    auto document = xml::Document::parse(schematron(body), &error);
    EXPECT_TRUE(document) << error.message();
    return QMSchematronValidator::extractEN16931CustomizationIDRequirement(*document);
}

TEST(CustomizationIDRequirementTest, ReadsTheDemandFromAssertsThenLets) {
    struct Case {
        const char* name;
        std::string body;
        std::optional<std::string> expected;
    };
    const std::vector<Case> cases = {
        {"starts-with is tried first, whatever it tests",
         R"~(<assert test="starts-with(cbc:ProfileID, 'P1') and cbc:CustomizationID = 'C1'"/>)~", "P1"},
        {"comparison", R"~(<assert test="cbc:CustomizationID = 'urn:x'"/>)~", "urn:x"},
        {"comparison in double quotes", R"~(<assert test='cbc:CustomizationID  =  "urn:y"'/>)~", "urn:y"},
        {"comparison through a path", R"~(<assert test="cbc:CustomizationID/text() != 'urn:z'"/>)~", "urn:z"},
        {"non-ASCII identifier", R"~(<assert test="cbc:CustomizationID = 'urn:größe'"/>)~", "urn:größe"},
        {"assert without CustomizationID is ignored", R"~(<assert test="starts-with(cbc:ID, 'X')"/>)~", std::nullopt},
        {"mention without literal", R"~(<assert test="cbc:CustomizationID = $ID"/>)~", std::nullopt},
        {"empty literal", R"~(<assert test="normalize-space(cbc:CustomizationID) != ''"/>)~", std::nullopt},
        {"first qualifying assert wins",
         R"~(<assert test="cbc:CustomizationID"/><assert test="cbc:CustomizationID = 'one'"/>
            <assert test="cbc:CustomizationID = 'two'"/>)~",
         "one"},
        {"asserts before lets, whatever the order",
         R"~(<let name="CIUS" value="'from-let'"/><pattern><rule context="x">
            <assert test="cbc:CustomizationID = 'from-assert'"/></rule></pattern>)~",
         "from-assert"},
        {"let quoted strings run together", R"~(<let name="CIUS-ID" value="('A', 'B')"/>)~", "AB"},
        {"let name compared ignoring case", R"~(<let name="myCustomizationId" value="concat('urn:a', $v)"/>)~", "urn:a"},
        {"let name compared ignoring case (cius)", R"~(<let name="xr-cius" value="'urn:b'"/>)~", "urn:b"},
        {"let with another name", R"~(<let name="PROFILE" value="'urn:c'"/>)~", std::nullopt},
        {"let without a quoted string is passed over",
         R"~(<let name="CIUS-A" value="$other"/><let name="CIUS-B" value="'urn:d'"/>)~", "urn:d"},
        {"let without value", R"~(<let name="CIUS"/>)~", std::nullopt},
        {"nothing", "", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(requirementOf(c.body), c.expected) << c.name;
}

}  // namespace
}  // namespace quillmark
