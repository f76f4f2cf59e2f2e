// The document window's decisions: the dot's colour and whether it can be clicked,
// whether the result sheet opens by itself, the notice for a document no schema fits,
// and where each new window is placed.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "quillmark/ui/document_window_controller.h"
#include "support/test_support.h"
#include "ui_test_helpers.h"

namespace quillmark {
namespace {

using testing::LanguageScope;
using testing::RecordingTextView;

constexpr const char* kRules = R"xml(<schema xmlns="http://purl.oclc.org/dsdl/schematron" queryBinding="xslt2">
  <title>Order rules</title>
  <ns prefix="o" uri="urn:example:order"/>
  <pattern id="order">
    <rule id="order-root" context="/o:Order">
      <assert id="O-01" test="o:ID" flag="fatal">[O-01]-An order must have an identifier.</assert>
      <assert id="O-02" test="not(o:Note)" flag="warning">[O-02]-Notes are not processed.</assert>
    </rule>
  </pattern>
</schema>
)xml";

constexpr const char* kClean = "<Order xmlns=\"urn:example:order\"><ID>1</ID></Order>";
constexpr const char* kWithError = "<Order xmlns=\"urn:example:order\"><Total>1</Total></Order>";
constexpr const char* kWithWarning = "<Order xmlns=\"urn:example:order\"><ID>1</ID><Note>n</Note></Order>";
constexpr const char* kPrefixedWithError = "<o:Order xmlns:o=\"urn:example:order\"><o:Total>1</o:Total></o:Order>";
constexpr const char* kOtherKind = "<Catalogue xmlns=\"urn:example:catalogue\"><Item/></Catalogue>";

class DocumentWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        schemaDirectory = new std::string(testing::makeTempDirectory("quillmark-ui-rules"));
        std::ofstream(*schemaDirectory + "/order.sch") << kRules;
    }
    static void TearDownTestSuite() {
        std::filesystem::remove_all(*schemaDirectory);
        delete schemaDirectory;
    }
    void SetUp() override {
        validator.addSchemaDirectory(*schemaDirectory);
        controller.setResultsTextView(&textView);
        controller.windowDidLoad();
    }

    static std::string* schemaDirectory;
    LanguageScope english{ui::Language::English};
    QMSchematronValidator validator;
    RecordingTextView textView;
    QMXMLDocumentWindowController controller;
};
std::string* DocumentWindowTest::schemaDirectory = nullptr;

TEST_F(DocumentWindowTest, OutcomeDecidesDotAndSheet) {
    struct Case {
        const char* name;
        const char* xml;
        QMDotColor dot;
        bool clickable;
        bool sheetOpens;
        const char* summary;
    };
    const Case cases[] = {
        {"error", kWithError, QMDotColor::Red, true, true, "Found 1 error(s) and 0 warning(s)"},
        {"warning only", kWithWarning, QMDotColor::Orange, true, true, "Found 0 error(s) and 1 warning(s)"},
        {"clean", kClean, QMDotColor::Green, false, false, "Document is valid - No issues found"},
        {"no schema fits", kOtherKind, QMDotColor::Gray, true, false, "Found 0 error(s) and 1 warning(s)"},
    };
    for (const auto& c : cases) {
        QMXMLDocumentWindowController window;
        window.windowDidLoad();
        bool sheetOpens = window.performValidationWithValidator(validator, c.xml, "order.xml");
        EXPECT_EQ(window.statusButton().image, createStatusDotImage(c.dot)) << c.name;
        EXPECT_EQ(window.statusButton().enabled, c.clickable) << c.name;
        EXPECT_EQ(sheetOpens, c.sheetOpens) << c.name;
        EXPECT_TRUE(window.canShowValidationSheet()) << c.name;
        ASSERT_NE(window.validationResultWindowController(), nullptr) << c.name;
        EXPECT_EQ(window.validationResultWindowController()->summaryText(), c.summary) << c.name;
        EXPECT_EQ(window.validationResultWindowController()->windowTitle(), "Validation Results: order.xml") << c.name;
    }
}

TEST_F(DocumentWindowTest, FreshWindowShowsAGreyDisabledDotAndNoSheet) {
    QMXMLDocumentWindowController window;
    window.windowDidLoad();
    EXPECT_EQ(window.statusButton().image, statusIconForStatus(0));
    EXPECT_FALSE(window.statusButton().enabled);
    EXPECT_FALSE(window.canShowValidationSheet());
    EXPECT_EQ(window.validationResultWindowController(), nullptr);
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
    EXPECT_EQ(issue->title, "An order must have an identifier. [O-01]");
    EXPECT_EQ(results->copyText({issue}),
              "An order must have an identifier. [O-01]\n  Location: /o:Order[1]\n  Pattern: order\n"
              "  Rule: order-root\n  Assertion: O-01");
    results->outlineViewSelectionDidChange(issue);
    ASSERT_EQ(textView.selections.size(), 1u);
    EXPECT_EQ(textView.selections[0], (QMTextRange{0, 37}));
}

TEST_F(DocumentWindowTest, SecondValidationReusesTheResultWindow) {
    controller.performValidationWithValidator(validator, kWithError, "first.xml");
    auto* first = controller.validationResultWindowController();
    controller.performValidationWithValidator(validator, kClean, "second.xml");
    EXPECT_EQ(controller.validationResultWindowController(), first);
    EXPECT_EQ(first->windowTitle(), "Validation Results: second.xml");
    EXPECT_EQ(first->summaryText(), "Document is valid - No issues found");
    EXPECT_EQ(first->items().size(), 1u);  // the schema row
}

TEST_F(DocumentWindowTest, DocumentNoSchemaFitsGetsTheDetectionNotice) {
    EXPECT_FALSE(controller.performValidationWithValidator(validator, kOtherKind, "catalogue.xml"));
    auto* results = controller.validationResultWindowController();
    ASSERT_NE(results, nullptr);
    const auto& result = *results->validationResult();
    EXPECT_TRUE(result.valid);
    EXPECT_TRUE(result.errors.empty());
    ASSERT_EQ(result.warnings.size(), 1u);
    const QMValidationError& notice = result.warnings[0];
    EXPECT_EQ(notice.type, "info");
    EXPECT_EQ(notice.role, "information");
    EXPECT_EQ(notice.location, "/");
    EXPECT_EQ(notice.schemaTitle, "Schema Detection");
    EXPECT_EQ(notice.message, "No matching Schematron schema found for this XML document");

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
}

TEST_F(DocumentWindowTest, UnreadableDocumentShowsTheParserMessage) {
    EXPECT_FALSE(controller.performValidationWithValidator(validator, "<Order><ID>", "broken.xml"));
    const auto& notice = controller.validationResultWindowController()->validationResult()->warnings.at(0);
    EXPECT_FALSE(notice.message.empty());
    EXPECT_NE(notice.message, "No validation schemas found for this document type");
    EXPECT_EQ(controller.statusButton().image, statusIconForStatus(0));
    EXPECT_EQ(textView.content, "<Order><ID>");
}

TEST(SchemaDetectionNotice, MessageComesFromTheErrorWhenItHasOne) {
    LanguageScope english(ui::Language::English);
    struct Case {
        const char* name;
        Error error;
        const char* message;
    };
    const Case cases[] = {
        {"no error", Error{}, "No validation schemas found for this document type"},
        {"error without description", Error{"Quillmark", 404, "", {}, {}},
         "No validation schemas found for this document type"},
        {"error with description", Error{"Quillmark", 404, "Nothing fits", {}, {}}, "Nothing fits"},
    };
    for (const auto& c : cases) {
        QMValidationResult result = QMXMLDocumentWindowController::schemaDetectionResult(c.error);
        ASSERT_EQ(result.warnings.size(), 1u) << c.name;
        EXPECT_EQ(result.warnings[0].message, c.message) << c.name;
        EXPECT_TRUE(QMXMLDocumentWindowController::isSchemaDetectionResult(result)) << c.name;
        ASSERT_TRUE(result.schemaFiles.has_value()) << c.name;
        EXPECT_TRUE(result.schemaFiles->empty()) << c.name;
    }
}

TEST(SchemaDetectionNotice, OnlyTheLoneNoticeCounts) {
    QMValidationResult notice = QMXMLDocumentWindowController::schemaDetectionResult(Error{});
    QMValidationResult withError = notice;
    withError.errors.push_back(testing::makeIssue("e"));
    QMValidationResult twoWarnings = notice;
    twoWarnings.warnings.push_back(notice.warnings[0]);
    QMValidationResult otherTitle = notice;
    otherTitle.warnings[0].schemaTitle = "Order rules";
    EXPECT_FALSE(QMXMLDocumentWindowController::isSchemaDetectionResult(withError));
    EXPECT_FALSE(QMXMLDocumentWindowController::isSchemaDetectionResult(twoWarnings));
    EXPECT_FALSE(QMXMLDocumentWindowController::isSchemaDetectionResult(otherTitle));
}

TEST(DocumentWindowPlacement, EachLoadedWindowMovesFortyPointsFurther) {
    QMXMLDocumentWindowController first;
    QMXMLDocumentWindowController second;
    QMXMLDocumentWindowController third;
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
