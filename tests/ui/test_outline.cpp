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

using Files = std::vector<std::string>;

Files titlesOf(const std::vector<QMValidationItemPtr>& rows) {
    Files titles;
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
    const auto& rows = outlineOf(makeResult({makeIssue("E1"), makeIssue("E2")}, {makeIssue("W1")}, Files{"/s/a.sch"}));
    EXPECT_EQ(titlesOf(rows), (Files{"E1", "E2", "W1"}));
    EXPECT_TRUE(rows[0]->isError && rows[1]->isError);
    EXPECT_FALSE(rows[2]->isError);
    EXPECT_EQ(rows[0]->statusIndicator, createStatusDotImage(QMDotColor::Red));
    EXPECT_EQ(rows[2]->statusIndicator, createStatusDotImage(QMDotColor::Orange));
    ASSERT_TRUE(rows[2]->error.has_value());
    EXPECT_EQ(rows[2]->error->message, "W1");
    // Rebuilding replaces the rows.
    EXPECT_EQ(titlesOf(outlineOf(makeResult({}, {makeIssue("new")}))), Files{"new"});
}

TEST_F(OutlineTest, CleanResultListsOneRowPerSchemaFile) {
    const auto& rows = outlineOf(makeResult({}, {}, Files{"/x/a.sch", "/y/b.sch", "plain.xsd"}));
    EXPECT_EQ(titlesOf(rows), (Files{"Validated with: a.sch", "Validated with: b.sch", "Validated with: plain.xsd"}));
    for (const auto& row : rows) {
        EXPECT_EQ(row->statusIndicator, createStatusDotImage(QMDotColor::Green));
        EXPECT_EQ(row->children, std::vector<QMValidationItemPtr>{});
        EXPECT_FALSE(row->error.has_value());
        EXPECT_FALSE(controller.isItemExpandable(row.get()));
    }
    EXPECT_TRUE(outlineOf(makeResult({}, {}, std::nullopt)).empty());
    EXPECT_TRUE(outlineOf(makeResult({}, {}, Files{})).empty());
    LanguageScope german(ui::Language::German);
    EXPECT_EQ(titlesOf(outlineOf(makeResult({}, {}, Files{"/x/a.sch"}))), Files{"Validiert mit: a.sch"});
}

TEST(IssueTitle, ShapesBracketedTagsIntoTrailingTags) {
    const std::pair<std::string, std::string> cases[] = {
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
        {"[BR-DE-1] Eine Rechnung (INVOICE) muss Angaben zu \"Payment instructions\" enthalten",
         "Eine Rechnung (INVOICE) muss Angaben zu \"Payment instructions\" enthalten [BR-DE-1]"},
        {"[Ü-1] – Größe €", "– Größe € [Ü-1]"},
        // Not shaped: empty tag, no tag, nothing after the tag, tag not at the start,
        // text running over a line break.
        {"[]x", "[]x"},
        {"plain", "plain"},
        {"[R1]", "[R1]"},
        {" [R1] text", " [R1] text"},
        {"[R1] first line\nsecond line", "[R1] first line\nsecond line"},
        {"", ""},
    };
    for (const auto& [message, title] : cases) {
        EXPECT_EQ(QMValidationResultWindowController::shapedTitle(message), title) << message;
    }
    // Bytes that are not UTF-8 must not break the shaping.
    EXPECT_NO_FATAL_FAILURE(QMValidationResultWindowController::shapedTitle("[R1] \xff\xfe"));
}

TEST(IssueDetails, PresentFieldsBecomeRowsInFixedOrder) {
    LanguageScope english(ui::Language::English);
    using Rows = std::vector<std::pair<std::string, std::string>>;  // label, value
    const std::pair<QMValidationError, Rows> cases[] = {
        {makeIssue("m", "/Invoice[1]", "pat", "rule-1", "BR-01"),
         {{"Location", "/Invoice[1]"}, {"Pattern", "pat"}, {"Rule", "rule-1"}, {"Assertion", "BR-01"}}},
        {makeIssue("m", "", "", "rule-1", ""), {{"Rule", "rule-1"}}},
        {makeIssue("m", "/a[1]", "", "", "A1"), {{"Location", "/a[1]"}, {"Assertion", "A1"}}},
        {makeIssue("Element 'x': not expected."), {}},
    };
    for (const auto& [issue, expected] : cases) {
        auto row = QMValidationResultWindowController::createItemForError(issue, true);
        ASSERT_TRUE(row->children.has_value());
        Rows rows;
        for (const auto& child : *row->children) {
            ASSERT_TRUE(child->value.has_value());
            EXPECT_FALSE(child->children || child->error || child->statusIndicator || child->isError);
            rows.emplace_back(child->title, *child->value);
        }
        EXPECT_EQ(rows, expected);
    }
    LanguageScope german(ui::Language::German);
    EXPECT_EQ(titlesOf(*QMValidationResultWindowController::createItemForError(cases[0].first, true)->children),
              (Files{"Fundstelle", "Muster", "Regel", "Zusicherung"}));
}

TEST(IssueDetails, CallerFlagDecidesColourNotSeverity) {
    QMValidationError warningIssue = makeIssue("m");
    warningIssue.flag = "warning";
    auto row = QMValidationResultWindowController::createItemForError(warningIssue, true);
    EXPECT_TRUE(row->isError && row->statusIndicator == createStatusDotImage(QMDotColor::Red));
}

TEST_F(OutlineTest, NavigationWalksRootIssuesAndDetails) {
    outlineOf(makeResult({makeIssue("E", "/a[1]", "", "r", "")}, {makeIssue("XSD message")}));
    EXPECT_EQ(controller.numberOfChildrenOfItem(nullptr), 2u);
    const QMValidationItem* error = controller.childOfItem(0, nullptr);
    const QMValidationItem* warning = controller.childOfItem(1, nullptr);
    ASSERT_TRUE(error && warning);
    EXPECT_EQ(controller.childOfItem(2, nullptr), nullptr);

    EXPECT_EQ(controller.numberOfChildrenOfItem(error), 2u);
    EXPECT_TRUE(controller.isItemExpandable(error));
    const QMValidationItem* detail = controller.childOfItem(1, error);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->title, "Rule");
    EXPECT_EQ(controller.childOfItem(2, error), nullptr);

    // An issue without details and a detail row have nothing below them.
    EXPECT_EQ(controller.numberOfChildrenOfItem(warning), 0u);
    EXPECT_EQ(controller.numberOfChildrenOfItem(detail), 0u);
    EXPECT_EQ(controller.childOfItem(0, detail), nullptr);
    for (const QMValidationItem* item : {warning, detail, static_cast<const QMValidationItem*>(nullptr)}) {
        EXPECT_FALSE(controller.isItemExpandable(item));
    }

    // Top level means the very row, not an equal one.
    EXPECT_TRUE(controller.isTopLevel(error));
    const QMValidationItem copy = *error;
    for (const QMValidationItem* item : {detail, static_cast<const QMValidationItem*>(nullptr), &copy}) {
        EXPECT_FALSE(controller.isTopLevel(item));
    }
}

}  // namespace
}  // namespace quillmark
