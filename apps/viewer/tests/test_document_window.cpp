// The viewer's document window end to end: validation outcome on the status dot and
// the sheet, highlighting the selected issue in the text, copying rows, cascading,
// recent files, preferences, drag and drop, and the screenshot.

#include <gtest/gtest.h>

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

#include "document_window.h"
#include "quillmark/log.h"
#include "recent_files.h"
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

TEST_F(ViewerWindowTest, InvalidDocumentShowsARedDotAndOpensTheSheet) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#FF3B30"));
    EXPECT_TRUE(window->statusButton()->isEnabled());
    ResultSheet* sheet = window->resultSheet();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet->parentWidget(), window);
    EXPECT_EQ(sheet->windowTitle(), "Validation Results: invalid-order.xml");
    EXPECT_EQ(sheet->summaryLabel()->text(), "Found 1 error(s) and 0 warning(s)");
    EXPECT_EQ(sheet->schemasLabel()->text(), "Schemas: order.sch");
    EXPECT_EQ(sheet->outlineView()->model()->index(0, 0).data().toString(), "Every line must have an amount. [O-02]");
    EXPECT_TRUE(sheet->outlineView()->alternatingRowColors());
    EXPECT_EQ(sheet->outlineView()->indentation(), 20);
    EXPECT_EQ(window->textEdit()->toPlainText(), QString(testing::kInvalidOrder));

    // Close ends the sheet with return code 1; the dot opens it again.
    sheet->closeButton()->click();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(sheet->result(), 1);
    window->statusButton()->click();
    EXPECT_TRUE(sheet->isVisible());
}

TEST_F(ViewerWindowTest, SelectingAnIssueSelectsItsStartTag) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    ResultSheet* sheet = window->resultSheet();
    const QModelIndex issueRow = sheet->model()->index(0, 0);
    select(sheet, issueRow);
    const QTextCursor cursor = window->textEdit()->textCursor();
    EXPECT_EQ(cursor.selectedText(), "<o:Line id=\"2\">");
    EXPECT_EQ(cursor.selectionStart(), QString(testing::kInvalidOrder).indexOf("<o:Line id=\"2\">"));

    // A detail row leaves the selection in the text as it is.
    select(sheet, sheet->model()->index(0, 0, issueRow));
    EXPECT_EQ(window->textEdit()->textCursor().selectedText(), "<o:Line id=\"2\">");
}

TEST_F(ViewerWindowTest, CopyPutsTheSelectedRowsOnTheClipboard) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    ResultSheet* sheet = window->resultSheet();
    EXPECT_FALSE(sheet->copyAction()->isEnabled());
    QGuiApplication::clipboard()->setText("untouched");
    sheet->copy();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "untouched");

    const QModelIndex issueRow = sheet->model()->index(0, 0);
    select(sheet, issueRow);
    EXPECT_TRUE(sheet->copyAction()->isEnabled());
    sheet->copyAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "Every line must have an amount. [O-02]\n  Location: /o:Order[1]/o:Line[2]\n  Pattern: order\n"
              "  Rule: order-line\n  Assertion: O-02");

    // The shortcut reaches the sheet's copy command.
    QGuiApplication::clipboard()->setText("untouched");
    QApplication::setActiveWindow(sheet);
    QTest::keyClick(sheet->outlineView(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text().section('\n', 0, 0), "Every line must have an amount. [O-02]");

    // Rows go in outline order whatever the order they were picked in.
    select(sheet, sheet->model()->index(2, 0, issueRow));
    select(sheet, issueRow, QItemSelectionModel::Select);
    sheet->copyAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "Every line must have an amount. [O-02]\n  Location: /o:Order[1]/o:Line[2]\n  Pattern: order\n"
              "  Rule: order-line\n  Assertion: O-02\nRule: order-line");
}

TEST_F(ViewerWindowTest, ValidDocumentShowsAGreenDisabledDotAndNoSheet) {
    DocumentWindow* window = open("valid-order.xml");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#34C759"));
    EXPECT_FALSE(window->statusButton()->isEnabled());
    ASSERT_NE(window->resultSheet(), nullptr);
    EXPECT_FALSE(window->resultSheet()->isVisible());
    EXPECT_EQ(window->resultSheet()->summaryLabel()->text(), "Document is valid - No issues found");
}

TEST_F(ViewerWindowTest, DocumentNoSchemaFitsShowsAGreyClickableDotAndNoSheet) {
    DocumentWindow* window = open("catalogue.xml");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(dotColorShown(window->statusButton()), QColor("#8E8E93"));
    EXPECT_TRUE(window->statusButton()->isEnabled());
    ResultSheet* sheet = window->resultSheet();
    ASSERT_NE(sheet, nullptr);
    EXPECT_FALSE(sheet->isVisible());
    window->statusButton()->click();
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->summaryLabel()->text(), "Found 0 error(s) and 1 warning(s)");
    EXPECT_EQ(sheet->model()->index(0, 0).data(ResultItemModel::StatusColorRole).toInt(),
              static_cast<int>(QMDotColor::Orange));
}

TEST_F(ViewerWindowTest, StatusDotSitsAtTheTrailingEndOfTheMenuBar) {
    DocumentWindow* window = application.newWindow();
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
    delete window;
}

TEST_F(ViewerWindowTest, EachNewWindowCascadesFortyPoints) {
    DocumentWindow* first = application.newWindow();
    DocumentWindow* second = application.newWindow();
    EXPECT_EQ(second->geometry().topLeft() - first->geometry().topLeft(), QPoint(40, 40));
    delete first;
    delete second;
}

TEST_F(ViewerWindowTest, SecondValidationReplacesTheSheetContent) {
    DocumentWindow* window = open("invalid-order.xml");
    ASSERT_NE(window, nullptr);
    ResultSheet* sheet = window->resultSheet();
    sheet->outlineView()->expandAll();
    select(sheet, sheet->model()->index(0, 0, sheet->model()->index(0, 0)));
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
    struct Case {
        QStringList before;
        QString added;
        int maximum;
        QStringList after;
    };
    const Case cases[] = {
        {{}, "a", 10, {"a"}},
        {{"a", "b"}, "c", 10, {"c", "a", "b"}},
        {{"a", "b", "c"}, "b", 10, {"b", "a", "c"}},
        {{"a", "b", "c"}, "d", 3, {"d", "a", "b"}},
        {{"a"}, "", 10, {"a"}},
    };
    for (const auto& c : cases) EXPECT_EQ(withRecentFile(c.before, c.added, c.maximum), c.after) << c.added.toStdString();
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

TEST_F(ViewerWindowTest, DroppedFilesOpen) {
    DocumentWindow* window = application.newWindow();
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(files.path("valid-order.xml"))});
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    // Straight to the window: without a drag in progress the application would not
    // route a drop.
    static_cast<QObject*>(window)->event(&drop);
    EXPECT_TRUE(window->hasDocument());
    EXPECT_EQ(window->filePath(), QFileInfo(files.path("valid-order.xml")).canonicalFilePath());
    delete window;
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

}  // namespace
}  // namespace quillmark::viewer

namespace quillmark::viewer {
namespace {

QString corpusFile(const char* relative) { return QStringLiteral(QUILLMARK_CORPUS_DIR "/") + relative; }

// The element name of a location's last step: "/a[1]/ram:ID[2]" -> "ram:ID".
QString lastStepName(const QString& location) {
    QString step = location.section('/', -1);
    return step.left(step.indexOf('['));
}

class RealInvoiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QFileInfo(corpusFile("peppol/rules/sch")).isDir()) GTEST_SKIP() << "corpus not available";
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
