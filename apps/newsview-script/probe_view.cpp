#include "apps/newsview-script/probe_view.h"

#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/cfg_io.h"
#include "host/framework/clock.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "host/text/profile.h"
#include "host/text/text_file.h"
#include "host/ui/controls.h"
#include "host/ui/sheet.h"
#include "host/ui/ui_host.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Rect;
namespace win = host::ui::win;

NEWS_IMPLEMENT_DYNCREATE(CScenarioProbeView)

namespace {
BKQuoteInterface& backend() {
    return *BKQuoteInterface::GetBKInterface();
}
host::ui::UiHost& ui() {
    return *host::HostContext::current().ui;
}
} // namespace

const host::MessageMap<CScenarioProbeView>& CScenarioProbeView::messageMap() {
    using Map = host::MessageMap<CScenarioProbeView>;
    static const Map map{
        Map::message<&CScenarioProbeView::OnSize>(win::WM_SIZE),
        Map::message<&CScenarioProbeView::OnClockTimer>(win::WM_TIMER),
        Map::message<&CScenarioProbeView::OnGridMouse>(win::WM_LBUTTONDBLCLK),
        Map::message<&CScenarioProbeView::OnContextMenu>(win::WM_CONTEXTMENU),
        Map::commandCode<&CScenarioProbeView::OnServiceChange>(kIdService, win::CBN_SELCHANGE),
        Map::command<&CScenarioProbeView::OnRefresh>(kIdRefresh),
        Map::notify<&CScenarioProbeView::OnDateCloseUp>(kIdDate, win::DTN_CLOSEUP),
        Map::notify<&CScenarioProbeView::OnTabChange>(kIdTabs, win::TCN_SELCHANGE),
        Map::command<&CScenarioProbeView::OnSave>(kIdMenuSave),
        Map::command<&CScenarioProbeView::OnPrint>(kIdMenuPrint),
        Map::command<&CScenarioProbeView::OnClear>(kIdMenuClear),
    };
    return map;
}

LRESULT CScenarioProbeView::handleMessage(const Message& message) {
    if (const auto result = messageMap().dispatch(*this, message)) {
        return *result;
    }
    return TRVQuoteBaseView::handleMessage(message);
}

void CScenarioProbeView::OnInitialUpdate() {
    host::ui::Window* wnd = GetWnd();
    m_service = wnd->createComboBox(kIdService, Rect{}, win::CBS_DROPDOWNLIST);
    wnd->createButton(kIdRefresh, Rect{}, backend().LangGetLangString("IDS_PROBE_REFRESH"));
    m_search = wnd->createEdit(kIdSearch, Rect{});
    m_date = wnd->createDatePicker(kIdDate, Rect{});
    m_tabs = wnd->createTabStrip(kIdTabs, Rect{});
    m_tabs->insertItem(0, "Today", 0);
    m_tabs->insertItem(1, "Search", 1);
    m_grid = wnd->createSheet(kIdGrid, Rect{});
    m_grid->bCreateSheet(host::ui::CSheetBuilder{});
    m_grid->iInsertCol(0, 70);
    m_grid->iInsertCol(1, 300);
    m_grid->vSetHeaderText(0, "Time");
    m_grid->vSetHeaderText(1, "Title");
    m_status = wnd->createStatic(kIdStatus, Rect{}, "");
    m_tip = wnd->createTipWindow();

    std::vector<unsigned char> services;
    backend().BKQNEWS_bGetAllNewsService(services);
    std::vector<CSymbolInfo> registrations;
    for (const unsigned char service : services) {
        CString name;
        backend().BKQNEWS_bGetShortNameByService(name, service);
        const int index = m_service->addString(name);
        m_service->setItemData(index, service);
        registrations.push_back(CSymbolInfo{service, {}, {}});
    }
    C_RegisterSymbol(this, registrations, {});
    m_service->setCurSel(services.empty() ? -1 : 0);
    OnSize(Message{win::WM_SIZE, 0, 0, wnd});
    // The clock interval comes from the host's Application.ini, as the host's switches do.
    const std::string ini = backend().PathGetSysPath() + "/Application.ini";
    wnd->setTimer(kClockTimer, static_cast<unsigned>(GetPrivateProfileInt("Probe", "ClockMs", 1000, ini)));
    OnRefresh();
}

void CScenarioProbeView::InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                                         const CString& name) {
    int service = -1;
    if (cfg->GetViewInfoInt(section, layout1, layout2, name, "Service", service)) {
        for (int i = 0; i < m_service->count(); ++i) {
            if (m_service->itemData(i) == service) {
                m_service->setCurSel(i);
                OnRefresh();
            }
        }
    }
    int width = 0;
    if (cfg->GetViewInfoInt(section, layout1, layout2, name, "TitleWidth", width) && width > 0) {
        m_grid->vSetColWidth(1, width);
    }
}

void CScenarioProbeView::SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    cfg->SetViewInfoInt(section, layout1, layout2, "CScenarioProbeView", "Service", currentService());
    cfg->SetViewInfoInt(section, layout1, layout2, "CScenarioProbeView", "TitleWidth", m_grid->iGetColWidth(1));
}

void CScenarioProbeView::GetCaption(CString& caption) {
    CString name;
    if (m_service != nullptr && m_service->curSel() >= 0) {
        name = m_service->itemText(m_service->curSel());
    }
    caption = "Probe " + name + " " + m_shownDate;
}

unsigned char CScenarioProbeView::currentService() const {
    const int sel = m_service != nullptr ? m_service->curSel() : -1;
    return sel >= 0 ? static_cast<unsigned char>(m_service->itemData(sel)) : 0;
}

LRESULT CScenarioProbeView::OnSize(const Message& /*message*/) {
    if (m_grid == nullptr) {
        return 0; // WM_SIZE of the creation arrives before the controls exist
    }
    const Rect client = GetClientRect();
    GetWnd()->child(kIdService)->move(Rect{4, 4, 124, 24});
    GetWnd()->child(kIdRefresh)->move(Rect{128, 4, 200, 24});
    m_search->move(Rect{204, 4, 324, 24});
    m_date->move(Rect{328, 4, 448, 24});
    m_tabs->move(Rect{0, 28, client.right, 48});
    m_grid->move(Rect{0, 50, client.right, std::max(50, client.bottom - 20)});
    m_status->move(Rect{0, std::max(50, client.bottom - 20), client.right, client.bottom});
    return 0;
}

LRESULT CScenarioProbeView::OnClockTimer(const Message& message) {
    if (message.wParam == kClockTimer) {
        const std::int64_t now = host::HostContext::current().clock->now();
        setStatus(text::formatLocalTime("%H:%M:%S", now) + " " + std::to_string(m_entries.size()) + " rows" +
                  (m_statusText.empty() ? "" : " " + m_statusText));
    }
    return 0;
}

LRESULT CScenarioProbeView::OnGridMouse(const Message& message) {
    // Only double-clicks the grid passed on: the view's own area has no rows.
    if ((message.wParam & win::kGridForwarded) == 0) {
        return 0;
    }
    const int row = m_grid->cptGetFocusNdx().y;
    if (row >= 0 && static_cast<std::size_t>(row) < m_entries.size()) {
        showStory(m_entries[static_cast<std::size_t>(row)]);
    }
    return 0;
}

LRESULT CScenarioProbeView::OnContextMenu(const Message& message) {
    auto menu = ui().createPopupMenu();
    menu->appendItem(kIdMenuSave, "Save...");
    menu->appendItem(kIdMenuPrint, "Print");
    menu->appendSeparator();
    menu->appendItem(kIdMenuClear, "Clear", m_entries.empty());
    menu->track(host::ui::Point{host::ui::GET_X_LPARAM(message.lParam), host::ui::GET_Y_LPARAM(message.lParam)},
                GetWnd(), true);
    return 0;
}

bool CScenarioProbeView::preTranslateMessage(const Message& message) {
    // Enter in the search edit searches the current service.
    if (message.message == win::WM_KEYDOWN && message.wParam == win::VK_RETURN && m_search != nullptr &&
        message.target == m_search) {
        CSearch condition;
        condition.m_vKeywords.push_back(m_search->text());
        condition.m_byMethod = CSearch::kMethodAnd;
        condition.m_tTime = host::HostContext::current().clock->now();
        if (backend().BKQNEWS_bSearchNews(currentService(), BKQuoteInterface::kSearch, condition)) {
            m_statusText = "searching";
        }
        return true;
    }
    return false;
}

void CScenarioProbeView::OnServiceChange() {
    OnRefresh();
}

void CScenarioProbeView::OnRefresh() {
    loadDate(backend().BKQNEWS_cszGetCurrDateByService(currentService()));
}

void CScenarioProbeView::OnDateCloseUp(const host::ui::NotifyInfo& /*info*/) {
    host::ui::Date d{};
    if (m_date->date(d)) {
        loadDate(text::format("%04d%02d%02d", d.year, d.month, d.day));
    }
}

void CScenarioProbeView::OnTabChange(const host::ui::NotifyInfo& info) {
    if (info.item == 0) {
        loadDate(m_shownDate);
    } else {
        std::vector<CHeadlineTable> entries;
        backend().BKQNEWS_iGetHeadlineTable(currentService(), entries, BKQuoteInterface::kSearch, "SEARCH");
        fill(std::move(entries));
    }
}

void CScenarioProbeView::loadDate(const CString& date) {
    m_shownDate = date;
    std::vector<CHeadlineTable> entries;
    if (backend().BKQNEWS_iGetHeadlineTable(currentService(), entries, BKQuoteInterface::kByDate, date) == 0) {
        backend().BKNEWS_bReRequestHeadlineTable(currentService(), BKQuoteInterface::kByDate, date);
    }
    fill(std::move(entries));
}

void CScenarioProbeView::fill(std::vector<CHeadlineTable> entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const CHeadlineTable& a, const CHeadlineTable& b) {
        return a.m_tTime != b.m_tTime ? a.m_tTime > b.m_tTime : a.m_iSeqNo > b.m_iSeqNo;
    });
    m_entries = std::move(entries);
    std::vector<CHeadline> headlines;
    if (!m_entries.empty()) {
        backend().BKQNEWS_iGetHeadline(currentService(), headlines, m_entries);
    }
    m_grid->vClearAllRows();
    m_grid->vAddRows(m_entries.size());
    m_grid->vResetRowBkColor();
    m_grid->vResetScroll();
    for (std::size_t row = 0; row < m_entries.size(); ++row) {
        m_grid->vSetCellText(row, 0, text::formatLocalTime("%H:%M:%S", m_entries[row].m_tTime));
        const auto found = std::find_if(headlines.begin(), headlines.end(),
                                        [&](const CHeadline& h) { return bSameKey(m_entries[row], h); });
        m_grid->vSetCellText(row, 1, found != headlines.end() ? found->m_strTitle : CString("(recovering)"));
    }
    if (!m_entries.empty()) {
        m_grid->vSetActiveSelection(0, -1);
    }
}

void CScenarioProbeView::showStory(const CHeadlineTable& entry) {
    CStory story;
    if (!backend().BKQNEWS_bGetStory(story, entry)) {
        backend().BKQNews_bReRequestHeadlineStory(entry);
        m_statusText = "story requested";
        return;
    }
    const Rect grid = m_grid->rect();
    m_tip->showTip("", story.m_strText, GetWnd()->clientToScreen(grid.Center()), 3, 0, 2000);
}

void CScenarioProbeView::setStatus(const CString& text) {
    if (m_status != nullptr) {
        m_status->setText(text);
    }
}

void CScenarioProbeView::RecvNewHeadLine(const CHeadline* headline, const CString& /*categoryId*/,
                                         const CString& /*symbolCode*/) {
    if (headline->m_byService != currentService() || m_tabs->curSel() != 0) {
        return;
    }
    const CHeadlineTable entry{headline->m_byService, headline->m_tTime, headline->m_iSeqNo, headline->m_iSeqNo, 0};
    const auto at = std::find_if(m_entries.begin(), m_entries.end(),
                                 [&](const CHeadlineTable& e) { return e.m_tTime < entry.m_tTime; });
    const auto row = static_cast<std::size_t>(at - m_entries.begin());
    m_entries.insert(at, entry);
    m_grid->vInsertRow(row);
    m_grid->vSetCellText(row, 0, text::formatLocalTime("%H:%M:%S", headline->m_tTime));
    m_grid->vSetCellText(row, 1, headline->m_strTitle);
    // Pushed rows are marked in the host's text colour.
    m_grid->vSetCellFgColor(row, 0, CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT"));
}

void CScenarioProbeView::RespStory(const CHeadlineTable& entry) {
    const int row = m_grid->cptGetFocusNdx().y;
    if (row >= 0 && static_cast<std::size_t>(row) < m_entries.size() &&
        bSameKey(m_entries[static_cast<std::size_t>(row)], entry)) {
        m_statusText.clear();
        showStory(entry);
    }
}

void CScenarioProbeView::RespSearchHeadLineTable(const CSearch& /*condition*/, unsigned char service) {
    if (service == currentService()) {
        m_statusText.clear();
        m_tabs->setCurSel(1);
        OnTabChange(host::ui::NotifyInfo{kIdTabs, win::TCN_SELCHANGE, nullptr, 1, {}});
    }
}

void CScenarioProbeView::vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* info) {
    if (info->m_byService == currentService() && info->m_strKey == m_shownDate && info->m_cStatus >= 0) {
        loadDate(m_shownDate);
    }
}

void CScenarioProbeView::vRecvNewMarketStatus(const CMarketStatus* status) {
    if (status->m_byService == currentService()) {
        loadDate(text::format("%08d", status->m_iDate));
    }
}

void CScenarioProbeView::OnSave() {
    std::string path;
    if (!ui().dialogs().saveFileDialog(GetWnd(), "Text (*.txt)|*.txt||", "txt", win::OFN_HIDEREADONLY, path)) {
        return;
    }
    TextFileWriter writer;
    if (!writer.open(path)) {
        return;
    }
    for (std::size_t row = 0; row < m_grid->iGetRowCount(); ++row) {
        writer.writeString(m_grid->cszGetCellText(row, 0) + "\t" + m_grid->cszGetCellText(row, 1) + "\n");
    }
    writer.close();
}

void CScenarioProbeView::OnPrint() {
    std::unique_ptr<host::ui::DeviceContext> printer = ui().dialogs().printDialog(GetWnd(), win::PD_NOPAGENUMS);
    if (!printer) {
        return;
    }
    printer->startDoc("Probe");
    printer->startPage();
    int y = 100;
    for (std::size_t row = 0; row < m_grid->iGetRowCount(); ++row, y += printer->textHeight()) {
        printer->textOut(100, y, m_grid->cszGetCellText(row, 0) + " " + m_grid->cszGetCellText(row, 1));
    }
    printer->endPage();
    printer->endDoc();
}

void CScenarioProbeView::OnClear() {
    if (ui().dialogs().messageBox(GetWnd(), "Clear the list?", "Probe", win::MB_YESNO | win::MB_ICONQUESTION) ==
        win::IDYES) {
        fill({});
    }
}
