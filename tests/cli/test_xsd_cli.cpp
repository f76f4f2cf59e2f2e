// `quillmark validate` with XSD files: the standard profile prints each libxml2 finding
// as a compiler-style line at the start tag of the node at fault; the compatible profile
// keeps its unplaced lines.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>

#include "support/schematron_test_support.h"

namespace quillmark {
namespace {

using testing::runCli;
using testing::textLines;
using Lines = std::vector<std::string>;

constexpr const char* kCountSchema = R"~(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="r"><xs:complexType><xs:sequence>
    <xs:element name="n" type="xs:integer" maxOccurs="unbounded"/>
  </xs:sequence><xs:attribute name="kind" type="xs:NCName"/></xs:complexType></xs:element>
</xs:schema>)~";

constexpr const char* kTwoFindings = "<r kind=\"a b\">\n  <n>1</n>\n  <n>many</n>\n</r>\n";

using XSDCliTest = testing::TempDirectoryTest;

TEST_F(XSDCliTest, StandardProfilePrintsEachFindingAtItsNode) {
    const std::string xsd = write("count.xsd", kCountSchema);
    const std::string document = write("r.xml", kTwoFindings);
    testing::expectCliRuns({{{"validate", "--schema", xsd, document},
                             document + ":1:1: error: Element 'r', attribute 'kind': 'a b' is not a valid value of the "
                                        "atomic type 'xs:NCName'. (at /r[1]/@kind)\n" +
                                 document + ":3:3: error: Element 'n': 'many' is not a valid value of the atomic type "
                                            "'xs:integer'. (at /r[1]/n[2])\n" +
                                 document + ": 2 errors\n",
                             "", 1}});
}

// The JSON report carries the same position and names the XSD file.
TEST_F(XSDCliTest, JsonFindingsCarryPositionAndSchemaFile) {
    const std::string xsd = write("count.xsd", kCountSchema);
    const std::string document = write("r.xml", kTwoFindings);
    auto result = runCli({"validate", "--format", "json", "--schema", xsd, document});
    ASSERT_EQ(result.exitCode, 1) << result.err;
    const auto report = nlohmann::json::parse(result.out);
    ASSERT_EQ(report["errors"].size(), 2u) << result.out;
    const auto& finding = report["errors"][1];
    EXPECT_EQ(finding["line"], 3);
    EXPECT_EQ(finding["column"], 3);
    EXPECT_EQ(finding["location"], "/r[1]/n[2]");
    EXPECT_EQ(finding["schemaTitle"], "count.xsd");
    EXPECT_EQ(finding["type"], "xsd");
}

TEST_F(XSDCliTest, CompatibleProfileKeepsFindingsUnplaced) {
    const std::string xsd = write("count.xsd", kCountSchema);
    const std::string document = write("r.xml", kTwoFindings);
    auto result = runCli({"validate", "--semantics", "compatible", "--schema", xsd, document});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    const Lines lines = textLines(result.out);
    ASSERT_EQ(lines.size(), 3u) << result.out;
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_TRUE(lines[i].starts_with(document + ": error: Element ")) << lines[i];
        EXPECT_EQ(lines[i].find("(at "), std::string::npos) << lines[i];
    }
}

// In scenario mode the bundled UBL schema reports an element out of place where it is.
TEST_F(XSDCliTest, ScenarioModePlacesFindingsOfTheBundledSchema) {
    std::string invoice = testing::readFile(testing::sourcePath("examples/invoice-valid.xml"));
    const std::string anchor = "<cbc:ID>";
    const size_t at = invoice.find(anchor);
    ASSERT_NE(at, std::string::npos);
    invoice.insert(at, "<cbc:Colour>red</cbc:Colour>");
    const size_t line = 1 + static_cast<size_t>(std::count(invoice.begin(), invoice.begin() + at, '\n'));
    const size_t column = at - invoice.rfind('\n', at);
    const std::string document = write("invoice.xml", invoice);
    auto result = runCli({"validate", document});
    const std::string expected = document + ":" + std::to_string(line) + ":" + std::to_string(column) +
                                 ": error: Element '{urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2}"
                                 "Colour': This element is not expected.";
    bool found = false;
    for (const std::string& text : textLines(result.out)) found = found || text.starts_with(expected);
    EXPECT_TRUE(found) << result.out;
    EXPECT_EQ(result.exitCode, 1) << result.err;
}

}  // namespace
}  // namespace quillmark
