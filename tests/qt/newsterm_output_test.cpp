// Printing and saving in the terminal: rows picked with the mouse and the keyboard, then the
// File menu and the view's buttons, checked on the PDF and the file they write.
#include <QAction>
#include <QFile>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/qt/dialog_service.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "apps/newsterm/main_window.h"
#include "headline_list/headline_columns.h"
#include "host/ui/sheet.h"
#include "news_view/news_ids.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/pdf_reader.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::waitUntil;

class NewstermOutputTest : public qttest::NewstermWindowTest {
protected:
    void SetUp() override {
        NewstermWindowTest::SetUp();
        ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == countFeed(today); }));
        ASSERT_TRUE(m_out.isValid());
        ui().qtDialogs().setSavePrompter([this](const qthost::QtDialogService::SaveQuestion& question) {
            m_questions.push_back(question);
            return m_nextPath;
        });
        ui().qtDialogs().setMessagePrompter([this](const qthost::QtDialogService::MessageQuestion& question) {
            m_messages.push_back(question.text);
            return QMessageBox::Ok;
        });
    }

    static bool today(const qttest::FeedHeadline& h) { return h.day == 1; }

    void clickRow(int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTableView* table = grid(news::kModeAllNews);
        ASSERT_TRUE(waitUntil([&] { return !title(news::kModeAllNews, row).isEmpty(); }));
        click(table->viewport(), table->visualRect(table->model()->index(row, news::kColTitleThree)).center(),
              Qt::LeftButton, modifiers);
    }
    int rowOf(const QString& headline) const {
        for (int row = 0; row < rowCount(news::kModeAllNews); ++row) {
            if (title(news::kModeAllNews, row) == headline) {
                return row;
            }
        }
        return -1;
    }
    std::vector<int> selection() const {
        std::vector<int> rows;
        sheet(news::kModeAllNews)->vGetAllSelectionNdx(rows);
        return rows;
    }
    QAction* fileAction(const QString& text) const {
        for (QAction* menu : window().menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text() == text) {
                    return action;
                }
            }
        }
        ADD_FAILURE() << "no menu item " << text.toStdString();
        return nullptr;
    }

    QTemporaryDir m_out;
    std::optional<QString> m_nextPath;
    std::vector<qthost::QtDialogService::SaveQuestion> m_questions;
    std::vector<QString> m_messages;
};

TEST_F(NewstermOutputTest, ThreeRowsPickedWithCtrlClickPrintToOnePdf) {
    ASSERT_TRUE(qttest::havePoppler()) << "poppler-utils is missing (scripts/setup installs it)";
    int longStory = -1;
    ASSERT_TRUE(waitUntil([&] { return (longStory = rowOf(QStringLiteral("T16-60 (2317)"))) >= 2; }));
    clickRow(0);
    clickRow(1, Qt::ControlModifier);
    clickRow(longStory, Qt::ControlModifier);
    ASSERT_EQ(selection(), (std::vector<int>{0, 1, longStory}));

    const QString pdf = m_out.filePath(QStringLiteral("three.pdf"));
    m_nextPath = m_out.filePath(QStringLiteral("three")); // the suffix is added
    QAction* toPdf = fileAction(QStringLiteral("列印成 PDF..."));
    ASSERT_NE(toPdf, nullptr);
    toPdf->trigger();
    ASSERT_EQ(m_questions.size(), 1u);
    EXPECT_EQ(m_questions[0].caption, QStringLiteral("列印成 PDF"));
    ASSERT_TRUE(QFile::exists(pdf));
    if (const QString copy = qEnvironmentVariable("NEWSTERM_TEST_PDF_COPY"); !copy.isEmpty()) {
        QFile::remove(copy);
        QFile::copy(pdf, copy); // for a person to look at
    }

    // Two short stories of a page each, then 120 paragraphs on three pages.
    const std::vector<qttest::PdfPage> pages = qttest::readPdf(pdf, m_out.path());
    ASSERT_EQ(pages.size(), 5u);
    const char* const numbers[] = {"1", "1", "1", "2", "3"};
    const QString titles[] = {title(news::kModeAllNews, 0), title(news::kModeAllNews, 1),
                              QStringLiteral("T16-60 (2317)"), QStringLiteral("T16-60 (2317)"),
                              QStringLiteral("T16-60 (2317)")};
    for (std::size_t p = 0; p < pages.size(); ++p) {
        SCOPED_TRACE("page " + std::to_string(p + 1));
        EXPECT_EQ(pages[p].footerNumber(), QString::fromLatin1(numbers[p]));
        EXPECT_TRUE(pages[p].text().contains(titles[p])) << pages[p].text().toStdString();
        EXPECT_NE(pages[p].find(QStringLiteral("新聞詳細資料")), nullptr);
    }
    EXPECT_TRUE(pages[4].text().contains(QStringLiteral("T16-60 (2317) 第120段")));
    EXPECT_TRUE(window().statusBar()->currentMessage().contains(QStringLiteral("three.pdf")));
}

TEST_F(NewstermOutputTest, ShiftArrowsWidenTheSelectionAndTheSaveButtonWritesIt) {
    clickRow(2);
    pressKey(Qt::Key_Down, Qt::ShiftModifier);
    pressKey(Qt::Key_Down, Qt::ShiftModifier);
    ASSERT_EQ(selection(), (std::vector<int>{2, 3, 4}));

    const QString path = m_out.filePath(QStringLiteral("news.txt"));
    m_nextPath = path;
    auto* save = widget<QPushButton>(news::kIdSaveAsButton);
    ASSERT_NE(save, nullptr);
    click(save);
    ASSERT_EQ(m_questions.size(), 1u);
    EXPECT_EQ(m_questions[0].defaultSuffix, QStringLiteral("txt"));
    EXPECT_TRUE(m_questions[0].filter.contains(QStringLiteral("*.txt")));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString saved = qthost::toQString(file.readAll().toStdString());
    for (int row = 2; row <= 4; ++row) {
        EXPECT_TRUE(saved.contains(QStringLiteral("新聞標題：") + title(news::kModeAllNews, row))) << row;
    }
    EXPECT_EQ(saved.count(QString(80, QLatin1Char('-'))), 3);
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(NewstermOutputTest, AFileThatCannotBeWrittenIsReportedAndNothingElseChanges) {
    const QString kept = m_out.filePath(QStringLiteral("kept.txt"));
    clickRow(0);
    m_nextPath = kept;
    QAction* saveNews = fileAction(QStringLiteral("另存新聞(&S)..."));
    ASSERT_NE(saveNews, nullptr);
    saveNews->trigger();
    QFile first(kept);
    ASSERT_TRUE(first.open(QIODevice::ReadOnly));
    const QByteArray before = first.readAll();
    first.close();

    // A folder that does not exist: the user hears of it; the file saved before is untouched.
    m_nextPath = m_out.filePath(QStringLiteral("missing/news.txt"));
    clickRow(1);
    saveNews->trigger();
    ASSERT_EQ(m_messages.size(), 1u);
    EXPECT_TRUE(m_messages[0].contains(QStringLiteral("無法建立檔案"))) << m_messages[0].toStdString();
    EXPECT_TRUE(m_messages[0].contains(QStringLiteral("missing/news.txt")));
    ASSERT_TRUE(first.open(QIODevice::ReadOnly));
    EXPECT_EQ(first.readAll(), before);
    EXPECT_FALSE(QFile::exists(m_out.filePath(QStringLiteral("missing"))));
}

} // namespace
