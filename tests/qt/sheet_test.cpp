// The grid: bookkeeping at 100k rows, batched structural changes, geometry the module reads,
// and the messages it forwards to its view.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QTableView>
#include <QTest>
#include <QToolTip>
#include <QWheelEvent>
#include <memory>

#include <gtest/gtest.h>

#include "adapters/qt/convert.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/sheet_window.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/registered_messages.h"
#include "tests/qt/qt_test_support.h"

namespace {

namespace win = host::ui::win;
using host::ui::Rect;
using qthost::QtUiHost;
using qttest::RecordingHandler;

// "prefix" + number; appending keeps GCC's optimiser from a false overlap warning.
std::string label(const char* prefix, int n) {
    std::string text(prefix);
    text += std::to_string(n);
    return text;
}

constexpr int kRowHeight = 18;
constexpr int kHeaderHeight = 20;

class SheetTest : public ::testing::Test {
protected:
    void SetUp() override {
        view = host.createWindow(nullptr, 1, Rect{0, 0, 420, 320}, &handler);
        grid = view->createSheet(1101, Rect{10, 10, 410, 310});
        host::ui::CSheetBuilder builder;
        builder.m_iHeaderRowHeight = kHeaderHeight;
        builder.m_iRowHeight = kRowHeight;
        grid->bCreateSheet(builder);
        for (int c = 0; c < 3; ++c) {
            grid->iInsertCol(c, 100);
        }
        sheet = static_cast<qthost::QtSheet*>(grid);
        model = &sheet->model();
        QObject::connect(model, &QAbstractItemModel::rowsInserted, model,
                         [this](const QModelIndex&, int first, int last) {
                             inserts.push_back({first, last});
                         });
        QObject::connect(model, &QAbstractItemModel::modelReset, model, [this] { ++resets; });
        qttest::showActive(QtUiHost::widgetOf(view));
        handler.clear();
    }
    void TearDown() override {
        view->destroy();
        qttest::drainEvents();
    }
    // Waits for the model's next beat to tell the view what changed.
    void settle() {
        ASSERT_TRUE(qttest::waitUntil([&] { return !model->hasPendingChanges(); }, 2000));
        qttest::drainEvents();
    }
    QTableView& table() const { return sheet->tableView(); }
    QString shown(int viewRow, int column) const { return model->index(viewRow, column).data().toString(); }
    // A point in grid client coordinates inside the given visible row.
    QPoint rowPoint(int visibleRow) const {
        const QPoint inViewport(30, visibleRow * kRowHeight + kRowHeight / 2);
        return table().viewport()->mapTo(&table(), inViewport);
    }

    QtUiHost host;
    RecordingHandler handler;
    host::ui::Window* view = nullptr;
    host::ui::CSuperSheetWnd* grid = nullptr;
    qthost::QtSheet* sheet = nullptr;
    qthost::SheetModel* model = nullptr;
    std::vector<std::pair<int, int>> inserts;
    int resets = 0;
};

TEST_F(SheetTest, AHundredThousandRowsAndAThousandTopInsertsReachTheViewAsOneChangeEach) {
    grid->vAddRows(100000);
    EXPECT_EQ(grid->iGetRowCount(), 100000u) << "the module sees its rows at once";
    grid->vSetCellText(99999, 2, "last");
    settle();
    EXPECT_EQ(model->rowCount(), 100000);
    EXPECT_EQ(inserts.size() + static_cast<std::size_t>(resets), 1u);
    EXPECT_EQ(grid->cszGetCellText(99999, 2), "last");
    EXPECT_EQ(grid->cszGetCellText(5, 2), "") << "rows never written hold nothing";

    inserts.clear();
    resets = 0;
    for (int i = 0; i < 1000; ++i) {
        grid->vInsertRow(0);
        grid->vSetCellText(0, 0, label("push ", i));
    }
    EXPECT_EQ(grid->iGetRowCount(), 101000u);
    EXPECT_EQ(grid->cszGetCellText(0, 0), "push 999");
    EXPECT_EQ(grid->cszGetCellText(100999, 2), "last");
    EXPECT_EQ(model->rowCount(), 100000) << "the view hears of it once per beat";
    settle();
    ASSERT_EQ(inserts.size(), 1u);
    EXPECT_EQ(inserts[0], (std::pair<int, int>{0, 999}));
    EXPECT_EQ(resets, 0);
    EXPECT_EQ(model->rowCount(), 101000);
    EXPECT_EQ(shown(0, 0), QStringLiteral("push 999"));
    EXPECT_EQ(shown(999, 0), QStringLiteral("push 0"));
    EXPECT_EQ(shown(100999, 2), QStringLiteral("last"));
}

TEST_F(SheetTest, BeforeTheBatchIsPublishedTheViewStillSeesEachRowsOwnCells) {
    grid->vAddRows(10);
    for (int r = 0; r < 10; ++r) {
        grid->vSetCellText(static_cast<std::size_t>(r), 0, label("r", r));
    }
    settle();
    grid->vInsertRow(0);
    grid->vInsertRow(0);
    grid->vDeleteRow(6); // old row 4
    EXPECT_EQ(grid->cszGetCellText(2, 0), "r0");
    EXPECT_EQ(shown(0, 0), QStringLiteral("r0")) << "view row 0 is still the old row 0";
    EXPECT_EQ(shown(4, 0), QString()) << "a deleted row shows nothing until the view hears of it";
    EXPECT_EQ(shown(9, 0), QStringLiteral("r9"));
    settle();
    EXPECT_EQ(model->rowCount(), 11);
    EXPECT_EQ(shown(0, 0), QString());
    EXPECT_EQ(shown(2, 0), QStringLiteral("r0"));
    EXPECT_EQ(shown(6, 0), QStringLiteral("r5"));

    // Many scattered changes in one turn become one reset.
    inserts.clear();
    for (int i = 0; i < 40; ++i) {
        grid->vInsertRow(static_cast<std::size_t>(i * 3 % 11));
        grid->vDeleteRow(5);
    }
    settle();
    EXPECT_EQ(resets, 1);
    EXPECT_TRUE(inserts.empty());
    EXPECT_EQ(model->rowCount(), 11);
}

TEST_F(SheetTest, SelectionFocusAndStripesFollowTheirRows) {
    grid->vAddRows(20);
    grid->vSetActiveSelection(5, 1);
    EXPECT_EQ(grid->cptGetFocusNdx(), (host::ui::Point{1, 5}));
    const COLORREF stripe5 = model->rowBackground(5);
    grid->vInsertRow(0);
    grid->vInsertRow(3);
    std::vector<int> selected;
    grid->vGetAllSelectionNdx(selected);
    EXPECT_EQ(selected, std::vector<int>{7});
    EXPECT_EQ(grid->cptGetFocusNdx().y, 7);
    EXPECT_EQ(model->rowBackground(6), stripe5) << "a row keeps its stripe when rows arrive at the top";
    EXPECT_NE(model->rowBackground(6), model->rowBackground(7));
    grid->vDeleteRow(7);
    EXPECT_EQ(grid->cptGetFocusNdx().y, -1) << "deleting the focus row leaves no focus row";
    grid->vGetAllSelectionNdx(selected);
    EXPECT_TRUE(selected.empty());
    grid->vSetCellText(500, 0, "outside");
    EXPECT_EQ(grid->cszGetCellText(500, 0), "");
}

TEST_F(SheetTest, FirstVisibleRowRowsPerPageAndHitTestingAreWhatTheUserSees) {
    grid->vAddRows(1000);
    settle();
    const int perPage = grid->iGetRowsPerPage();
    EXPECT_EQ(perPage, table().viewport()->height() / kRowHeight);
    EXPECT_GT(perPage, 10);
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 0);

    grid->vAutoVerScrolling(500);
    const int first = grid->iGetFirstVisibleRow();
    EXPECT_LE(first, 500);
    EXPECT_GT(first + perPage, 500);
    EXPECT_EQ(table().rowAt(0), first);
    EXPECT_EQ(grid->iCalcRowNdx(host::ui::Point{rowPoint(2).x(), rowPoint(2).y()}), first + 2);
    EXPECT_EQ(grid->iCalcRowNdx(host::ui::Point{30, kHeaderHeight / 2}), -1) << "the header row is no row";
    EXPECT_TRUE(handler.handled(win::WM_VSCROLL).empty()) << "the program's own scrolling is silent";

    // A wheel turn is the user's: the view hears the new first row.
    const QPoint at = table().viewport()->rect().center();
    QWheelEvent wheel(at, table().viewport()->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(table().viewport(), &wheel);
    const auto scrolls = handler.handled(win::WM_VSCROLL);
    ASSERT_FALSE(scrolls.empty());
    EXPECT_EQ(host::ui::LOWORD(scrolls.back().message.wParam), win::SB_THUMBTRACK);
    EXPECT_EQ(static_cast<int>(host::ui::HIWORD(scrolls.back().message.wParam)), grid->iGetFirstVisibleRow());
    EXPECT_GT(grid->iGetFirstVisibleRow(), first);
    EXPECT_EQ(scrolls.back().message.lParam, reinterpret_cast<host::ui::LPARAM>(grid));

    grid->vResetScroll();
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 0);
}

TEST_F(SheetTest, MouseMessagesReachTheViewMarkedAsForwardedByTheGrid) {
    grid->vAddRows(50);
    settle();
    const QPoint third = table().viewport()->mapFrom(&table(), rowPoint(3));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, third);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, third);
    QTest::mouseRelease(table().viewport(), Qt::LeftButton, {}, third);
    const auto dbl = handler.handled(win::WM_LBUTTONDBLCLK);
    ASSERT_EQ(dbl.size(), 1u);
    EXPECT_EQ(dbl[0].message.wParam & win::kGridForwarded, win::kGridForwarded);
    EXPECT_EQ(dbl[0].message.wParam & win::MK_LBUTTON, win::MK_LBUTTON);
    EXPECT_EQ(dbl[0].message.target, grid);
    EXPECT_EQ(host::ui::GET_Y_LPARAM(dbl[0].message.lParam), rowPoint(3).y()) << "grid client coordinates";
    EXPECT_EQ(grid->cptGetFocusNdx().y, 3);
    EXPECT_TRUE(grid->bHasFocus());
    const auto up = handler.handled(win::WM_LBUTTONUP);
    ASSERT_FALSE(up.empty());
    EXPECT_EQ(up.back().message.wParam, win::kGridForwarded);

    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ShiftModifier,
                      table().viewport()->mapFrom(&table(), rowPoint(6)));
    std::vector<int> selected;
    grid->vGetAllSelectionNdx(selected);
    EXPECT_EQ(selected, (std::vector<int>{3, 4, 5, 6}));

    const QPoint global = table().mapToGlobal(rowPoint(1));
    QContextMenuEvent menu(QContextMenuEvent::Mouse, table().viewport()->mapFrom(&table(), rowPoint(1)), global);
    QApplication::sendEvent(table().viewport(), &menu);
    const auto context = handler.handled(win::WM_CONTEXTMENU);
    ASSERT_EQ(context.size(), 1u);
    EXPECT_EQ(context[0].message.wParam, reinterpret_cast<host::ui::WPARAM>(grid));
    EXPECT_EQ(host::ui::GET_X_LPARAM(context[0].message.lParam), global.x());
}

TEST_F(SheetTest, KeysPassTheViewFirstThenTheGridNavigatesOrForwardsThem) {
    grid->vAddRows(100);
    settle();
    grid->setFocus();
    ASSERT_TRUE(grid->bHasFocus());
    grid->vSetActiveSelection(10, 0);
    QTest::keyClick(&table(), Qt::Key_Down);
    const auto offered = handler.preTranslated(win::WM_KEYDOWN);
    ASSERT_EQ(offered.size(), 1u);
    EXPECT_EQ(offered[0].message.wParam, win::VK_DOWN);
    EXPECT_EQ(offered[0].message.target, grid);
    EXPECT_EQ(grid->cptGetFocusNdx().y, 11);
    EXPECT_TRUE(handler.handled(win::WM_KEYDOWN).empty()) << "navigation keys stay with the grid";

    handler.consumeKeys = {win::VK_DOWN};
    QTest::keyClick(&table(), Qt::Key_Down);
    EXPECT_EQ(grid->cptGetFocusNdx().y, 11) << "the view consumed it";

    QTest::keyClick(&table(), Qt::Key_Return);
    const auto forwarded = handler.handled(win::WM_KEYDOWN);
    ASSERT_EQ(forwarded.size(), 1u);
    EXPECT_EQ(forwarded[0].message.wParam, win::VK_RETURN);
    EXPECT_EQ(forwarded[0].message.target, grid);

    // The module sends the keys it acts on at key-up to the grid as key-downs.
    grid->sendMessage(win::WM_KEYDOWN, win::VK_NEXT);
    EXPECT_EQ(grid->cptGetFocusNdx().y, 11 + grid->iGetRowsPerPage());
    grid->sendMessage(win::WM_KEYDOWN, win::VK_END);
    EXPECT_EQ(grid->cptGetFocusNdx().y, 99);
    EXPECT_EQ(grid->iGetFirstVisibleRow() + grid->iGetRowsPerPage(), 100) << "the last row is scrolled into view";
}

TEST_F(SheetTest, ASizeChangeIsAnnouncedWithTheRegisteredMessage) {
    const unsigned changeSize = host::ui::RegisterWindowMessageA("RVMSG_CHANGESIZE");
    grid->move(Rect{0, 0, 300, 200});
    const auto changes = handler.handled(changeSize);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].message.wParam, reinterpret_cast<host::ui::WPARAM>(grid));
    EXPECT_EQ(grid->clientRect(), (Rect{0, 0, 300, 200}));
    EXPECT_EQ(table().verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
}

// A stream of pushes over many turns of the event loop reaches the view at the model's pace,
// not once per push: right after a publish the next change waits for the beat.
TEST_F(SheetTest, PushesInSeparateTurnsWaitForTheNextBeat) {
    grid->vAddRows(50);
    settle();
    QTest::qWait(qthost::SheetModel::kPublishIntervalMs + 10); // a quiet spell
    inserts.clear();
    QElapsedTimer elapsed;
    elapsed.start();
    grid->vInsertRow(0);
    qttest::drainEvents(); // a quiet grid shows the first push in the next turn
    ASSERT_EQ(inserts.size(), 1u);
    int turns = 0;
    for (; turns < 5 && elapsed.elapsed() < qthost::SheetModel::kPublishIntervalMs / 2; ++turns) {
        grid->vInsertRow(0);
        grid->vSetCellText(0, 0, label("push ", turns));
        QCoreApplication::processEvents();
    }
    if (elapsed.elapsed() < qthost::SheetModel::kPublishIntervalMs) {
        EXPECT_EQ(inserts.size(), 1u) << "published within the beat";
    }
    settle();
    ASSERT_EQ(inserts.size(), 2u) << "the rest came as one change";
    EXPECT_EQ(inserts[1], (std::pair<int, int>{0, turns - 1}));
    EXPECT_EQ(shown(0, 0), QString::fromStdString(label("push ", turns - 1)));
}

// Rows arriving at the top keep the rows a user scrolled to, or a focused row being read, in
// place; at the top of an idle grid they show.
TEST_F(SheetTest, RowsInsertedAboveKeepTheRowsInViewWhileScrolledAwayOrReading) {
    grid->vAddRows(300);
    for (int r = 0; r < 300; ++r) {
        grid->vSetCellText(static_cast<std::size_t>(r), 0, label("r", r));
    }
    settle();
    QScrollBar* bar = table().verticalScrollBar();

    // At the top, nobody reading: the new rows show.
    for (int i = 0; i < 3; ++i) {
        grid->vInsertRow(0);
    }
    settle();
    EXPECT_EQ(bar->value(), 0);
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 0);

    // Scrolled down to r50: five new rows above leave r50 at the top.
    grid->sendMessage(win::WM_VSCROLL, host::ui::MAKEWPARAM(win::SB_THUMBTRACK, 53), 0);
    ASSERT_EQ(shown(bar->value(), 0), QStringLiteral("r50"));
    for (int i = 0; i < 5; ++i) {
        grid->vInsertRow(0);
    }
    grid->vInsertRow(2); // a push below the newest ones lands above the view too
    settle();
    EXPECT_EQ(shown(bar->value(), 0), QStringLiteral("r50"));
    EXPECT_EQ(grid->cszGetCellText(static_cast<std::size_t>(grid->iGetFirstVisibleRow()), 0), "r50");

    // Back at the top, reading a focused row: new rows show above it until it would leave the
    // page; then it stays on screen, at the bottom.
    grid->sendMessage(win::WM_VSCROLL, host::ui::MAKEWPARAM(6, 0), 0); // SB_TOP
    ASSERT_EQ(bar->value(), 0);
    QtUiHost::widgetOf(grid)->setFocus();
    grid->vSetActiveSelection(4, 0);
    const CString reading = grid->cszGetCellText(4, 0);
    settle();
    grid->vInsertRow(0);
    grid->vSetCellText(0, 0, "new");
    settle();
    EXPECT_EQ(bar->value(), 0);
    EXPECT_EQ(shown(0, 0), QStringLiteral("new"));
    const int page = grid->iGetRowsPerPage();
    for (int i = 0; i < page; ++i) {
        grid->vInsertRow(0);
    }
    settle();
    const int focus = sheet->cptGetFocusNdx().y;
    EXPECT_EQ(grid->cszGetCellText(static_cast<std::size_t>(focus), 0), reading);
    EXPECT_GE(focus, grid->iGetFirstVisibleRow());
    EXPECT_LT(focus, grid->iGetFirstVisibleRow() + page) << "the row being read left the screen";
}

// A pushed row is marked and fades back to its stripe; rows of a fill never are. The mark
// moves with its row, and the fade keeps the beat going only while a mark lasts.
TEST_F(SheetTest, APushedRowFadesBackToItsStripeAndAFillIsNeverMarked) {
    // The grid may still publish while it is torn down, after this test's locals are gone.
    const auto clock = std::make_shared<std::int64_t>(1000);
    std::int64_t& now = *clock;
    model->setFadeClock([clock] { return *clock; });
    const auto background = [this](int viewRow) {
        return model->index(viewRow, 0).data(Qt::BackgroundRole).value<QColor>();
    };
    grid->vAddRows(6);
    settle();
    const QColor even = background(0);
    const QColor odd = background(1);
    for (int r = 0; r < 6; ++r) {
        EXPECT_EQ(model->fadeStrength(static_cast<std::size_t>(r)), 0.0) << "row " << r << " of the fill";
    }

    grid->vInsertRow(0);
    now += 2000;
    grid->vInsertRow(0); // the first pushed row is now row 1
    settle();
    EXPECT_DOUBLE_EQ(model->fadeStrength(0), qthost::SheetModel::kFadePeak);
    EXPECT_DOUBLE_EQ(model->fadeStrength(1), qthost::SheetModel::kFadePeak / 2);
    EXPECT_EQ(model->fadeStrength(2), 0.0);
    // Two pushes at the top keep the stripes where they were; the new rows are tinted.
    EXPECT_EQ(background(2), even);
    EXPECT_NE(background(0), even);
    EXPECT_NE(background(1), odd);
    // A selected row shows the selection, not the mark.
    grid->vSetActiveSelection(3, 0);
    const QColor selected = background(3);
    grid->vSetActiveSelection(0, 0);
    EXPECT_EQ(background(0), selected);
    grid->vSetActiveSelection(-1, 0);

    // While marks last, each publish asks for another repaint...
    int repaints = 0;
    const QObject counting; // ends the count with the test
    QObject::connect(model, &QAbstractItemModel::dataChanged, &counting, [&repaints] { ++repaints; });
    ASSERT_TRUE(qttest::waitUntil([&] { return repaints >= 2; }, 2000)) << "the fade does not move";
    // ... and once they ran out, one more shows the stripes and the beat stops.
    now += qthost::SheetModel::kFadeMs + 1;
    EXPECT_EQ(background(0), even);
    EXPECT_EQ(background(1), odd);
    QTest::qWait(3 * qthost::SheetModel::kPublishIntervalMs);
    const int settled = repaints;
    QTest::qWait(3 * qthost::SheetModel::kPublishIntervalMs);
    EXPECT_EQ(repaints, settled) << "the grid keeps repainting after the fade";

    // A new fill (a reload, another day) has no marks.
    now += 10;
    grid->vInsertRow(0);
    grid->vClearAllRows();
    grid->vAddRows(3);
    settle();
    EXPECT_EQ(model->fadeStrength(0), 0.0);
}

// Column widths, row and header heights follow the font size; a column is never narrower than
// its header text, a hidden column stays hidden, and the module reads back its own widths.
TEST_F(SheetTest, SizesFollowTheFontSizeAndHeadersAlwaysFit) {
    const QString longHeader = QStringLiteral("Category of the headline");
    grid->vSetHeaderText(0, qthost::fromQString(longHeader));
    const int needed = table().horizontalHeader()->fontMetrics().horizontalAdvance(longHeader);
    EXPECT_GT(table().columnWidth(0), needed) << "the header text is cut";
    EXPECT_EQ(grid->iGetColWidth(0), 100);
    grid->vSetColWidth(1, 0);
    grid->vSetHeaderText(1, "Hidden");
    EXPECT_EQ(table().columnWidth(1), 0);
    EXPECT_EQ(table().columnWidth(2), 100);

    struct FontScale {
        FontScale() { qthost::setFontScale(1.5); }
        ~FontScale() { qthost::setFontScale(1.0); }
        FontScale(const FontScale&) = delete;
        FontScale& operator=(const FontScale&) = delete;
    } larger;
    const int col = grid->iInsertCol(3, 60);
    grid->vSetRowHeight(kRowHeight);
    grid->vSetHeaderRowHeight(kHeaderHeight);
    EXPECT_EQ(table().columnWidth(col), 90);
    EXPECT_EQ(grid->iGetColWidth(col), 60) << "a stored width would grow with every start";
    EXPECT_EQ(table().verticalHeader()->defaultSectionSize(), 27);
    EXPECT_EQ(table().horizontalHeader()->height(), 30);
    // A column the user dragged is read back in the module's units.
    table().setColumnWidth(col, 150);
    EXPECT_EQ(grid->iGetColWidth(col), 100);
}

// A cell whose text is cut shows it whole in a tooltip; one that fits shows none.
TEST_F(SheetTest, OnlyACutCellShowsItsTextInATooltip) {
    grid->vAddRows(2);
    const std::string whole = "A headline far too long for a column of a hundred pixels";
    grid->vSetCellText(0, 0, whole);
    grid->vSetCellText(1, 0, "short");
    grid->vSetCellText(1, 1, whole);
    grid->vSetColWidth(1, 600);
    settle();
    const auto hover = [this](int viewRow, int column) {
        const QRect cell = table().visualRect(model->index(viewRow, column));
        QHelpEvent help(QEvent::ToolTip, cell.center(), table().viewport()->mapToGlobal(cell.center()));
        QCoreApplication::sendEvent(table().viewport(), &help);
    };
    hover(1, 0);
    EXPECT_FALSE(QToolTip::isVisible()) << "a short text needs no tooltip";
    hover(1, 1);
    EXPECT_FALSE(QToolTip::isVisible()) << "the text fits its wide column";
    hover(0, 0);
    ASSERT_TRUE(QToolTip::isVisible());
    EXPECT_EQ(QToolTip::text(), QString::fromStdString(whole));
    QToolTip::hideText();
    EXPECT_TRUE(qttest::waitUntil([] { return !QToolTip::isVisible(); }, 2000));
}

} // namespace
