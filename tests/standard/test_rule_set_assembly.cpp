// Assembling a rule set before it is compiled: parameters of abstract patterns, rules
// that extend abstract rules, includes at any depth, and the errors of each.

#include <gtest/gtest.h>

#include "standard/rule_set_assembly.h"
#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::firings;
using testing::isoRuleSet;
using testing::loadError;
using testing::runOn;

using Parameters = std::vector<std::pair<std::string, std::string>>;

struct SubstitutionCase {
    std::string text;
    Parameters parameters;
    std::string expected;
};

void PrintTo(const SubstitutionCase& c, std::ostream* out) { *out << c.text; }

class StandardParameterSubstitution : public ::testing::TestWithParam<SubstitutionCase> {};

TEST_P(StandardParameterSubstitution, ReplacesWholeNamesLongestFirst) {
    EXPECT_EQ(substituteParameters(GetParam().text, GetParam().parameters), GetParam().expected);
}

const Parameters kSellerParameters = {{"Seller", "cac:Seller"}, {"Seller_postal_address", "cac:Address"}};

INSTANTIATE_TEST_SUITE_P(
    Texts, StandardParameterSubstitution,
    ::testing::Values(
        SubstitutionCase{"$Seller", kSellerParameters, "cac:Seller"},
        // A name that another name begins with does not take the longer name's place,
        // whichever of the two is declared first.
        SubstitutionCase{"$Seller_postal_address/x and $Seller/y", kSellerParameters, "cac:Address/x and cac:Seller/y"},
        SubstitutionCase{"$Seller_postal_address", {{"Seller_postal_address", "A"}, {"Seller", "S"}}, "A"},
        // Whole names only: $Sellers and $Seller-x are other variables.
        SubstitutionCase{"$Sellers or $Seller-x or $Seller.y", kSellerParameters, "$Sellers or $Seller-x or $Seller.y"},
        SubstitutionCase{"count($Seller)=1", kSellerParameters, "count(cac:Seller)=1"},
        SubstitutionCase{"$a$b", {{"a", "1"}, {"b", "2"}}, "12"},
        SubstitutionCase{"$unknown and $", kSellerParameters, "$unknown and $"},
        SubstitutionCase{"no parameters", {}, "no parameters"}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

// An abstract pattern whose parameter names begin with each other, and two instances.
// The seller's Party_name is given twice: the last value counts.
const std::string kPartyPatterns = R"~(
  <pattern id="seller" is-a="party">
    <param name="Party" value="seller"/>
    <param name="Party_name" value="wrong"/>
    <param name="Party_address" value="address"/>
    <param name="Party_name" value="name"/>
  </pattern>
  <pattern abstract="true" id="party">
    <rule context="$Party">
      <assert id="name" test="$Party_name">A <name/> has a name.</assert>
      <assert id="address" test="$Party_address">The address of <value-of select="$Party_name"/> is missing.</assert>
    </rule>
  </pattern>
  <pattern id="buyer" is-a="party">
    <param name="Party" value="buyer"/>
    <param name="Party_name" value="label"/>
    <param name="Party_address" value="location"/>
  </pattern>)~";

TEST(StandardAbstractPatterns, InstancesGetTheContentWithTheirParameters) {
    const auto rules = testing::compileRuleSet(isoRuleSet(kPartyPatterns));
    const QMValidationResult result =
        runOn(*rules, "<inv><seller><name>S</name></seller><buyer><label>B</label><address/></buyer></inv>");
    EXPECT_EQ(testing::issueLines(result.errors,
                                  [](const QMValidationError& i) { return i.pattern + " " + i.assertionId + " " + i.message; }),
              (std::vector<std::string>{"seller address The address of S is missing.",
                                        "buyer address The address of B is missing."}));
    // The abstract pattern itself is gone: it has no rule of its own that could run.
    EXPECT_EQ(result.errors.size() + result.warnings.size(), 2u);
}

TEST(StandardAbstractPatterns, AnUnknownAbstractPatternIsRefused) {
    const std::string message =
        loadError(isoRuleSet(R"~(<pattern id="orphan" is-a="nowhere"><param name="a" value="b"/></pattern>)~"));
    EXPECT_NE(message.find("orphan"), std::string::npos) << message;
    EXPECT_NE(message.find("nowhere"), std::string::npos) << message;
}

const std::string kExtendingRules = R"~(
  <pattern>
    <rule abstract="true" id="named">
      <let name="label" value="@name"/>
      <assert id="has-name" test="$label">no name</assert>
    </rule>
    <rule context="item" id="items">
      <extends rule="coded"/>
      <assert id="own" test="@own">no own</assert>
    </rule>
    <rule abstract="true" id="coded">
      <extends rule="named"/>
      <assert id="has-code" test="@code">no code for <value-of select="$label"/></assert>
    </rule>
  </pattern>)~";

TEST(StandardAbstractRules, ExtendsTakesTheAbstractRuleInPlaceAtAnyDepth) {
    const auto rules = testing::compileRuleSet(isoRuleSet(kExtendingRules));
    const QMValidationResult result = runOn(*rules, R"~(<list><item/><item name="n"/><item name="m" code="c" own="o"/></list>)~");
    EXPECT_EQ(testing::issueLines(result.errors,
                                  [](const QMValidationError& i) { return i.rule + " " + i.assertionId + " " + i.message; }),
              (std::vector<std::string>{"items has-name no name", "items has-code no code for", "items own no own",
                                        "items has-code no code for n", "items own no own"}));
}

TEST(StandardAbstractRules, UnknownAndCircularExtensionsAreRefused) {
    const std::string unknown = loadError(isoRuleSet(R"~(<pattern><rule context="a"><extends rule="ghost"/></rule></pattern>)~"));
    EXPECT_NE(unknown.find("ghost"), std::string::npos) << unknown;
    const std::string circular = loadError(isoRuleSet(R"~(<pattern>
        <rule abstract="true" id="one"><extends rule="two"/></rule>
        <rule abstract="true" id="two"><extends rule="one"/></rule>
        <rule context="a"><extends rule="one"/></rule></pattern>)~"));
    EXPECT_NE(circular.find("extends itself"), std::string::npos) << circular;
}

// Includes resolve against the directory of the file that includes.
class StandardIncludes : public testing::TempDirectoryTest {
protected:
    void writeTwoLevels() {
        write("main.sch", isoRuleSet(R"~(<include href="parts/patterns.sch"/>)~"));
        write("parts/patterns.sch",
              std::string("<pattern xmlns=\"") + testing::kSchematronNamespace +
                  R"~(" id="included"><include href="rules/rule.sch"/></pattern>)~");
        write("parts/rules/rule.sch", std::string("<rule xmlns=\"") + testing::kSchematronNamespace +
                                          R"~(" context="a"><assert id="deep" test="b">no b</assert></rule>)~");
    }
};

TEST_F(StandardIncludes, ResolveTwoLevelsDeepFromAFileAndFromText) {
    writeTwoLevels();
    const auto fromFile = CompiledRuleSet::loadFile(path("main.sch"));
    EXPECT_EQ(firings(runOn(*fromFile, "<a/>")), (std::vector<std::string>{"deep@/a[1]"}));
    const auto fromText = testing::compileRuleSet(isoRuleSet(R"~(<include href="parts/patterns.sch"/>)~"), {}, directory_);
    const QMValidationResult result = runOn(*fromText, "<a/>");
    EXPECT_EQ(firings(result), (std::vector<std::string>{"deep@/a[1]"}));
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].pattern, "included");
}

TEST_F(StandardIncludes, AFileIncludedTwiceIsNotACycle) {
    write("rule.sch", std::string("<rule xmlns=\"") + testing::kSchematronNamespace +
                          R"~(" context="a"><report id="seen" test="true()">seen</report></rule>)~");
    write("main.sch", isoRuleSet(R"~(<pattern id="one"><include href="rule.sch"/></pattern>
                                    <pattern id="two"><include href="rule.sch"/></pattern>)~"));
    const auto rules = CompiledRuleSet::loadFile(path("main.sch"));
    EXPECT_EQ(firings(runOn(*rules, "<a/>")), (std::vector<std::string>{"seen@/a[1]", "seen@/a[1]"}));
}

TEST_F(StandardIncludes, ACycleIsRefusedNamingTheFiles) {
    write("main.sch", isoRuleSet(R"~(<include href="first.sch"/>)~"));
    write("first.sch", std::string("<pattern xmlns=\"") + testing::kSchematronNamespace +
                           R"~("><include href="sub/second.sch"/></pattern>)~");
    write("sub/second.sch", std::string("<rule xmlns=\"") + testing::kSchematronNamespace +
                                R"~(" context="a"><include href="../first.sch"/></rule>)~");
    const std::string message = testing::loadFileError(path("main.sch"));
    EXPECT_NE(message.find("cycle"), std::string::npos) << message;
    EXPECT_NE(message.find("first.sch"), std::string::npos) << message;
    EXPECT_NE(message.find("second.sch"), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

TEST_F(StandardIncludes, AFileIncludingItselfIsACycle) {
    write("self.sch", isoRuleSet(R"~(<pattern><include href="self.sch"/></pattern>)~"));
    const std::string message = testing::loadFileError(path("self.sch"));
    EXPECT_NE(message.find("cycle"), std::string::npos) << message;
    EXPECT_NE(message.find("self.sch"), std::string::npos) << message;
}

TEST_F(StandardIncludes, AMissingIncludeNamesTheFileAndWhereItWasIncluded) {
    write("main.sch", isoRuleSet(R"~(<include href="parts/patterns.sch"/>)~"));
    write("parts/patterns.sch", std::string("<pattern xmlns=\"") + testing::kSchematronNamespace +
                                    R"~("><include href="absent.sch"/></pattern>)~");
    const std::string message = testing::loadFileError(path("main.sch"));
    EXPECT_NE(message.find("patterns.sch"), std::string::npos) << message;
    EXPECT_NE(message.find("absent.sch"), std::string::npos) << message;
}

TEST_F(StandardIncludes, AFileThatIsNotXMLIsRefusedByName) {
    write("main.sch", isoRuleSet(R"~(<include href="broken.sch"/>)~"));
    write("broken.sch", "<pattern");
    for (const char* file : {"main.sch", "broken.sch"}) {
        const std::string message = testing::loadFileError(path(file));
        EXPECT_NE(message.find("broken.sch"), std::string::npos) << message;
    }
}

TEST(StandardRuleSetFiles, ARootThatIsNotASchemaIsRefused) {
    for (const std::string& text : {std::string("<schema/>"), std::string("<pattern xmlns=\"") +
                                                                 testing::kSchematronNamespace + "\"/>"}) {
        EXPECT_NE(loadError(text).find("not a Schematron rule set"), std::string::npos) << text;
    }
    EXPECT_NE(loadError("<schema"), "");
}

}  // namespace
}  // namespace quillmark::standard
