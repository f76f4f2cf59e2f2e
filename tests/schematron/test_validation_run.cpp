// The validation run: which nodes rules apply to, when assertions fire, how issues are
// filled (role defaults, messages, locations) and sorted, and what is logged.

#include <gtest/gtest.h>

#include <chrono>

#include "quillmark/log.h"
#include "quillmark/schematron_validator.h"
#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::ids;
using testing::issueLines;
using testing::parseXML;
using Lines = std::vector<std::string>;

constexpr const char* kUBLInvoice = R"~(<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2"
    xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
    xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">
  <cbc:ID>INV-1</cbc:ID>
  <cac:Item><cbc:Name>first</cbc:Name></cac:Item>
  <cac:Item><cbc:Name>second</cbc:Name></cac:Item>
  <cac:Item><cbc:Name>third</cbc:Name></cac:Item>
</Invoice>)~";

std::string schemaText(const std::string& body) {
    return testing::schematronText(R"~(
      <ns prefix="cac" uri="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"/>
      <ns prefix="cbc" uri="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"/>)~" + body);
}

// A pattern with one rule holding the given assertions.
std::string oneRule(const std::string& context, const std::string& assertions) {
    return schemaText("<pattern id='p'><rule id='r' context=\"" + context + "\">" + assertions + "</rule></pattern>");
}

Lines locations(const std::vector<QMValidationError>& issues) {
    return issueLines(issues, [](const QMValidationError& issue) { return issue.location; });
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

// Contexts that are not absolute are searched for anywhere; the prefix is plain text,
// so only the first branch of a union gets it.
TEST_F(ValidationRunTest, ContextSelectsTheNodesItsTextFinds) {
    const std::pair<const char*, Lines> cases[] = {
        {"a", {"/r[1]/a[1]", "/r[1]/b[1]/a[1]"}}, {"/r/b", {"/r[1]/b[1]", "/r[1]/b[2]"}},
        {"/", {"/"}}, {"b[a]", {"/r[1]/b[1]"}}, {"nothing", {}},
    };
    for (const auto& [context, expected] : cases) {
        auto result = run("<r><a/><b><a/></b><b/></r>", oneRule(context, "<assert id='X' test='false()'/>"));
        EXPECT_EQ(locations(result.errors), expected) << context;
    }
}

// The texts "false" and "0" count as false, unlike in the expression language.
TEST_F(ValidationRunTest, AssertsFireOnFalseAndReportsOnTrue) {
    const std::pair<std::string, bool> cases[] = {
        {"'false'", true}, {"'0'", true}, {"''", true}, {"()", true}, {"0", true}, {"false()", true},
        {"/r/missing", true}, {"'no'", false}, {"'FALSE'", false}, {"1", false}, {"('false', 'x')", false},
        {"/r", false},
    };
    for (const auto& [test, assertFires] : cases) {
        const std::string assertions = "<assert id='A' test=\"" + test + "\"/><report id='R' test=\"" + test + "\"/>";
        auto result = run("<r/>", oneRule("/r", assertions));
        EXPECT_EQ(ids(result.errors), assertFires ? Lines{"A"} : Lines{}) << test;
        EXPECT_EQ(ids(result.warnings), assertFires ? Lines{} : Lines{"R"}) << test;
    }
}

TEST(ValidatorToBooleanTest, DiffersFromTheEvaluatorOnlyForFalseTexts) {
    auto document = parseXML("<r/>");
    const std::pair<Value, bool> rows[] = {
        {Value::absent(), false},         {Value::nullMarker(), false},     {Value::integer(0), false},
        {Value::integer(-3), true},       {Value::number(0.0), false},      {Value::number(2.5), true},
        {Value::boolean(false), false},   {Value::string(""), false},       {Value::string("false"), false},
        {Value::string("0"), false},      {Value::string("False"), true},   {Value::string("00"), true},
        {Value::emptySequence(), false},  {Value::sequence({Value::boolean(false)}), true},
        {Value::node(document->rootElement()), true},
    };
    for (const auto& [value, expected] : rows) {
        EXPECT_EQ(QMSchematronValidator::toBoolean(value), expected) << value.description();
    }
}

TEST_F(ValidationRunTest, EveryRuleOfAPatternAppliesToEveryNodeItSelects) {
    auto result = run(kUBLInvoice, schemaText(R"~(<pattern id="p">
        <rule context="cac:Item"><assert id="first" test="false()"/></rule>
        <rule context="cac:Item[2]"><assert id="second" test="false()"/></rule>
        <rule context="cac:Item" abstract="true"><assert id="abstract" test="false()"/></rule>
        <rule><assert id="no-context" test="false()"/></rule></pattern>)~"));
    EXPECT_EQ(issueLines(result.errors, [](const auto& i) { return i.assertionId + " " + i.location; }),
              (Lines{"first /Invoice[1]/cac:Item[1]", "first /Invoice[1]/cac:Item[2]", "first /Invoice[1]/cac:Item[3]",
                     "second /Invoice[1]/cac:Item[2]"}));
}

TEST_F(ValidationRunTest, IssuesCarryTheRuleSetsIdsAndTheRenderedMessage) {
    auto result = run(kUBLInvoice, oneRule("cbc:ID", R"~(<assert id="BR-1" flag="fatal" role="fatal" test="false()"
        >Value <value-of select="(1, 2)"/> of <name/><emph>hidden</emph></assert>)~"));
    EXPECT_EQ(issueLines(result.errors, testing::allFields),
              Lines{"p|r|BR-1|BR-1||assert|fatal|fatal|Value 1 of ID|/Invoice[1]/cbc:ID[1]|"});
    EXPECT_FALSE(result.valid);
    EXPECT_FALSE(result.schemaFiles);
    EXPECT_FALSE(result.patterns);
}

TEST(MessageTest, RendersTextValuesAndNamesAgainstTheNode) {
    auto document = parseXML(kUBLInvoice);
    QMSchematronValidator validator;
    QMXPath2Evaluator evaluator(
        QMXPath2Evaluator::NamespaceMap{{"cbc", "urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"}});
    const std::pair<const char*, const char*> cases[] = {
        {"  two\n  lines  ", "  two\n  lines  "},
        {"<![CDATA[a<b]]> &amp; c", "a<b & c"},
        {"[<value-of select='cbc:ID'/>]", "[INV-1]"},
        {"[<value-of select='()'/>]", "[]"},
        {"[<value-of select='cac:Item'/>]", "[first]"},
        {"[<value-of select='1 + 1'/>|<value-of select='1 = 1'/>]", "[2|true]"},
        {"[<value-of/>]", "[]"},
        {"[<name path='cbc:ID'/>]", "[Invoice]"},
        {"[<emph>bold <value-of select='1'/></emph><!-- c --><?pi x?>]", "[]"},
        {"[<x:value-of xmlns:x='urn:other' select='7'/>]", "[7]"},
    };
    for (const auto& [content, expected] : cases) {
        auto message = parseXML(std::string("<assert xmlns='") + testing::kSchematronNamespace + "'>" + content +
                                "</assert>");
        Error error;
        EXPECT_EQ(validator.evaluateMessageWithValueOf(message->rootElement(), evaluator, document->rootElement(), &error),
                  expected)
            << content;
    }
    // The name is empty for nodes that are not elements.
    auto attributed = parseXML("<r a='1'/>");
    auto name = parseXML("<assert>[<name/>]</assert>");
    for (xml::Node node : {attributed->rootElement().attributes().at(0), attributed->node()}) {
        EXPECT_EQ(validator.evaluateMessageWithValueOf(name->rootElement(), evaluator, node, nullptr), "[]");
    }
}

TEST(NodePathTest, CountsSiblingsWithTheSameQualifiedName) {
    auto document = parseXML(R"~(<Invoice xmlns:cac="urn:cac" xmlns:x="urn:cac" a="1">
        <cac:Item/><Item/><x:Item/><cac:Item><a/><a/></cac:Item><cac:Item/></Invoice>)~");
    xml::Node root = document->rootElement();
    Lines paths;
    for (xml::Node child : root.children()) {
        if (child.isElement()) paths.push_back(QMSchematronValidator::getNodePath(child));
    }
    EXPECT_EQ(paths, (Lines{"/Invoice[1]/cac:Item[1]", "/Invoice[1]/Item[1]", "/Invoice[1]/x:Item[1]",
                            "/Invoice[1]/cac:Item[2]", "/Invoice[1]/cac:Item[3]"}));
    xml::Node secondA = root.nodesForXPath("//*[local-name()='a'][2]").at(0);
    EXPECT_EQ(QMSchematronValidator::getNodePath(secondA), "/Invoice[1]/cac:Item[2]/a[2]");
    // Nodes that are not elements (document, attribute, white space text) contribute no step.
    for (xml::Node node : {document->node(), root.attributes().at(0), root.children().at(0), xml::Node()}) {
        EXPECT_EQ(QMSchematronValidator::getNodePath(node), "/");
    }
}

// National specialisations (and documents that do not name one) turn PEPPOL asserts
// without a role into warnings; PEPPOL ids are information anyway. A CII guideline
// identifier counts as the customization.
TEST_F(ValidationRunTest, RoleDefaultDependsOnTypeIdAndTheDocumentsCustomization) {
    const std::string national = "{BR-1=error}{PEPPOL-R1=warning R-1=info PEPPOL-R2=fatal}";
    const std::string peppol = "{BR-1=error}{PEPPOL-R1=error R-1=info PEPPOL-R2=fatal}";
    const std::string cii = R"~(<rsm:CrossIndustryInvoice xmlns:rsm="urn:rsm" xmlns:ram="urn:ram">
        <rsm:ExchangedDocumentContext><ram:GuidelineSpecifiedDocumentContextParameter>
        <ram:ID>urn:cen.eu:en16931:2017</ram:ID></ram:GuidelineSpecifiedDocumentContextParameter>
        </rsm:ExchangedDocumentContext></rsm:CrossIndustryInvoice>)~";
    auto ubl = [](const std::string& id) {
        return "<r xmlns:cbc='urn:cbc'><cbc:CustomizationID>" + id + "</cbc:CustomizationID></r>";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"<r/>", national},
        {ubl("urn:cen.eu:en16931:2017#compliant#urn:XRechnung:3.0"), national},
        {ubl("urn:cen.eu:en16931:2017#conformant#urn:xeinkauf.de:kosit:extension:xrechnung_3.0"), national},
        {ubl("urn:cen.eu:en16931:2017#compliant#urn:fdc:peppol.eu:2017:poacc:billing:3.0"), peppol},
        {cii, peppol},
    };
    auto roles = [](const std::vector<QMValidationError>& issues) {
        std::string list;
        for (const auto& issue : issues) list += (list.empty() ? "" : " ") + issue.assertionId + "=" + issue.role;
        return "{" + list + "}";
    };
    const std::string assertions =
        "<assert id='PEPPOL-R1' test='false()'/><assert id='BR-1' test='false()'/><report id='R-1' test='true()'/>"
        "<assert id='PEPPOL-R2' role='fatal' test='false()'/>";
    for (const auto& [document, expected] : cases) {
        auto result = run(document, oneRule("/", assertions));
        EXPECT_EQ(roles(result.errors) + roles(result.warnings), expected) << document;
    }
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
          <let name="global" value="'overridden'"/><let name="name" value="cbc:Name"/><let name="echo" value="$name"/>
          <report id="echo" test="true()"><value-of select="$echo"/>/<value-of select="$global"/></report>
        </rule>
      </pattern>
      <pattern id="second"><rule context="cbc:ID">
        <report id="seen" test="true()"><value-of select="$global"/> <value-of select="$patternLet"/> <value-of
          select="$fromVariablePattern"/> <value-of select="$name"/></report>
      </rule></pattern>)~"));
    EXPECT_TRUE(result.errors.empty() && result.valid);  // the variable pattern's rules never run
    EXPECT_EQ(issueLines(result.warnings, [](const auto& i) { return i.assertionId + ":" + i.message; }),
              (Lines{"echo:first/overridden", "echo:second/overridden", "echo:third/overridden", "seen:g p 3 third"}));
}

TEST_F(ValidationRunTest, RuleSetFunctionsAreCallable) {
    auto result = run(kUBLInvoice, schemaText(R"~(
      <function xmlns="http://www.w3.org/1999/XSL/Transform" name="u:double">
        <param name="x"/><variable name="twice" select="$x * 2"/><sequence select="$twice"/></function>
      <pattern id="p"><rule context="/"><assert id="F" test="u:double(count(//cac:Item)) = 7"
        ><value-of select="u:double(count(//cac:Item))"/></assert></rule></pattern>)~"));
    EXPECT_EQ(issueLines(result.errors, [](const auto& i) { return i.message; }), Lines{"6"});
}

// The evaluator reports no errors itself; an error the caller left in the slot stands
// for one, is logged with the expression that met it, and is cleared.
TEST(ReportedErrorTest, IsLoggedClearedAndTheRunGoesOn) {
    const std::string after = "<rule context='/'><assert id='after' test='false()'/></rule>";
    const std::pair<std::string, const char*> cases[] = {
        {"<let name='g' value='1'/><pattern id='p'>" + after + "</pattern>",
         "Error evaluating global let 'g' = '1': reported"},
        {"<pattern id='p'><let name='v' value='2'/>" + after + "</pattern>",
         "Error evaluating pattern let 'v' = '2': reported"},
        {"<pattern id='p'><rule context='cbc:ID'><assert id='skipped' test='false()'/></rule>" + after + "</pattern>",
         "Error evaluating context 'cbc:ID': reported"},
    };
    QMSchematronValidator validator;
    auto document = parseXML(kUBLInvoice);
    for (const auto& [body, expectedLine] : cases) {
        auto schema = validator.parseSchema(schemaText(body), nullptr);
        ASSERT_TRUE(schema);
        Error error;
        setError(&error, "Test", 1, "reported");
        ScopedLogCapture log;
        auto result = validator.validateDocument(*document, *schema, &error);
        EXPECT_FALSE(error.isSet());
        EXPECT_EQ(log.lines(), Lines{expectedLine});
        EXPECT_EQ(ids(result.errors), Lines{"after"});
    }
}

// Global variables whose value cannot change are not evaluated again, but every global
// variable is still set again before each node, and those that read variables of rules
// or bind variables are evaluated again.
TEST_F(ValidationRunTest, GlobalVariablesAreSetAgainBeforeEveryNode) {
    auto result = run(kUBLInvoice, schemaText(R"~(
      <let name="constant" value="count(//cac:Item)"/>
      <let name="parsed" value="/*/cbc:ID/substring(., 1, 3)"/>
      <let name="lagging" value="concat('after ', $ruleLet)"/>
      <let name="leaky" value="some $x in (1, 2) satisfies false()"/>
      <pattern id="p"><rule context="cac:Item">
        <let name="constant" value="'overridden'"/><let name="parsed" value="'overridden'"/>
        <let name="ruleLet" value="cbc:Name"/><let name="x" value="'rule'"/>
        <report id="R" test="true()"><value-of select="$lagging"/>|<value-of select="$constant"/></report>
      </rule></pattern>
      <pattern id="q"><rule context="cbc:ID">
        <report id="Q" test="true()"><value-of select="$constant"/>|<value-of select="$parsed"/>|<value-of
          select="$x"/>|<value-of select="$lagging"/></report>
      </rule></pattern>)~"));
    EXPECT_EQ(issueLines(result.warnings, [](const auto& i) { return i.assertionId + ":" + i.message; }),
              (Lines{"R:after 0|overridden", "R:after first|overridden", "R:after second|overridden",
                     "Q:3|INV|2|after third"}));
}

// A rule context is evaluated once per run when nothing it reads can change; contexts
// that read variables are evaluated for every rule.
TEST_F(ValidationRunTest, ContextsThatReadVariablesAreEvaluatedForEveryRule) {
    auto result = run(kUBLInvoice, schemaText(R"~(
      <pattern id="one"><let name="wanted" value="'first'"/>
        <rule context="cac:Item[cbc:Name = $wanted]"><assert id="A" test="false()"/></rule>
        <rule context="cac:Item"><assert id="B" test="false()"/></rule></pattern>
      <pattern id="two"><let name="wanted" value="'third'"/>
        <rule context="cac:Item[cbc:Name = $wanted]"><assert id="C" test="false()"/></rule>
        <rule context="cac:Item"><assert id="D" test="position() = 0"/></rule></pattern>)~"));
    EXPECT_EQ(issueLines(result.errors, [](const auto& i) { return i.assertionId + " " + i.location; }),
              (Lines{"A /Invoice[1]/cac:Item[1]", "B /Invoice[1]/cac:Item[1]", "B /Invoice[1]/cac:Item[2]",
                     "B /Invoice[1]/cac:Item[3]", "C /Invoice[1]/cac:Item[3]", "D /Invoice[1]/cac:Item[1]",
                     "D /Invoice[1]/cac:Item[2]", "D /Invoice[1]/cac:Item[3]"}));
}

// Restores the default evaluation limits when it goes.
class ScopedDefaultLimits {
public:
    explicit ScopedDefaultLimits(const EvaluationLimits& limits) : saved_(defaultEvaluationLimits()) {
        setDefaultEvaluationLimits(limits);
    }
    ~ScopedDefaultLimits() { setDefaultEvaluationLimits(saved_); }

private:
    EvaluationLimits saved_;
};

// A run whose evaluation budget is used up stops: the result is not valid, later rules
// do not run, the error slot says why, and one line is logged.
TEST(StoppedRunTest, ARunawayRuleSetEndsTheRunWithAnError) {
    using namespace std::chrono_literals;
    std::string items = "<r>";
    for (int i = 0; i < 2000; ++i) items += "<s>" + std::string(16, 'a') + "b</s>";
    items += "</r>";
    const std::string later = "<pattern id='later'><rule context='/'><assert id='L' test='false()'/></rule></pattern>";
    struct RunawayCase {
        std::string schemaText;
        std::string reason;
        EvaluationLimits limits;
    };
    const EvaluationLimits stepsFirst{.maxSteps = 1'000'000, .maxTime = 60s};
    const EvaluationLimits timeFirst{.maxSteps = 1'000'000'000'000, .maxTime = 500ms};
    const RunawayCase cases[] = {
        // A function that calls itself twice, until the steps run out.
        {testing::schematronText(R"~(<function xmlns="http://www.w3.org/1999/XSL/Transform" name="f">
           <param name="x"/><sequence select="f($x) + f($x)"/></function>
           <pattern id="p"><rule context="/"><assert id="F" test="f(1) = 0"/></rule></pattern>)~" + later),
         "Evaluation stopped: the limit of 1000000 steps was reached", stepsFirst},
        // Two thousand slow matches, until the time runs out.
        {testing::schematronText("<pattern id='p'><rule context='s'><assert id='M' test=\"not(matches(., '(a+)+$'))\"/>"
                                 "</rule></pattern>" + later),
         "Evaluation stopped: the time limit of 0.5 s was reached", timeFirst},
        // One match that backtracks without end.
        {testing::schematronText("<pattern id='p'><rule context='/'><assert id='B' test=\"matches('" +
                                 std::string(40, 'a') + "b', '(a+)+$')\"/></rule></pattern>" + later),
         "Evaluation stopped: the regular expression '(a+)+$' exceeded the time or depth allowed for one match", timeFirst},
    };
    QMSchematronValidator validator;
    auto document = parseXML(items);
    for (const auto& [schemaText, reason, caseLimits] : cases) {
        SCOPED_TRACE(reason);
        ScopedDefaultLimits limits(caseLimits);
        auto schema = validator.parseSchema(schemaText, nullptr);
        ASSERT_TRUE(schema);
        Error error;
        ScopedLogCapture log;
        auto result = validator.validateDocument(*document, *schema, &error);
        EXPECT_FALSE(result.valid);
        EXPECT_EQ(ids(result.errors), Lines{});  // neither the stopped rule nor the later one
        EXPECT_EQ(error.domain, kXPath2EvaluatorDomain);
        EXPECT_EQ(error.code, kEvaluationStoppedCode);
        EXPECT_EQ(error.message(), reason);
        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines().back(), "Validation stopped: " + reason);

        // Validating text gives no result at all: nothing was validated.
        error.clear();
        EXPECT_FALSE(validator.validateXMLWithSchema(items, schemaText, &error));
        EXPECT_EQ(error.message(), reason);
    }
}

TEST(ValidateXMLTest, FailsWithTheErrorOfWhatCouldNotBeRead) {
    QMSchematronValidator validator;
    Error error;
    EXPECT_FALSE(validator.validateXMLWithSchema("<r>", oneRule("/", "<assert id='A' test='true()'/>"), &error));
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

}  // namespace
}  // namespace quillmark
