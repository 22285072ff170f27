#include "search/news_relate_symbol_quote_view.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "host/ui/messages.h"
#include "host/ui/sheet.h"

namespace win = host::ui::win;
using host::ui::Point;
using host::ui::Rect;

NEWS_IMPLEMENT_DYNCREATE(CNewsRelateSymbolQuoteView)

namespace {

constexpr const char* kTitleKey = "IDS_QUOTE-SYMBOLGROUP_NEWSRELATEQUOTE";
constexpr const char* kNotSupportKey = "IDS_QUOTELIST_NOTSUPPORT";

CString langText(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString{key};
}

} // namespace

bool CNewsRelateSymbolQuoteView::bCreateView(host::ui::Window* parent, const CString& name, int value1, int value2) {
    vClearAllMemoryUpdate();
    m_strName = name;
    m_iValue1 = value1;
    m_iValue2 = value2;
    InitFont();

    if (!QuoteListBaseView::bCreateView(parent, GetRuntimeClass()->m_lpszClassName, value1, value2)) {
        return false;
    }

    vClearList();
    SetSymbol(0, CString{});
    SetCaptionText(langText(kTitleKey));
    SetShowTitle(true);

    vSetColumnSetup(kColumnSetupCompact);
    vSetComponentPos();
    vShowGrid(true);
    // The parent places the window after creation; the layout runs again once it has a size.
    if (GetWnd() != nullptr) {
        GetWnd()->postMessage(win::WM_SIZE);
    }

    // A quote list beside a story is not the news view that follows linked symbols.
    CSyncInfo::Get().SYS_vSetIsLinkNews(false);
    return true;
}

void CNewsRelateSymbolQuoteView::OnDraw(host::ui::DeviceContext& dc) {
    if (GetDataState() == kDataNotSupported) {
        vNotSupportSymbol(dc);
        return;
    }
    QuoteListBaseView::OnDraw(dc);
    if (GetWnd() == nullptr) {
        return;
    }
    // Separator lines: along the top edge (the story above it) and under the title band.
    const Rect client = GetClientRect();
    const COLORREF line = CSyncInfo::Get().SYS_crGetOtherColor("COLOR_OTHERLINES");
    dc.drawLine(Point{client.left, client.top}, Point{client.right, client.top}, line);
    if (IsShowTitle()) {
        const int y = client.top + GetTitleHeight() - 1;
        dc.drawLine(Point{client.left, y}, Point{client.right, y}, line);
    }
}

void CNewsRelateSymbolQuoteView::vChangeCast() {
    QuoteListBaseView::vChangeCast();
    SetBackColor(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
    Invalidate();
}

void CNewsRelateSymbolQuoteView::vNotSupportSymbol(host::ui::DeviceContext& dc) {
    if (GetWnd() == nullptr) {
        return;
    }
    const Rect client = GetClientRect();
    dc.fillRect(client, GetBackColor());
    DrawTitle(dc);
    dc.selectFont(GetViewFont());
    dc.setBkTransparent(true);
    dc.setTextColor(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT"));
    const Rect notice{client.left, client.top + GetTitleHeight(), client.right, client.bottom};
    dc.drawText(langText(kNotSupportKey), notice, win::DT_CENTER | win::DT_VCENTER | win::DT_SINGLELINE);
}

int CNewsRelateSymbolQuoteView::GetCurrSymbolInfo(unsigned char& service, CString& code) {
    const int rows = GetRowCount();
    if (rows <= 0) {
        return rows;
    }
    vGetFocusSymbol(service, code);
    return rows;
}
