#include "story/quote_dlg_tip_msg.h"

#include <algorithm>

#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "host/ui/ui_host.h"
#include "story/story_ids.h"

using host::ui::LRESULT;
using host::ui::Rect;
using host::ui::Window;
namespace win = host::ui::win;

namespace {

constexpr int kMinWidth = 100;
constexpr int kMaxWidth = 800;
constexpr int kMinHeight = 22;
constexpr int kTextMarginX = 10;
constexpr int kTextMarginY = 8;

const Window* topLevelOf(const Window* window) {
    while (window != nullptr && window->parent() != nullptr) {
        window = window->parent();
    }
    return window;
}

} // namespace

CQuoteDlgTipMsg::CQuoteDlgTipMsg(Window* parent) : CDialog(story::kIdTipDialog, parent) {}

CQuoteDlgTipMsg::~CQuoteDlgTipMsg() {
    m_pStatic = nullptr;
}

bool CQuoteDlgTipMsg::CreateByID(Window* parent) {
    return Create(story::kIdTipDialog, parent);
}

bool CQuoteDlgTipMsg::OnInitDialog() {
    m_pStatic = GetDlgItemAs<host::ui::StaticText>(story::kIdTipText);
    ShowWindow(false);
    vPlace();
    return true;
}

void CQuoteDlgTipMsg::vSetInfo(Window* owner, const char* text, COLORREF textColor, COLORREF backColor,
                               int displayTimeMs) {
    m_iDisplayTime = displayTimeMs;
    m_pOwner = owner;
    m_strText = text != nullptr ? CString(text) : CString{};
    vSetInfoColor(textColor, backColor);
}

void CQuoteDlgTipMsg::vSetInfoColor(COLORREF textColor, COLORREF backColor) {
    m_crText = textColor;
    m_crBack = backColor;
    m_bBrush = true;
}

void CQuoteDlgTipMsg::vShow(Window* parent, int top, int left, bool toTheLeft) {
    if (GetWnd() == nullptr) {
        return;
    }
    const host::ui::UiHost* ui = host::HostContext::current().ui;
    const Window* active = ui != nullptr ? ui->activeWindow() : nullptr;
    // Never over another application or another top-level window than the one being used.
    const Window* reference = parent != nullptr               ? parent
                              : GetWnd()->parent() != nullptr ? GetWnd()->parent()
                                                              : m_pOwner;
    if (reference == nullptr || active == nullptr || topLevelOf(active) != topLevelOf(reference)) {
        return;
    }
    if (m_pStatic != nullptr) {
        m_pStatic->setColors(m_crText, m_crBack);
    }
    if (top != -1 && left != -1) {
        m_iTop = top;
        m_iLeft = left;
    }

    host::ui::Size text{};
    if (m_pStatic != nullptr) {
        if (m_pFont != nullptr) {
            m_pStatic->setFont(*m_pFont, true);
        }
        text = m_pStatic->textExtent(m_strText);
    }
    int width = text.cx + kTextMarginX;
    int height = text.cy + kTextMarginY;
    if (width < kMinWidth) {
        width = kMinWidth;
    } else if (width > kMaxWidth) {
        // Cut the text by its average character width, never inside a double-byte character.
        std::size_t keep = kMaxWidth;
        if (!m_strText.empty()) {
            const int average = width / static_cast<int>(m_strText.size());
            keep = average > 0 ? static_cast<std::size_t>(kMaxWidth / average) : kMaxWidth;
        }
        if (keep < m_strText.size()) {
            m_strText.erase(cp950::cutLength(m_strText, keep));
        }
        width = kMaxWidth;
    }
    height = std::max(height, kMinHeight);
    m_size = host::ui::Size{width, height};
    if (toTheLeft) {
        m_iLeft -= width;
    }
    if (parent != nullptr) {
        ShowWindow(false);
        m_pOwner = parent;
        vPlace();
        GetWnd()->setParent(parent);
    }
    if (m_pStatic != nullptr) {
        m_pStatic->setText(m_strText);
        m_pStatic->invalidate(true);
        const Rect client = m_pStatic->clientRect();
        m_pStatic->move(Rect{client.left, client.top, client.left + width, client.top + height}, true);
        m_pStatic->show(true);
    }
    ShowWindow(true);
    m_iRemaining = m_iDisplayTime;
    SetTimer(story::kTimerTipPlace, story::kTipPlaceMs);
    SetTimer(story::kTimerTipCountDown, story::kTipCountDownMs);
    if (m_pOwner != nullptr) {
        m_pOwner->setFocus();
    }
}

void CQuoteDlgTipMsg::vStop() {
    ShowWindow(false);
    KillTimer(story::kTimerTipPlace);
    KillTimer(story::kTimerTipCountDown);
}

void CQuoteDlgTipMsg::vPlace() {
    Window* wnd = GetWnd();
    if (wnd == nullptr || (m_pOwner == nullptr && wnd->parent() == nullptr)) {
        return;
    }
    // Kept: a tip that was never given a place stands at (2, 2), not at the corner.
    const bool placed = m_iLeft != 0 || m_iTop != 0;
    const int x = placed ? m_iLeft : 2;
    const int y = placed ? m_iTop : 2;
    wnd->move(Rect{x, y, x + m_size.cx, y + m_size.cy}, true);
}

void CQuoteDlgTipMsg::OnTimer(unsigned id) {
    if (id == story::kTimerTipPlace) {
        vPlace();
    } else if (id == story::kTimerTipCountDown) {
        m_iRemaining -= static_cast<int>(story::kTipCountDownMs);
        if (m_iRemaining < 1) {
            vStop();
        }
    }
}

void CQuoteDlgTipMsg::OnLButtonDown(unsigned /*flags*/, host::ui::Point /*point*/) {
    vStop();
}

LRESULT CQuoteDlgTipMsg::OnCtlColor(host::ui::DeviceContext& dc, Window* control) const {
    if (control == GetWnd() || (control != nullptr && control->id() == story::kIdTipText)) {
        dc.setBkTransparent(true);
        if (!m_bBrush) {
            return kCtlColorNoBrush;
        }
        dc.setBkColor(m_crBack);
        return kCtlColorTipBrush;
    }
    return kCtlColorDefault;
}

LRESULT CQuoteDlgTipMsg::OnEraseBkgnd(host::ui::DeviceContext& dc) {
    if (!m_bBrush || GetWnd() == nullptr) {
        return 0;
    }
    dc.fillRect(GetWnd()->clientRect(), m_crBack);
    return 1;
}
