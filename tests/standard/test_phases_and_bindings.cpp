// Which patterns run (the phase chosen when loading, the rule set's default phase, or
// every pattern) and which query bindings a rule set may declare.

#include <gtest/gtest.h>

#include <optional>

#include "standard/standard_test_support.h"

namespace quillmark::standard {
namespace {

using testing::firings;
using testing::isoRuleSet;
using testing::loadError;

std::string pattern(const std::string& id) {
    return "<pattern id=\"" + id + "\"><rule context=\"a\"><report id=\"" + id + "\" test=\"true()\">" + id +
           "</report></rule></pattern>";
}

// The phases list their patterns in another order than the rule set: patterns still run
// in the rule set's order.
const std::string kPhases = R"~(
  <phase id="quick"><active pattern="p1"/></phase>
  <phase id="full"><active pattern="p3"/><active pattern="p1"/><active pattern="p2"/></phase>
  <phase id="late"><active pattern="p3"/></phase>)~" +
                            pattern("p1") + pattern("p2") + pattern("p3");

struct PhaseCase {
    std::string defaultPhase;           // "" for none
    std::optional<std::string> chosen;  // LoadOptions::phase
    std::vector<std::string> patterns;  // that report, in order
};

void PrintTo(const PhaseCase& c, std::ostream* out) { *out << c.chosen.value_or("(default)"); }

class StandardPhases : public ::testing::TestWithParam<PhaseCase> {};

TEST_P(StandardPhases, RunThePatternsOfTheChosenPhase) {
    const PhaseCase& c = GetParam();
    const std::string attributes =
        "queryBinding=\"xslt2\"" + (c.defaultPhase.empty() ? "" : " defaultPhase=\"" + c.defaultPhase + "\"");
    const auto rules = testing::compileRuleSet(isoRuleSet(kPhases, attributes), LoadOptions{c.chosen});
    std::vector<std::string> expected;
    for (const std::string& id : c.patterns) expected.push_back(id + "@/a[1]");
    EXPECT_EQ(firings(testing::runOn(*rules, "<a/>")), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Choices, StandardPhases,
    ::testing::Values(PhaseCase{"", std::nullopt, {"p1", "p2", "p3"}},
                      PhaseCase{"quick", std::nullopt, {"p1"}},
                      PhaseCase{"quick", "#ALL", {"p1", "p2", "p3"}},
                      PhaseCase{"quick", "#DEFAULT", {"p1"}},
                      PhaseCase{"quick", "late", {"p3"}},
                      PhaseCase{"", "full", {"p1", "p2", "p3"}},
                      PhaseCase{"", "late", {"p3"}},
                      PhaseCase{"#ALL", std::nullopt, {"p1", "p2", "p3"}}),
    [](const auto& info) { return "Case" + std::to_string(info.index); });

TEST(StandardPhases, AnUnknownPhaseIsRefusedByName) {
    const std::string chosen = loadError(isoRuleSet(kPhases), LoadOptions{"nope"});
    EXPECT_NE(chosen.find("'nope'"), std::string::npos) << chosen;
    const std::string byDefault = loadError(isoRuleSet(kPhases, "defaultPhase=\"missing\""));
    EXPECT_NE(byDefault.find("'missing'"), std::string::npos) << byDefault;
}

TEST(StandardPhases, APhaseLetIsAGlobalOfThatPhase) {
    const std::string text = isoRuleSet(R"~(
      <phase id="strict"><let name="limit" value="1"/><active pattern="count"/></phase>
      <phase id="lenient"><let name="limit" value="3"/><active pattern="count"/></phase>
      <pattern id="count"><rule context="a">
        <assert id="too-many" test="count(b) le $limit">more than <value-of select="$limit"/></assert>
      </rule></pattern>)~");
    const std::string document = "<a><b/><b/></a>";
    EXPECT_EQ(testing::messages(testing::runOn(*testing::compileRuleSet(text, LoadOptions{"strict"}), document)),
              (std::vector<std::string>{"more than 1"}));
    EXPECT_TRUE(testing::runOn(*testing::compileRuleSet(text, LoadOptions{"lenient"}), document).valid);
}

TEST(StandardQueryBindings, XSLTBindingsAndNoneAreAccepted) {
    for (const std::string attributes : {"", "queryBinding=\"xslt2\"", "queryBinding=\"xslt\""}) {
        SCOPED_TRACE(attributes);
        const auto rules = testing::compileRuleSet(isoRuleSet(pattern("p"), attributes));
        EXPECT_EQ(firings(testing::runOn(*rules, "<a/>")), (std::vector<std::string>{"p@/a[1]"}));
    }
}

TEST(StandardQueryBindings, OtherBindingsAreRefusedClearly) {
    for (const std::string binding : {"exslt", "xpath3", "xslt3", "stx"}) {
        SCOPED_TRACE(binding);
        const std::string message = loadError(isoRuleSet(pattern("p"), "queryBinding=\"" + binding + "\""));
        EXPECT_NE(message.find("query binding '" + binding + "'"), std::string::npos) << message;
    }
}

}  // namespace
}  // namespace quillmark::standard
