// The document window's decisions: the dot's colour and whether it can be clicked,
// whether the result sheet opens by itself, the notice for a document no schema fits,
// and where each new window is placed.

#include <gtest/gtest.h>

#include "quillmark/ui/document_window_controller.h"
#include "support/schematron_test_support.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;
using testing::RecordingTextView;

const std::string kRules = testing::schematronText(R"xml(<title>Order rules</title><ns prefix="o" uri="urn:example:order"/>
  <pattern id="order"><rule id="order-root" context="/o:Order">
    <assert id="O-01" test="o:ID" flag="fatal">[O-01]-An order must have an identifier.</assert>
    <assert id="O-02" test="not(o:Note)" flag="warning">[O-02]-Notes are not processed.</assert>
  </rule></pattern>)xml");

constexpr const char* kClean = "<Order xmlns=\"urn:example:order\"><ID>1</ID></Order>";
constexpr const char* kWithError = "<Order xmlns=\"urn:example:order\"><Total>1</Total></Order>";
constexpr const char* kWithWarning = "<Order xmlns=\"urn:example:order\"><ID>1</ID><Note>n</Note></Order>";
constexpr const char* kPrefixedWithError = "<o:Order xmlns:o=\"urn:example:order\"><o:Total>1</o:Total></o:Order>";
constexpr const char* kOtherKind = "<Catalogue xmlns=\"urn:example:catalogue\"><Item/></Catalogue>";

class DocumentWindowTest : public testing::TempDirectoryTest {
protected:
    void SetUp() override {
        TempDirectoryTest::SetUp();
        write("order.sch", kRules);
        validator.addSchemaDirectory(directory_);
        controller.setResultsTextView(&textView);
        controller.windowDidLoad();
    }

    LanguageScope english{ui::Language::English};
    QMSchematronValidator validator;
    RecordingTextView textView;
    QMXMLDocumentWindowController controller;
};

// A fresh window shows a grey, disabled dot and no sheet; a validation outcome decides
// the dot and whether the sheet opens by itself.
TEST_F(DocumentWindowTest, OutcomeDecidesDotAndSheet) {
    EXPECT_EQ(controller.statusButton().image, statusIconForStatus(0));
    EXPECT_FALSE(controller.statusButton().enabled);
    EXPECT_FALSE(controller.canShowValidationSheet());
    EXPECT_EQ(controller.validationResultWindowController(), nullptr);
    struct Case {
        const char* xml;
        QMDotColor dot;
        bool clickable, sheetOpens;
        const char* summary;
    };
    const Case cases[] = {
        {kWithError, QMDotColor::Red, true, true, "Found 1 error(s) and 0 warning(s)"},
        {kWithWarning, QMDotColor::Orange, true, true, "Found 0 error(s) and 1 warning(s)"},
        {kClean, QMDotColor::Green, false, false, "Document is valid - No issues found"},
        {kOtherKind, QMDotColor::Gray, true, false, "Found 0 error(s) and 1 warning(s)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.xml);
        QMXMLDocumentWindowController window;
        window.windowDidLoad();
        EXPECT_EQ(window.performValidationWithValidator(validator, c.xml, "order.xml"), c.sheetOpens);
        EXPECT_EQ(window.statusButton().image, createStatusDotImage(c.dot));
        EXPECT_EQ(window.statusButton().enabled, c.clickable);
        EXPECT_TRUE(window.canShowValidationSheet());
        ASSERT_NE(window.validationResultWindowController(), nullptr);
        EXPECT_EQ(window.validationResultWindowController()->summaryText(), c.summary);
        EXPECT_EQ(window.validationResultWindowController()->windowTitle(), "Validation Results: order.xml");
    }
}

TEST_F(DocumentWindowTest, TextIsShownAndHandedToTheResultWindow) {
    controller.performValidationWithValidator(validator, kPrefixedWithError, "order.xml");
    EXPECT_EQ(textView.content, kPrefixedWithError);
    auto* results = controller.validationResultWindowController();
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(results->xmlTextView(), &textView);

    // The issue's location leads back to the element in the text.
    const QMValidationItem* issue = results->childOfItem(0, nullptr);
    ASSERT_NE(issue, nullptr);
    EXPECT_EQ(results->copyText({issue}),
              "An order must have an identifier. [O-01]\n  Location: /o:Order[1]\n  Pattern: order\n"
              "  Rule: order-root\n  Assertion: O-01");
    results->outlineViewSelectionDidChange(issue);
    EXPECT_EQ(textView.selections, std::vector<QMTextRange>{(QMTextRange{0, 37})});

    // A second validation reuses the result window.
    controller.performValidationWithValidator(validator, kClean, "second.xml");
    EXPECT_EQ(controller.validationResultWindowController(), results);
    EXPECT_EQ(results->windowTitle(), "Validation Results: second.xml");
    EXPECT_EQ(results->summaryText(), "Document is valid - No issues found");
    EXPECT_EQ(results->items().size(), 1u);  // the schema row
}

TEST_F(DocumentWindowTest, DocumentNoSchemaFitsGetsTheDetectionNotice) {
    EXPECT_FALSE(controller.performValidationWithValidator(validator, kOtherKind, "catalogue.xml"));
    auto* results = controller.validationResultWindowController();
    ASSERT_NE(results, nullptr);
    const auto& result = *results->validationResult();
    EXPECT_TRUE(result.valid);
    EXPECT_TRUE(result.errors.empty());
    ASSERT_EQ(result.warnings.size(), 1u);
    const QMValidationError& n = result.warnings[0];
    EXPECT_EQ(n.type + "|" + n.role + "|" + n.location + "|" + n.schemaTitle + "|" + n.message,
              "info|information|/|Schema Detection|No matching Schematron schema found for this XML document");

    // The sheet lists it as a warning with its location.
    const QMValidationItem* row = results->childOfItem(0, nullptr);
    ASSERT_NE(row, nullptr);
    EXPECT_FALSE(row->isError);
    EXPECT_EQ(row->statusIndicator, createStatusDotImage(QMDotColor::Orange));
    EXPECT_EQ(results->copyText({row}), "No matching Schematron schema found for this XML document\n  Location: /");

    // The second time the empty match comes from the cache without an error: the
    // notice falls back to its own text.
    controller.performValidationWithValidator(validator, kOtherKind, "catalogue.xml");
    EXPECT_EQ(results->validationResult()->warnings.at(0).message, "No validation schemas found for this document type");
    EXPECT_EQ(controller.statusButton().image, statusIconForStatus(0));
    EXPECT_TRUE(controller.statusButton().enabled);

    // An unreadable document shows the parser's message.
    EXPECT_FALSE(controller.performValidationWithValidator(validator, "<Order><ID>", "broken.xml"));
    const auto& notice = controller.validationResultWindowController()->validationResult()->warnings.at(0);
    EXPECT_FALSE(notice.message.empty());
    EXPECT_NE(notice.message, "No validation schemas found for this document type");
    EXPECT_EQ(controller.statusButton().image, statusIconForStatus(0));
    EXPECT_EQ(textView.content, "<Order><ID>");
}

// ---- Failing closed ----

// The strict validation keeps the dots of the usual outcomes.
TEST_F(DocumentWindowTest, StrictValidationKeepsTheUsualOutcomes) {
    struct Case {
        const char* xml;
        QMDotColor dot;
        bool clickable, sheetOpens;
    };
    for (const Case& c : {Case{kWithError, QMDotColor::Red, true, true}, Case{kWithWarning, QMDotColor::Orange, true, true},
                          Case{kClean, QMDotColor::Green, false, false}, Case{kOtherKind, QMDotColor::Gray, true, false}}) {
        SCOPED_TRACE(c.xml);
        EXPECT_EQ(controller.performStrictValidationWithValidator(validator, c.xml, "order.xml"), c.sheetOpens);
        EXPECT_EQ(controller.statusButton().image, createStatusDotImage(c.dot));
        EXPECT_EQ(controller.statusButton().enabled, c.clickable);
    }
}

// A document that is not well-formed says so, as an error (not the grey notice of a
// document that no schema fits).
TEST_F(DocumentWindowTest, StrictValidationSaysADocumentIsNotWellFormed) {
    EXPECT_TRUE(controller.performStrictValidationWithValidator(validator, "<Order><ID>", "broken.xml"));
    EXPECT_EQ(controller.statusButton().image, createStatusDotImage(QMDotColor::Red));
    EXPECT_TRUE(controller.statusButton().enabled);
    const auto& result = *controller.validationResultWindowController()->validationResult();
    EXPECT_FALSE(result.valid);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].schemaTitle, "XML Parser");
    EXPECT_TRUE(result.errors[0].message.starts_with("Premature end of data")) << result.errors[0].message;
    EXPECT_EQ(textView.content, "<Order><ID>");
}

// A rule set that cannot be loaded is an error row naming it; the rule sets after it
// still run; the dot is grey (not validated) unless what ran found errors, never green.
TEST_F(DocumentWindowTest, StrictValidationShowsFailingRuleSetsAndRunsTheOthers) {
    write("a-broken.sch", testing::schematronText(R"xml(<ns prefix="o" uri="urn:example:order"/>
        <include href="missing.sch"/>)xml"));
    QMSchematronValidator withBroken;
    withBroken.addSchemaDirectory(directory_);
    struct Case {
        const char* xml;
        QMDotColor dot;
        std::vector<std::string> errorTitles;
    };
    for (const Case& c : {Case{kClean, QMDotColor::Gray, {"a-broken.sch"}},
                          Case{kWithError, QMDotColor::Red, {"a-broken.sch", ""}}}) {
        SCOPED_TRACE(c.xml);
        EXPECT_TRUE(controller.performStrictValidationWithValidator(withBroken, c.xml, "order.xml"));
        EXPECT_EQ(controller.statusButton().image, createStatusDotImage(c.dot));
        EXPECT_TRUE(controller.statusButton().enabled);
        const auto& result = *controller.validationResultWindowController()->validationResult();
        EXPECT_FALSE(result.valid);
        EXPECT_EQ(testing::issueLines(result.errors, [](const auto& issue) { return issue.schemaTitle; }),
                  c.errorTitles);
        EXPECT_EQ(result.errors[0].type, "schema");
        EXPECT_EQ(result.errors[0].message, "cannot read " + path("missing.sch") + ": No such file or directory");
    }
}

TEST(SchemaDetectionNotice, MessageComesFromTheErrorWhenItHasOne) {
    LanguageScope english(ui::Language::English);
    const std::pair<Error, const char*> cases[] = {
        {Error{}, "No validation schemas found for this document type"},
        {Error{"Quillmark", 404, "", {}, {}}, "No validation schemas found for this document type"},
        {Error{"Quillmark", 404, "Nothing fits", {}, {}}, "Nothing fits"},
    };
    for (const auto& [error, message] : cases) {
        QMValidationResult result = QMXMLDocumentWindowController::schemaDetectionResult(error);
        ASSERT_EQ(result.warnings.size(), 1u) << message;
        EXPECT_EQ(result.warnings[0].message, message);
        EXPECT_TRUE(QMXMLDocumentWindowController::isSchemaDetectionResult(result)) << message;
        EXPECT_EQ(result.schemaFiles, std::vector<std::string>{}) << message;
    }
    // Only the lone notice counts.
    QMValidationResult notice = QMXMLDocumentWindowController::schemaDetectionResult(Error{});
    QMValidationResult withError = notice, twoWarnings = notice, otherTitle = notice;
    withError.errors.push_back(testing::makeIssue("e"));
    twoWarnings.warnings.push_back(notice.warnings[0]);
    otherTitle.warnings[0].schemaTitle = "Order rules";
    for (const auto& result : {withError, twoWarnings, otherTitle}) {
        EXPECT_FALSE(QMXMLDocumentWindowController::isSchemaDetectionResult(result));
    }
}

TEST(DocumentWindowPlacement, EachLoadedWindowMovesFortyPointsFurther) {
    QMXMLDocumentWindowController first, second, third;
    const int64_t before = QMXMLDocumentWindowController::windowCount();
    int64_t firstOffset = first.windowDidLoad();
    int64_t secondOffset = second.windowDidLoad();
    EXPECT_EQ(firstOffset, before * 40);
    EXPECT_EQ(secondOffset - firstOffset, 40);
    // Windows that are gone do not give their place back.
    { QMXMLDocumentWindowController closed; closed.windowDidLoad(); }
    EXPECT_EQ(third.windowDidLoad() - secondOffset, 80);
    EXPECT_EQ(QMXMLDocumentWindowController::windowCount(), before + 4);
}

}  // namespace
}  // namespace quillmark
