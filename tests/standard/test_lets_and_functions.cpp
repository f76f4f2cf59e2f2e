// Variables and functions of a rule set: schema and pattern lets are globals computed
// against the document node, rule lets are computed for each node a rule handles and
// are visible only after their definition, a failing let matters only where it is
// used, and xsl:function bodies run with their declared types.

#include <gtest/gtest.h>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::firings;
using testing::isoRuleSet;
using testing::messages;
using testing::runOn;

constexpr const char* kDeclarations = R"~(<ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>)~";

std::shared_ptr<const CompiledRuleSet> compile(const std::string& body) {
    return testing::compileRuleSet(isoRuleSet(kDeclarations + body));
}

constexpr const char* kInvoice =
    R"~(<invoice currency="EUR"><line id="1" amount="10"/><line id="2" amount="-5"/><line id="3" amount=""/></invoice>)~";

TEST(StandardLets, GlobalLetsAreComputedFromTheDocumentNode) {
    // Relative paths start at the document node whatever node a rule handles; a global
    // may use another one defined after it.
    const auto rules = compile(R"~(
      <let name="lineCount" value="count(invoice/line)"/>
      <let name="summary" value="concat($currency, ' ', $lineCount)"/>
      <pattern>
        <let name="currency" value="string(invoice/@currency)"/>
        <rule context="line">
          <report id="globals" test="true()"><value-of select="$summary"/> <value-of select="$lineCount = count(../line)"/></report>
        </rule>
      </pattern>)~");
    EXPECT_EQ(messages(runOn(*rules, kInvoice)),
              (std::vector<std::string>{"EUR 3 true", "EUR 3 true", "EUR 3 true"}));
}

TEST(StandardLets, RuleLetsAreComputedForEachNode) {
    const auto rules = compile(R"~(
      <pattern><rule context="line">
        <let name="id" value="@id"/>
        <let name="label" value="concat('line ', $id)"/>
        <report id="each" test="true()"><value-of select="$label"/></report>
      </rule></pattern>)~");
    EXPECT_EQ(messages(runOn(*rules, kInvoice)), (std::vector<std::string>{"line 1", "line 2", "line 3"}));
}

TEST(StandardLets, ARuleLetIsVisibleOnlyAfterItsDefinition) {
    // Before the rule's let, $v is the global; after it, the rule's.
    const auto rules = compile(R"~(
      <let name="v" value="'global'"/>
      <pattern><rule context="invoice">
        <report id="before" test="true()"><value-of select="$v"/></report>
        <let name="v" value="'rule'"/>
        <report id="after" test="true()"><value-of select="$v"/></report>
      </rule></pattern>)~");
    EXPECT_EQ(messages(runOn(*rules, kInvoice)), (std::vector<std::string>{"global", "rule"}));
    // Without a global of that name, using it before its definition does not compile.
    const std::string message = testing::loadError(isoRuleSet(R"~(
      <pattern><rule context="invoice" id="r">
        <assert id="early" test="$late = 1">early</assert>
        <let name="late" value="1"/>
      </rule></pattern>)~"));
    EXPECT_NE(message.find("early"), std::string::npos) << message;
    EXPECT_NE(message.find("$late"), std::string::npos) << message;
}

TEST(StandardLets, AFailingLetThatIsNotUsedIsNoIssue) {
    const auto rules = compile(R"~(
      <let name="broken" value="xs:decimal('')"/>
      <pattern><rule context="line">
        <let name="amount" value="xs:decimal(@amount)"/>
        <assert id="has-id" test="@id">no id</assert>
      </rule></pattern>)~");
    const QMValidationResult result = runOn(*rules, kInvoice);
    EXPECT_TRUE(result.valid);
    EXPECT_TRUE(testing::allIssues(result).empty());
}

TEST(StandardLets, AFailingLetMakesTheAssertionsThatUseItDynamicErrors) {
    const auto rules = compile(R"~(
      <pattern><rule context="line" id="lines">
        <let name="amount" value="xs:decimal(@amount)"/>
        <assert id="positive" test="$amount gt 0">negative</assert>
        <assert id="has-id" test="@id = '0'">id <value-of select="@id"/></assert>
      </rule></pattern>)~");
    const QMValidationResult result = runOn(*rules, kInvoice);
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(testing::issueLines(result.errors,
                                  [](const QMValidationError& i) { return i.assertionId + " " + i.type + " " + i.location; }),
              (std::vector<std::string>{"has-id assert /invoice[1]/line[1]", "positive assert /invoice[1]/line[2]",
                                        "has-id assert /invoice[1]/line[2]", "positive dynamic-error /invoice[1]/line[3]",
                                        "has-id assert /invoice[1]/line[3]"}));
}

TEST(StandardLets, AFailingGlobalIsAnErrorWhereverItIsUsed) {
    const auto rules = compile(R"~(
      <let name="rate" value="xs:decimal(invoice/line[3]/@amount)"/>
      <pattern><rule context="line">
        <report id="uses" test="$rate">rate</report>
        <report id="plain" test="true()">plain</report>
      </rule></pattern>)~");
    const QMValidationResult result = runOn(*rules, kInvoice);
    EXPECT_EQ(testing::issueLines(result.errors, [](const QMValidationError& i) { return i.assertionId + " " + i.type; }),
              (std::vector<std::string>(3, "uses dynamic-error")));
    EXPECT_EQ(result.warnings.size(), 3u);
}

// Lets are computed at most once where they are defined: a global once per document,
// a rule let once per node, and not at all when unused. Each let below costs some
// 35,000 steps; the budget allows four of them (the global and one rule let per line),
// not six (the global once per line), nor one per use, nor the unused one.
TEST(StandardLets, AreComputedOnceAndOnlyWhenUsed) {
    const auto rules = compile(R"~(
      <let name="global" value="count(for $i in 1 to 20000 return $i)"/>
      <pattern><rule context="line">
        <let name="perNode" value="count(for $i in 1 to 20000 return $i) + xs:integer(@id)"/>
        <let name="unused" value="count(for $i in 1 to 500000 return $i)"/>
        <report id="a" test="$global = 20000 and $perNode gt 0">a</report>
        <report id="b" test="$global = 20000 and $perNode gt 0">b</report>
        <report id="c" test="$global = 20000 and $perNode gt 0">c</report>
      </rule></pattern>)~");
    std::string document = "<invoice>";
    for (int id = 1; id <= 3; ++id) document += "<line id=\"" + std::to_string(id) + "\"/>";
    document += "</invoice>";
    RunOptions options;
    options.limits.maxSteps = 180'000;
    const QMValidationResult result = rules->validate(*testing::parseXML(document), options);
    EXPECT_TRUE(result.errors.empty()) << result.errors.front().message;
    EXPECT_EQ(result.warnings.size(), 9u);
}

const std::string kFunctions = R"~(
  <ns prefix="f" uri="urn:functions"/>
  <xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="f:positive" as="xs:boolean">
    <xsl:param name="value"/>
    <xsl:variable name="number" select="number($value)"/>
    <xsl:choose>
      <xsl:when test="$number gt 0"><xsl:value-of select="true()"/></xsl:when>
      <xsl:otherwise><xsl:value-of select="false()"/></xsl:otherwise>
    </xsl:choose>
  </xsl:function>
  <xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="f:digit-sum" as="xs:integer">
    <xsl:param name="n" as="xs:integer"/>
    <xsl:sequence select="if ($n lt 10) then $n else ($n mod 10) + f:digit-sum($n idiv 10)"/>
  </xsl:function>
  <xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="f:loop" as="xs:integer">
    <xsl:param name="n" as="xs:integer"/>
    <xsl:sequence select="f:loop($n + 1)"/>
  </xsl:function>)~";

TEST(StandardFunctions, ChooseAndValueOfGiveTheDeclaredBoolean) {
    const auto rules = compile(kFunctions + R"~(
      <pattern><rule context="line">
        <assert id="positive" test="f:positive(@amount)">not positive</assert>
      </rule></pattern>)~");
    // value-of makes a text node "false"; as="xs:boolean" turns it into false, not
    // into a non-empty (true) node.
    EXPECT_EQ(firings(runOn(*rules, kInvoice)),
              (std::vector<std::string>{"positive@/invoice[1]/line[2]", "positive@/invoice[1]/line[3]"}));
}

TEST(StandardFunctions, FunctionsMayCallThemselves) {
    const auto rules = compile(kFunctions + R"~(
      <pattern><rule context="invoice">
        <report id="sum" test="true()"><value-of select="f:digit-sum(987654321987654321)"/></report>
      </rule></pattern>)~");
    EXPECT_EQ(messages(runOn(*rules, kInvoice)), (std::vector<std::string>{"90"}));
}

TEST(StandardFunctions, EndlessRecursionEndsTheRunWithAnError) {
    const auto rules = compile(kFunctions + R"~(
      <pattern><rule context="invoice">
        <assert id="loops" test="f:loop(0) gt 0">loop</assert>
      </rule></pattern>)~");
    const QMValidationResult result = runOn(*rules, kInvoice);
    EXPECT_FALSE(result.valid);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_EQ(result.errors.back().type, kDynamicErrorType);
}

}  // namespace
}  // namespace quillmark::standard
