// The printed page: dialog, document, font, frames, footer, heading, title and body lines, on
// a US Letter printer at 300 dots per inch, where millimetres do not come out round.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "host/ui/messages.h"
#include "output/news_print.h"

namespace {

using headless::DrawOp;
using host::ui::Rect;

// Letter, 300 dpi: 2550 x 3300 dots on 216 x 279 mm.
constexpr headless::DeviceCaps kLetter300{2550, 3300, 216, 279, 300, true};

class PrintLayoutTest : public ::testing::Test {
protected:
    PrintLayoutTest() {
        m_backend.install();
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_NEWSPRINT", "PRINTOUT");
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_DETAILED_NEWS_DATA", "HEADING-12ABxyz");
        m_backend.language().set("IDS_SINGLETON-STRING_FONTNAME", "Face");
        m_host.dialogs().setPrinterCaps(kLetter300);
    }
    ~PrintLayoutTest() override { m_backend.uninstall(); }

    static NewsPrintItem item(const CString& title, const CString& story) {
        NewsPrintItem item;
        item.m_strTitle = title;
        item.m_strStory = story;
        item.m_byHasTitle = 1;
        item.m_byHasStory = 1;
        return item;
    }
    // Prints and returns the printout (null when nothing was printed).
    const headless::DrawingLog* print(const NewsPrintList& items, host::ui::Window* parent = nullptr) {
        m_host.dialogs().answerPrint();
        TRVNewsPrint printer;
        printer.Print(items, parent);
        const auto& records = m_host.dialogs().records();
        return records.empty() ? nullptr : records.back().printJob.get();
    }
    static std::vector<std::string> describe(const headless::DrawingLog::Page& page) {
        std::vector<std::string> lines;
        for (const DrawOp& op : page.ops) {
            lines.push_back(headless::DrawingLog::describe(op));
        }
        return lines;
    }

    headless::HeadlessHost m_host; // 2024-01-02 09:00 Taipei
    headless::ScriptedBackend m_backend;
};

TEST_F(PrintLayoutTest, APageIsFramedTitledAndNumberedInMillimetresOfThePrinter) {
    const headless::DrawingLog* log = print({item("TITLE", "\r\nLINE 1\r\nLINE 2")});
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(m_host.dialogs().records().back().flags, 0x00100018u)
        << "PD_NOPAGENUMS | PD_COLLATE | PD_HIDEPRINTTOFILE";
    EXPECT_EQ(log->documentName, "PRINTOUT");
    EXPECT_TRUE(log->docEnded);
    EXPECT_EQ(log->errors, std::vector<std::string>{});
    ASSERT_EQ(log->pages.size(), 1u);
    // mm to dots: vertical n * 3300 / 279, horizontal n * 2550 / 216, rounded. Margins 5 mm
    // (half of 10 mm: 59), inset 1 mm (12), footer 10 mm (118), date gap 2 mm (24), date top
    // 6 mm (71). A line is 54 dots (a 50-dot font in the headless metrics); a byte 25 dots.
    const std::vector<std::string> expected{
        "frame 47,47-2503,3253 #000000",    "frame 59,59-2491,3111 #000000",
        "frame 59,3123-2491,3241 #000000",  "drawtext 2067,3170-2467,3224 \"2024/01/02 09:00\"",
        "drawtext 71,3123-2467,3241 \"1\"", "frame 71,71-2479,837 #000000",
        "text 1020,0 \"HEADING-12AB\"",     "text 83,125 \"TITLE\"",
        "frame 71,849-2479,3099 #000000",   "text 83,903 \"\"",
        "text 83,957 \"LINE 1\"",           "text 83,1011 \"LINE 2\"",
    };
    EXPECT_EQ(describe(log->pages[0]), expected);
    const DrawOp& date = log->pages[0].ops[3];
    EXPECT_EQ(date.format, host::ui::win::DT_LEFT | host::ui::win::DT_VCENTER | host::ui::win::DT_SINGLELINE);
    const DrawOp& number = log->pages[0].ops[4];
    EXPECT_EQ(number.format, host::ui::win::DT_CENTER | host::ui::win::DT_VCENTER | host::ui::win::DT_SINGLELINE);
    EXPECT_EQ(number.color, 0x000000u);
    EXPECT_EQ(number.bkColor, 0xFFFFFFu);
    EXPECT_EQ(number.font.faceName, "Face");
    EXPECT_EQ(number.font.height, -50) << "12 points at 300 dots per inch";
    EXPECT_EQ(number.font.weight, 400);
    EXPECT_EQ(number.font.charSet, 136);
}

TEST_F(PrintLayoutTest, LongTitlesAndLongLines) {
    const std::string title = std::string(80, 'a') + std::string(80, 'b') + "TAIL";
    const std::string story = std::string(79, 'x') + "\xA5\x78" + "y" + std::string(100, 'z');
    const headless::DrawingLog* log = print({item(title, story)});
    ASSERT_NE(log, nullptr);
    std::vector<std::pair<host::ui::Point, std::string>> texts;
    for (const DrawOp* op : log->texts(0)) {
        if (op->kind == DrawOp::Kind::kTextOut) {
            texts.emplace_back(op->from, op->text);
        }
    }
    ASSERT_EQ(texts.size(), 6u);
    // Two title pieces a line apart; the tail is not printed.
    EXPECT_EQ(texts[1], std::make_pair(host::ui::Point{83, 125}, std::string(80, 'a')));
    EXPECT_EQ(texts[2], std::make_pair(host::ui::Point{83, 179}, std::string(80, 'b')));
    EXPECT_EQ(texts[3].second, std::string(79, 'x')) << "the 80th byte begins a character";
    EXPECT_EQ(texts[4].second, "\xA5\x78" + std::string("y") + std::string(77, 'z'));
    EXPECT_EQ(texts[5].second, std::string(23, 'z'));
}

TEST_F(PrintLayoutTest, NoPrinterNoPrintout) {
    // Cancel: nothing drawn, nothing said.
    m_host.dialogs().cancelPrint();
    TRVNewsPrint printer;
    printer.Print({item("T", "S")}, nullptr);
    ASSERT_EQ(m_host.dialogs().records().size(), 1u);
    EXPECT_EQ(m_host.dialogs().records()[0].printJob, nullptr);
    EXPECT_EQ(m_host.dialogs().unexpectedCount(), 0u);

    // A printer that cannot start the document: no page, no end of a document never begun.
    m_host.dialogs().setPrinterCaps(headless::DeviceCaps{2550, 3300, 216, 279, 300, false});
    const headless::DrawingLog* log = print({item("T", "S")});
    ASSERT_NE(log, nullptr);
    EXPECT_TRUE(log->pages.empty());
    EXPECT_FALSE(log->docEnded);
    EXPECT_TRUE(std::find(log->calls.begin(), log->calls.end(), "endDoc") == log->calls.end());

    // An item without story text has no page.
    m_host.dialogs().setPrinterCaps(kLetter300);
    log = print({item("EMPTY", "")});
    ASSERT_NE(log, nullptr);
    EXPECT_TRUE(log->pages.empty());
    EXPECT_TRUE(log->docEnded);
}

TEST_F(PrintLayoutTest, TheFaceNameIsCutTo31BytesWithoutSplittingACharacter) {
    std::string face;
    for (int i = 0; i < 16; ++i) {
        face += "\xB2\xD3"; // 細
    }
    m_backend.language().set("IDS_SINGLETON-STRING_FONTNAME", face);
    const headless::DrawingLog* log = print({item("T", "S")});
    ASSERT_NE(log, nullptr);
    ASSERT_FALSE(log->pages.empty());
    EXPECT_EQ(log->texts(0)[0]->font.faceName, face.substr(0, 30));
}

TEST_F(PrintLayoutTest, TheDialogBelongsToTheGivenWindowOrElseToTheParentView) {
    host::ui::Window* owner = m_host.ui().createWindow(nullptr, 77, Rect{0, 0, 100, 100}, nullptr);
    print({item("T", "S")}, owner);
    EXPECT_EQ(m_host.dialogs().records().back().ownerId, 77);
    print({item("T", "S")});
    EXPECT_EQ(m_host.dialogs().records().back().ownerId, 0) << "no parent view, no owner";
}

} // namespace
