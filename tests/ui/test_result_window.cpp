// The result window: title, summary and schemas line, cells, row heights, what a
// selection highlights, and the copied text.

#include <gtest/gtest.h>

#include <tuple>

#include "quillmark/ui/result_window_controller.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;
using testing::makeIssue;
using testing::makeResult;
using testing::RecordingTextView;

using Files = std::vector<std::string>;

TEST(ResultWindowTexts, SummaryAndSchemasLineFollowCountsAndFiles) {
    LanguageScope english(ui::Language::English);
    QMValidationResult markedInvalid = makeResult({}, {});
    markedInvalid.valid = false;
    const std::tuple<QMValidationResult, const char*, const char*> cases[] = {
        {makeResult({}, {}, Files{"/a/x.sch", "/b/y.xsd"}), "Document is valid - No issues found", "Schemas: x.sch, y.xsd"},
        {markedInvalid, "Document is valid - No issues found", ""},
        {makeResult({makeIssue("e")}, {}), "Found 1 error(s) and 0 warning(s)", ""},
        {makeResult({}, {makeIssue("w"), makeIssue("w")}, Files{}), "Found 0 error(s) and 2 warning(s)", ""},
        {makeResult({makeIssue("e")}, {makeIssue("w")}, Files{"z.sch"}), "Found 1 error(s) and 1 warning(s)",
         "Schemas: z.sch"},
        {makeResult({}, {}, Files{"/dir/"}), "Document is valid - No issues found", "Schemas: "},
    };
    for (const auto& [result, summary, schemas] : cases) {
        QMValidationResultWindowController controller;
        controller.displayResult(result, "invoice.xml");
        EXPECT_EQ(controller.summaryText(), summary);
        EXPECT_EQ(controller.schemasText(), schemas);
        EXPECT_EQ(controller.windowTitle(), "Validation Results: invoice.xml");
    }
    LanguageScope german(ui::Language::German);
    QMValidationResultWindowController controller;
    controller.displayResult(makeResult({makeIssue("e")}, {makeIssue("w"), makeIssue("w")}, Files{"/a/x.sch", "/b/y.xsd"}),
                             "rechnung.xml");
    EXPECT_EQ(controller.windowTitle(), "Validierungsergebnisse: rechnung.xml");
    EXPECT_EQ(controller.summaryText(), "1 Fehler und 2 Warnung(en) gefunden");
    EXPECT_EQ(controller.schemasText(), "Schemata: x.sch, y.xsd");
    EXPECT_EQ(QMValidationResultWindowController::closeButtonTitle(), "Schließen");
}

class ResultWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        controller.displayResult(
            makeResult({makeIssue("[BR-01] - Title", "/Invoice[1]/cbc:ID[1]", "", "rule-7", "")}, {}),
            "invoice.xml");
        issue = controller.childOfItem(0, nullptr);
        location = controller.childOfItem(0, issue);
        rule = controller.childOfItem(1, issue);
    }
    LanguageScope english{ui::Language::English};
    QMValidationResultWindowController controller;
    const QMValidationItem* issue = nullptr;
    const QMValidationItem* location = nullptr;
    const QMValidationItem* rule = nullptr;
};

TEST_F(ResultWindowTest, CellsDescribeMessageAndDetailRows) {
    QMCellDescription message = controller.cellForItem(*issue);
    EXPECT_EQ(message.identifier + "|" + message.text, "MessageCell|Title [BR-01]");
    EXPECT_EQ(message.image, createStatusDotImage(QMDotColor::Red));
    EXPECT_EQ(message.fontSize, 13);
    EXPECT_TRUE(message.mediumWeight);
    EXPECT_EQ(message.color, QMCellDescription::TextColor::Label);

    QMCellDescription detail = controller.cellForItem(*location);
    EXPECT_EQ(detail.identifier + "|" + detail.text, "DetailCell|Location: /Invoice[1]/cbc:ID[1]");
    EXPECT_FALSE(detail.image.has_value());
    EXPECT_EQ(detail.fontSize, 11);
    EXPECT_FALSE(detail.mediumWeight);
    EXPECT_TRUE(detail.wordWrap);
    EXPECT_EQ(detail.color, QMCellDescription::TextColor::SecondaryLabel);

    // A row that only carries a title shows the title alone.
    QMValidationItem titleOnly;
    titleOnly.title = "Note";
    EXPECT_EQ(controller.cellForItem(titleOnly).text, "Note");
}

TEST_F(ResultWindowTest, RowHeights) {
    double measuredWidth = -1, measuredFontSize = -1;
    std::string measuredText;
    auto measure = [&](double height) {
        return [&, height](const std::string& text, double width, double fontSize) {
            measuredText = text;
            measuredWidth = width;
            measuredFontSize = fontSize;
            return height;
        };
    };
    EXPECT_EQ(controller.heightOfRowByItem(*issue, 500, measure(100)), 24);
    // Width: outline width less two indentation levels and 40 points of margins.
    EXPECT_EQ(controller.heightOfRowByItem(*location, 500, measure(13.2)), 22);
    EXPECT_EQ(measuredWidth, 500 - 2 * 20 - 40);
    EXPECT_EQ(measuredFontSize, 11);
    EXPECT_EQ(measuredText, "Location: /Invoice[1]/cbc:ID[1]");
    for (const auto& [measured, expected] : {std::pair{0.0, 20.0}, {12.0, 20.0}, {12.01, 21.0}, {40.0, 48.0}}) {
        EXPECT_EQ(controller.heightOfRowByItem(*rule, 300, measure(measured)), expected) << measured;
    }
    // Without an outline the width is 0.
    controller.heightOfRowByItem(*rule, std::nullopt, measure(1));
    EXPECT_EQ(measuredWidth, -80);
}

TEST_F(ResultWindowTest, OnlyIssueRowsHighlightTheirLocation) {
    EXPECT_EQ(controller.locationForSelectedItem(issue), "/Invoice[1]/cbc:ID[1]");
    EXPECT_EQ(controller.locationForSelectedItem(location), std::nullopt);
    EXPECT_EQ(controller.locationForSelectedItem(nullptr), std::nullopt);
    QMValidationResultWindowController other;
    other.displayResult(makeResult({}, {}, Files{"/a.sch"}), "x.xml");
    EXPECT_EQ(other.locationForSelectedItem(other.childOfItem(0, nullptr)), std::nullopt);
    // An empty location still counts as one (the highlight then finds nothing).
    other.displayResult(makeResult({makeIssue("xsd")}, {}), "x.xml");
    EXPECT_EQ(other.locationForSelectedItem(other.childOfItem(0, nullptr)), "");

    const std::string text = "<Invoice xmlns:cbc=\"urn:c\">\n  <cbc:ID>1</cbc:ID>\n</Invoice>";
    RecordingTextView view(text);
    controller.setXmlTextView(&view);
    for (const QMValidationItem* item : {issue, location, static_cast<const QMValidationItem*>(nullptr)}) {
        controller.outlineViewSelectionDidChange(item);
    }
    EXPECT_EQ(view.selections, std::vector<QMTextRange>{(QMTextRange{30, 8})});
}

TEST_F(ResultWindowTest, HighlightWithoutUsableTextViewDoesNothing) {
    controller.setXmlTextView(nullptr);
    controller.outlineViewSelectionDidChange(issue);  // must not crash
    for (const char* text : {"", "<Invoice><unclosed></Invoice>", "not xml at all"}) {
        RecordingTextView view(text);
        controller.setXmlTextView(&view);
        controller.highlightNodeInXML("/Invoice[1]");
        EXPECT_TRUE(view.selections.empty()) << text;
    }
}

TEST_F(ResultWindowTest, CopyTextOfRows) {
    const std::pair<std::vector<const QMValidationItem*>, const char*> cases[] = {
        {{issue}, "Title [BR-01]\n  Location: /Invoice[1]/cbc:ID[1]\n  Rule: rule-7"},
        {{rule}, "Rule: rule-7"},
        // A detail selected with its issue is copied twice.
        {{issue, rule}, "Title [BR-01]\n  Location: /Invoice[1]/cbc:ID[1]\n  Rule: rule-7\nRule: rule-7"},
        {{nullptr, rule, nullptr, location}, "Rule: rule-7\nLocation: /Invoice[1]/cbc:ID[1]"},
        {{}, ""},
    };
    for (const auto& [rows, text] : cases) EXPECT_EQ(controller.copyText(rows), text);
    // A row without details copies its title alone.
    controller.displayResult(makeResult({}, {makeIssue("only a message")}), "x.xml");
    EXPECT_EQ(controller.copyText({controller.childOfItem(0, nullptr)}), "only a message");
}

TEST(ResultWindowActions, CopyNeedsASelectionAndNothingElseIsEnabled) {
    QMValidationResultWindowController controller;
    EXPECT_FALSE(controller.validateUserInterfaceItem(QMUserInterfaceAction::Copy, 0));
    EXPECT_TRUE(controller.validateUserInterfaceItem(QMUserInterfaceAction::Copy, 1));
    EXPECT_TRUE(controller.validateUserInterfaceItem(QMUserInterfaceAction::Copy, 3));
    EXPECT_FALSE(controller.validateUserInterfaceItem(QMUserInterfaceAction::Other, 0));
    EXPECT_FALSE(controller.validateUserInterfaceItem(QMUserInterfaceAction::Other, 2));
}

}  // namespace
}  // namespace quillmark
