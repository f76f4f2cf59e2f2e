// The text of an issue: literal text and the text of markup such as sch:emph,
// sch:value-of with every item of its value, sch:name with and without a path, the
// named diagnostics after the message, and white space collapsed.

#include <gtest/gtest.h>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::isoRuleSet;
using testing::messages;
using testing::runOn;

constexpr const char* kDocument =
    R"~(<q:order xmlns:q="urn:q"><item code="A">one</item><item code="B"><note>x  y</note></item><item code="C"/></q:order>)~";

struct MessageCase {
    std::string context;
    std::string message;  // the content of a report that always fires
    std::vector<std::string> expected;
};

void PrintTo(const MessageCase& c, std::ostream* out) { *out << c.message; }

class StandardMessages : public ::testing::TestWithParam<MessageCase> {};

TEST_P(StandardMessages, RenderAsWritten) {
    const MessageCase& c = GetParam();
    const auto rules = testing::compileRuleSet(isoRuleSet(
        R"~(<ns prefix="o" uri="urn:q"/><ns prefix="xs" uri="http://www.w3.org/2001/XMLSchema"/>
           <pattern><rule context=")~" + c.context + R"~("><report id="r" test="true()">)~" + c.message +
        "</report></rule></pattern>"));
    EXPECT_EQ(messages(runOn(*rules, kDocument)), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Parts, StandardMessages,
    ::testing::Values(
        // value-of: every item, separated by single spaces.
        MessageCase{"o:order", "Codes: <value-of select=\"item/@code\"/>.", {"Codes: A B C."}},
        MessageCase{"o:order", "[<value-of select=\"()\"/>]", {"[]"}},
        MessageCase{"o:order", "<value-of select=\"(1, 2.50, 'x', xs:decimal('1.0'), 1e6, true())\"/>",
                    {"1 2.5 x 1 1.0E6 true"}},
        MessageCase{"o:order", "<value-of select=\"item[2]\"/>", {"x y"}},
        MessageCase{"item", "<value-of select=\"count(preceding-sibling::item) + 1\"/>", {"1", "2", "3"}},
        // name: the context node's name as written in the document, or that of the
        // first node the path selects.
        MessageCase{"o:order", "<name/>", {"q:order"}},
        MessageCase{"item[1]", "<name/> in <name path=\"..\"/>", {"item in q:order"}},
        MessageCase{"item[1]", "<name path=\"@code\"/>", {"code"}},
        MessageCase{"item[1]", "[<name path=\"nothing\"/>]", {"[]"}},
        MessageCase{"@code[. = 'A']", "<name/>=<value-of select=\".\"/>", {"code=A"}},
        // Markup keeps its text; white space is collapsed and trimmed.
        MessageCase{"o:order", "Value <emph>must</emph> be <span class=\"x\">set</span> <dir value=\"ltr\">now</dir>",
                    {"Value must be set now"}},
        MessageCase{"o:order", "\n   Spread\tover\n\n   lines   ", {"Spread over lines"}},
        MessageCase{"o:order", "<![CDATA[a < b]]> <value-of select=\"'  padded  '\"/>", {"a < b padded"}}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

const std::string kDiagnosed = R"~(
  <pattern><rule context="item">
    <assert id="needs-text" test="string(.)" diagnostics="code  where">Item without text.</assert>
    <assert id="silent" test="false()" diagnostics="empty"/>
  </rule></pattern>
  <diagnostics>
    <diagnostic id="where">at <name/> number <value-of select="count(preceding-sibling::item) + 1"/></diagnostic>
    <diagnostic id="code">Code <emph><value-of select="@code"/></emph>.</diagnostic>
    <diagnostic id="empty">  </diagnostic>
  </diagnostics>)~";

TEST(StandardDiagnostics, AreAppendedInTheOrderNamed) {
    const auto rules = testing::compileRuleSet(isoRuleSet(kDiagnosed));
    EXPECT_EQ(messages(runOn(*rules, kDocument)),
              (std::vector<std::string>{"", "", "Item without text. Code C. at item number 3", ""}));
}

TEST(StandardDiagnostics, AnUnknownDiagnosticIsRefused) {
    const std::string message = testing::loadError(isoRuleSet(R"~(
      <pattern><rule context="item" id="items"><assert id="a1" test="true()" diagnostics="ghost">x</assert></rule></pattern>)~"));
    EXPECT_NE(message.find("ghost"), std::string::npos) << message;
    EXPECT_NE(message.find("a1"), std::string::npos) << message;
}

}  // namespace
}  // namespace quillmark::standard
