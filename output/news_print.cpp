// The printer: the print dialog, the document and the page layout of every story.
#include "output/news_print.h"

#include <memory>
#include <string_view>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/base_views.h"
#include "host/framework/clock.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "host/ui/mul_div.h"
#include "host/ui/ui_host.h"
#include "output/news_output_text.h"

using host::ui::DeviceContext;
using host::ui::MulDiv;
using host::ui::Rect;
namespace win = host::ui::win;

namespace {

// PD_NOPAGENUMS | PD_COLLATE | PD_HIDEPRINTTOFILE: whole stories only, collated copies.
constexpr unsigned kPrintDialogFlags = 0x00100018;

constexpr const char* kDocumentNameKey = "IDS_NEWSCTRLVIEW_STRING_NEWSPRINT";
constexpr const char* kFontNameKey = "IDS_SINGLETON-STRING_FONTNAME";
constexpr const char* kHeadingKey = "IDS_NEWSCTRLVIEW_STRING_DETAILED_NEWS_DATA";

constexpr std::size_t kHeadingBytes = 12;
constexpr std::size_t kFaceNameBytes = 31; // a font face name holds 31 bytes and its terminator
constexpr int kFontPoints = 12;
constexpr int kPointsPerInch = 72;
constexpr int kFontWeight = 400;
constexpr int kBig5Charset = 136;
constexpr int kBodyLinesPerPage = 49;
constexpr std::size_t kDateTimeMaxBytes = 128;
constexpr const char* kDateTimeFormat = "%Y/%m/%d %H:%M";

constexpr COLORREF kFrameColor = host::ui::RGB(0, 0, 0);
constexpr COLORREF kTextColor = host::ui::RGB(0, 0, 0);
constexpr COLORREF kPaperColor = host::ui::RGB(255, 255, 255);

// Lengths in millimetres turned into device pixels of one page.
struct PageUnits {
    int horzRes = 0;
    int vertRes = 0;
    int horzSize = 0;
    int vertSize = 0;

    int vertical(int mm) const { return MulDiv(mm, vertRes, vertSize); }
    int horizontal(int mm) const { return MulDiv(mm, horzRes, horzSize); }
};

std::int64_t nowSeconds() {
    const host::Clock* clock = host::HostContext::current().clock;
    return clock != nullptr ? clock->now() : 0;
}

} // namespace

TRVNewsPrint::TRVNewsPrint(TRVVirtualBaseView* parent) : m_pParentView(parent) {}

TRVNewsPrint::~TRVNewsPrint() = default;

CString TRVNewsPrint::cszLang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString{};
}

host::ui::Window* TRVNewsPrint::pDialogParent(host::ui::Window* parent) const {
    if (parent != nullptr) {
        return parent;
    }
    return m_pParentView != nullptr ? m_pParentView->GetWnd() : nullptr;
}

void TRVNewsPrint::Print(const NewsPrintList& items, host::ui::Window* parent) {
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr) {
        return;
    }
    const std::unique_ptr<DeviceContext> dc = ui->dialogs().printDialog(pDialogParent(parent), kPrintDialogFlags);
    if (!dc) {
        return; // cancelled: nothing to say
    }
    if (dc->startDoc(cszLang(kDocumentNameKey)) < 0) {
        return;
    }
    const CString heading = cszLang(kHeadingKey).substr(0, kHeadingBytes);
    const CString faceName = cp950::cut(cszLang(kFontNameKey), kFaceNameBytes);
    for (const NewsPrintItem& item : items) {
        vPrintItem(*dc, item, heading, faceName);
    }
    dc->endDoc();
}

void TRVNewsPrint::vPrintItem(DeviceContext& dc, const NewsPrintItem& item, const CString& heading,
                              const CString& faceName) {
    std::string_view body = item.m_strStory;
    const std::vector<CString> titlePieces = news_output::vTitlePieces(item.m_strTitle);
    for (int page = 1; !body.empty(); ++page) {
        dc.startPage();
        // Read before this page selects its font: the font of the page before (or the
        // printer's own first font) sets the line height, as the printouts always had it.
        const int lineHeight = dc.textHeight() + dc.externalLeading();
        const PageUnits units{dc.deviceCaps(win::HORZRES), dc.deviceCaps(win::VERTRES), dc.deviceCaps(win::HORZSIZE),
                              dc.deviceCaps(win::VERTSIZE)};
        const int marginX = units.horizontal(10) / 2;
        const int marginY = units.vertical(10) / 2;
        const int inset = units.vertical(1);
        const int footerHeight = units.vertical(10);
        const int dateGap = units.horizontal(2);
        const int horzRes = units.horzRes;
        const int vertRes = units.vertRes;

        dc.frameRect(Rect{marginX - inset, marginY - inset, horzRes - marginX + inset, vertRes - marginY + inset},
                     kFrameColor);
        const Rect inner{marginX, marginY, horzRes - marginX, vertRes - marginY - inset - footerHeight};
        dc.frameRect(inner, kFrameColor);
        const Rect footer{marginX, vertRes - marginY - footerHeight, horzRes - marginX, vertRes - marginY};
        dc.frameRect(footer, kFrameColor);

        host::ui::Font font;
        font.faceName = faceName;
        font.height = -MulDiv(kFontPoints, dc.deviceCaps(win::LOGPIXELSY), kPointsPerInch);
        font.weight = kFontWeight;
        font.charSet = kBig5Charset;
        dc.selectFont(font);
        dc.setTextColor(kTextColor);
        dc.setBkColor(kPaperColor);

        const CString now = text::formatLocalTime(kDateTimeFormat, nowSeconds()).substr(0, kDateTimeMaxBytes);
        const host::ui::Size nowSize = dc.textExtent(now);
        const int dateRight = horzRes - marginX - dateGap;
        const int dateTop = vertRes - marginY - units.vertical(6);
        dc.drawText(now, Rect{dateRight - nowSize.cx, dateTop, dateRight, dateTop + nowSize.cy},
                    win::DT_LEFT | win::DT_VCENTER | win::DT_SINGLELINE);
        dc.drawText(text::format("%d", page), Rect{marginX + units.horizontal(1), footer.top, dateRight, footer.bottom},
                    win::DT_CENTER | win::DT_VCENTER | win::DT_SINGLELINE);

        const Rect titleBox{marginX + inset, marginY + inset, horzRes - marginX - inset, vertRes / 4 + inset};
        dc.frameRect(titleBox, kFrameColor);
        // Kept: the heading sits on the top edge of the printable area, above the frames.
        dc.textOut(horzRes * 2 / 5, 0, heading);
        int titleY = titleBox.top;
        for (const CString& piece : titlePieces) {
            titleY += lineHeight;
            dc.textOut(titleBox.left + inset, titleY, piece);
        }

        const Rect bodyBox{titleBox.left, titleBox.bottom + inset, titleBox.right, inner.bottom - inset};
        dc.frameRect(bodyBox, kFrameColor);
        for (int line = 1; line <= kBodyLinesPerPage && !body.empty(); ++line) {
            const std::size_t length = news_output::iBodyLineLength(body);
            CString text(body.substr(0, length));
            body.remove_prefix(length);
            news_output::vTrimLineEnd(text);
            dc.textOut(bodyBox.left + inset, bodyBox.top + line * lineHeight, text);
        }
        dc.endPage();
    }
}
