// The viewer's document window end to end: validation outcome on the status dot and
// the sheet, highlighting the selected issue in the text, copying rows, cascading,
// recent files, preferences, drag and drop, and the screenshot.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QToolButton>
#include <QTest>
#include <QTreeView>
#include <memory>
#include <tuple>

#include "document_window.h"
#include "quillmark/log.h"
#include "recent_files.h"
#include "preferences_dialog.h"
#include "result_sheet.h"
#include "screenshot.h"
#include "viewer_application.h"
#include "viewer_fixtures.h"

namespace quillmark::viewer {
namespace {

QColor dotColorShown(const QToolButton* button) {
    const QImage image = button->icon().pixmap(QSize(10, 10), 1.0, QIcon::Normal).toImage();
    return image.pixelColor(5, 5);
}

class ViewerWindowTest : public ::testing::Test {
protected:
    DocumentWindow* open(const QString& name) {
        QString error;
        DocumentWindow* window = application.openFile(files.path(name), nullptr, &error);
        EXPECT_NE(window, nullptr) << error.toStdString();
        if (window) window->show();
        return window;
    }
    void select(ResultSheet* sheet, const QModelIndex& index, QItemSelectionModel::SelectionFlags flags =
                                                                     QItemSelectionModel::ClearAndSelect) {
        sheet->outlineView()->selectionModel()->select(index, flags | QItemSelectionModel::Rows);
    }

    testing::EnglishTexts english;
    testing::TestFiles files;
    ViewerApplication application{files.settings.get(), {files.rules()}};
};

// Only a document with issues opens the sheet by itself; a clean one cannot open it
// from the dot, one that no schema fits can.
TEST_F(ViewerWindowTest, OutcomeDecidesDotAndSheet) {
    const std::tuple<const char*, const char*, bool, const char*> cases[] = {
        {"invalid-order.xml", "#FF3B30", true, "Found 1 error(s) and 0 warning(s)"},
        {"valid-order.xml", "#34C759", false, "Document is valid - No issues found"},
        {"catalogue.xml", "#8E8E93", true, "Found 0 error(s) and 1 warning(s)"},
    };
    for (const auto& [file, colour, enabled, summary] : cases) {
        SCOPED_TRACE(file);
        DocumentWindow* window = open(file);
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(dotColorShown(window->statusButton()), QColor(colour));
        EXPECT_EQ(window->statusButton()->isEnabled(), enabled);
        ResultSheet* sheet = window->resultSheet();
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(sheet->isVisible(), QString(file) == "invalid-order.xml");
        EXPECT_EQ(sheet->summaryLabel()->text(), summary);
        EXPECT_EQ(sheet->windowTitle(), QString("Validation Results: ") + file);
        if (!enabled) continue;
        sheet->closeSheet();
        window->statusButton()->click();
        EXPECT_TRUE(sheet->isVisible());
        EXPECT_EQ(sheet->model()->index(0, 0).data(ResultItemModel::StatusColorRole).toInt(),
                  static_cast<int>(QString(file) == "catalogue.xml" ? QMDotColor::Orange : QMDotColor::Red));
    }
}

// Failing closed: a malformed document is red and says why; a rule set that cannot be
// loaded makes the dot grey, never green, and the rule sets after it still run.
TEST_F(ViewerWindowTest, FailuresNeverShowAsValid) {
    files.write("malformed.xml", "<o:Order xmlns:o=\"urn:example:order\">\n<o:ID>");
    DocumentWindow* malformed = open("malformed.xml");
    ASSERT_NE(malformed, nullptr);
    EXPECT_EQ(dotColorShown(malformed->statusButton()), QColor("#FF3B30"));
    EXPECT_TRUE(malformed->resultSheet()->isVisible());
    EXPECT_TRUE(malformed->resultSheet()->model()->index(0, 0).data().toString().startsWith("Premature end of data"))
        << malformed->resultSheet()->model()->index(0, 0).data().toString().toStdString();

    // "a-" sorts before order.sch, so the broken rule set runs first.
    files.write("rules/a-broken.sch", R"xml(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
        <ns prefix="o" uri="urn:example:order"/><include href="missing.sch"/></schema>)xml");
    ScopedLogCapture log;
    ViewerApplication withBroken{nullptr, {files.rules()}};
    for (const auto& [file, colour] : {std::pair{"valid-order.xml", "#8E8E93"}, std::pair{"invalid-order.xml", "#FF3B30"}}) {
        SCOPED_TRACE(file);
        QString error;
        DocumentWindow* window = withBroken.openFile(files.path(file), nullptr, &error);
        ASSERT_NE(window, nullptr) << error.toStdString();
        window->show();
        EXPECT_EQ(dotColorShown(window->statusButton()), QColor(colour));
        EXPECT_TRUE(window->resultSheet()->isVisible());
        const QString firstRow = window->resultSheet()->model()->index(0, 0).data().toString();
        EXPECT_TRUE(firstRow.contains("missing.sch")) << firstRow.toStdString();
    }
}

// Only regular files are opened: a FIFO chosen by mistake is refused at once.
TEST_F(ViewerWindowTest, SpecialFilesAreRefused) {
    const QString fifo = files.path("pipe.xml");
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    QString error;
    EXPECT_EQ(application.openFile(fifo, nullptr, &error), nullptr);
    EXPECT_TRUE(error.endsWith("not a regular file but a FIFO")) << error.toStdString();
}

TEST_F(ViewerWindowTest, SheetIsAWindowModalOutlineOfTheIssues) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    ResultSheet* sheet = window->resultSheet();
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet->parentWidget(), window);
    EXPECT_EQ(sheet->schemasLabel()->text(), "Schemas: order.sch");
    EXPECT_EQ(sheet->outlineView()->model()->index(0, 0).data().toString(), "Every line must have an amount. [O-02]");
    EXPECT_TRUE(sheet->outlineView()->alternatingRowColors());
    EXPECT_EQ(sheet->outlineView()->indentation(), 20);
    EXPECT_EQ(window->textEdit()->toPlainText(), QString(testing::kInvalidOrder));
    // Close ends the sheet with return code 1.
    sheet->closeButton()->click();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(sheet->result(), 1);
}

TEST_F(ViewerWindowTest, SelectedIssueIsHighlightedAndCopied) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    ResultSheet* sheet = window->resultSheet();
    EXPECT_FALSE(sheet->copyAction()->isEnabled());
    QGuiApplication::clipboard()->setText("untouched");
    sheet->copy();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "untouched");

    // The issue's start tag is selected in the text; a detail row leaves it as it is.
    const QModelIndex issueRow = sheet->model()->index(0, 0);
    select(sheet, issueRow);
    EXPECT_EQ(window->textEdit()->textCursor().selectedText(), "<o:Line id=\"2\">");
    EXPECT_EQ(window->textEdit()->textCursor().selectionStart(),
              QString(testing::kInvalidOrder).indexOf("<o:Line id=\"2\">"));
    EXPECT_TRUE(sheet->copyAction()->isEnabled());
    sheet->copyAction()->trigger();
    const QString issueText =
        "Every line must have an amount. [O-02]\n  Location: /o:Order[1]/o:Line[2]\n  Pattern: order\n"
        "  Rule: order-line\n  Assertion: O-02";
    EXPECT_EQ(QGuiApplication::clipboard()->text(), issueText);

    // The shortcut reaches the sheet's copy command.
    QGuiApplication::clipboard()->setText("untouched");
    QApplication::setActiveWindow(sheet);
    QTest::keyClick(sheet->outlineView(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), issueText);

    // Rows go in outline order whatever the order they were picked in.
    select(sheet, sheet->model()->index(2, 0, issueRow));
    EXPECT_EQ(window->textEdit()->textCursor().selectedText(), "<o:Line id=\"2\">");
    select(sheet, issueRow, QItemSelectionModel::Select);
    sheet->copyAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), issueText + "\nRule: order-line");

    // A second validation replaces the sheet's content and drops the selection.
    sheet->closeSheet();
    files.write("invalid-order.xml", testing::kValidOrder);
    QString error;
    ASSERT_TRUE(window->loadFile(files.path("invalid-order.xml"), &error));
    EXPECT_EQ(window->resultSheet(), sheet);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(sheet->summaryLabel()->text(), "Document is valid - No issues found");
    EXPECT_EQ(sheet->model()->rowCount(), 1);
    EXPECT_EQ(sheet->model()->index(0, 0).data().toString(), "Validated with: order.sch");
    EXPECT_TRUE(sheet->outlineView()->selectionModel()->selectedRows().isEmpty());
}

TEST_F(ViewerWindowTest, NewWindowsCascadeWithTheDotAtTheEndOfTheMenuBar) {
    std::unique_ptr<DocumentWindow> window(application.newWindow());
    QWidget* corner = window->menuBar()->cornerWidget(Qt::TopRightCorner);
    ASSERT_NE(corner, nullptr);
    EXPECT_EQ(corner->size(), QSize(30, 24));
    EXPECT_EQ(window->statusButton()->parentWidget(), corner);
    EXPECT_EQ(window->statusButton()->size(), QSize(24, 24));
    // Before any validation: grey, disabled, nothing to show.
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#8E8E93"));
    EXPECT_FALSE(window->statusButton()->isEnabled());
    window->showValidationSheet();
    EXPECT_EQ(window->resultSheet(), nullptr);
    // Each new window goes forty points further.
    std::unique_ptr<DocumentWindow> second(application.newWindow());
    EXPECT_EQ(second->geometry().topLeft() - window->geometry().topLeft(), QPoint(40, 40));
}

TEST_F(ViewerWindowTest, OpeningTracksRecentFilesAndReusesWindows) {
    DocumentWindow* empty = application.newWindow();
    QString error;
    EXPECT_EQ(application.openFile(files.path("valid-order.xml"), empty, &error), empty);
    DocumentWindow* second = application.openFile(files.path("catalogue.xml"), empty, &error);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, empty);
    // A file already open brings its window back.
    EXPECT_EQ(application.openFile(files.path("valid-order.xml"), nullptr, &error), empty);
    EXPECT_EQ(application.openFile(files.path("missing.xml"), nullptr, &error), nullptr);
    EXPECT_FALSE(error.isEmpty());

    const QStringList expected = {QFileInfo(files.path("catalogue.xml")).canonicalFilePath(),
                                  QFileInfo(files.path("valid-order.xml")).canonicalFilePath()};
    EXPECT_EQ(application.recentFiles(), expected);
    EXPECT_EQ(files.settings->value("recentFiles").toStringList(), expected);
    application.clearRecentFiles();
    EXPECT_TRUE(application.recentFiles().isEmpty());
}

TEST(RecentFiles, MostRecentFirstEachOnceAtMostTen) {
    const std::tuple<QStringList, QString, int, QStringList> cases[] = {
        {{}, "a", 10, {"a"}},         {{"a", "b"}, "c", 10, {"c", "a", "b"}}, {{"a", "b", "c"}, "b", 10, {"b", "a", "c"}},
        {{"a", "b", "c"}, "d", 3, {"d", "a", "b"}}, {{"a"}, "", 10, {"a"}},
    };
    for (const auto& [before, added, maximum, after] : cases) {
        EXPECT_EQ(withRecentFile(before, added, maximum), after) << added.toStdString();
    }
    QStringList many;
    for (int i = 0; i < 15; ++i) many = withRecentFile(many, QString::number(i));
    EXPECT_EQ(many.size(), kMaximumRecentFiles);
    EXPECT_EQ(many.front(), "14");
}

TEST(SchemaFolders, PreferencesAreRememberedAndRevalidateOpenDocuments) {
    testing::EnglishTexts english;
    testing::TestFiles files;
    {
        ViewerApplication application(files.settings.get(), {});
        QString error;
        DocumentWindow* window = application.openFile(files.path("invalid-order.xml"), nullptr, &error);
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#8E8E93"));
        application.setStoredSchemaFolders({files.rules()});
        EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#FF3B30"));
    }
    ScopedLogCapture log;  // the folder given on this command line does not exist
    ViewerApplication later(files.settings.get(), {"/from/the/command/line"});
    EXPECT_EQ(later.storedSchemaFolders(), QStringList{files.rules()});
    EXPECT_EQ(later.schemaFolders(), (QStringList{"/from/the/command/line", files.rules()}));
}

// A rule whose context is a union: the standard profile reads it as XPath 2.0 does and
// finds the missing identifier; the compatible dialect's union selects nothing.
TEST(Semantics, StandardByDefaultChosenInThePreferencesAndOnTheCommandLine) {
    testing::EnglishTexts english;
    testing::TestFiles files;
    QDir(files.dir.path()).mkdir("union");
    files.write("union/union.sch", R"xml(<schema xmlns="http://purl.oclc.org/dsdl/schematron" queryBinding="xslt2">
      <ns prefix="o" uri="urn:example:order"/>
      <pattern><rule context="/o:Order | /o:Invoice"><assert id="U-01" test="o:Buyer">A buyer.</assert></rule>
      </pattern></schema>)xml");
    const QColor red("#FF3B30"), green("#34C759");
    {
        ViewerApplication application(files.settings.get(), {files.path("union")});
        EXPECT_EQ(application.semantics(), Semantics::Standard);
        EXPECT_EQ(application.validator().semantics(), Semantics::Standard);
        QString error;
        DocumentWindow* window = application.openFile(files.path("valid-order.xml"), nullptr, &error);
        ASSERT_NE(window, nullptr) << error.toStdString();
        EXPECT_EQ(dotColorShown(window->statusButton()), red);
        application.setStoredPreferences({}, Semantics::Compatible);
        EXPECT_EQ(application.validator().semantics(), Semantics::Compatible);
        EXPECT_EQ(dotColorShown(window->statusButton()), green);
    }
    ViewerApplication later(files.settings.get(), {});
    EXPECT_EQ(later.storedSemantics(), Semantics::Compatible);
    later.setCommandLineSemantics(Semantics::Standard);
    EXPECT_EQ(later.semantics(), Semantics::Standard);
    EXPECT_EQ(later.storedSemantics(), Semantics::Compatible) << "the command line's choice is not remembered";
}

TEST(Semantics, PreferencesDialogOffersBothProfiles) {
    testing::EnglishTexts english;
    PreferencesDialog dialog({"/rules"}, Semantics::Compatible, nullptr);
    EXPECT_EQ(dialog.semantics(), Semantics::Compatible);
    dialog.setSemantics(Semantics::Standard);
    EXPECT_EQ(dialog.semantics(), Semantics::Standard);
    EXPECT_EQ(dialog.folders(), QStringList{"/rules"});
}

TEST_F(ViewerWindowTest, DroppedFilesOpen) {
    std::unique_ptr<DocumentWindow> window(application.newWindow());
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(files.path("valid-order.xml"))});
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    // Straight to the window: without a drag in progress the application would not
    // route a drop.
    static_cast<QObject*>(window.get())->event(&drop);
    EXPECT_TRUE(window->hasDocument());
    EXPECT_EQ(window->filePath(), QFileInfo(files.path("valid-order.xml")).canonicalFilePath());
}

TEST_F(ViewerWindowTest, ScreenshotShowsWindowAndSheet) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    const QImage image = renderDocumentWindow(*window);
    EXPECT_GE(image.deviceIndependentSize().width(), window->width());
    EXPECT_GT(image.deviceIndependentSize().height(), window->height());

    const QString output = files.path("shot.png");
    QProcess viewer;
    viewer.start(QUILLMARK_VIEWER_PATH,
                 {"--screenshot", output, "--schemas", files.rules(), files.path("invalid-order.xml")});
    ASSERT_TRUE(viewer.waitForFinished(120000));
    EXPECT_EQ(viewer.exitCode(), 0) << viewer.readAllStandardError().toStdString();
    EXPECT_FALSE(QImage(output).isNull());

    viewer.start(QUILLMARK_VIEWER_PATH, {"--screenshot", output, files.path("missing.xml")});
    ASSERT_TRUE(viewer.waitForFinished(120000));
    EXPECT_EQ(viewer.exitCode(), 2);
}

QString corpusFile(const char* relative) { return QStringLiteral(QUILLMARK_CORPUS_DIR "/") + relative; }

// The element name of a location's last step: "/a[1]/ram:ID[2]" -> "ram:ID".
QString lastStepName(const QString& location) {
    QString step = location.section('/', -1);
    return step.left(step.indexOf('['));
}

class RealInvoiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QFileInfo(corpusFile("peppol/rules/sch")).isDir()) << "the corpus is missing";
    }
    testing::EnglishTexts english;
    ViewerApplication application{nullptr, {corpusFile("peppol/rules/sch")}};
};

TEST_F(RealInvoiceTest, IssuesOfACrossIndustryInvoiceLeadToTheirElements) {
    QString error;
    DocumentWindow* window = application.openFile(corpusFile("en16931/cii/examples/CII_example1.xml"), nullptr, &error);
    ASSERT_NE(window, nullptr) << error.toStdString();
    window->show();
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#FF3B30"));
    ResultSheet* sheet = window->resultSheet();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->schemasLabel()->text(), "Schemas: CEN-EN16931-CII.sch, PEPPOL-EN16931-CII.sch");

    const auto& rows = window->controller().validationResultWindowController()->items();
    ASSERT_FALSE(rows.empty());
    for (int row = 0; row < sheet->model()->rowCount(); ++row) {
        const QString location = QString::fromStdString(rows[static_cast<size_t>(row)]->error->location);
        sheet->outlineView()->selectionModel()->select(sheet->model()->index(row, 0),
                                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        const QString selected = window->textEdit()->textCursor().selectedText();
        EXPECT_TRUE(selected.startsWith("<" + lastStepName(location)) && selected.endsWith(">"))
            << location.toStdString() << " -> " << selected.toStdString();
    }
}

TEST_F(RealInvoiceTest, ValidPeppolInvoiceIsGreen) {
    QString error;
    DocumentWindow* window = application.openFile(corpusFile("peppol/rules/snippets/base-example.xml"), nullptr, &error);
    ASSERT_NE(window, nullptr) << error.toStdString();
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#34C759"));
    EXPECT_FALSE(window->statusButton()->isEnabled());
    EXPECT_FALSE(window->resultSheet()->isVisible());
    EXPECT_EQ(window->resultSheet()->summaryLabel()->text(), "Document is valid - No issues found");
}

}  // namespace
}  // namespace quillmark::viewer
