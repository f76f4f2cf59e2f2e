// Loading rule sets: what is read from a Schematron file, how includes are spliced in,
// and how the error slot decides between failing and loading what is there.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::schematronText;
using Lines = std::vector<std::string>;

std::string text(const std::optional<std::string>& value) { return value.value_or("-"); }

std::string letList(const std::vector<SchematronLet>& lets) {
    std::string list;
    for (const auto& let : lets) list += " $" + text(let.name) + "=" + text(let.value);
    return list;
}

// One line per namespace, function, pattern, rule and assertion, and one for the
// global lets; "-" marks a missing value.
Lines outline(const SchematronSchema& schema) {
    Lines lines;
    for (const auto& [prefix, uri] : schema.namespaces) lines.push_back("ns " + prefix + "=" + uri);
    for (const auto& function : schema.functions) {
        std::string line = "function " + function.name + "(";
        for (const auto& parameter : function.parameters) line += parameter + ",";
        line += ") = " + function.bodyExpression;
        for (const auto& variable : function.variables) {
            for (const auto& [key, value] : variable) line += " " + key + ":" + value;
        }
        lines.push_back(line);
    }
    lines.push_back("lets" + letList(schema.lets));
    for (const auto& pattern : schema.patterns) {
        lines.push_back("pattern " + text(pattern.patternId) + " " + text(pattern.name) + letList(pattern.lets));
        for (const auto& rule : pattern.rules) {
            lines.push_back("  rule " + text(rule.ruleId) + " " + text(rule.context) + (rule.abstract ? " abstract" : "") +
                            letList(rule.lets));
            for (const auto& a : rule.assertions) {
                lines.push_back("    " + a.type + " " + text(a.assertionId) + " " + text(a.test) + " " +
                                text(a.role) + " " + text(a.flag) + " [" + a.message + "]");
            }
        }
    }
    return lines;
}

Lines patternIds(const SchematronSchema& schema) {
    Lines ids;
    for (const auto& pattern : schema.patterns) ids.push_back(text(pattern.patternId));
    return ids;
}

// Local names (with the id, when there is one) of the root element's element children.
Lines rootChildren(const std::string& text) {
    auto document = xml::Document::parse(text, nullptr);
    Lines names;
    if (!document) return names;
    for (xml::Node child : document->rootElement().children()) {
        if (!child.isElement()) continue;
        auto id = child.attribute("id");
        names.push_back(child.localName() + (id ? "#" + *id : ""));
    }
    return names;
}

class LoaderTest : public testing::TempDirectoryTest {
protected:
    QMSchematronValidator validator;
};

TEST_F(LoaderTest, ReadsNamespacesFunctionsLetsPatternsRulesAndAssertions) {
    const std::string rules = schematronText(R"~(
      <ns prefix="cbc" uri="urn:cbc"/><ns prefix="cac" uri="urn:cac-old"/><ns prefix="cac" uri="urn:cac"/>
      <ns prefix="incomplete"/>
      <let name="first" value="1"/>
      <xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="u:twice"><xsl:param name="x"/><xsl:param/>
        <xsl:variable name="y" select="$x * 2"/><xsl:variable name="noSelect"/><xsl:sequence select="$y"/></xsl:function>
      <function name="u:constant"><sequence select="42"/></function><function name="u:bodiless"><param name="x"/></function>
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
    auto schema = validator.parseSchema(rules, &error);
    ASSERT_TRUE(schema);
    EXPECT_FALSE(error.isSet());
    // Schema-level lets and the lets of "variable-pattern" are global, in document order;
    // only the exact text "true" makes a rule abstract; the message is the raw text, in
    // which value-of has no text of its own and markup keeps its text.
    EXPECT_EQ(outline(*schema), (Lines{"ns cac=urn:cac", "ns cbc=urn:cbc", "function u:twice(x,) = $y name:y select:$x * 2",
                                       "function u:constant() = 42", "lets $first=1 $second=2 $third=3",
                                       "pattern variable-pattern - $second=2", "pattern p1 First $patternLet='p'",
                                       "  rule r1 cbc:ID abstract", "  rule - cac:Item", "  rule - cac:Line $ruleLet=.",
                                       "    report A2 true() warning warn [second]",
                                       "    assert A1 false() - - [Value  is wrong]"}));
    EXPECT_FALSE(schema->queryBinding);
    const auto& assertion = schema->patterns[1].rules[2].assertions[1];
    ASSERT_TRUE(assertion.messageElement);
    EXPECT_EQ(assertion.messageElement.localName(), "assert");
}

TEST_F(LoaderTest, ElementsAreFoundByLocalNameAndMissingPiecesStayEmpty) {
    const Lines expected = {"ns a=urn:a", "lets", "pattern p -", "  rule - x", "    assert - 1 - - [m]"};
    for (const std::string& rules : {
             std::string(R"~(<sch:schema xmlns:sch="http://purl.oclc.org/dsdl/schematron"><sch:ns prefix="a" uri="urn:a"/>
                 <sch:pattern id="p"><sch:rule context="x"><sch:assert test="1">m</sch:assert></sch:rule></sch:pattern>
                 </sch:schema>)~"),
             std::string(R"~(<schema><ns prefix="a" uri="urn:a"/>
                 <pattern id="p"><rule context="x"><assert test="1">m</assert></rule></pattern></schema>)~"),
         }) {
        auto schema = validator.parseSchema(rules, nullptr);
        ASSERT_TRUE(schema) << rules;
        EXPECT_EQ(outline(*schema), expected);
    }
    auto bare = validator.parseSchema(schematronText("<pattern><rule><assert/></rule><let/></pattern>"), nullptr);
    ASSERT_TRUE(bare);
    EXPECT_EQ(outline(*bare), (Lines{"lets", "pattern - - $-=-", "  rule - -", "    assert - - - - []"}));
}

// Callers clear their slot before a call: an error already there makes the load fail,
// and the automatic validation relies on exactly that.
TEST_F(LoaderTest, FailsOnTextThatIsNotXmlOrAnErrorAlreadyInTheSlot) {
    Error error;
    EXPECT_FALSE(validator.parseSchema("<schema><pattern></schema>", &error));
    EXPECT_EQ(error.domain, kXMLParserDomain);
    EXPECT_FALSE(validator.parseSchema("", nullptr));

    const std::string rules = schematronText("<pattern id='p'/>");
    setError(&error, "Earlier", 7, "left over");
    EXPECT_FALSE(validator.parseSchema(rules, &error));
    EXPECT_EQ(error.domain, "Earlier");
    error.clear();
    EXPECT_TRUE(validator.parseSchema(rules, &error));
}

TEST_F(LoaderTest, IncludesAreSplicedIntoTheRootOneLevelDeep) {
    write("three.sch", schematronText(R"~(<rule id="r1"/><rule id="r2"/><rule id="r3"/>)~"));
    write("two.sch", schematronText(R"~(<rule id="r1"/><rule id="r2"/>)~"));
    write("outer.sch", schematronText(R"~(<pattern id="o"/><include href="inner.sch"/>)~"));
    write("inner.sch", schematronText(R"~(<pattern id="never"/>)~"));
    write("a.sch", schematronText(R"~(<pattern id="a"/>)~"));
    write("sub/b.sch", schematronText(R"~(<pattern id="b"/>)~"));
    write("parts/two.sch", schematronText(R"~(<!-- c --><pattern id="i1"/>text<pattern id="i2"/>)~"));
    const std::pair<const char*, Lines> cases[] = {
        // A top-level include is replaced by the included file's elements, in order.
        {R"~(<pattern id="a"/><include href="parts/two.sch"/><pattern id="b"/>)~",
         {"pattern#a", "pattern#i1", "pattern#i2", "pattern#b"}},
        // A deeper include is child number 1 of its pattern, so the copies go to position 1
        // of the root, each before the previous one; past the end of the root they are appended.
        {R"~(<title/><pattern id="p"><let/><include href="three.sch"/></pattern><pattern id="q"/>)~",
         {"title", "rule#r3", "rule#r2", "rule#r1", "pattern#p", "pattern#q"}},
        {R"~(<pattern id="p"><let/><let/><let/><let/><include href="two.sch"/></pattern>)~",
         {"pattern#p", "rule#r1", "rule#r2"}},
        {R"~(<include href="outer.sch"/>)~", {"pattern#o", "include"}},
        // Hrefs are relative to the base even with a leading slash.
        {R"~(<include href="/a.sch"/><include href="sub/../sub/./b.sch"/><include/><pattern id="c"/>)~",
         {"pattern#a", "pattern#b", "include", "pattern#c"}},
    };
    ScopedLogCapture log;
    for (const auto& [body, expected] : cases) {
        EXPECT_EQ(rootChildren(validator.processIncludes(schematronText(body), directory_, nullptr)), expected) << body;
    }
    EXPECT_TRUE(log.lines().empty());
    // Without a base path nothing is included.
    auto withoutBase = validator.parseSchema(schematronText(cases[0].first), nullptr);
    ASSERT_TRUE(withoutBase);
    EXPECT_EQ(patternIds(*withoutBase), (Lines{"a", "b"}));
}

// With an error slot the load fails with the file's error; without one it goes on
// without the included content. Either way one warning names the full path.
TEST_F(LoaderTest, BrokenIncludeIsLoggedAndFailsOnlyWhenTheCallerAsksForErrors) {
    const std::string rules = schematronText(R"~(<include href="broken.sch"/><pattern id="kept"/>)~");
    struct Case {
        const char *contents, *logPrefix, *domain;  // no file when contents is null
    };
    for (const Case& c : {Case{nullptr, "Warning: Could not load included file: ", kFileDomain},
                          Case{"<schema><pattern>", "Warning: Could not parse included file: ", kXMLParserDomain}}) {
        SCOPED_TRACE(c.logPrefix);
        if (c.contents) write("broken.sch", c.contents);
        const Lines expectedLog = {c.logPrefix + path("broken.sch")};
        {
            ScopedLogCapture log;
            Error error;
            EXPECT_FALSE(validator.parseSchema(rules, directory_, &error));
            EXPECT_EQ(error.domain, c.domain);
            EXPECT_EQ(log.lines(), expectedLog);
        }
        ScopedLogCapture log;
        auto schema = validator.parseSchema(rules, directory_, nullptr);
        ASSERT_TRUE(schema);
        EXPECT_EQ(patternIds(*schema), Lines{"kept"});
        EXPECT_EQ(log.lines(), expectedLog);
    }
}

// Includes inside includes, and an include as the root element: odd input, which must
// still give a defined outcome without touching freed nodes. A file is spliced in once.
TEST_F(LoaderTest, NestedAndRootIncludesDoNotBreakTheLoad) {
    write("one.sch", schematronText(R"~(<pattern id="one"/>)~"));
    const std::string nested =
        schematronText(R"~(<include href="one.sch"><include href="one.sch"/><include href="missing.sch"/></include>)~");
    ScopedLogCapture log;
    auto schema = validator.parseSchema(nested, directory_, nullptr);
    ASSERT_TRUE(schema);
    EXPECT_EQ(patternIds(*schema), (Lines{"one"}));
    EXPECT_EQ(log.lines(), (Lines{"Warning: Skipping repeated include of file: " + path("one.sch"),
                                  "Warning: Could not load included file: " + path("missing.sch")}));

    const std::string rootInclude = std::string("<include xmlns='") + testing::kSchematronNamespace +
                                    "' href='one.sch'><include href='one.sch'/></include>";
    EXPECT_NO_THROW(validator.processIncludes(rootInclude, directory_, nullptr));
    EXPECT_FALSE(validator.parseSchema(rootInclude, directory_, nullptr));
    // Text that is not XML, or has no includes, comes back unchanged.
    for (const std::string& rules : {std::string("<schema><include href='x.sch'/>"), schematronText("<pattern/>")}) {
        EXPECT_EQ(validator.processIncludes(rules, directory_, nullptr), rules);
    }
}

// Only the include elements of Schematron (ISO or 1.5) are includes; an XSLT or
// XInclude element of that name, or one in no namespace, stays as it is.
TEST_F(LoaderTest, OnlySchematronIncludesAreFollowed) {
    write("part.sch", schematronText(R"~(<pattern id="part"/>)~"));
    const std::string rules = R"~(<sch:schema xmlns:sch="http://purl.oclc.org/dsdl/schematron"
        xmlns:old="http://www.ascc.net/xml/schematron" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
        xmlns:xi="http://www.w3.org/2001/XInclude">
      <xsl:include href="part.sch"/><xi:include href="part.sch"/><include href="part.sch"/>
      <old:include href="part.sch"/><sch:include href="part.sch"/></sch:schema>)~";
    ScopedLogCapture log;
    EXPECT_EQ(rootChildren(validator.processIncludes(rules, directory_, nullptr)),
              (Lines{"include", "include", "include", "pattern#part"}));
    EXPECT_EQ(log.lines(), Lines{"Warning: Skipping repeated include of file: " + path("part.sch")});
}

// A rule set that includes itself keeps its rules once, so each finding is reported once.
TEST_F(LoaderTest, SelfIncludeIsNotSplicedIn) {
    const std::string self = write("self.sch", schematronText(R"~(<include href="self.sch"/>
        <pattern id="p"><rule context="/r"><assert id="A" test="false()">once</assert></rule></pattern>)~"));
    ScopedLogCapture log;
    Error error;
    auto schema = validator.loadSchemaFile(self, &error);
    ASSERT_TRUE(schema) << error.message();
    EXPECT_EQ(patternIds(*schema), Lines{"p"});
    EXPECT_EQ(log.lines(), Lines{"Warning: Skipping repeated include of file: " + path("self.sch")});
    auto result = validator.validateXMLWithSchemaFile("<r/>", self, &error);
    ASSERT_TRUE(result);
    EXPECT_EQ(testing::ids(result->errors), Lines{"A"});
}

// An include that names a FIFO is a file that cannot be loaded, not a wait.
TEST_F(LoaderTest, IncludeOfASpecialFileFailsAtOnce) {
    ASSERT_EQ(::mkfifo(path("pipe.sch").c_str(), 0600), 0);
    const std::string rules = write("main.sch", schematronText(R"~(<include href="pipe.sch"/><pattern id="kept"/>)~"));
    ScopedLogCapture log;
    Error error;
    EXPECT_FALSE(validator.loadSchemaFile(rules, &error));
    EXPECT_EQ(error.message(), "cannot read " + path("pipe.sch") + ": not a regular file but a FIFO");
    EXPECT_EQ(log.lines(), Lines{"Warning: Could not load included file: " + path("pipe.sch")});
}

TEST_F(LoaderTest, LoadingAFileResolvesIncludesFromItsDirectory) {
    write("rules/main.sch", schematronText(R"~(<include href="parts/p.sch"/>)~"));
    write("rules/parts/p.sch", schematronText(R"~(<pattern id="from-part"/>)~"));
    Error error;
    auto schema = validator.loadSchemaFile(path("rules/main.sch"), &error);
    ASSERT_TRUE(schema);
    EXPECT_EQ(patternIds(*schema), Lines{"from-part"});
    EXPECT_FALSE(validator.loadSchemaFile(path("rules/none.sch"), &error));
    EXPECT_EQ(error.domain, kFileDomain);
}

}  // namespace
}  // namespace quillmark
