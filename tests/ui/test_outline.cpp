// The result outline: which rows a result yields, in which order, how issue titles are
// shaped, which detail rows an issue gets, and how the outline is navigated.

#include <gtest/gtest.h>

#include "quillmark/ui/result_window_controller.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;
using testing::makeIssue;
using testing::makeResult;

std::vector<std::string> titlesOf(const std::vector<QMValidationItemPtr>& rows) {
    std::vector<std::string> titles;
    for (const auto& row : rows) titles.push_back(row->title);
    return titles;
}

class OutlineTest : public ::testing::Test {
protected:
    const std::vector<QMValidationItemPtr>& outlineOf(const QMValidationResult& result) {
        controller.displayResult(result, "invoice.xml");
        return controller.items();
    }
    LanguageScope english{ui::Language::English};
    QMValidationResultWindowController controller;
};

TEST_F(OutlineTest, ErrorsComeFirstThenWarningsEachInResultOrder) {
    auto result = makeResult({makeIssue("E1"), makeIssue("E2")}, {makeIssue("W1")}, std::vector<std::string>{"/s/a.sch"});
    const auto& rows = outlineOf(result);
    EXPECT_EQ(titlesOf(rows), (std::vector<std::string>{"E1", "E2", "W1"}));
    EXPECT_TRUE(rows[0]->isError);
    EXPECT_TRUE(rows[1]->isError);
    EXPECT_FALSE(rows[2]->isError);
    EXPECT_EQ(rows[0]->statusIndicator, createStatusDotImage(QMDotColor::Red));
    EXPECT_EQ(rows[2]->statusIndicator, createStatusDotImage(QMDotColor::Orange));
    ASSERT_TRUE(rows[2]->error.has_value());
    EXPECT_EQ(rows[2]->error->message, "W1");
}

TEST_F(OutlineTest, CleanResultListsOneRowPerSchemaFile) {
    const auto& rows = outlineOf(makeResult({}, {}, std::vector<std::string>{"/x/a.sch", "/y/b.sch", "plain.xsd"}));
    EXPECT_EQ(titlesOf(rows),
              (std::vector<std::string>{"Validated with: a.sch", "Validated with: b.sch", "Validated with: plain.xsd"}));
    for (const auto& row : rows) {
        EXPECT_EQ(row->statusIndicator, createStatusDotImage(QMDotColor::Green));
        ASSERT_TRUE(row->children.has_value());
        EXPECT_TRUE(row->children->empty());
        EXPECT_FALSE(row->error.has_value());
        EXPECT_FALSE(controller.isItemExpandable(row.get()));
    }
}

TEST_F(OutlineTest, CleanResultWithoutSchemaFilesIsEmpty) {
    EXPECT_TRUE(outlineOf(makeResult({}, {}, std::nullopt)).empty());
    EXPECT_TRUE(outlineOf(makeResult({}, {}, std::vector<std::string>{})).empty());
}

TEST_F(OutlineTest, RebuildingReplacesTheRows) {
    outlineOf(makeResult({makeIssue("old")}, {}));
    const auto& rows = outlineOf(makeResult({}, {makeIssue("new")}));
    EXPECT_EQ(titlesOf(rows), std::vector<std::string>{"new"});
}

TEST_F(OutlineTest, SchemaRowsFollowTheLanguage) {
    LanguageScope german(ui::Language::German);
    const auto& rows = outlineOf(makeResult({}, {}, std::vector<std::string>{"/x/a.sch"}));
    EXPECT_EQ(titlesOf(rows), std::vector<std::string>{"Validiert mit: a.sch"});
}

struct TitleCase {
    const char* message;
    const char* title;
};

TEST(IssueTitle, ShapesBracketedTagsIntoTrailingTags) {
    const TitleCase cases[] = {
        {"[BR-CO-10] - Sum of Invoice line net amount must equal the sum",
         "Sum of Invoice line net amount must equal the sum [BR-CO-10]"},
        {"[R1]text", "text [R1]"},
        {"[R1]   spaced", "spaced [R1]"},
        {"[R1]-dash", "dash [R1]"},
        {"[R1] --twice", "-twice [R1]"},
        // The optional hyphen gives way so that the text keeps its one character.
        {"[R1] -", "- [R1]"},
        {"[a b]x", "x [a b]"},
        // White space is text too once nothing else is left.
        {"[R1]   ", "  [R1]"},
        {"[R1]] x", "] x [R1]"},
        {"[PEPPOL-EN16931-R001]-Business process MUST be provided.",
         "Business process MUST be provided. [PEPPOL-EN16931-R001]"},
        {"[BR-DE-1] Eine Rechnung (INVOICE) muss Angaben zu \"Payment instructions\" enthalten",
         "Eine Rechnung (INVOICE) muss Angaben zu \"Payment instructions\" enthalten [BR-DE-1]"},
        // Not shaped: empty tag, no tag, nothing after the tag, tag not at the start,
        // text running over a line break.
        {"[]x", "[]x"},
        {"plain", "plain"},
        {"[R1]", "[R1]"},
        {" [R1] text", " [R1] text"},
        {"[R1] first line\nsecond line", "[R1] first line\nsecond line"},
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(QMValidationResultWindowController::shapedTitle(c.message), c.title) << c.message;
    }
}

TEST(IssueTitle, ShapingLeavesOddCharactersAlone) {
    // Non-ASCII text and bytes that are not UTF-8 must not break the shaping.
    EXPECT_EQ(QMValidationResultWindowController::shapedTitle("[Ü-1] – Größe €"), "– Größe € [Ü-1]");
    std::string invalid = "[R1] \xff\xfe";
    EXPECT_NO_FATAL_FAILURE(QMValidationResultWindowController::shapedTitle(invalid));
}

struct DetailCase {
    const char* name;
    QMValidationError issue;
    std::vector<std::pair<std::string, std::string>> rows;  // label, value
};

TEST(IssueDetails, PresentFieldsBecomeRowsInFixedOrder) {
    LanguageScope english(ui::Language::English);
    const DetailCase cases[] = {
        {"all four", makeIssue("m", "/Invoice[1]", "pat", "rule-1", "BR-01"),
         {{"Location", "/Invoice[1]"}, {"Pattern", "pat"}, {"Rule", "rule-1"}, {"Assertion", "BR-01"}}},
        {"rule only", makeIssue("m", "", "", "rule-1", ""), {{"Rule", "rule-1"}}},
        {"location and assertion", makeIssue("m", "/a[1]", "", "", "A1"), {{"Location", "/a[1]"}, {"Assertion", "A1"}}},
        {"xsd issue", makeIssue("Element 'x': not expected.", "", "", "", ""), {}},
    };
    for (const auto& c : cases) {
        auto row = QMValidationResultWindowController::createItemForError(c.issue, true);
        ASSERT_TRUE(row->children.has_value()) << c.name;
        std::vector<std::pair<std::string, std::string>> rows;
        for (const auto& child : *row->children) {
            ASSERT_TRUE(child->value.has_value()) << c.name;
            EXPECT_FALSE(child->children.has_value()) << c.name;
            EXPECT_FALSE(child->error.has_value()) << c.name;
            EXPECT_FALSE(child->statusIndicator.has_value()) << c.name;
            EXPECT_FALSE(child->isError) << c.name;
            rows.emplace_back(child->title, *child->value);
        }
        EXPECT_EQ(rows, c.rows) << c.name;
    }
}

TEST(IssueDetails, CallerFlagDecidesColourNotSeverity) {
    QMValidationError warningIssue = makeIssue("m");
    warningIssue.flag = "warning";
    auto row = QMValidationResultWindowController::createItemForError(warningIssue, true);
    EXPECT_TRUE(row->isError);
    EXPECT_EQ(row->statusIndicator, createStatusDotImage(QMDotColor::Red));
    row = QMValidationResultWindowController::createItemForError(makeIssue("m"), false);
    EXPECT_EQ(row->statusIndicator, createStatusDotImage(QMDotColor::Orange));
}

TEST(IssueDetails, LabelsAreTranslated) {
    LanguageScope german(ui::Language::German);
    auto row = QMValidationResultWindowController::createItemForError(makeIssue("m", "/a[1]", "p", "r", "a"), true);
    std::vector<std::string> labels;
    for (const auto& child : *row->children) labels.push_back(child->title);
    EXPECT_EQ(labels, (std::vector<std::string>{"Fundstelle", "Muster", "Regel", "Zusicherung"}));
}

TEST_F(OutlineTest, NavigationWalksRootIssuesAndDetails) {
    auto result = makeResult({makeIssue("E", "/a[1]", "", "r", "")}, {makeIssue("XSD message")});
    outlineOf(result);

    EXPECT_EQ(controller.numberOfChildrenOfItem(nullptr), 2u);
    const QMValidationItem* error = controller.childOfItem(0, nullptr);
    const QMValidationItem* warning = controller.childOfItem(1, nullptr);
    ASSERT_NE(error, nullptr);
    ASSERT_NE(warning, nullptr);
    EXPECT_EQ(controller.childOfItem(2, nullptr), nullptr);

    EXPECT_EQ(controller.numberOfChildrenOfItem(error), 2u);
    EXPECT_TRUE(controller.isItemExpandable(error));
    const QMValidationItem* detail = controller.childOfItem(1, error);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->title, "Rule");
    EXPECT_EQ(controller.childOfItem(2, error), nullptr);

    // An issue without details and a detail row have nothing below them.
    EXPECT_EQ(controller.numberOfChildrenOfItem(warning), 0u);
    EXPECT_FALSE(controller.isItemExpandable(warning));
    EXPECT_EQ(controller.numberOfChildrenOfItem(detail), 0u);
    EXPECT_EQ(controller.childOfItem(0, detail), nullptr);
    EXPECT_FALSE(controller.isItemExpandable(detail));
    EXPECT_FALSE(controller.isItemExpandable(nullptr));

    EXPECT_TRUE(controller.isTopLevel(error));
    EXPECT_FALSE(controller.isTopLevel(detail));
    EXPECT_FALSE(controller.isTopLevel(nullptr));
}

TEST_F(OutlineTest, TopLevelMeansTheVeryRowNotAnEqualOne) {
    outlineOf(makeResult({makeIssue("E")}, {}));
    QMValidationItem copy = *controller.items().front();
    EXPECT_FALSE(controller.isTopLevel(&copy));
}

}  // namespace
}  // namespace quillmark
