// The result window: title, summary and schemas line, cells, row heights, what a
// selection highlights, and the copied text.

#include <gtest/gtest.h>

#include "quillmark/ui/result_window_controller.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;
using testing::makeIssue;
using testing::makeResult;
using testing::RecordingTextView;

struct TextsCase {
    const char* name;
    QMValidationResult result;
    const char* summary;
    const char* schemas;
};

TEST(ResultWindowTexts, SummaryAndSchemasLineFollowCountsAndFiles) {
    LanguageScope english(ui::Language::English);
    QMValidationResult markedInvalid = makeResult({}, {});
    markedInvalid.valid = false;
    const TextsCase cases[] = {
        {"clean", makeResult({}, {}, std::vector<std::string>{"/a/x.sch", "/b/y.xsd"}),
         "Document is valid - No issues found", "Schemas: x.sch, y.xsd"},
        {"marked invalid without issues", markedInvalid, "Document is valid - No issues found", ""},
        {"one error", makeResult({makeIssue("e")}, {}), "Found 1 error(s) and 0 warning(s)", ""},
        {"warnings only", makeResult({}, {makeIssue("w"), makeIssue("w")}, std::vector<std::string>{}),
         "Found 0 error(s) and 2 warning(s)", ""},
        {"file name without folder", makeResult({makeIssue("e")}, {makeIssue("w")}, std::vector<std::string>{"z.sch"}),
         "Found 1 error(s) and 1 warning(s)", "Schemas: z.sch"},
        {"folder path", makeResult({}, {}, std::vector<std::string>{"/dir/"}), "Document is valid - No issues found",
         "Schemas: "},
    };
    for (const auto& c : cases) {
        QMValidationResultWindowController controller;
        controller.displayResult(c.result, "invoice.xml");
        EXPECT_EQ(controller.summaryText(), c.summary) << c.name;
        EXPECT_EQ(controller.schemasText(), c.schemas) << c.name;
        EXPECT_EQ(controller.windowTitle(), "Validation Results: invoice.xml") << c.name;
    }
}

TEST(ResultWindowTexts, GermanTexts) {
    LanguageScope german(ui::Language::German);
    QMValidationResultWindowController controller;
    controller.displayResult(makeResult({makeIssue("e")}, {makeIssue("w"), makeIssue("w")},
                                        std::vector<std::string>{"/a/x.sch", "/b/y.xsd"}),
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
    EXPECT_EQ(message.identifier, "MessageCell");
    EXPECT_EQ(message.text, "Title [BR-01]");
    EXPECT_EQ(message.image, createStatusDotImage(QMDotColor::Red));
    EXPECT_EQ(message.fontSize, 13);
    EXPECT_TRUE(message.mediumWeight);
    EXPECT_EQ(message.color, QMCellDescription::TextColor::Label);

    QMCellDescription detail = controller.cellForItem(*location);
    EXPECT_EQ(detail.identifier, "DetailCell");
    EXPECT_EQ(detail.text, "Location: /Invoice[1]/cbc:ID[1]");
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
    double measuredWidth = -1;
    double measuredFontSize = -1;
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

    const std::pair<double, double> heights[] = {{0, 20}, {11.9, 20}, {12, 20}, {12.01, 21}, {40, 48}};
    for (const auto& [measured, expected] : heights) {
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

    QMValidationResultWindowController clean;
    clean.displayResult(makeResult({}, {}, std::vector<std::string>{"/a.sch"}), "x.xml");
    EXPECT_EQ(clean.locationForSelectedItem(clean.childOfItem(0, nullptr)), std::nullopt);

    // An empty location still counts as one (the highlight then finds nothing).
    QMValidationResultWindowController xsd;
    xsd.displayResult(makeResult({makeIssue("xsd")}, {}), "x.xml");
    EXPECT_EQ(xsd.locationForSelectedItem(xsd.childOfItem(0, nullptr)), "");
}

TEST_F(ResultWindowTest, SelectingAnIssueSelectsItsElementInTheTextView) {
    const std::string text = "<Invoice xmlns:cbc=\"urn:c\">\n  <cbc:ID>1</cbc:ID>\n</Invoice>";
    RecordingTextView view(text);
    controller.setXmlTextView(&view);
    controller.outlineViewSelectionDidChange(issue);
    ASSERT_EQ(view.selections.size(), 1u);
    EXPECT_EQ(view.selections[0], (QMTextRange{30, 8}));

    controller.outlineViewSelectionDidChange(location);
    controller.outlineViewSelectionDidChange(nullptr);
    EXPECT_EQ(view.selections.size(), 1u);
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
    EXPECT_EQ(controller.copyText({issue}), "Title [BR-01]\n  Location: /Invoice[1]/cbc:ID[1]\n  Rule: rule-7");
    EXPECT_EQ(controller.copyText({rule}), "Rule: rule-7");
    // A detail selected with its issue is copied twice.
    EXPECT_EQ(controller.copyText({issue, rule}),
              "Title [BR-01]\n  Location: /Invoice[1]/cbc:ID[1]\n  Rule: rule-7\nRule: rule-7");
    EXPECT_EQ(controller.copyText({nullptr, rule, nullptr, location}),
              "Rule: rule-7\nLocation: /Invoice[1]/cbc:ID[1]");
    EXPECT_EQ(controller.copyText({}), "");
}

TEST(ResultWindowCopy, SchemaRowsAndIssuesWithoutDetails) {
    LanguageScope english(ui::Language::English);
    QMValidationResultWindowController controller;
    controller.displayResult(makeResult({}, {}, std::vector<std::string>{"/x/a.sch", "/y/b.sch"}), "x.xml");
    EXPECT_EQ(controller.copyText({controller.childOfItem(0, nullptr), controller.childOfItem(1, nullptr)}),
              "Validated with: a.sch\nValidated with: b.sch");

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
