// The validation run: which nodes rules apply to, when assertions fire, how issues are
// filled (role defaults, messages, locations) and sorted, and what is logged.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/test_support.h"

namespace quillmark {
namespace {

constexpr const char* kUBLInvoice = R"~(<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"
    xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
    xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">
  <cbc:ID>INV-1</cbc:ID>
  <cac:Item><cbc:Name>first</cbc:Name></cac:Item>
  <cac:Item><cbc:Name>second</cbc:Name></cac:Item>
  <cac:Item><cbc:Name>third</cbc:Name></cac:Item>
</Invoice>)~";

std::string schemaText(const std::string& body) {
    return R"~(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
      <ns prefix="cac" uri="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"/>
      <ns prefix="cbc" uri="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"/>)~" +
           body + "</schema>";
}

// A pattern with one rule holding the given assertions.
std::string oneRule(const std::string& context, const std::string& assertions) {
    return schemaText("<pattern id='p'><rule id='r' context=\"" + context + "\">" + assertions +
                      "</rule></pattern>");
}

std::vector<std::string> ids(const std::vector<QMValidationError>& issues) {
    std::vector<std::string> list;
    for (const auto& issue : issues) list.push_back(issue.assertionId);
    return list;
}

std::vector<std::string> locations(const std::vector<QMValidationError>& issues) {
    std::vector<std::string> list;
    for (const auto& issue : issues) list.push_back(issue.location);
    return list;
}

class ValidationRunTest : public ::testing::Test {
protected:
    QMValidationResult run(const std::string& xml, const std::string& schema) {
        Error error;
        auto result = validator.validateXMLWithSchema(xml, schema, &error);
        EXPECT_TRUE(result) << error.message();
        EXPECT_FALSE(error.isSet());
        return result ? *result : QMValidationResult{};
    }
    QMSchematronValidator validator;
};

struct ContextCase {
    const char* context;
    std::vector<std::string> locations;
};

class ContextTest : public ValidationRunTest, public ::testing::WithParamInterface<ContextCase> {};

// Contexts that are not absolute are searched for anywhere; the prefix is plain text,
// so only the first branch of a union gets it.
TEST_P(ContextTest, SelectsTheNodesItsContextTextFinds) {
    const ContextCase& c = GetParam();
    auto result = run("<r><a/><b><a/></b><b/></r>", oneRule(c.context, "<assert id='X' test='false()'/>"));
    EXPECT_EQ(locations(result.errors), c.locations) << c.context;
}

INSTANTIATE_TEST_SUITE_P(
    Table, ContextTest,
    ::testing::Values(ContextCase{"a", {"/r[1]/a[1]", "/r[1]/b[1]/a[1]"}},
                      ContextCase{"/r/b", {"/r[1]/b[1]", "/r[1]/b[2]"}},
                      ContextCase{"/", {"/"}},
                      ContextCase{"b[a]", {"/r[1]/b[1]"}},
                      ContextCase{"nothing", {}}));

struct TruthCase {
    const char* test;
    bool assertFires;
};

class TruthTest : public ValidationRunTest, public ::testing::WithParamInterface<TruthCase> {};

// The texts "false" and "0" count as false, unlike in the expression language.
TEST_P(TruthTest, AssertsFireOnFalseAndReportsOnTrue) {
    const TruthCase& c = GetParam();
    const std::string test = c.test;
    auto result = run("<r/>", oneRule("/r", "<assert id='A' test=\"" + test + "\"/><report id='R' test=\"" + test +
                                                  "\"/>"));
    const std::vector<std::string> fired = c.assertFires ? std::vector<std::string>{"A"} : std::vector<std::string>{};
    EXPECT_EQ(ids(result.errors), fired) << test;
    EXPECT_EQ(ids(result.warnings), c.assertFires ? std::vector<std::string>{} : std::vector<std::string>{"R"})
        << test;
}

INSTANTIATE_TEST_SUITE_P(Table, TruthTest,
                         ::testing::Values(TruthCase{"'false'", true}, TruthCase{"'0'", true}, TruthCase{"''", true},
                                           TruthCase{"()", true}, TruthCase{"0", true}, TruthCase{"false()", true},
                                           TruthCase{"/r/missing", true}, TruthCase{"'no'", false},
                                           TruthCase{"'FALSE'", false}, TruthCase{"1", false},
                                           TruthCase{"('false', 'x')", false}, TruthCase{"/r", false}));

TEST(ValidatorToBooleanTest, DiffersFromTheEvaluatorOnlyForFalseTexts) {
    auto document = xml::Document::parse("<r/>", nullptr);
    ASSERT_TRUE(document);
    struct Row {
        Value value;
        bool expected;
    };
    const std::vector<Row> rows{
        {Value::absent(), false},
        {Value::nullMarker(), false},
        {Value::integer(0), false},
        {Value::integer(-3), true},
        {Value::number(0.0), false},
        {Value::number(2.5), true},
        {Value::boolean(false), false},
        {Value::string(""), false},
        {Value::string("false"), false},
        {Value::string("0"), false},
        {Value::string("False"), true},
        {Value::string("00"), true},
        {Value::emptySequence(), false},
        {Value::sequence({Value::boolean(false)}), true},
        {Value::node(document->rootElement()), true},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(QMSchematronValidator::toBoolean(row.value), row.expected) << row.value.description();
    }
}

TEST_F(ValidationRunTest, EveryRuleOfAPatternAppliesToEveryNodeItSelects) {
    auto result = run(kUBLInvoice, schemaText(R"~(<pattern id="p">
        <rule context="cac:Item"><assert id="first" test="false()"/></rule>
        <rule context="cac:Item[2]"><assert id="second" test="false()"/></rule>
        <rule context="cac:Item" abstract="true"><assert id="abstract" test="false()"/></rule>
        <rule><assert id="no-context" test="false()"/></rule>
      </pattern>)~"));
    EXPECT_EQ(ids(result.errors), (std::vector<std::string>{"first", "first", "first", "second"}));
    EXPECT_EQ(locations(result.errors),
              (std::vector<std::string>{"/Invoice[1]/cac:Item[1]", "/Invoice[1]/cac:Item[2]",
                                        "/Invoice[1]/cac:Item[3]", "/Invoice[1]/cac:Item[2]"}));
}

TEST_F(ValidationRunTest, IssuesCarryTheRuleSetsIdsAndTheRenderedMessage) {
    auto result = run(kUBLInvoice, oneRule("cbc:ID", R"~(<assert id="BR-1" flag="fatal" role="fatal" test="false()"
        >Value <value-of select="(1, 2)"/> of <name/><emph>hidden</emph></assert>)~"));
    ASSERT_EQ(result.errors.size(), 1u);
    const QMValidationError& issue = result.errors[0];
    EXPECT_EQ(issue.pattern, "p");
    EXPECT_EQ(issue.rule, "r");
    EXPECT_EQ(issue.assertion, "BR-1");
    EXPECT_EQ(issue.assertionId, "BR-1");
    EXPECT_EQ(issue.type, "assert");
    EXPECT_EQ(issue.flag, "fatal");
    EXPECT_EQ(issue.role, "fatal");
    EXPECT_EQ(issue.message, "Value 1 of ID");
    EXPECT_EQ(issue.location, "/Invoice[1]/cbc:ID[1]");
    EXPECT_EQ(issue.test, "");
    EXPECT_EQ(issue.schemaTitle, "");
    EXPECT_FALSE(result.valid);
    EXPECT_FALSE(result.schemaFiles);
    EXPECT_FALSE(result.patterns);
}

struct MessageCase {
    const char* content;
    const char* expected;
};

class MessageTest : public ::testing::TestWithParam<MessageCase> {};

TEST_P(MessageTest, RendersTextValuesAndNamesAgainstTheNode) {
    const MessageCase& c = GetParam();
    auto document = xml::Document::parse(kUBLInvoice, nullptr);
    auto schema = xml::Document::parse(std::string("<assert xmlns='http://purl.oclc.org/dsdl/schematron'>") +
                                           c.content + "</assert>",
                                       nullptr);
    ASSERT_TRUE(document && schema);
    QMSchematronValidator validator;
    QMXPath2Evaluator evaluator(QMXPath2Evaluator::NamespaceMap{
        {"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"}});
    xml::Node node = document->rootElement();
    Error error;
    EXPECT_EQ(validator.evaluateMessageWithValueOf(schema->rootElement(), evaluator, node, &error), c.expected)
        << c.content;
}

INSTANTIATE_TEST_SUITE_P(
    Table, MessageTest,
    ::testing::Values(MessageCase{"  two\n  lines  ", "  two\n  lines  "},
                      MessageCase{"<![CDATA[a<b]]> &amp; c", "a<b & c"},
                      MessageCase{"[<value-of select='cbc:ID'/>]", "[INV-1]"},
                      MessageCase{"[<value-of select='()'/>]", "[]"},
                      MessageCase{"[<value-of select='cac:Item'/>]", "[first]"},
                      MessageCase{"[<value-of select='1 + 1'/>|<value-of select='1 = 1'/>]", "[2|true]"},
                      MessageCase{"[<value-of/>]", "[]"},
                      MessageCase{"[<name path='cbc:ID'/>]", "[Invoice]"},
                      MessageCase{"[<emph>bold <value-of select='1'/></emph><!-- c --><?pi x?>]", "[]"},
                      MessageCase{"[<x:value-of xmlns:x='urn:other' select='7'/>]", "[7]"}));

TEST(MessageNameTest, NameIsEmptyForNodesThatAreNotElements) {
    auto document = xml::Document::parse("<r a='1'/>", nullptr);
    auto schema = xml::Document::parse("<assert>[<name/>]</assert>", nullptr);
    QMSchematronValidator validator;
    QMXPath2Evaluator evaluator;
    xml::Node attribute = document->rootElement().attributes().at(0);
    EXPECT_EQ(validator.evaluateMessageWithValueOf(schema->rootElement(), evaluator, attribute, nullptr), "[]");
    EXPECT_EQ(validator.evaluateMessageWithValueOf(schema->rootElement(), evaluator, document->node(), nullptr), "[]");
}

TEST(NodePathTest, CountsSiblingsWithTheSameQualifiedName) {
    auto document = xml::Document::parse(R"~(<Invoice xmlns:cac="urn:cac" xmlns:x="urn:cac" a="1">
        <cac:Item/><Item/><x:Item/><cac:Item><a/><a/></cac:Item><cac:Item/></Invoice>)~",
                                         nullptr);
    ASSERT_TRUE(document);
    xml::Node root = document->rootElement();
    std::vector<std::string> paths;
    for (xml::Node child : root.children()) {
        if (child.isElement()) paths.push_back(QMSchematronValidator::getNodePath(child));
    }
    EXPECT_EQ(paths, (std::vector<std::string>{"/Invoice[1]/cac:Item[1]", "/Invoice[1]/Item[1]",
                                               "/Invoice[1]/x:Item[1]", "/Invoice[1]/cac:Item[2]",
                                               "/Invoice[1]/cac:Item[3]"}));
    xml::Node secondA = root.nodesForXPath("//*[local-name()='a'][2]").at(0);
    EXPECT_EQ(QMSchematronValidator::getNodePath(secondA), "/Invoice[1]/cac:Item[2]/a[2]");
    // Nodes that are not elements contribute no step.
    EXPECT_EQ(QMSchematronValidator::getNodePath(document->node()), "/");
    EXPECT_EQ(QMSchematronValidator::getNodePath(root.attributes().at(0)), "/");
    EXPECT_EQ(QMSchematronValidator::getNodePath(root.children().at(0)), "/");  // white space text
    EXPECT_EQ(QMSchematronValidator::getNodePath(xml::Node()), "/");
}

struct RoleCase {
    const char* customization;  // empty: the document has none
    const char* assertions;
    std::vector<std::string> errorRoles;
    std::vector<std::string> warningRoles;
};

class RoleDefaultTest : public ValidationRunTest, public ::testing::WithParamInterface<RoleCase> {};

std::vector<std::string> roles(const std::vector<QMValidationError>& issues) {
    std::vector<std::string> list;
    for (const auto& issue : issues) list.push_back(issue.assertionId + "=" + issue.role);
    return list;
}

// National specialisations (and documents that do not name one) turn PEPPOL asserts
// without a role into warnings; PEPPOL ids are information anyway.
TEST_P(RoleDefaultTest, DependsOnTypeIdAndTheDocumentsCustomization) {
    const RoleCase& c = GetParam();
    std::string document = "<r xmlns:cbc='urn:cbc'>";
    if (*c.customization) document += std::string("<cbc:CustomizationID>") + c.customization + "</cbc:CustomizationID>";
    document += "</r>";
    auto result = run(document, oneRule("/r", c.assertions));
    EXPECT_EQ(roles(result.errors), c.errorRoles);
    EXPECT_EQ(roles(result.warnings), c.warningRoles);
}

const char* kRoleAssertions =
    "<assert id='PEPPOL-R1' test='false()'/><assert id='BR-1' test='false()'/><report id='R-1' test='true()'/>"
    "<assert id='PEPPOL-R2' role='fatal' test='false()'/>";

INSTANTIATE_TEST_SUITE_P(
    Table, RoleDefaultTest,
    ::testing::Values(
        RoleCase{"", kRoleAssertions, {"BR-1=error"}, {"PEPPOL-R1=warning", "R-1=info", "PEPPOL-R2=fatal"}},
        RoleCase{"urn:cen.eu:en16931:2017#compliant#urn:XRechnung:3.0", kRoleAssertions, {"BR-1=error"},
                 {"PEPPOL-R1=warning", "R-1=info", "PEPPOL-R2=fatal"}},
        RoleCase{"urn:cen.eu:en16931:2017#conformant#urn:xeinkauf.de:kosit:extension:xrechnung_3.0",
                 kRoleAssertions, {"BR-1=error"}, {"PEPPOL-R1=warning", "R-1=info", "PEPPOL-R2=fatal"}},
        RoleCase{"urn:cen.eu:en16931:2017#compliant#urn:fdc:peppol.eu:2017:poacc:billing:3.0", kRoleAssertions,
                 {"BR-1=error"}, {"PEPPOL-R1=error", "R-1=info", "PEPPOL-R2=fatal"}}));

TEST_F(ValidationRunTest, CiiGuidelineIdentifierCountsAsCustomization) {
    const std::string cii = R"~(<rsm:CrossIndustryInvoice xmlns:rsm="urn:rsm" xmlns:ram="urn:ram"><rsm:ExchangedDocumentContext>
        <ram:GuidelineSpecifiedDocumentContextParameter><ram:ID>urn:cen.eu:en16931:2017</ram:ID>
        </ram:GuidelineSpecifiedDocumentContextParameter></rsm:ExchangedDocumentContext></rsm:CrossIndustryInvoice>)~";
    auto result = run(cii, oneRule("/", "<assert id='PEPPOL-R1' test='false()'/>"));
    EXPECT_EQ(roles(result.warnings), std::vector<std::string>{"PEPPOL-R1=error"});
}

// Global variables are set again before every node; pattern and rule variables stay
// visible to later rules and patterns until a let of the same name replaces them.
TEST_F(ValidationRunTest, VariablesFollowTheirScopes) {
    auto result = run(kUBLInvoice, schemaText(R"~(
      <let name="global" value="'g'"/>
      <pattern id="variable-pattern"><let name="fromVariablePattern" value="count(//cac:Item)"/>
        <rule context="/"><assert id="variable-pattern-never-runs" test="false()"/></rule></pattern>
      <pattern id="first">
        <let name="patternLet" value="'p'"/>
        <rule context="cac:Item">
          <let name="global" value="'overridden'"/>
          <let name="name" value="cbc:Name"/>
          <let name="echo" value="$name"/>
          <report id="echo" test="true()"><value-of select="$echo"/>/<value-of select="$global"/></report>
        </rule>
      </pattern>
      <pattern id="second">
        <rule context="cbc:ID">
          <report id="seen" test="true()"><value-of select="$global"/> <value-of select="$patternLet"/> <value-of select="$fromVariablePattern"/> <value-of select="$name"/></report>
        </rule>
      </pattern>)~"));
    EXPECT_TRUE(result.errors.empty());
    std::vector<std::string> messages;
    for (const auto& issue : result.warnings) messages.push_back(issue.assertionId + ":" + issue.message);
    EXPECT_EQ(messages, (std::vector<std::string>{"echo:first/overridden", "echo:second/overridden",
                                                  "echo:third/overridden", "seen:g p 3 third"}));
}

TEST_F(ValidationRunTest, RuleSetFunctionsAreCallable) {
    auto result = run(kUBLInvoice, schemaText(R"~(
      <function xmlns="http://www.w3.org/1999/XSL/Transform" name="u:double">
        <param name="x"/><variable name="twice" select="$x * 2"/><sequence select="$twice"/></function>
      <pattern id="p"><rule context="/"><assert id="F" test="u:double(count(//cac:Item)) = 7"
        ><value-of select="u:double(count(//cac:Item))"/></assert></rule></pattern>)~"));
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].message, "6");
}

TEST_F(ValidationRunTest, OnlyTheVariablePatternGivesAValidResult) {
    auto result = run(kUBLInvoice, schemaText(R"~(<pattern id="variable-pattern"><let name="x" value="1"/>
        <rule context="/"><assert id="X" test="false()"/></rule></pattern>)~"));
    EXPECT_TRUE(result.valid);
    EXPECT_TRUE(result.errors.empty());
    EXPECT_TRUE(result.warnings.empty());
    EXPECT_EQ(result.status(), 1);
}

TEST_F(ValidationRunTest, InformationAndWarningsShareTheWarningList) {
    auto result = run(kUBLInvoice, oneRule("/", R"~(<assert id="W" flag="warning" test="false()"/>
        <assert id="I" flag="info" test="false()"/><assert id="E" test="false()"/>)~"));
    EXPECT_EQ(ids(result.errors), std::vector<std::string>{"E"});
    EXPECT_EQ(ids(result.warnings), (std::vector<std::string>{"W", "I"}));
    EXPECT_EQ(result.status(), 3);
}

// The evaluator reports no errors itself; an error the caller left in the slot stands
// for one, is logged with the expression that met it, and is cleared.
struct ReportedErrorCase {
    const char* schemaBody;
    const char* expectedLine;
};

class ReportedErrorTest : public ::testing::TestWithParam<ReportedErrorCase> {};

TEST_P(ReportedErrorTest, IsLoggedClearedAndTheRunGoesOn) {
    const ReportedErrorCase& c = GetParam();
    QMSchematronValidator validator;
    auto schema = validator.parseSchema(schemaText(c.schemaBody), nullptr);
    auto document = xml::Document::parse(kUBLInvoice, nullptr);
    ASSERT_TRUE(schema && document);
    Error error;
    setError(&error, "Test", 1, "reported");
    ScopedLogCapture log;
    auto result = validator.validateDocument(*document, *schema, &error);
    EXPECT_FALSE(error.isSet());
    EXPECT_EQ(log.lines(), std::vector<std::string>{c.expectedLine});
    EXPECT_EQ(ids(result.errors), std::vector<std::string>{"after"});
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ReportedErrorTest,
    ::testing::Values(
        ReportedErrorCase{"<let name='g' value='1'/><pattern id='p'><rule context='/'><assert id='after' "
                          "test='false()'/></rule></pattern>",
                          "Error evaluating global let 'g' = '1': reported"},
        ReportedErrorCase{"<pattern id='p'><let name='v' value='2'/><rule context='/'><assert id='after' "
                          "test='false()'/></rule></pattern>",
                          "Error evaluating pattern let 'v' = '2': reported"},
        ReportedErrorCase{"<pattern id='p'><rule context='cbc:ID'><assert id='skipped' test='false()'/></rule>"
                          "<rule context='/'><assert id='after' test='false()'/></rule></pattern>",
                          "Error evaluating context 'cbc:ID': reported"}));

TEST(ValidateXMLTest, FailsWithTheErrorOfWhatCouldNotBeRead) {
    QMSchematronValidator validator;
    const std::string schema = oneRule("/", "<assert id='A' test='true()'/>");
    Error error;
    EXPECT_FALSE(validator.validateXMLWithSchema("<r>", schema, &error));
    EXPECT_EQ(error.domain, kXMLParserDomain);
    error.clear();
    // The schema is read first: with both broken, the schema's error is the one reported.
    EXPECT_FALSE(validator.validateXMLWithSchema("<r>", "<schema", &error));
    EXPECT_NE(error.localizedDescription.find("line 1"), std::string::npos) << error.localizedDescription;
    error.clear();
    EXPECT_FALSE(validator.validateXMLWithSchemaFile("<r/>", "/nonexistent/rules.sch", &error));
    EXPECT_EQ(error.domain, kFileDomain);
    EXPECT_FALSE(validator.validateXMLWithSchemaFile("<r/>", "/nonexistent/rules.sch", nullptr));
}

TEST(ValidateXMLTest, SchemaFilesResolveTheirIncludes) {
    const std::string directory = ::quillmark::testing::makeTempDirectory("quillmark-run");
    std::ofstream(directory + "/main.sch") << schemaText("<include href='part.sch'/>");
    std::ofstream(directory + "/part.sch")
        << schemaText("<pattern id='part'><rule context='/'><assert id='from-part' test='false()'/></rule></pattern>");
    QMSchematronValidator validator;
    Error error;
    auto result = validator.validateXMLWithSchemaFile("<r/>", directory + "/main.sch", &error);
    ASSERT_TRUE(result) << error.message();
    EXPECT_EQ(ids(result->errors), std::vector<std::string>{"from-part"});
    EXPECT_FALSE(result->schemaFiles);
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace quillmark
