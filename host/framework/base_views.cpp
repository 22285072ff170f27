#include "host/framework/base_views.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "host/backend/bk_quote_interface.h"
#include "host/backend/subscriptions.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/ui/ui_host.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Rect;

TRVVirtualBaseView::TRVVirtualBaseView() = default;

TRVVirtualBaseView::~TRVVirtualBaseView() {
    // Child views first: their windows are children of ours.
    m_childViews.clear();
    if (m_pWnd != nullptr) {
        host::ui::Window* wnd = m_pWnd;
        m_pWnd = nullptr;
        wnd->destroy();
    }
}

bool TRVVirtualBaseView::Create(host::ui::Window* parent, const Rect& rect, int childId) {
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr || m_pWnd != nullptr) {
        return false;
    }
    m_pWnd = ui->createWindow(parent, childId, rect, this);
    return m_pWnd != nullptr;
}

Rect TRVVirtualBaseView::GetClientRect() const {
    return m_pWnd == nullptr ? Rect{} : m_pWnd->clientRect();
}

void TRVVirtualBaseView::Invalidate(bool erase) {
    if (m_pWnd != nullptr) {
        m_pWnd->invalidate(erase);
    }
}

TRVVirtualBaseView* TRVVirtualBaseView::AdoptChildView(std::unique_ptr<TRVVirtualBaseView> child) {
    m_childViews.push_back(std::move(child));
    return m_childViews.back().get();
}

LRESULT TRVVirtualBaseView::handleMessage(const Message& message) {
    if (message.message == host::ui::win::WM_DESTROY) {
        // The host destroyed the window under us: forget it so it is not destroyed twice.
        m_pWnd = nullptr;
    }
    return 0;
}

void RVComVirtualBaseView::InitFont() {
    m_font = host::ui::Font{};
}

int RVComVirtualBaseView::GetFontHeight() const {
    if (GetWnd() != nullptr) {
        return GetWnd()->textExtent("Ag").cy;
    }
    return std::abs(m_font.height) + 4;
}

namespace {
std::vector<TRVQuoteBaseView*>& liveViews() {
    static std::vector<TRVQuoteBaseView*> views;
    return views;
}
} // namespace

TRVQuoteBaseView::TRVQuoteBaseView()
    : m_crBack(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND")),
      m_crStripe(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH")) {
    liveViews().push_back(this);
}

TRVQuoteBaseView::~TRVQuoteBaseView() {
    std::erase(liveViews(), this);
    NewsSubscriptions::instance().removeReceiver(this);
}

const std::vector<TRVQuoteBaseView*>& TRVQuoteBaseView::AllViews() {
    return liveViews();
}

void TRVQuoteBaseView::ChangeSymbol(const TRVQuoteBaseView* /*sender*/, unsigned char /*group*/, unsigned char service,
                                    const CString& code, const CString& /*name*/) {
    SetSymbol(service, code);
}

int TRVQuoteBaseView::GetCurrSymbolInfo(unsigned char& service, CString& code) {
    service = m_bySymbolService;
    code = m_strSymbolCode;
    return 1;
}

void TRVQuoteBaseView::SetSymbol(unsigned char service, const CString& code) {
    m_bySymbolService = service;
    m_strSymbolCode = code;
}

bool TRVQuoteBaseView::bIsAuthService(unsigned char service) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr && bk->BKQCheckAuthSupport(service) != 0;
}

void TRVQuoteBaseView::SendChangeSymbol(TRVQuoteBaseView* view, unsigned char group) {
    unsigned char service = 0;
    CString code;
    view->GetCurrSymbolInfo(service, code);
    CSyncInfo::Get().setCurrentSymbol(group, service, code);
    // Copy: a view may be created or destroyed while it takes the change.
    const std::vector<TRVQuoteBaseView*> views = liveViews();
    for (TRVQuoteBaseView* other : views) {
        if (other != view && std::find(liveViews().begin(), liveViews().end(), other) != liveViews().end()) {
            other->ChangeSymbol(view, group, service, code, CString{});
        }
    }
}

void TRVQuoteBaseView::DrawTitle(host::ui::DeviceContext& dc) {
    if (!m_bShowTitle || GetWnd() == nullptr) {
        return;
    }
    const Rect client = GetClientRect();
    const Rect band{client.left, client.top, client.right, client.top + m_iTitleHeight};
    dc.fillRect(band, CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_HDBkCOLOR1"));
    dc.setTextColor(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_HDTEXTCOLOR1"));
    dc.setBkTransparent(true);
    CString caption;
    GetCaption(caption);
    dc.drawText(caption, band, host::ui::win::DT_LEFT | host::ui::win::DT_VCENTER | host::ui::win::DT_SINGLELINE);
}

void TRVQuoteBaseView::DrawNotSupport(host::ui::DeviceContext& dc) {
    if (GetWnd() != nullptr) {
        dc.fillRect(GetClientRect(), m_crBack);
    }
    DrawTitle(dc);
}

void TRVQuoteBaseView::DrawBorder(host::ui::DeviceContext& dc) {
    if (GetWnd() != nullptr) {
        dc.frameRect(GetClientRect(), CSyncInfo::Get().SYS_crGetOtherColor("COLOR_OTHERLINES"));
    }
}

void C_RegisterSymbol(TRVQuoteBaseView* view, const std::vector<CSymbolInfo>& added,
                      const std::vector<CSymbolInfo>& removed) {
    NewsSubscriptions::instance().change(view, added, removed);
}

void C_UnRegisterSymbol(TRVQuoteBaseView* view) {
    NewsSubscriptions::instance().removeReceiver(view);
}

bool bIsNormalTWSESymbolID(unsigned char service, const CString& code) {
    if (service != 16 || code.size() < 4 || code.size() > 6) {
        return false;
    }
    return std::all_of(code.begin(), code.begin() + 4,
                       [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
}
