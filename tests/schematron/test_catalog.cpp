// The schema catalog: which files a directory registers, what their entries hold,
// the customization identifier a rule set demands, and the log lines of problems.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "quillmark/xml.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using testing::schematronText;
using Lines = std::vector<std::string>;

std::string xsd(const std::string& targetNamespace) {
    return R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" targetNamespace=")~" + targetNamespace + R"~("/>)~";
}

Lines catalogKeys(const QMSchematronValidator& validator) {
    Lines keys;
    for (const auto& [path, entry] : validator.schemaCatalog()) keys.push_back(path);
    return keys;
}

// "TITLE type=TYPE ns=PREFIX=URI,... id=ID" per entry, "-" for what is missing.
Lines entryLines(const QMSchematronValidator& validator) {
    Lines lines;
    for (const auto& [path, e] : validator.schemaCatalog()) {
        std::string line = e.title + " type=" + e.type.value_or("-") + (e.isXSD() ? " isXSD" : "") + " ns=";
        for (const auto& [prefix, uri] : e.namespaces) line += prefix + "=" + uri + ",";
        lines.push_back(line + " id=" + e.customizationID.value_or("-"));
    }
    return lines;
}

class CatalogTest : public testing::TempDirectoryTest {
protected:
    void TearDown() override {
        std::error_code ignored;
        fs::permissions(path("locked"), fs::perms::owner_all, fs::perm_options::add, ignored);
        TempDirectoryTest::TearDown();
    }
    QMSchematronValidator validator;
};

TEST_F(CatalogTest, StartsEmpty) {
    EXPECT_TRUE(validator.isInitialized() && validator.runSelfTest());
    EXPECT_TRUE(validator.schemaCatalog().empty() && validator.matchingCache().empty());
}

// ---- Which files a directory registers ----

TEST_F(CatalogTest, RegistersSchematronAndXSDFilesRecursively) {
    for (const char* name : {"a.sch", "a-preprocessed.sch", "c.SCH", "notes.txt", "sub/d.sch"}) {
        write(name, schematronText(""));
    }
    for (const char* name : {"b.xsd", "e.XSD", "sub/deeper/f.xsd"}) write(name, xsd("urn:b"));
    ScopedLogCapture log;
    validator.addSchemaDirectory(directory_);
    EXPECT_EQ(catalogKeys(validator), (Lines{path("a.sch"), path("b.xsd"), path("sub/d.sch"), path("sub/deeper/f.xsd")}));
    EXPECT_TRUE(log.lines().empty());

    // Keys are the directory joined with the name, as given.
    QMSchematronValidator other;
    other.addSchemaDirectory(directory_ + "/sub/../sub/");
    EXPECT_EQ(catalogKeys(other), (Lines{directory_ + "/sub/../sub/d.sch", directory_ + "/sub/../sub/deeper/f.xsd"}));
}

TEST_F(CatalogTest, FollowsSymbolicLinksAndSkipsCycles) {
    write("rules/a.sch", schematronText(""));
    write("elsewhere/x.sch", schematronText(""));
    fs::create_directory_symlink(path("rules"), path("rules/loop"));
    fs::create_directory_symlink(path("elsewhere"), path("rules/linked"));
    ScopedLogCapture log;
    validator.addSchemaDirectory(path("rules"));
    EXPECT_EQ(catalogKeys(validator), (Lines{path("rules/a.sch"), path("rules/linked/x.sch")}));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find(path("rules/loop")), std::string::npos) << log.lines()[0];
}

// Each real directory is read once: two links per level to the next level make a
// tree of 2^N paths, which is walked in N steps.
TEST_F(CatalogTest, ReadsEachRealDirectoryOnce) {
    const int levels = 40;
    for (int level = 0; level < levels; ++level) {
        const std::string here = "level" + std::to_string(level);
        write(here + "/rules.sch", schematronText(""));
        if (level + 1 == levels) break;
        const std::string next = path("level" + std::to_string(level + 1));
        fs::create_directories(next);
        fs::create_directory_symlink(next, path(here + "/first"));
        fs::create_directory_symlink(next, path(here + "/second"));
    }
    ScopedLogCapture log;
    validator.addSchemaDirectory(path("level0"));
    EXPECT_EQ(validator.schemaCatalog().size(), static_cast<size_t>(levels));
    EXPECT_EQ(log.lines().size(), static_cast<size_t>(levels - 1));
    EXPECT_TRUE(validator.schemaCatalog().count(path("level0/first/first/rules.sch")));
    EXPECT_FALSE(validator.schemaCatalog().count(path("level0/second/rules.sch")));
}

// Unreadable directories log one line each; only a registered directory empties the
// matching cache, single files do not.
TEST_F(CatalogTest, OnlyARegisteredDirectoryEmptiesTheMatchingCache) {
    write("rules/a.sch", schematronText(""));
    write("rules/b.xsd", xsd("urn:b"));
    fs::create_directory(path("locked"));
    Lines unreadable = {path("absent"), path("rules/a.sch")};
    if (geteuid() != 0) {  // permissions do not stop the superuser
        fs::permissions(path("locked"), fs::perms::none);
        unreadable.push_back(path("locked"));
    }
    validator.setMatchingCache({{"urn:x#", {"/somewhere.sch"}}});
    for (const auto& directory : unreadable) {
        ScopedLogCapture log;
        validator.addSchemaDirectory(directory);
        ASSERT_EQ(log.lines().size(), 1u) << directory;
        EXPECT_TRUE(log.lines()[0].starts_with("Error reading schema directory " + directory + ": ")) << log.lines()[0];
    }
    EXPECT_TRUE(validator.schemaCatalog().empty());
    validator.catalogSchemaFile(path("rules/a.sch"));
    validator.catalogXSDFile(path("rules/b.xsd"));
    EXPECT_EQ(validator.schemaCatalog().size(), 2u);
    EXPECT_EQ(validator.matchingCache().size(), 1u);
    validator.addSchemaDirectory(path("rules"));
    EXPECT_TRUE(validator.matchingCache().empty());
}

// ---- Entries ----

TEST_F(CatalogTest, EntriesHoldTitleNamespacesAndRequirement) {
    write("full.sch", R"~(<sch:schema xmlns:sch="http://purl.oclc.org/dsdl/schematron">
  <sch:title>EN16931 model bound to UBL</sch:title><sch:title>ignored second title</sch:title>
  <sch:ns prefix="cbc" uri="urn:cbc"/><sch:ns prefix="ubl" uri="urn:invoice"/>
  <sch:ns prefix="noUri"/><sch:ns uri="urn:no-prefix"/>
  <sch:pattern><sch:ns prefix="nested" uri="urn:nested"/><sch:rule context="ubl:Invoice">
    <sch:assert test="starts-with(cbc:CustomizationID, 'urn:cen.eu:en16931:2017')">BT-24</sch:assert>
  </sch:rule></sch:pattern></sch:schema>)~");
    write("untitled.sch", schematronText(R"~(<ns prefix="a" uri="urn:a"/>)~"));
    write("base.rules.xsd", xsd("urn:rules"));
    validator.addSchemaDirectory(directory_);
    // A file-name title keeps its extension for Schematron files, not for XSD files.
    EXPECT_EQ(entryLines(validator), (Lines{"base.rules type=xsd isXSD ns=target=urn:rules, id=-",
                                            "EN16931 model bound to UBL type=- ns=cbc=urn:cbc,ubl=urn:invoice, "
                                            "id=urn:cen.eu:en16931:2017",
                                            "untitled.sch type=- ns=a=urn:a, id=-"}));
    // The same file registered again replaces its entry.
    write("untitled.sch", schematronText("<title>Second</title>"));
    validator.addSchemaDirectory(directory_);
    EXPECT_EQ(entryLines(validator).back(), "Second type=- ns= id=-");
}

// Files that are no schemas are passed over silently; unreadable or malformed ones are
// logged with the reason.
TEST_F(CatalogTest, OnlyUnreadableOrMalformedFilesAreLogged) {
    write("pattern-only.sch", R"~(<pattern xmlns="http://purl.oclc.org/dsdl/schematron" id="variable-pattern"/>)~");
    write("no-target.xsd", R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"/>)~");
    write("html.xsd", R"~(<html targetNamespace="urn:x"/>)~");
    write("broken.sch", "<schema><title>");
    write("broken.xsd", "<xs:schema");
    fs::create_symlink(path("nowhere"), path("dangling.sch"));
    fs::create_symlink(path("nowhere"), path("dangling.xsd"));
    write("good.sch", schematronText(""));

    ScopedLogCapture log;
    validator.addSchemaDirectory(directory_);
    EXPECT_EQ(catalogKeys(validator), Lines{path("good.sch")});
    const Lines expectedPrefixes = {
        "Error parsing schema file " + path("broken.sch") + ": ",
        "Error parsing XSD file " + path("broken.xsd") + ": ",
        "Error reading schema file " + path("dangling.sch") + ": ",
        "Error reading XSD file " + path("dangling.xsd") + ": ",
    };
    ASSERT_EQ(log.lines().size(), expectedPrefixes.size());
    for (size_t i = 0; i < expectedPrefixes.size(); ++i) {
        EXPECT_TRUE(log.lines()[i].starts_with(expectedPrefixes[i])) << log.lines()[i];
        EXPECT_GT(log.lines()[i].size(), expectedPrefixes[i].size()) << "no reason given: " << log.lines()[i];
    }
}

// ---- Customization identifier demanded by a rule set ----

std::optional<std::string> requirementOf(const std::string& body) {
    return QMSchematronValidator::extractEN16931CustomizationIDRequirement(*testing::parseXML(schematronText(body)));
}

TEST(CustomizationIDRequirementTest, ReadsTheDemandFromAssertsThenLets) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        // starts-with is tried first, whatever it tests
        {R"~(<assert test="starts-with(cbc:ProfileID, 'P1') and cbc:CustomizationID = 'C1'"/>)~", "P1"},
        {R"~(<assert test="cbc:CustomizationID = 'urn:x'"/>)~", "urn:x"},
        {R"~(<assert test='cbc:CustomizationID  =  "urn:y"'/>)~", "urn:y"},
        {R"~(<assert test="cbc:CustomizationID/text() != 'urn:z'"/>)~", "urn:z"},
        {R"~(<assert test="cbc:CustomizationID = 'urn:größe'"/>)~", "urn:größe"},
        {R"~(<assert test="starts-with(cbc:ID, 'X')"/>)~", std::nullopt},
        {R"~(<assert test="cbc:CustomizationID = $ID"/>)~", std::nullopt},
        {R"~(<assert test="normalize-space(cbc:CustomizationID) != ''"/>)~", std::nullopt},
        // the first qualifying assert wins, and asserts come before lets whatever the order
        {R"~(<assert test="cbc:CustomizationID"/><assert test="cbc:CustomizationID = 'one'"/>
             <assert test="cbc:CustomizationID = 'two'"/>)~", "one"},
        {R"~(<let name="CIUS" value="'from-let'"/><pattern><rule context="x">
             <assert test="cbc:CustomizationID = 'from-assert'"/></rule></pattern>)~", "from-assert"},
        // lets: quoted strings run together; the name is compared ignoring case
        {R"~(<let name="CIUS-ID" value="('A', 'B')"/>)~", "AB"},
        {R"~(<let name="myCustomizationId" value="concat('urn:a', $v)"/>)~", "urn:a"},
        {R"~(<let name="xr-cius" value="'urn:b'"/>)~", "urn:b"},
        {R"~(<let name="PROFILE" value="'urn:c'"/>)~", std::nullopt},
        {R"~(<let name="CIUS-A" value="$other"/><let name="CIUS-B" value="'urn:d'"/>)~", "urn:d"},
        {R"~(<let name="CIUS"/>)~", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [body, expected] : cases) EXPECT_EQ(requirementOf(body), expected) << body;
}

}  // namespace
}  // namespace quillmark
