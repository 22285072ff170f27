// Printed news as a reader gets it: the printer job writes a PDF through Qt, and the Debian
// poppler tools read it back (text with positions, fonts, and a rendered page).
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "adapters/headless/scripted_backend.h"
#include "adapters/qt/dialog_service.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/framework/clock.h"
#include "host/framework/host_context.h"
#include "output/news_print.h"
#include "tests/qt/pdf_reader.h"

namespace {

using qttest::PdfPage;
using qttest::PdfWord;

constexpr std::int64_t kNoon = 1704168000; // 2024-01-02 12:00:00 in Taipei

class FixedClock final : public host::Clock {
public:
    std::int64_t nowMs() const override { return kNoon * 1000; }
};

class PrintPdfTest : public ::testing::Test {
protected:
    PrintPdfTest() {
        m_backend.language().parse("IDS_NEWSCTRLVIEW_STRING_NEWSPRINT=新聞列印\n"
                                   "IDS_NEWSCTRLVIEW_STRING_DETAILED_NEWS_DATA=新聞詳細資料\n"
                                   "IDS_SINGLETON-STRING_FONTNAME=細明體\n");
        m_backend.install();
        host::HostContext::current() = host::HostContext{&m_ui, &m_clock, nullptr};
    }
    ~PrintPdfTest() override {
        host::HostContext::current() = host::HostContext{};
        m_backend.uninstall();
    }

    static NewsPrintItem item(std::int32_t seqNo, const QString& title, const QString& story) {
        NewsPrintItem item;
        item.m_entry.m_byService = 16;
        item.m_entry.m_iSeqNo = seqNo;
        item.m_strTitle = qthost::fromQString(title);
        item.m_strStory = qthost::fromQString(story);
        item.m_byHasTitle = 1;
        item.m_byHasStory = 1;
        return item;
    }

    FixedClock m_clock;
    qthost::QtUiHost m_ui;
    headless::ScriptedBackend m_backend;
    QTemporaryDir m_dir;
};

TEST_F(PrintPdfTest, TwoStoriesReadBackWithPopplerPageByPage) {
    ASSERT_TRUE(qttest::havePoppler()) << "poppler-utils is missing (scripts/setup installs it)";
    // A story of 100 lines (after the blank line and the date line the paragraphs begin), then
    // a short one. The face the language names is not installed: Noto Sans CJK TC stands in.
    QString longStory = QStringLiteral("\r\n2024/01/ 2 08:40:00");
    for (int line = 1; line <= 100; ++line) {
        longStory += QStringLiteral("第%1行 聯發科法說會內容\r\n").arg(line);
    }
    const NewsPrintList items{item(2, QStringLiteral("聯發科法說會"), longStory),
                              item(1, QStringLiteral("台積電一月營收創新高"), QStringLiteral("\r\n營收年增"))};
    const QString pdf = m_dir.filePath(QStringLiteral("news.pdf"));
    m_ui.qtDialogs().printNextToPdf(pdf);
    TRVNewsPrint printer;
    printer.Print(items, nullptr);

    const std::vector<PdfPage> pages = qttest::readPdf(pdf, m_dir.path());
    ASSERT_EQ(pages.size(), 4u) << "100 lines and a blank line on 49-line pages, then the second story";
    const char* const expectedNumbers[] = {"1", "2", "3", "1"};
    for (std::size_t p = 0; p < pages.size(); ++p) {
        SCOPED_TRACE("page " + std::to_string(p + 1));
        EXPECT_EQ(pages[p].footerNumber(), QString::fromLatin1(expectedNumbers[p]));
        const PdfWord* heading = pages[p].find(QStringLiteral("新聞詳細資料"));
        ASSERT_NE(heading, nullptr);
        EXPECT_LT(heading->yMin, 10.0) << "the heading sits on the top edge of the page";
        EXPECT_NE(pages[p].find(QStringLiteral("2024/01/02")), nullptr) << "footer date";
    }
    EXPECT_NE(pages[0].find(QStringLiteral("聯發科法說會")), nullptr);
    EXPECT_TRUE(pages[0].text().contains(QStringLiteral("第1行")));
    EXPECT_TRUE(pages[0].text().contains(QStringLiteral("第48行")));
    EXPECT_FALSE(pages[0].text().contains(QStringLiteral("第49行")));
    EXPECT_TRUE(pages[1].text().contains(QStringLiteral("第49行")));
    EXPECT_TRUE(pages[2].text().contains(QStringLiteral("第100行")));
    EXPECT_NE(pages[3].find(QStringLiteral("台積電一月營收創新高")), nullptr);
    EXPECT_TRUE(pages[3].text().contains(QStringLiteral("營收年增")));

    // Body lines step by the character height (12 points): 48 lines are 47 steps apart.
    const PdfWord* first = pages[0].find(QStringLiteral("第1行"));
    const PdfWord* last = pages[0].find(QStringLiteral("第48行"));
    ASSERT_TRUE(first != nullptr && last != nullptr);
    EXPECT_NEAR(last->yMin - first->yMin, 47 * 12.0, 2.0);

    const QString fonts = qttest::runTool(QStringLiteral("pdffonts"), {pdf});
    EXPECT_TRUE(fonts.contains(QStringLiteral("NotoSansCJK"))) << fonts.toStdString();

    // Rendered, the Chinese title and a body line are ink, not an empty space.
    const QImage image = qttest::renderPage(pdf, 1, m_dir.path());
    ASSERT_FALSE(image.isNull());
    EXPECT_GT(qttest::inkIn(image, *pages[0].find(QStringLiteral("聯發科法說會"))), 20);
    EXPECT_GT(qttest::inkIn(image, *first), 20);
}

TEST_F(PrintPdfTest, APrinterThatCannotStartTheDocumentPrintsNothing) {
    // A PDF in a folder that does not exist: the document cannot start, and printing ends
    // without a word.
    const QString pdf = m_dir.filePath(QStringLiteral("missing/news.pdf"));
    m_ui.qtDialogs().printNextToPdf(pdf);
    TRVNewsPrint printer;
    printer.Print({item(1, QStringLiteral("標題"), QStringLiteral("內容"))}, nullptr);
    EXPECT_FALSE(QFile::exists(pdf));
    EXPECT_FALSE(m_ui.qtDialogs().isPrintToPdfPending());
}

} // namespace
