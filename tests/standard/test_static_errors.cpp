// A rule set with an expression that does not compile is refused when it is loaded,
// as the reference processor refuses to compile it: one line naming the file, what the
// expression belongs to (rule, assertion, let, function), the expression and the W3C
// error.

#include <gtest/gtest.h>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

struct StaticErrorCase {
    std::string body;                // inside the schema element
    std::vector<std::string> named;  // what the message must name
};

void PrintTo(const StaticErrorCase& c, std::ostream* out) { *out << c.body; }

class StandardStaticErrors : public testing::TempDirectoryTest, public ::testing::WithParamInterface<StaticErrorCase> {};

TEST_P(StandardStaticErrors, RefuseTheRuleSetWithOneClearLine) {
    const StaticErrorCase& c = GetParam();
    const std::string file = write("rules/broken.sch", testing::isoRuleSet(
        R"~(<ns prefix="f" uri="urn:f"/><ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>)~" + c.body));
    const std::string message = testing::loadFileError(file);
    ASSERT_NE(message, "") << "the rule set loaded";
    EXPECT_NE(message.find(file), std::string::npos) << message;
    for (const std::string& part : c.named) EXPECT_NE(message.find(part), std::string::npos) << part << " in " << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

std::string rule(const std::string& content, const std::string& context = "a") {
    return "<pattern><rule id=\"R1\" context=\"" + context + "\">" + content + "</rule></pattern>";
}

INSTANTIATE_TEST_SUITE_P(
    Expressions, StandardStaticErrors,
    ::testing::Values(
        StaticErrorCase{rule(R"~(<assert id="A1" test="b = = c">m</assert>)~"), {"R1", "A1", "b = = c", "XPST0003"}},
        StaticErrorCase{rule(R"~(<assert id="A2" test="f:unknown(.)">m</assert>)~"), {"R1", "A2", "f:unknown(.)", "XPST0017"}},
        StaticErrorCase{rule(R"~(<assert id="A3" test="count(b, c)">m</assert>)~"), {"A3", "count(b, c)", "XPST0017"}},
        StaticErrorCase{rule(R"~(<report id="A4" test="u:b">m</report>)~"), {"R1", "A4", "u:b", "XPST0081"}},
        StaticErrorCase{rule(R"~(<assert id="A5" test="$nowhere">m</assert>)~"), {"A5", "$nowhere", "XPST0008"}},
        StaticErrorCase{rule(R"~(<assert id="A6" test="b">m</assert>)~", "a[["), {"R1", "a[[", "XPST0003"}},
        StaticErrorCase{rule(R"~(<assert id="A7" test="b">m</assert>)~", "u:a"), {"R1", "u:a", "XPST0081"}},
        StaticErrorCase{rule(R"~(<let name="v" value="1 +"/><assert id="A8" test="$v">m</assert>)~"), {"R1", "$v", "1 +"}},
        StaticErrorCase{rule(R"~(<assert id="A9" test="true()">m <value-of select="xs:nothing(.)"/></assert>)~"),
                        {"A9", "xs:nothing(.)"}},
        StaticErrorCase{R"~(<let name="g" value="(1"/>)~" + rule(R"~(<assert id="A10" test="$g">m</assert>)~"), {"$g", "(1"}},
        StaticErrorCase{R"~(<xsl:function xmlns:xsl="http://www.w3.org/1999/XSL/Transform" name="f:bad">
                             <xsl:sequence select="1 +"/></xsl:function>)~" +
                            rule(R"~(<assert id="A11" test="f:bad()">m</assert>)~"),
                        {"f:bad", "XPST0003"}}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(StandardStaticErrors, AnExpressionThatOnlyFailsOnSomeDocumentsLoads) {
    // Type errors that only a document can reveal are dynamic: the rule set loads.
    const auto rules = testing::compileRuleSet(testing::isoRuleSet(
        R"~(<ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>
           <pattern><rule context="a"><assert id="A" test="xs:decimal(@n) gt 1">m</assert></rule></pattern>)~"));
    EXPECT_TRUE(testing::runOn(*rules, R"~(<a n="2"/>)~").valid);
}

}  // namespace
}  // namespace quillmark::standard
