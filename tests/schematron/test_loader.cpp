// Loading rule sets: what is read from a Schematron file, how includes are spliced in,
// and how the error slot decides between failing and loading what is there.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

using ::quillmark::testing::makeTempDirectory;

constexpr const char* kSchematronNS = "http://purl.oclc.org/dsdl/schematron";

std::string schemaText(const std::string& body) {
    return std::string("<schema xmlns=\"") + kSchematronNS + "\">" + body + "</schema>";
}

void writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::string> patternIds(const SchematronSchema& schema) {
    std::vector<std::string> ids;
    for (const auto& pattern : schema.patterns) ids.push_back(pattern.patternId.value_or("<none>"));
    return ids;
}

std::vector<std::string> letNames(const std::vector<SchematronLet>& lets) {
    std::vector<std::string> names;
    for (const auto& let : lets) names.push_back(let.name.value_or("<none>"));
    return names;
}

// Local names (with the id, when there is one) of the root element's element children.
std::vector<std::string> rootChildren(const std::string& text) {
    auto document = xml::Document::parse(text, nullptr);
    std::vector<std::string> names;
    if (!document) return names;
    for (xml::Node child : document->rootElement().children()) {
        if (!child.isElement()) continue;
        auto id = child.attribute("id");
        names.push_back(child.localName() + (id ? "#" + *id : ""));
    }
    return names;
}

class LoaderTest : public ::testing::Test {
protected:
    QMSchematronValidator validator;
};

TEST_F(LoaderTest, ReadsNamespacesFunctionsLetsPatternsRulesAndAssertions) {
    const std::string text = schemaText(R"~(
      <ns prefix="cbc" uri="urn:cbc"/>
      <ns prefix="cac" uri="urn:cac-old"/>
      <ns prefix="cac" uri="urn:cac"/>
      <ns prefix="incomplete"/>
      <let name="first" value="1"/>
      <xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="u:twice">
        <xsl:param name="x"/><xsl:param/>
        <xsl:variable name="y" select="$x * 2"/><xsl:variable name="noSelect"/>
        <xsl:sequence select="$y"/>
      </xsl:function>
      <function name="u:constant"><sequence select="42"/></function>
      <function name="u:bodiless"><param name="x"/></function>
      <function><sequence select="1"/></function>
      <pattern id="variable-pattern"><let name="second" value="2"/></pattern>
      <pattern id="p1" name="First">
        <let name="patternLet" value="'p'"/>
        <rule context="cbc:ID" id="r1" abstract="true"/>
        <rule context="cac:Item" abstract="TRUE"/>
        <rule context="cac:Line" abstract="1">
          <report id="A2" test="true()" role="warning" flag="warn">second</report>
          <let name="ruleLet" value="."/>
          <assert id="A1" test="false()">Value <value-of select="cbc:ID"/> is <emph>wrong</emph></assert>
          <p>ignored</p>
        </rule>
      </pattern>
      <let name="third" value="3"/>)~");
    Error error;
    auto schema = validator.parseSchema(text, &error);
    ASSERT_TRUE(schema);
    EXPECT_FALSE(error.isSet());

    EXPECT_EQ(schema->namespaces, (std::map<std::string, std::string>{{"cbc", "urn:cbc"}, {"cac", "urn:cac"}}));
    EXPECT_FALSE(schema->queryBinding);

    ASSERT_EQ(schema->functions.size(), 2u);
    EXPECT_EQ(schema->functions[0].name, "u:twice");
    EXPECT_EQ(schema->functions[0].parameters, std::vector<std::string>{"x"});
    EXPECT_EQ(schema->functions[0].bodyExpression, "$y");
    ASSERT_EQ(schema->functions[0].variables.size(), 1u);
    EXPECT_EQ(schema->functions[0].variables[0],
              (std::map<std::string, std::string>{{"name", "y"}, {"select", "$x * 2"}}));
    EXPECT_EQ(schema->functions[1].name, "u:constant");
    EXPECT_TRUE(schema->functions[1].parameters.empty());

    // Schema-level lets and the lets of "variable-pattern" are global, in document order.
    EXPECT_EQ(letNames(schema->lets), (std::vector<std::string>{"first", "second", "third"}));

    EXPECT_EQ(patternIds(*schema), (std::vector<std::string>{"variable-pattern", "p1"}));
    EXPECT_EQ(letNames(schema->patterns[0].lets), std::vector<std::string>{"second"});
    const SchematronPattern& pattern = schema->patterns[1];
    EXPECT_EQ(pattern.name, "First");
    EXPECT_EQ(letNames(pattern.lets), std::vector<std::string>{"patternLet"});
    ASSERT_EQ(pattern.rules.size(), 3u);
    EXPECT_TRUE(pattern.rules[0].abstract);
    EXPECT_EQ(pattern.rules[0].ruleId, "r1");
    EXPECT_FALSE(pattern.rules[1].abstract);  // only the exact text "true" counts
    EXPECT_FALSE(pattern.rules[2].abstract);
    EXPECT_FALSE(pattern.rules[1].ruleId);

    const SchematronRule& rule = pattern.rules[2];
    EXPECT_EQ(rule.context, "cac:Line");
    EXPECT_EQ(letNames(rule.lets), std::vector<std::string>{"ruleLet"});
    ASSERT_EQ(rule.assertions.size(), 2u);
    const SchematronAssertion& report = rule.assertions[0];
    EXPECT_EQ(report.type, "report");
    EXPECT_EQ(report.assertionId, "A2");
    EXPECT_EQ(report.role, "warning");
    EXPECT_EQ(report.flag, "warn");
    const SchematronAssertion& assertion = rule.assertions[1];
    EXPECT_EQ(assertion.type, "assert");
    EXPECT_EQ(assertion.test, "false()");
    EXPECT_FALSE(assertion.role);
    EXPECT_FALSE(assertion.flag);
    // The raw text: value-of has no text of its own; markup keeps its text here.
    EXPECT_EQ(assertion.message, "Value  is wrong");
    ASSERT_TRUE(assertion.messageElement);
    EXPECT_EQ(assertion.messageElement.localName(), "assert");
}

TEST_F(LoaderTest, ElementsAreFoundByLocalNameWhateverTheirPrefix) {
    for (const std::string& text : {
             std::string(R"~(<sch:schema xmlns:sch="http://purl.oclc.org/dsdl/schematron"><sch:ns prefix="a" uri="urn:a"/>
                 <sch:pattern id="p"><sch:rule context="x"><sch:assert test="1">m</sch:assert></sch:rule></sch:pattern>
                 </sch:schema>)~"),
             std::string(R"~(<schema><ns prefix="a" uri="urn:a"/>
                 <pattern id="p"><rule context="x"><assert test="1">m</assert></rule></pattern></schema>)~"),
         }) {
        auto schema = validator.parseSchema(text, nullptr);
        ASSERT_TRUE(schema) << text;
        EXPECT_EQ(schema->namespaces.at("a"), "urn:a");
        ASSERT_EQ(schema->patterns.size(), 1u);
        ASSERT_EQ(schema->patterns[0].rules.size(), 1u);
        EXPECT_EQ(schema->patterns[0].rules[0].assertions.size(), 1u);
    }
}

TEST_F(LoaderTest, MissingPiecesLeaveFieldsEmpty) {
    auto schema = validator.parseSchema(schemaText("<pattern><rule><assert/></rule><let/></pattern>"), nullptr);
    ASSERT_TRUE(schema);
    EXPECT_TRUE(schema->namespaces.empty());
    EXPECT_TRUE(schema->lets.empty());
    ASSERT_EQ(schema->patterns.size(), 1u);
    const SchematronPattern& pattern = schema->patterns[0];
    EXPECT_FALSE(pattern.patternId);
    ASSERT_EQ(pattern.lets.size(), 1u);
    EXPECT_FALSE(pattern.lets[0].name);
    EXPECT_FALSE(pattern.lets[0].value);
    const SchematronRule& rule = pattern.rules.at(0);
    EXPECT_FALSE(rule.context);
    const SchematronAssertion& assertion = rule.assertions.at(0);
    EXPECT_FALSE(assertion.assertionId);
    EXPECT_FALSE(assertion.test);
    EXPECT_EQ(assertion.message, "");
}

TEST_F(LoaderTest, TextThatIsNotXmlFailsWithTheParserError) {
    Error error;
    EXPECT_FALSE(validator.parseSchema("<schema><pattern></schema>", &error));
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_FALSE(validator.parseSchema("", nullptr));
}

// Callers clear their slot before a call: an error already there makes the load fail,
// and the automatic validation relies on exactly that.
TEST_F(LoaderTest, AnErrorAlreadyInTheSlotFailsTheLoad) {
    const std::string text = schemaText("<pattern id='p'/>");
    Error error;
    setError(&error, "Earlier", 7, "left over");
    EXPECT_FALSE(validator.parseSchema(text, &error));
    EXPECT_EQ(error.domain, "Earlier");
    error.clear();
    EXPECT_TRUE(validator.parseSchema(text, &error));
}

class IncludeTest : public LoaderTest {
protected:
    void SetUp() override { directory = makeTempDirectory("quillmark-includes"); }
    void TearDown() override { std::filesystem::remove_all(directory); }
    std::string path(const std::string& relative) const { return directory + "/" + relative; }
    std::string directory;
};

TEST_F(IncludeTest, TopLevelIncludeIsReplacedByTheIncludedPatternsInOrder) {
    writeFile(path("parts/two.sch"), schemaText(R"~(<!-- c --><pattern id="i1"/>text<pattern id="i2"/>)~"));
    const std::string text =
        schemaText(R"~(<pattern id="a"/><include href="parts/two.sch"/><pattern id="b"/>)~");

    auto withBase = validator.parseSchema(text, directory, nullptr);
    ASSERT_TRUE(withBase);
    EXPECT_EQ(patternIds(*withBase), (std::vector<std::string>{"a", "i1", "i2", "b"}));

    auto withoutBase = validator.parseSchema(text, nullptr);
    ASSERT_TRUE(withoutBase);
    EXPECT_EQ(patternIds(*withoutBase), (std::vector<std::string>{"a", "b"}));
}

TEST_F(IncludeTest, DeeperIncludeGoesIntoTheRootReversedAtItsOwnPosition) {
    writeFile(path("rules.sch"), schemaText(R"~(<rule id="r1"/><rule id="r2"/><rule id="r3"/>)~"));
    // The include is child number 1 of its pattern, so the copies go to position 1 of
    // the root, each before the previous one.
    const std::string text = schemaText(R"~(<title/><pattern id="p"><let/><include href="rules.sch"/></pattern><pattern id="q"/>)~");
    EXPECT_EQ(rootChildren(validator.processIncludes(text, directory, nullptr)),
              (std::vector<std::string>{"title", "rule#r3", "rule#r2", "rule#r1", "pattern#p", "pattern#q"}));
}

TEST_F(IncludeTest, DeeperIncludePastTheEndOfTheRootIsAppended) {
    writeFile(path("rules.sch"), schemaText(R"~(<rule id="r1"/><rule id="r2"/>)~"));
    const std::string text =
        schemaText(R"~(<pattern id="p"><let/><let/><let/><let/><include href="rules.sch"/></pattern>)~");
    EXPECT_EQ(rootChildren(validator.processIncludes(text, directory, nullptr)),
              (std::vector<std::string>{"pattern#p", "rule#r1", "rule#r2"}));
}

TEST_F(IncludeTest, OnlyOneLevelIsResolved) {
    writeFile(path("outer.sch"), schemaText(R"~(<pattern id="o"/><include href="inner.sch"/>)~"));
    writeFile(path("inner.sch"), schemaText(R"~(<pattern id="never"/>)~"));
    const std::string resolved = validator.processIncludes(schemaText(R"~(<include href="outer.sch"/>)~"), directory, nullptr);
    EXPECT_EQ(rootChildren(resolved), (std::vector<std::string>{"pattern#o", "include"}));
}

TEST_F(IncludeTest, HrefsAreRelativeToTheBaseEvenWithALeadingSlash) {
    writeFile(path("a.sch"), schemaText(R"~(<pattern id="a"/>)~"));
    writeFile(path("sub/b.sch"), schemaText(R"~(<pattern id="b"/>)~"));
    const std::string text = schemaText(
        R"~(<include href="/a.sch"/><include href="sub/../sub/./b.sch"/><include/><pattern id="c"/>)~");
    ScopedLogCapture log;
    EXPECT_EQ(rootChildren(validator.processIncludes(text, directory, nullptr)),
              (std::vector<std::string>{"pattern#a", "pattern#b", "include", "pattern#c"}));
    EXPECT_TRUE(log.lines().empty());
}

struct BrokenIncludeCase {
    const char* name;
    const char* file;      // written below the base directory unless empty
    const char* contents;
    const char* logPrefix;
    const char* errorDomain;
};

class BrokenIncludeTest : public IncludeTest, public ::testing::WithParamInterface<BrokenIncludeCase> {};

// With an error slot the load fails with the file's error; without one it goes on
// without the included content. Either way one warning names the full path.
TEST_P(BrokenIncludeTest, LogsAndFailsOnlyWhenTheCallerAsksForErrors) {
    const BrokenIncludeCase& c = GetParam();
    if (*c.file) writeFile(path("broken.sch"), c.contents);
    const std::string text = schemaText(R"~(<include href="broken.sch"/><pattern id="kept"/>)~");
    const std::string expectedLine = std::string(c.logPrefix) + path("broken.sch");
    {
        ScopedLogCapture log;
        Error error;
        EXPECT_FALSE(validator.parseSchema(text, directory, &error));
        EXPECT_EQ(error.domain, c.errorDomain);
        EXPECT_EQ(log.lines(), std::vector<std::string>{expectedLine});
    }
    {
        ScopedLogCapture log;
        auto schema = validator.parseSchema(text, directory, nullptr);
        ASSERT_TRUE(schema);
        EXPECT_EQ(patternIds(*schema), std::vector<std::string>{"kept"});
        EXPECT_EQ(log.lines(), std::vector<std::string>{expectedLine});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BrokenIncludeTest,
    ::testing::Values(
        BrokenIncludeCase{"Missing", "", "", "Warning: Could not load included file: ", kFileDomain},
        BrokenIncludeCase{"Malformed", "broken.sch", "<schema><pattern>", "Warning: Could not parse included file: ",
                          kXMLParserDomain}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(IncludeTest, TextThatIsNotXmlComesBackUnchanged) {
    const std::string text = "<schema><include href='x.sch'/>";
    EXPECT_EQ(validator.processIncludes(text, directory, nullptr), text);
    const std::string noIncludes = schemaText("<pattern/>");
    EXPECT_EQ(validator.processIncludes(noIncludes, directory, nullptr), noIncludes);
}

// Includes inside includes, and an include as the root element: odd input, which must
// still give a defined outcome without touching freed nodes.
TEST_F(IncludeTest, NestedAndRootIncludesDoNotBreakTheLoad) {
    writeFile(path("one.sch"), schemaText(R"~(<pattern id="one"/>)~"));
    const std::string nested =
        schemaText(R"~(<include href="one.sch"><include href="one.sch"/><include href="missing.sch"/></include>)~");
    ScopedLogCapture log;
    auto schema = validator.parseSchema(nested, directory, nullptr);
    ASSERT_TRUE(schema);
    EXPECT_EQ(patternIds(*schema), (std::vector<std::string>{"one", "one"}));

    const std::string rootInclude = R"~(<include href="one.sch"><include href="one.sch"/></include>)~";
    EXPECT_NO_THROW(validator.processIncludes(rootInclude, directory, nullptr));
    EXPECT_FALSE(validator.parseSchema(rootInclude, directory, nullptr));
}

TEST_F(IncludeTest, LoadingAFileResolvesIncludesFromItsDirectory) {
    writeFile(path("rules/main.sch"), schemaText(R"~(<include href="parts/p.sch"/>)~"));
    writeFile(path("rules/parts/p.sch"), schemaText(R"~(<pattern id="from-part"/>)~"));
    Error error;
    auto schema = validator.loadSchemaFile(path("rules/main.sch"), &error);
    ASSERT_TRUE(schema);
    EXPECT_EQ(patternIds(*schema), std::vector<std::string>{"from-part"});

    EXPECT_FALSE(validator.loadSchemaFile(path("rules/none.sch"), &error));
    EXPECT_EQ(error.domain, kFileDomain);
}

}  // namespace
}  // namespace quillmark
