// Where an issue's node is: its location path, and the line and column of its start tag
// in the document as read (the owner element's for attributes and text).

#include <gtest/gtest.h>

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "standard/node_location.h"
#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

// The nodes a libxml2 XPath 1.0 expression selects, to pick nodes of a test document.
std::vector<const xmlNode*> select(const xml::Document& document, const std::string& expression) {
    std::vector<const xmlNode*> nodes;
    xmlXPathContextPtr context = xmlXPathNewContext(document.raw());
    xmlXPathRegisterNs(context, reinterpret_cast<const xmlChar*>("q"), reinterpret_cast<const xmlChar*>("urn:q"));
    xmlXPathObjectPtr result = xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression.c_str()), context);
    if (result && result->nodesetval) {
        for (int index = 0; index < result->nodesetval->nodeNr; ++index) nodes.push_back(result->nodesetval->nodeTab[index]);
    }
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return nodes;
}

const std::string kDocument = "<?xml version=\"1.0\"?>\n"                           // 1
                              "<r:root xmlns:r=\"urn:q\" id=\"1\">\n"                 // 2
                              "  <item>first<!-- c -->second<b/>third</item>\n"       // 3
                              "  <item n=\"2\"><item/><b/><item/></item>\n"           // 4
                              "  <b><item/></b><item\n"                               // 5
                              "     n=\"3\"/>\n"                                      // 6
                              "</r:root>\n";

struct LocationCase {
    std::string select;  // XPath 1.0, prefix q for urn:q
    std::string location;
    int64_t line;
    int64_t column;
};

void PrintTo(const LocationCase& c, std::ostream* out) { *out << c.select; }

class StandardNodeLocations : public ::testing::TestWithParam<LocationCase> {};

TEST_P(StandardNodeLocations, NameThePathAndTheStartTag) {
    const LocationCase& c = GetParam();
    const auto document = testing::parseXML(kDocument);
    const auto nodes = select(*document, c.select);
    ASSERT_EQ(nodes.size(), 1u) << c.select;
    EXPECT_EQ(locationPath(nodes[0]), c.location);
    const SourcePosition position = sourcePosition(nodes[0], &kDocument);
    EXPECT_EQ(position.line, c.line);
    EXPECT_EQ(position.column, c.column);
    EXPECT_EQ(sourcePosition(nodes[0]).column, 0) << "no column without the text";
}

INSTANTIATE_TEST_SUITE_P(
    Nodes, StandardNodeLocations,
    ::testing::Values(
        LocationCase{"/", "/", 0, 0},
        LocationCase{"/q:root", "/r:root[1]", 2, 1},
        LocationCase{"/q:root/@id", "/r:root[1]/@id", 2, 1},
        LocationCase{"/q:root/item[1]", "/r:root[1]/item[1]", 3, 3},
        // Text nodes count among the text siblings, across comments and elements.
        LocationCase{"/q:root/item[1]/text()[1]", "/r:root[1]/item[1]/text()[1]", 3, 3},
        LocationCase{"/q:root/item[1]/text()[2]", "/r:root[1]/item[1]/text()[2]", 3, 3},
        LocationCase{"/q:root/item[1]/text()[3]", "/r:root[1]/item[1]/text()[3]", 3, 3},
        LocationCase{"/q:root/item[2]", "/r:root[1]/item[2]", 4, 3},
        LocationCase{"/q:root/item[2]/@n", "/r:root[1]/item[2]/@n", 4, 3},
        // Elements of the same name earlier on the line: siblings, ancestors, cousins.
        LocationCase{"/q:root/item[2]/item[1]", "/r:root[1]/item[2]/item[1]", 4, 15},
        LocationCase{"/q:root/item[2]/b", "/r:root[1]/item[2]/b[1]", 4, 22},
        LocationCase{"/q:root/item[2]/item[2]", "/r:root[1]/item[2]/item[2]", 4, 26},
        LocationCase{"/q:root/b/item", "/r:root[1]/b[1]/item[1]", 5, 6},
        // A start tag over several lines is found where it begins, not where the parser
        // ends it.
        LocationCase{"/q:root/item[3]", "/r:root[1]/item[3]", 5, 17}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(StandardNodeLocations, IssuesCarryTheLineOfTheirNode) {
    const auto rules = testing::compileRuleSet(testing::isoRuleSet(
        R"~(<pattern><rule context="item[@n] | text()[. = 'third'] | @id">
             <report id="here" test="true()">here</report></rule></pattern>)~"));
    const QMValidationResult result = testing::runOn(*rules, kDocument);
    EXPECT_EQ(testing::issueLines(testing::allIssues(result),
                                  [](const QMValidationError& i) { return i.location + " " + std::to_string(i.line); }),
              (std::vector<std::string>{"/r:root[1]/@id 2", "/r:root[1]/item[1]/text()[3] 3", "/r:root[1]/item[2] 4",
                                        "/r:root[1]/item[3] 6"}));
}

}  // namespace
}  // namespace quillmark::standard
