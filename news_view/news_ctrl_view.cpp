// The news view's shell: construction and destruction, start-up, the message map, the deferred
// refresh, the size-change message, painting and the host overrides of the shell.
#include "news_view/news_ctrl_view.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/clock.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "host/text/profile.h"
#include "host/ui/ui_host.h"
#include "story/news_story_dlg.h"
#include "story/quote_dlg_tip_msg.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Rect;
namespace win = host::ui::win;

NEWS_IMPLEMENT_DYNCREATE(TRVNewsCtrlView)

namespace {

// Machine-wide switches of the view in the host's application file.
constexpr const char* kAppIniFile = "/Application.ini";
constexpr const char* kAppIniSection = "NewsCtrlSearchView";

// The text of the not-supported state: a host key shared by all views.
constexpr const char* kNoDataKey = "IDC_BASEVIEW-STRING_NO_DATA";

} // namespace

TRVNewsCtrlView::TRVNewsCtrlView() : m_tCreateTime(tNow()) {
    vCreateOutputJobs();
}

TRVNewsCtrlView::~TRVNewsCtrlView() {
    C_UnRegisterSymbol(this);
    if (GetWnd() != nullptr) {
        GetWnd()->killTimer(news::kTimerRefresh);
    }
    // The grids, controls, story pane and related-quote view are children of the window and
    // die with it; only the pointers are dropped here.
    m_pSheet.fill(nullptr);
    m_pRelateQuoteView = nullptr;
    m_pStoryView = nullptr;
    m_pStoryPane = nullptr;
    m_pNewsStory.reset();
    m_pTipMsg.reset();
    m_pNewsPrint.reset();
    m_pSaveToFile.reset();
}

const host::MessageMap<TRVNewsCtrlView>& TRVNewsCtrlView::GetMessageMap() {
    using Map = host::MessageMap<TRVNewsCtrlView>;
    using T = TRVNewsCtrlView;
    static const Map map{
        Map::command<&T::OnRelationSearchDlg>(news::kIdRelationSearchButton),
        Map::command<&T::OnDealsSearchDlg>(news::kIdDealsSearchButton),
        Map::commandCode<&T::OnSelchangeComboIndex>(news::kIdCategoryCombo, win::CBN_SELCHANGE),
        Map::commandCode<&T::OnSelchangeComboSymbol>(news::kIdSymbolCombo, win::CBN_CLOSEUP),
        Map::command<&T::OnWarningSearchDlg>(news::kIdWarningSearchButton),
        Map::command<&T::OnSearch>(news::kIdSearchButton),
        Map::commandCode<&T::OnUpdateEdit>(news::kIdSearchEdit, win::EN_UPDATE),
        Map::notify<&T::OnDateTimeDropDown>(news::kIdDatePicker, win::DTN_DROPDOWN),
        Map::notify<&T::OnDateTimeCloseUp>(news::kIdDatePicker, win::DTN_CLOSEUP),
        Map::notify<&T::OnDateTimeChange>(news::kIdDatePicker, win::DTN_DATETIMECHANGE),
        Map::command<&T::OnSelectService>(news::kIdServiceButton),
        Map::commandCode<&T::OnSelchangeComboService>(news::kIdServiceCombo, win::CBN_CLOSEUP),
        Map::notify<&T::OnSelchangeTabMode>(news::kIdTabStrip, win::TCN_SELCHANGE),
        Map::command<&T::OnReCoverHeadline>(news::kCmdRecoverHeadline),
        Map::command<&T::OnReCoverStory>(news::kCmdRecoverStory),
        Map::command<&T::OnReCoverHeadlineTable>(news::kCmdRecoverHeadlineTable),
        Map::commandRange<&T::OnSelectCheckService>(news::kCmdFirstService, news::kCmdLastService),
        Map::command<&T::OnChangeCategoryState>(news::kCmdChangeCategoryState),
        Map::command<&T::OnBtnPageDown>(news::kIdPageDownButton),
        Map::command<&T::OnBtnPageUp>(news::kIdPageUpButton),
        Map::command<&T::OnBtnPrint>(news::kIdPrintButton),
        Map::command<&T::OnBtnSaveas>(news::kIdSaveAsButton),
        Map::command<&T::OnShowStory>(news::kCmdShowStory),
        Map::command<&T::OnPrintNews>(news::kCmdPrintNews),
        Map::command<&T::OnSaveNews>(news::kCmdSaveNews),
        Map::command<&T::OnBtnChangeShowType>(news::kIdShowTypeButton),
        Map::message<&T::OnSizeMessage>(win::WM_SIZE),
        Map::message<&T::OnLButtonDblClkMessage>(win::WM_LBUTTONDBLCLK),
        Map::message<&T::OnLButtonUpMessage>(win::WM_LBUTTONUP),
        Map::message<&T::OnHScrollMessage>(win::WM_HSCROLL),
        Map::message<&T::OnVScrollMessage>(win::WM_VSCROLL),
        Map::message<&T::OnKeyDownMessage>(win::WM_KEYDOWN),
        Map::message<&T::OnKeyUpMessage>(win::WM_KEYUP),
        Map::message<&T::OnContextMenuMessage>(win::WM_CONTEXTMENU),
        Map::message<&T::OnMouseWheelMessage>(win::WM_MOUSEWHEEL),
        Map::message<&T::OnCtlColorMessage>(win::WM_CTLCOLOR),
        Map::message<&T::OnTimerMessage>(win::WM_TIMER),
        Map::registered<&T::OnChangeSize>(news::kMsgChangeSize),
    };
    return map;
}

LRESULT TRVNewsCtrlView::handleMessage(const Message& message) {
    if (const auto result = GetMessageMap().dispatch(*this, message)) {
        return *result;
    }
    return TRVQuoteBaseView::handleMessage(message);
}

CString TRVNewsCtrlView::Lang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString(key);
}

std::int64_t TRVNewsCtrlView::tNow() {
    const host::Clock* clock = host::HostContext::current().clock;
    return clock != nullptr ? clock->now() : 0;
}

Rect TRVNewsCtrlView::GetViewArea() const {
    Rect area = GetClientRect();
    area.top += GetTitleHeight();
    return area;
}

// ---- Start-up ----

void TRVNewsCtrlView::OnInitialUpdate() {
    TRVQuoteBaseView::OnInitialUpdate();
    GetConfigFromIni();

    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    std::vector<unsigned char> services;
    if (bk != nullptr && bk->BKQNEWS_bGetAllNewsService(services)) {
        for (const unsigned char service : services) {
            NewsServiceEntry entry;
            entry.m_byService = service;
            entry.m_iDate = std::atoi(bk->BKQNEWS_cszGetCurrDateByService(service).c_str());
            m_vService.push_back(entry);
            m_vRegistered.push_back(false);
        }
    }

    // The service pop-up menu: one item per service but the warrant service, whose list has
    // a tab of its own. Item ids carry the record index, so a choice maps straight back.
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui != nullptr) {
        m_pServiceMenu = ui->createPopupMenu();
    }
    for (std::size_t i = 0; i < m_vService.size(); ++i) {
        const unsigned char service = m_vService[i].m_byService;
        if (service == news::kServiceWarrant) {
            m_iWarrantIndex = static_cast<int>(i);
            continue;
        }
        if (m_pServiceMenu != nullptr) {
            CString name;
            if (bk != nullptr) {
                bk->BKQNEWS_bGetFullNameByService(name, service);
            }
            m_pServiceMenu->appendItem(static_cast<unsigned>(news::kCmdFirstService) + static_cast<unsigned>(i), name);
        }
    }
    m_pTipMsg = news::MakeLateOwned<CQuoteDlgTipMsg>(GetWnd());
    if (m_pTipMsg->CreateByID(nullptr)) {
        m_pTipMsg->vSetFont(&GetViewFont());
    } else {
        m_pTipMsg.reset(); // every tip call then finds no window and is skipped
    }
}

void TRVNewsCtrlView::GetConfigFromIni() {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    ProfileFile ini;
    ini.load(bk->PathGetSysPath() + kAppIniFile); // a missing file gives the defaults
    m_byShowNormalSearch = ini.getInt(kAppIniSection, "ShowNormalSearch", 0) == 1 ? 1 : 0;
    m_byShowWarningSearch = ini.getInt(kAppIniSection, "ShowWarningSearch", 0) == 1 ? 1 : 0;
}

TRVQuoteBaseView* TRVNewsCtrlView::CreateView(const CRuntimeClass* runtimeClass, const CString& /*name*/, int id,
                                              const Rect& rect) {
    if (runtimeClass == nullptr || GetWnd() == nullptr) {
        return nullptr;
    }
    std::unique_ptr<TRVVirtualBaseView> object = runtimeClass->CreateObject();
    auto* view = dynamic_cast<TRVQuoteBaseView*>(object.get());
    if (view == nullptr || !view->Create(GetWnd(), rect, news::kChildViewIdBase + id)) {
        return nullptr;
    }
    view->GetWnd()->show(true);
    view->vSetFrameID(GetFrameID());
    view->OnInitialUpdate();
    AdoptChildView(std::move(object));
    return view;
}

void TRVNewsCtrlView::CheckInitialView(int& mode) const {
    if (mode >= 0 && mode < news::kModeCount && m_pSheet[static_cast<std::size_t>(mode)] != nullptr) {
        return;
    }
    for (int i = 0; i < news::kModeCount; ++i) {
        if (m_pSheet[static_cast<std::size_t>(i)] != nullptr) {
            mode = i;
            return;
        }
    }
}

// ---- Deferred refresh ----

void TRVNewsCtrlView::vRestartRefreshTimer() {
    if (GetWnd() != nullptr) {
        GetWnd()->killTimer(news::kTimerRefresh);
        GetWnd()->setTimer(news::kTimerRefresh, news::kRefreshDelayMs);
    }
}

void TRVNewsCtrlView::vUpdateView() {
    vRestartRefreshTimer();
}

LRESULT TRVNewsCtrlView::OnTimerMessage(const Message& message) {
    const auto id = static_cast<unsigned>(message.wParam);
    if (id == news::kTimerRefresh) {
        vRealUpdateView();
        ChangeCurrViewCategoryState(m_byCategoryState != 0);
        // One-shot: window timers repeat until killed.
        if (GetWnd() != nullptr) {
            GetWnd()->killTimer(news::kTimerRefresh);
        }
    }
    RVComVirtualBaseView::OnTimer(id);
    return 0;
}

LRESULT TRVNewsCtrlView::OnChangeSize(host::ui::WPARAM wParam, host::ui::LPARAM /*lParam*/) {
    const int width = GetClientRect().Width();
    if (width == m_iLastGridWidth) {
        return 0;
    }
    m_iLastGridWidth = width;
    const host::ui::CSuperSheetWnd* current = pGetCurrSheetView();
    if (current != nullptr && wParam == reinterpret_cast<host::ui::WPARAM>(current)) {
        vRestartRefreshTimer();
    }
    return 0;
}

LRESULT TRVNewsCtrlView::OnSizeMessage(const Message& message) {
    TRVQuoteBaseView::handleMessage(message);
    if (m_bViewCreated) {
        vSetComponentPos();
    }
    return 0;
}

// ---- Painting ----

void TRVNewsCtrlView::OnDraw(host::ui::DeviceContext& dc) {
    if (GetDataState() == kDataNotSupported) {
        DrawNotSupport(dc);
        vNotSupportSymbol(dc);
    } else {
        DrawTitle(dc);
    }
    DrawBorder(dc);
}

void TRVNewsCtrlView::DrawTitile(host::ui::DeviceContext& dc) {
    DrawTitle(dc);
    DrawBorder(dc);
}

LRESULT TRVNewsCtrlView::eraseBackground(host::ui::DeviceContext& dc) {
    if (!m_bLaidOut) {
        return 0;
    }
    SendPaintLayout();
    dc.fillRect(GetClientRect(), m_crBackground);
    return 1;
}

LRESULT TRVNewsCtrlView::OnCtlColorMessage(const Message& message) {
    if (message.wParam == 0) {
        return 0;
    }
    // The message carries its device context and control as pointers, as WM_CTLCOLOR does.
    auto* dc = reinterpret_cast<host::ui::DeviceContext*>(message.wParam); // NOLINT(performance-no-int-to-ptr)
    auto* control = reinterpret_cast<host::ui::Window*>(message.lParam);   // NOLINT(performance-no-int-to-ptr)
    return OnCtlColor(*dc, control, iGetCtlColorType(control));
}

int TRVNewsCtrlView::iGetCtlColorType(const host::ui::Window* control) {
    if (dynamic_cast<const host::ui::Edit*>(control) != nullptr) {
        return win::CTLCOLOR_EDIT;
    }
    if (dynamic_cast<const host::ui::ListBox*>(control) != nullptr ||
        dynamic_cast<const host::ui::ComboBox*>(control) != nullptr) {
        return win::CTLCOLOR_LISTBOX;
    }
    if (dynamic_cast<const host::ui::Button*>(control) != nullptr) {
        return win::CTLCOLOR_BTN;
    }
    if (dynamic_cast<const host::ui::StaticText*>(control) != nullptr) {
        return win::CTLCOLOR_STATIC;
    }
    return win::CTLCOLOR_DLG;
}

LRESULT TRVNewsCtrlView::OnCtlColor(host::ui::DeviceContext& dc, host::ui::Window* /*control*/, int type) {
    // Type 3 takes the view's background; every other kind gets the null brush (0) and paints
    // nothing behind itself. Saved screenshots of the control row depend on this exact split.
    if (type == win::CTLCOLOR_BTN) {
        dc.setBkColor(m_crBackground);
        return kCtlColorViewBackground;
    }
    return kCtlColorNullBrush;
}

void TRVNewsCtrlView::vNotSupportSymbol(host::ui::DeviceContext& dc) {
    if (GetViewType() < 1 || GetViewType() > 4) {
        return;
    }
    const Rect client = GetClientRect();
    Rect area = GetViewArea();
    area.right = area.left + GetSheetWidth();
    if (m_wStoryShowType == 2) {
        area.bottom -= std::min(client.Height() * 30 / 100, 200);
    }
    dc.selectFont(GetViewFont());
    dc.setBkTransparent(false);
    dc.setBkColor(m_crBackground);
    dc.setTextColor(m_crBackground ^ 0xFFFFFFu);
    dc.drawText(Lang(kNoDataKey), area, win::DT_CENTER | win::DT_VCENTER | win::DT_SINGLELINE);
}

// ---- Host overrides ----

void TRVNewsCtrlView::GetCaption(CString& caption) {
    caption = Lang("IDS_NEWSCTRLVIEW_STRING_NEWS");
}

bool TRVNewsCtrlView::IsStoryDlgOnTop() const {
    return CSyncInfo::Get().SYS_eGetPopupWndPosition() != 1;
}
