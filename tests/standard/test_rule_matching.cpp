// Which nodes a rule handles: contexts are XSLT match patterns over every node of the
// document (elements, attributes, text, the document node), and within a pattern a
// node belongs to the first rule whose context matches it.

#include <gtest/gtest.h>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::firings;
using testing::isoRuleSet;
using testing::runOn;

// The document every context is matched against. q:d is in the namespace the rule sets
// bind to the prefix p, as is e's attribute q:y.
constexpr const char* kDocument =
    R"(<a x="1"><b>one</b><b x="2"><c/></b><q:d xmlns:q="urn:p"/><e xmlns:q="urn:p" q:y="3"><b/></e></a>)";

// A rule that reports every node it handles as "hit".
std::string reportingRule(const std::string& context, const std::string& id = "hit") {
    return "<rule context=\"" + context + "\"><report id=\"" + id + "\" test=\"true()\">" + id + "</report></rule>";
}

std::string withDeclarations(const std::string& patterns) {
    return isoRuleSet("<ns prefix=\"p\" uri=\"urn:p\"/><let name=\"wanted\" value=\"'2'\"/>" + patterns);
}

struct ContextCase {
    std::string context;
    std::vector<std::string> matched;  // locations, in document order
};

void PrintTo(const ContextCase& c, std::ostream* out) { *out << c.context; }

class StandardRuleContexts : public ::testing::TestWithParam<ContextCase> {};

TEST_P(StandardRuleContexts, MatchTheNodesOfTheMatchPattern) {
    const ContextCase& c = GetParam();
    const auto rules = testing::compileRuleSet(withDeclarations("<pattern>" + reportingRule(c.context) + "</pattern>"));
    std::vector<std::string> expected;
    for (const std::string& location : c.matched) expected.push_back("hit@" + location);
    EXPECT_EQ(firings(runOn(*rules, kDocument)), expected);
}

INSTANTIATE_TEST_SUITE_P(
    MatchPatterns, StandardRuleContexts,
    ::testing::Values(
        ContextCase{"a", {"/a[1]"}},
        ContextCase{"b", {"/a[1]/b[1]", "/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"a/b", {"/a[1]/b[1]", "/a[1]/b[2]"}},
        ContextCase{"//b", {"/a[1]/b[1]", "/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"a//c", {"/a[1]/b[2]/c[1]"}},
        ContextCase{"/a", {"/a[1]"}},
        ContextCase{"/*", {"/a[1]"}},
        ContextCase{"/a/b", {"/a[1]/b[1]", "/a[1]/b[2]"}},
        ContextCase{"/", {"/"}},
        ContextCase{"/b", {}},
        ContextCase{"@x", {"/a[1]/@x", "/a[1]/b[2]/@x"}},
        ContextCase{"b/@x", {"/a[1]/b[2]/@x"}},
        ContextCase{"//@x", {"/a[1]/@x", "/a[1]/b[2]/@x"}},
        ContextCase{"/a/@x", {"/a[1]/@x"}},
        // Namespace declarations are not attributes.
        ContextCase{"@*", {"/a[1]/@x", "/a[1]/b[2]/@x", "/a[1]/e[1]/@q:y"}},
        ContextCase{"@p:y", {"/a[1]/e[1]/@q:y"}},
        ContextCase{"text()[. = 'one']", {"/a[1]/b[1]/text()[1]"}},
        ContextCase{"text()", {"/a[1]/b[1]/text()[1]"}},
        ContextCase{"*", {"/a[1]", "/a[1]/b[1]", "/a[1]/b[2]", "/a[1]/b[2]/c[1]", "/a[1]/q:d[1]", "/a[1]/e[1]",
                          "/a[1]/e[1]/b[1]"}},
        // child::node() matches neither attributes nor the document node.
        ContextCase{"node()", {"/a[1]", "/a[1]/b[1]", "/a[1]/b[1]/text()[1]", "/a[1]/b[2]", "/a[1]/b[2]/c[1]",
                               "/a[1]/q:d[1]", "/a[1]/e[1]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"p:*", {"/a[1]/q:d[1]"}},
        ContextCase{"p:d", {"/a[1]/q:d[1]"}},
        ContextCase{"*:d", {"/a[1]/q:d[1]"}},
        ContextCase{"d", {}},  // no namespace: not q:d
        ContextCase{"*[@x]", {"/a[1]", "/a[1]/b[2]"}},
        ContextCase{"(a | b)[@x]", {"/a[1]", "/a[1]/b[2]"}},
        ContextCase{"(a | b)/c", {"/a[1]/b[2]/c[1]"}},
        ContextCase{"(a | e)/b", {"/a[1]/b[1]", "/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"e/b | c", {"/a[1]/b[2]/c[1]", "/a[1]/e[1]/b[1]"}},
        // Positions count among the siblings the step selects from the parent.
        ContextCase{"b[1]", {"/a[1]/b[1]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"b[2]", {"/a[1]/b[2]"}},
        ContextCase{"//b[1]", {"/a[1]/b[1]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"b[position() = 1]", {"/a[1]/b[1]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"a/b[2]/c", {"/a[1]/b[2]/c[1]"}},
        ContextCase{"a/b[1]/c", {}},
        ContextCase{"a/descendant::b[1]", {"/a[1]/b[1]"}},
        ContextCase{"b[last()]", {"/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"a/*[3]", {"/a[1]/q:d[1]"}},
        ContextCase{"b[@x = $wanted]", {"/a[1]/b[2]"}},
        ContextCase{"b[some $v in ('one', 'two') satisfies . = $v]", {"/a[1]/b[1]"}},
        ContextCase{"b[not(ancestor::e)][. = '']", {"/a[1]/b[2]"}},
        ContextCase{"*[count(b) = 2]", {"/a[1]"}},
        // A predicate that may select by position sees the node's place among the
        // siblings that pass the step's test, and a number it yields is that place.
        ContextCase{"*[2]", {"/a[1]/b[2]"}},
        ContextCase{"node()[2]", {"/a[1]/b[2]"}},
        ContextCase{"text()[1]", {"/a[1]/b[1]/text()[1]"}},
        ContextCase{"@*[1]", {"/a[1]/@x", "/a[1]/b[2]/@x", "/a[1]/e[1]/@q:y"}},
        ContextCase{"b[number(@x)]", {"/a[1]/b[2]"}},
        ContextCase{"b[count(../b)]", {"/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"b[last() - 1]", {"/a[1]/b[1]"}},
        ContextCase{"b[position() = last()]", {"/a[1]/b[2]", "/a[1]/e[1]/b[1]"}},
        ContextCase{"b[1][@x]", {}},
        // After a filter, positions count among the siblings it kept.
        ContextCase{"b[@x][1]", {"/a[1]/b[2]"}},
        // A leading document-node() test is the document node; elsewhere it matches
        // nothing, as a document node is nobody's child.
        ContextCase{"document-node(element(b))", {}},
        ContextCase{"document-node()/a", {"/a[1]"}},
        ContextCase{"document-node(element(a))/*[@x]", {"/a[1]"}},
        ContextCase{"document-node(element(a))/b", {}},
        ContextCase{"document-node()[1]", {"/"}},
        ContextCase{"document-node()[a/@x]", {"/"}},
        ContextCase{"/document-node()", {}},
        ContextCase{"a/document-node()", {}},
        ContextCase{"document-node() | b[@x]", {"/", "/a[1]/b[2]"}}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

// A pattern's leading document-node() test matches the document node (with
// document-node(element(a)) when a is the root element).
TEST(StandardRuleContexts, DocumentNodeTestsMatchTheDocumentNode) {
    for (const std::string context : {"document-node()", "document-node(element(a))"}) {
        const auto rules = testing::compileRuleSet(withDeclarations("<pattern>" + reportingRule(context) + "</pattern>"));
        EXPECT_EQ(firings(runOn(*rules, kDocument)), (std::vector<std::string>{"hit@/"})) << context;
    }
}

struct FirstMatchCase {
    const char* name;
    std::string pattern;  // rules of one pattern, each reporting with its own id
    std::vector<std::string> fired;
};

class StandardFirstMatch : public ::testing::TestWithParam<FirstMatchCase> {};

TEST_P(StandardFirstMatch, ANodeGoesToTheFirstMatchingRuleOfThePattern) {
    const auto rules = testing::compileRuleSet(withDeclarations("<pattern>" + GetParam().pattern + "</pattern>"));
    EXPECT_EQ(firings(runOn(*rules, kDocument)), GetParam().fired);
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, StandardFirstMatch,
    ::testing::Values(
        FirstMatchCase{"NarrowBeforeBroad", reportingRule("b[@x]", "narrow") + reportingRule("b", "broad"),
                       {"broad@/a[1]/b[1]", "narrow@/a[1]/b[2]", "broad@/a[1]/e[1]/b[1]"}},
        FirstMatchCase{"BroadShadowsNarrow", reportingRule("b", "broad") + reportingRule("b[@x]", "narrow"),
                       {"broad@/a[1]/b[1]", "broad@/a[1]/b[2]", "broad@/a[1]/e[1]/b[1]"}},
        FirstMatchCase{"WildcardShadowsLaterNamedRule", reportingRule("*", "any") + reportingRule("c", "named"),
                       {"any@/a[1]", "any@/a[1]/b[1]", "any@/a[1]/b[2]", "any@/a[1]/b[2]/c[1]", "any@/a[1]/q:d[1]",
                        "any@/a[1]/e[1]", "any@/a[1]/e[1]/b[1]"}},
        FirstMatchCase{"NamedRuleBeforeWildcard", reportingRule("b", "named") + reportingRule("*", "any"),
                       {"any@/a[1]", "named@/a[1]/b[1]", "named@/a[1]/b[2]", "any@/a[1]/b[2]/c[1]", "any@/a[1]/q:d[1]",
                        "any@/a[1]/e[1]", "named@/a[1]/e[1]/b[1]"}},
        // node() does not match attributes, so a later attribute rule still gets them.
        FirstMatchCase{"AnyNodeLeavesAttributes", reportingRule("a/node()", "node") + reportingRule("@x", "attribute"),
                       {"attribute@/a[1]/@x", "node@/a[1]/b[1]", "node@/a[1]/b[2]", "attribute@/a[1]/b[2]/@x",
                        "node@/a[1]/q:d[1]", "node@/a[1]/e[1]"}},
        // An element rule and an attribute rule never compete for a node.
        FirstMatchCase{"AttributesAndElementsApart", reportingRule("@x", "attribute") + reportingRule("*[@x]", "owner"),
                       {"owner@/a[1]", "attribute@/a[1]/@x", "owner@/a[1]/b[2]", "attribute@/a[1]/b[2]/@x"}},
        // A rule evaluated over the whole document (an ancestor step) keeps its place in
        // the order of the rules.
        FirstMatchCase{"WholeDocumentRuleInOrder",
                       reportingRule("c/ancestor::b", "ancestor") + reportingRule("b", "plain"),
                       {"plain@/a[1]/b[1]", "ancestor@/a[1]/b[2]", "plain@/a[1]/e[1]/b[1]"}},
        FirstMatchCase{"UnionRuleTakesBothNames", reportingRule("c | e", "union") + reportingRule("c", "c") +
                                                      reportingRule("e", "e"),
                       {"union@/a[1]/b[2]/c[1]", "union@/a[1]/e[1]"}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(StandardFirstMatch, AnotherPatternSeesTheNodesAnEarlierPatternTook) {
    const auto rules = testing::compileRuleSet(withDeclarations(
        "<pattern id='first'>" + reportingRule("b[@x]", "narrow") + reportingRule("b", "broad") + "</pattern>" +
        "<pattern id='second'>" + reportingRule("b", "again") + "</pattern>"));
    // Patterns report in their order, each in document order.
    EXPECT_EQ(firings(runOn(*rules, kDocument)),
              (std::vector<std::string>{"broad@/a[1]/b[1]", "narrow@/a[1]/b[2]", "broad@/a[1]/e[1]/b[1]",
                                        "again@/a[1]/b[1]", "again@/a[1]/b[2]", "again@/a[1]/e[1]/b[1]"}));
}

TEST(StandardFirstMatch, EveryAssertionOfTheMatchingRuleRunsInOrder) {
    const auto rules = testing::compileRuleSet(withDeclarations(
        "<pattern><rule context='b[@x]'>"
        "<assert id='one' test='false()'>1</assert><report id='two' test='@x = 2'>2</report>"
        "<assert id='three' test='c'>3</assert><report id='four' test='false()'>4</report>"
        "</rule></pattern>"));
    const QMValidationResult result = runOn(*rules, kDocument);
    EXPECT_EQ(firings(result), (std::vector<std::string>{"one@/a[1]/b[2]", "two@/a[1]/b[2]"}));
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].type, "assert");
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].type, "report");
}

TEST(StandardFirstMatch, AnIssueNamesItsPatternRuleAndAssertion) {
    const auto rules = testing::compileRuleSet(isoRuleSet(R"~(<title>Tiny
        rules</title><pattern id="P"><rule id="R" context="c">
        <assert id="A" test="@y" role="Warning" flag="warning">c needs y</assert></rule></pattern>)~"));
    const auto issues = testing::allIssues(runOn(*rules, kDocument));
    ASSERT_EQ(issues.size(), 1u);
    EXPECT_EQ(testing::allFields(issues[0]), "P|R|A|A|@y|assert|Warning|warning|c needs y|/a[1]/b[2]/c[1]|Tiny rules");
    EXPECT_EQ(issues[0].line, 1);
}

TEST(StandardFirstMatch, RulesSeeEachNewDocumentAfresh) {
    // Patterns evaluated over the whole document remember what they selected; a second
    // document must not reuse the first one's selection.
    const auto rules = testing::compileRuleSet(
        withDeclarations("<pattern>" + reportingRule("c/ancestor::b", "ancestor") + "</pattern>"));
    EXPECT_EQ(firings(runOn(*rules, kDocument)), (std::vector<std::string>{"ancestor@/a[1]/b[2]"}));
    EXPECT_EQ(firings(runOn(*rules, "<a><b/><b><b><c/></b></b></a>")),
              (std::vector<std::string>{"ancestor@/a[1]/b[2]", "ancestor@/a[1]/b[2]/b[1]"}));
}

}  // namespace
}  // namespace quillmark::standard
