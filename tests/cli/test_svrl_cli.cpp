// `quillmark validate --format svrl`: reports valid against the ISO Schematron report
// grammar (tests/data/svrl/svrl.rng, validated with libxml2's RELAX NG), whole in the
// standard profile (active patterns in rule-set order, the rules that fired in document
// order, failed asserts and successful reports with their tests), the same findings as
// the JSON output, XML Schema findings and reasons for not validating as texts.

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/relaxng.h>
#include <libxml/tree.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "support/schematron_test_support.h"
#include "xml/external_resources.h"

namespace quillmark {
namespace {

using testing::CommandResult;
using testing::runCli;
using testing::sourcePath;
using Lines = std::vector<std::string>;

const std::string kRules = sourcePath("examples/rules/invoice-basics.sch");
const std::string kValid = sourcePath("examples/invoice-valid.xml");
const std::string kBadArithmetic = sourcePath("examples/invoice-bad-arithmetic.xml");
const std::string kMissingFields = sourcePath("examples/invoice-missing-fields.xml");
const std::string kSvrlGrammar = sourcePath("tests/data/svrl/svrl.rng");

struct DocumentFree {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using DocumentPointer = std::unique_ptr<xmlDoc, DocumentFree>;

DocumentPointer parse(const std::string& text) {
    return DocumentPointer(xmlReadMemory(text.data(), static_cast<int>(text.size()), "report.svrl", nullptr,
                                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

void collectMessage(void* messages, xml::detail::LibxmlErrorArg error) {
    static_cast<std::string*>(messages)->append(error->message ? error->message : "?");
}

// libxml2's complaints about `report` under the SVRL grammar; "" when it is valid.
std::string grammarErrors(const std::string& report) {
    std::string messages;
    const DocumentPointer document = parse(report);
    if (!document) return "not well-formed";
    xmlRelaxNGParserCtxt* parser = xmlRelaxNGNewParserCtxt(kSvrlGrammar.c_str());
    xmlRelaxNG* grammar = xmlRelaxNGParse(parser);
    xmlRelaxNGFreeParserCtxt(parser);
    if (!grammar) return "the grammar " + kSvrlGrammar + " does not load";
    xmlRelaxNGValidCtxt* validation = xmlRelaxNGNewValidCtxt(grammar);
    xmlRelaxNGSetValidStructuredErrors(validation, collectMessage, &messages);
    const int outcome = xmlRelaxNGValidateDoc(validation, document.get());
    xmlRelaxNGFreeValidCtxt(validation);
    xmlRelaxNGFree(grammar);
    if (outcome != 0 && messages.empty()) messages = "invalid";
    return messages;
}

std::string attribute(const xmlNode* element, const char* name) {
    xmlChar* value = xmlGetProp(element, reinterpret_cast<const xmlChar*>(name));
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

std::string content(const xmlNode* node) {
    xmlChar* value = xmlNodeGetContent(node);
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

// One line per element below the report's root, in order, as `describe` gives it for
// the element's local name ("" to leave the element out).
template <typename Describe>
Lines describeEntries(const std::string& report, Describe describe) {
    const DocumentPointer document = parse(report);
    if (!document) return {"not well-formed"};
    Lines lines;
    for (const xmlNode* child = xmlDocGetRootElement(document.get())->children; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) continue;
        std::string line = describe(std::string(reinterpret_cast<const char*>(child->name)), child);
        if (!line.empty()) lines.push_back(std::move(line));
    }
    return lines;
}

bool isFinding(const std::string& name) { return name == "failed-assert" || name == "successful-report"; }

// "text MESSAGE", "pattern ID", "rule CONTEXT", "failed-assert ID@LOCATION" or
// "successful-report ID@LOCATION"; namespace bindings are left out.
Lines entries(const std::string& report) {
    return describeEntries(report, [](const std::string& name, const xmlNode* element) -> std::string {
        if (name == "text") return "text " + content(element);
        if (name == "active-pattern") return "pattern " + attribute(element, "id");
        if (name == "fired-rule") return "rule " + attribute(element, "context");
        if (isFinding(name)) return name + " " + attribute(element, "id") + "@" + attribute(element, "location");
        return "";
    });
}

Lines startingWith(const Lines& lines, const std::string& prefix) {
    Lines chosen;
    for (const auto& line : lines) {
        if (line.starts_with(prefix)) chosen.push_back(line);
    }
    return chosen;
}

// "KIND ID@LOCATION TEST" per failed assert and successful report, sorted.
Lines findingsOf(const std::string& report) {
    Lines lines = describeEntries(report, [](const std::string& name, const xmlNode* element) -> std::string {
        if (!isFinding(name)) return "";
        return name + " " + attribute(element, "id") + "@" + attribute(element, "location") + " " +
               attribute(element, "test");
    });
    std::sort(lines.begin(), lines.end());
    return lines;
}

// The same lines from the JSON output's Schematron issues, and the number of its XSD ones.
std::pair<Lines, size_t> findingsOfJson(const std::string& output) {
    const auto record = nlohmann::json::parse(output);
    Lines lines;
    size_t schemaFindings = 0;
    for (const char* list : {"errors", "warnings"}) {
        for (const auto& issue : record[list]) {
            const std::string type = issue["type"];
            if (type == "xsd") {
                ++schemaFindings;
                continue;
            }
            lines.push_back(std::string(type == "report" ? "successful-report" : "failed-assert") + " " +
                            issue["assertionId"].get<std::string>() + "@" + issue["location"].get<std::string>() +
                            " " + issue["test"].get<std::string>());
        }
    }
    std::sort(lines.begin(), lines.end());
    return {lines, schemaFindings};
}

class SvrlCliTest : public testing::TempDirectoryTest {
protected:
    // The example invoice with an element its XML Schema does not allow.
    std::string invoiceFailingItsSchema() {
        std::string invoice = testing::readFile(kValid);
        const size_t at = invoice.find("<cbc:IssueDate>");
        EXPECT_NE(at, std::string::npos);
        invoice.insert(at, "<cbc:Bogus>1</cbc:Bogus>");
        return write("schema-failure.xml", invoice);
    }
};

// What each kind of input gives: its entries (without the fired rules when
// `firedRules` is false), all of them valid SVRL.
struct SvrlCase {
    std::string name;
    std::vector<std::string> arguments;  // the file last
    Lines expected;
    bool firedRules = true;
};

TEST_F(SvrlCliTest, EveryKindOfInputGivesAValidWholeReport) {
    const std::string missing = path("absent.xml");
    const std::string schemaFailure = invoiceFailingItsSchema();
    const std::vector<SvrlCase> cases = {
        {"valid invoice",
         {"--schema", kRules, kValid},
         {"pattern mandatory-fields", "rule /ubl:Invoice", "pattern arithmetic", "rule cac:LegalMonetaryTotal",
          "rule cac:InvoiceLine", "rule cac:InvoiceLine", "pattern advice", "rule /ubl:Invoice"}},
        {"findings in document order within a pattern",
         {"--schema", kRules, kBadArithmetic},
         {"pattern mandatory-fields", "rule /ubl:Invoice", "pattern arithmetic", "rule cac:LegalMonetaryTotal",
          "failed-assert QM-11@/Invoice[1]/cac:LegalMonetaryTotal[1]", "rule cac:InvoiceLine",
          "failed-assert QM-10@/Invoice[1]/cac:InvoiceLine[1]", "rule cac:InvoiceLine", "pattern advice",
          "rule /ubl:Invoice"}},
        {"not validated",
         {"--schema", kRules, missing},
         {"text not validated: cannot read " + missing + ": No such file or directory", "pattern "}},
        {"XML Schema and Schematron findings of a scenario",
         {schemaFailure},
         {"text UBL-Invoice-2.1.xsd:7:3: error: Element "
          "'{urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2}Bogus': This element is not "
          "expected. Expected is one of ( "
          "{urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2}CopyIndicator, "
          "{urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2}UUID, "
          "{urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2}IssueDate ). (at "
          "/Invoice[1]/cbc:Bogus[1])",
          "pattern UBL-model", "failed-assert BR-CO-18@/Invoice[1]",
          "failed-assert BR-CO-26@/Invoice[1]/cac:AccountingSupplierParty[1]",
          "failed-assert BR-CO-04@/Invoice[1]/cac:InvoiceLine[1]",
          "failed-assert BR-CO-04@/Invoice[1]/cac:InvoiceLine[2]", "pattern UBL-syntax",
          "failed-assert UBL-SR-48@/Invoice[1]/cac:InvoiceLine[1]",
          "failed-assert UBL-SR-48@/Invoice[1]/cac:InvoiceLine[2]", "pattern Codesmodel"},
         false},
    };
    for (const SvrlCase& test : cases) {
        SCOPED_TRACE(test.name);
        std::vector<std::string> arguments = {"validate", "--format", "svrl"};
        arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
        const CommandResult result = runCli(arguments);
        EXPECT_EQ(grammarErrors(result.out), "") << result.out;
        Lines lines = entries(result.out);
        if (!test.firedRules) std::erase_if(lines, [](const std::string& line) { return line.starts_with("rule "); });
        EXPECT_EQ(lines, test.expected) << result.out;
    }
}

// Every Schematron issue of the JSON output is a failed assert or successful report
// with its test, once; every XSD issue a text.
TEST_F(SvrlCliTest, HoldsTheFindingsOfTheJsonOutput) {
    for (const std::vector<std::string>& input :
         {Lines{"--schema", kRules, kMissingFields}, Lines{"--schema", kRules, kBadArithmetic},
          Lines{invoiceFailingItsSchema()}, Lines{kMissingFields}}) {
        SCOPED_TRACE(input.back());
        std::vector<std::string> svrl = {"validate", "--format", "svrl"};
        std::vector<std::string> json = {"validate", "--format", "json"};
        svrl.insert(svrl.end(), input.begin(), input.end());
        json.insert(json.end(), input.begin(), input.end());
        const std::string report = runCli(svrl).out;
        const auto [expected, schemaFindings] = findingsOfJson(runCli(json).out);
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(findingsOf(report), expected);
        EXPECT_EQ(startingWith(entries(report), "text ").size(), schemaFindings);
        EXPECT_EQ(grammarErrors(report), "");
    }
}

// The whole report for the example rules: the rule set's title and namespace
// bindings, every pattern with the file it ran on, every fired rule, and each finding
// with its id, test, location, flag and text.
TEST_F(SvrlCliTest, WritesTheWholeReportOfTheStandardRun) {
    const CommandResult result = runCli({"validate", "--format", "svrl", "--schema", kRules, kMissingFields});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    const std::string ubl = "urn:oasis:names:specification:ubl:schema:xsd:";
    const std::string pattern = "\" documents=\"" + kMissingFields + "\"/>\n";
    EXPECT_EQ(
        result.out,
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svrl:schematron-output xmlns:svrl=\"http://purl.oclc.org/dsdl/svrl\" title=\"Quillmark example rules for "
        "UBL invoices\">\n"
        "  <svrl:ns-prefix-in-attribute-values prefix=\"ubl\" uri=\"" + ubl + "Invoice-2\"/>\n"
        "  <svrl:ns-prefix-in-attribute-values prefix=\"cac\" uri=\"" + ubl + "CommonAggregateComponents-2\"/>\n"
        "  <svrl:ns-prefix-in-attribute-values prefix=\"cbc\" uri=\"" + ubl + "CommonBasicComponents-2\"/>\n"
        "  <svrl:active-pattern id=\"mandatory-fields" + pattern +
        "  <svrl:fired-rule context=\"/ubl:Invoice\"/>\n"
        "  <svrl:failed-assert id=\"QM-01\" test=\"normalize-space(cbc:ID) != ''\" location=\"/Invoice[1]\" "
        "flag=\"fatal\">\n"
        "    <svrl:text>[QM-01]-An invoice shall have an invoice number (cbc:ID).</svrl:text>\n"
        "  </svrl:failed-assert>\n"
        "  <svrl:failed-assert id=\"QM-03\" test=\"normalize-space(cbc:DocumentCurrencyCode) != ''\" "
        "location=\"/Invoice[1]\" flag=\"fatal\">\n"
        "    <svrl:text>[QM-03]-An invoice shall name its currency (cbc:DocumentCurrencyCode).</svrl:text>\n"
        "  </svrl:failed-assert>\n"
        "  <svrl:failed-assert id=\"QM-04\" test=\"normalize-space(cac:AccountingSupplierParty/cac:Party/"
        "cac:PartyLegalEntity/cbc:RegistrationName) != ''\" location=\"/Invoice[1]\" flag=\"fatal\">\n"
        "    <svrl:text>[QM-04]-An invoice shall name the seller (cac:PartyLegalEntity/cbc:RegistrationName)."
        "</svrl:text>\n"
        "  </svrl:failed-assert>\n"
        "  <svrl:active-pattern id=\"arithmetic" + pattern +
        "  <svrl:fired-rule context=\"cac:LegalMonetaryTotal\"/>\n"
        "  <svrl:fired-rule context=\"cac:InvoiceLine\"/>\n"
        "  <svrl:fired-rule context=\"cac:InvoiceLine\"/>\n"
        "  <svrl:active-pattern id=\"advice" + pattern +
        "  <svrl:fired-rule context=\"/ubl:Invoice\"/>\n"
        "  <svrl:successful-report id=\"QM-20\" test=\"not(cbc:DueDate) and not(cac:PaymentTerms)\" "
        "location=\"/Invoice[1]\" flag=\"warning\">\n"
        "    <svrl:text>[QM-20]-The invoice states neither a due date nor payment terms.</svrl:text>\n"
        "  </svrl:successful-report>\n"
        "</svrl:schematron-output>\n");
}

// Ids that are not XML names would make the report invalid: they are left out (the
// text keeps them); rule sets with several titles are named together.
TEST_F(SvrlCliTest, KeepsTheReportValidForUnusualRuleSets) {
    const std::string first = write(
        "first.sch",
        "<schema xmlns='http://purl.oclc.org/dsdl/schematron' queryBinding='xslt2' schemaVersion='2.0'>"
        "<title>First</title><ns prefix='x' uri='urn:x &amp; y'/>"
        "<pattern id='1st'><rule context='a' id='r 1'><assert id='1.2' test='false()' role='fatal error'>"
        "one &lt;two&gt;</assert></rule></pattern></schema>");
    const std::string second = write(
        "second.sch",
        "<schema xmlns='http://purl.oclc.org/dsdl/schematron' queryBinding='xslt2'><title>Second</title>"
        "<ns prefix='x' uri='urn:x &amp; y'/>"
        "<pattern id='p2' name='Second pattern'><rule context='/'><report id='R' test='true()'>three</report>"
        "</rule></pattern></schema>");
    const std::string document = write("a.xml", "<a/>");
    const CommandResult result =
        runCli({"validate", "--format", "svrl", "--schema", first, "--schema", second, document});
    EXPECT_EQ(grammarErrors(result.out), "") << result.out;
    EXPECT_NE(result.out.find("title=\"First; Second\" schemaVersion=\"2.0\""), std::string::npos) << result.out;
    EXPECT_EQ(entries(result.out), (Lines{"pattern ", "rule a", "failed-assert @/a[1]", "pattern p2", "rule /",
                                          "successful-report R@/"}));
    EXPECT_NE(result.out.find("<svrl:active-pattern id=\"p2\" name=\"Second pattern\""), std::string::npos);
    EXPECT_NE(result.out.find("role=\"fatal error\""), std::string::npos);
    EXPECT_NE(result.out.find("<svrl:text>one &lt;two&gt;</svrl:text>"), std::string::npos);
    const std::string binding = "<svrl:ns-prefix-in-attribute-values";
    EXPECT_EQ(result.out.find(binding), result.out.rfind(binding)) << "one binding for both rule sets";
}

// The compatible profile's run records no patterns or fired rules: its report lists the
// findings alone (not valid SVRL when there are any), and a valid file's report stays valid.
TEST_F(SvrlCliTest, CompatibleProfileListsTheFindingsAlone) {
    const CommandResult findings =
        runCli({"validate", "--semantics", "compatible", "--format", "svrl", "--schema", kRules, kMissingFields});
    EXPECT_EQ(startingWith(entries(findings.out), "pattern").size(), 0u);
    EXPECT_EQ(startingWith(entries(findings.out), "failed-assert").size(), 3u);
    EXPECT_EQ(startingWith(entries(findings.out), "successful-report").size(), 1u);
    const CommandResult valid =
        runCli({"validate", "--semantics", "compatible", "--format", "svrl", "--schema", kRules, kValid});
    EXPECT_EQ(grammarErrors(valid.out), "") << valid.out;
}

// The grammar is not vacuous: reports that break the standard's content model fail.
TEST(SvrlGrammar, RejectsReportsOutsideTheContentModel) {
    const std::string open = "<svrl:schematron-output xmlns:svrl='http://purl.oclc.org/dsdl/svrl'>";
    const std::string close = "</svrl:schematron-output>";
    const std::string finding =
        "<svrl:failed-assert test='t' location='/'><svrl:text>x</svrl:text></svrl:failed-assert>";
    EXPECT_EQ(grammarErrors(open + "<svrl:text>why</svrl:text><svrl:active-pattern/>" + close), "");
    EXPECT_EQ(grammarErrors(open + "<svrl:active-pattern/><svrl:fired-rule context='a'/>" + finding + close), "");
    for (const std::string& body : {
             std::string("<svrl:text>no pattern</svrl:text>"),
             "<svrl:active-pattern/>" + finding,
             std::string("<svrl:active-pattern/><svrl:fired-rule/>"),
             std::string("<svrl:active-pattern/><svrl:fired-rule context='a'/>"
                         "<svrl:failed-assert location='/'><svrl:text/></svrl:failed-assert>"),
             std::string("<svrl:active-pattern id='1st'/>"),
             std::string("<svrl:active-pattern/><svrl:text>late</svrl:text>"),
             std::string("<svrl:active-pattern/><svrl:ns-prefix-in-attribute-values prefix='x' uri='u'/>"),
         }) {
        EXPECT_NE(grammarErrors(open + body + close), "") << body;
    }
}

}  // namespace
}  // namespace quillmark
