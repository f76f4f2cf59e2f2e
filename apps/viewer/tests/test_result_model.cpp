// The outline's item model and its cells: structure checked by Qt's model tester
// through every change of result, data per row, and row heights.

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QTreeView>

#include "result_cell_delegate.h"
#include "result_item_model.h"
#include "../../../tests/ui/ui_test_helpers.h"
#include "viewer_fixtures.h"

namespace quillmark::viewer {
namespace {

using quillmark::testing::makeResult;

// An issue with a message, a location and a rule.
QMValidationError issue(std::string message, std::string location, std::string rule) {
    return quillmark::testing::makeIssue(std::move(message), std::move(location), "", std::move(rule));
}

// Collects what the model tester complains about.
class TesterMessages {
public:
    TesterMessages() { previous_ = qInstallMessageHandler(&TesterMessages::handle); }
    ~TesterMessages() { qInstallMessageHandler(previous_); }
    static QStringList& messages() {
        static QStringList list;
        return list;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type != QtDebugMsg) messages() << message;
    }
    QtMessageHandler previous_;
};

class ResultModelTest : public ::testing::Test {
protected:
    void show(const QMValidationResult& result) {
        model.beginResultChange();
        controller.displayResult(result, "order.xml");
        model.endResultChange();
    }
    testing::EnglishTexts english;
    QMValidationResultWindowController controller;
    ResultItemModel model{&controller};
};

TEST_F(ResultModelTest, PassesTheModelTesterThroughChangesOfResult) {
    TesterMessages messages;
    TesterMessages::messages().clear();
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Warning);
    QTreeView view;
    view.setModel(&model);

    show(makeResult({issue("[R1] one", "/a[1]", "r1"), issue("two", "", "")}, {issue("three", "/a[1]/b[2]", "")}));
    view.expandAll();
    view.selectionModel()->select(model.index(0, 0, model.index(0, 0)), QItemSelectionModel::Select);
    show(makeResult({}, {}, std::vector<std::string>{"/x/a.sch", "/y/b.xsd"}));
    show(makeResult({}, {}));
    show(makeResult({issue("only", "/a[1]", "rule")}, {}));
    view.expandAll();
    EXPECT_TRUE(TesterMessages::messages().isEmpty()) << TesterMessages::messages().join("\n").toStdString();
}

TEST_F(ResultModelTest, RowsAndTheirTexts) {
    show(makeResult({issue("[R1] - First", "/a[1]", "r1")}, {issue("Second", "", "")}));
    ASSERT_EQ(model.rowCount(), 2);
    const QModelIndex first = model.index(0, 0);
    EXPECT_EQ(first.data().toString(), "First [R1]");
    EXPECT_EQ(first.data(ResultItemModel::StatusColorRole).toInt(), static_cast<int>(QMDotColor::Red));
    EXPECT_EQ(model.index(1, 0).data(ResultItemModel::StatusColorRole).toInt(), static_cast<int>(QMDotColor::Orange));

    ASSERT_EQ(model.rowCount(first), 2);
    EXPECT_EQ(model.index(0, 0, first).data().toString(), "Location: /a[1]");
    EXPECT_EQ(model.index(1, 0, first).data().toString(), "Rule: r1");
    EXPECT_EQ(model.parent(model.index(1, 0, first)), first);
    EXPECT_FALSE(model.index(0, 0, first).data(ResultItemModel::StatusColorRole).isValid());
    EXPECT_FALSE(model.hasChildren(model.index(1, 0)));

    // Indexes outside the rows lead nowhere.
    EXPECT_FALSE(model.index(2, 0).isValid());
    EXPECT_FALSE(model.index(0, 1).isValid());
    EXPECT_FALSE(model.index(0, 0, model.index(0, 0, first)).isValid());
    EXPECT_EQ(model.itemForIndex(QModelIndex()), nullptr);
}

TEST_F(ResultModelTest, RowHeightsFollowTheWidthOfTheOutline) {
    const std::string longLocation =
        "/rsm:CrossIndustryInvoice[1]/rsm:SupplyChainTradeTransaction[1]/ram:IncludedSupplyChainTradeLineItem[3]"
        "/ram:SpecifiedLineTradeSettlement[1]/ram:SpecifiedTradeSettlementLineMonetarySummation[1]";
    show(makeResult({issue("Message", longLocation, "r")}, {}));
    QTreeView view;
    view.setModel(&model);
    ResultCellDelegate delegate(&model, &view);
    const QModelIndex message = model.index(0, 0);
    const QModelIndex location = model.index(0, 0, message);
    const QModelIndex rule = model.index(1, 0, message);
    QStyleOptionViewItem option;

    view.resize(900, 400);
    view.show();
    EXPECT_EQ(delegate.sizeHint(option, message).height(), 24);
    // One line of the detail font, plus 8, is never below 20.
    const int oneLine = delegate.sizeHint(option, rule).height();
    EXPECT_GE(oneLine, 20);
    EXPECT_LE(oneLine, 24);
    const int wide = delegate.sizeHint(option, location).height();
    view.resize(300, 400);
    QApplication::processEvents();
    const int narrow = delegate.sizeHint(option, location).height();
    EXPECT_GT(wide, oneLine);
    EXPECT_GT(narrow, wide);
    EXPECT_EQ(delegate.sizeHint(option, rule).height(), oneLine);
    EXPECT_EQ(delegate.sizeHint(option, message).height(), 24);
}

TEST(WrappedText, LongWordsBreakAnywhere) {
    const QFont font = detailCellFont();
    const QString word(200, QChar('x'));
    const double oneLine = wrappedTextHeight(font, "x", 1000);
    EXPECT_GT(oneLine, 0);
    EXPECT_GT(wrappedTextHeight(font, word, 100), 3 * oneLine);
    EXPECT_EQ(wrappedTextHeight(font, "", 100), wrappedTextHeight(font, "", 10));
}

}  // namespace
}  // namespace quillmark::viewer
