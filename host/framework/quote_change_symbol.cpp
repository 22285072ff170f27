#include "host/framework/quote_change_symbol.h"

#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/ui/controls.h"
#include "host/ui/messages.h"
#include "host/ui/registered_messages.h"

namespace win = host::ui::win;

namespace {

enum : int { kIdMarketList = 2122, kIdSymbolList = 2124, kIdChoose = 2125 };

constexpr const char* kMsgChangeSymbolBySearch = "RVMSGCHANGESYMBOLBYSEARCH";

} // namespace

QuoteTRVChangeSymbol::QuoteTRVChangeSymbol(host::ui::Window* parent, int mode) : CDialog(IDD, parent), m_iMode(mode) {}

const host::MessageMap<QuoteTRVChangeSymbol>& QuoteTRVChangeSymbol::GetMessageMap() {
    using Map = host::MessageMap<QuoteTRVChangeSymbol>;
    using T = QuoteTRVChangeSymbol;
    static const Map map{
        Map::commandCode<&T::OnSelchangeMarket>(kIdMarketList, win::LBN_SELCHANGE),
        Map::commandCode<&T::OnChoose>(kIdSymbolList, win::LBN_DBLCLK),
        Map::command<&T::OnChoose>(kIdChoose),
    };
    return map;
}

std::optional<host::ui::LRESULT> QuoteTRVChangeSymbol::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

bool QuoteTRVChangeSymbol::OnInitDialog() {
    vFillMarkets();
    return true;
}

void QuoteTRVChangeSymbol::vSetShowStatus(bool shown) {
    m_bShowing = shown;
    if (shown && m_vMarket.empty()) {
        vFillMarkets();
    }
}

void QuoteTRVChangeSymbol::vDoSymbolUpdateTreeNode(host::ui::WPARAM /*update*/) {
    vFillMarkets();
}

void QuoteTRVChangeSymbol::CenterWindow() {
    host::ui::Window* wnd = GetWnd();
    host::ui::Window* parent = GetParentWnd();
    if (wnd == nullptr || parent == nullptr) {
        return;
    }
    const host::ui::Rect area = parent->clientToScreen(parent->clientRect());
    const host::ui::Rect own = wnd->rect();
    const int left = area.left + (area.Width() - own.Width()) / 2;
    const int top = area.top + (area.Height() - own.Height()) / 2;
    wnd->move(host::ui::Rect{left, top, left + own.Width(), top + own.Height()});
}

void QuoteTRVChangeSymbol::vActivate() {
    if (host::ui::Window* wnd = GetWnd()) {
        wnd->setZOrder(host::ui::ZOrder::kTop, true);
    }
}

void QuoteTRVChangeSymbol::vFillMarkets() {
    auto* list = GetDlgItemAs<host::ui::ListBox>(kIdMarketList);
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (list == nullptr) {
        return;
    }
    // Keeps the market the user had chosen, when the back end still serves it.
    const int previous = list->curSel();
    const unsigned char chosen = previous >= 0 && previous < static_cast<int>(m_vMarket.size())
                                     ? m_vMarket[static_cast<std::size_t>(previous)]
                                     : 0;
    list->resetContent();
    m_vMarket.clear();
    std::vector<unsigned char> services;
    if (bk != nullptr && bk->bGetAllServiceID(services)) {
        for (const unsigned char service : services) {
            CString name;
            if (!bk->BKQNEWS_bGetShortNameByService(name, service) || name.empty()) {
                name = std::to_string(service);
            }
            list->addString(name);
            m_vMarket.push_back(service);
        }
    }
    int select = m_vMarket.empty() ? -1 : 0;
    for (std::size_t i = 0; i < m_vMarket.size(); ++i) {
        if (m_vMarket[i] == chosen) {
            select = static_cast<int>(i);
        }
    }
    list->setCurSel(select);
    vFillSymbols();
}

void QuoteTRVChangeSymbol::vFillSymbols() {
    auto* markets = GetDlgItemAs<host::ui::ListBox>(kIdMarketList);
    auto* symbols = GetDlgItemAs<host::ui::ListBox>(kIdSymbolList);
    if (markets == nullptr || symbols == nullptr) {
        return;
    }
    symbols->setRedraw(false);
    symbols->resetContent();
    m_vCode.clear();
    m_vName.clear();
    const int market = markets->curSel();
    SearchObjInterface* search = SearchControl::GetSearchObjInterface();
    if (market >= 0 && market < static_cast<int>(m_vMarket.size()) && search != nullptr &&
        search->GetSymbolsByService(m_vMarket[static_cast<std::size_t>(market)], m_vCode, m_vName, 1) &&
        m_vCode.size() == m_vName.size()) {
        for (std::size_t i = 0; i < m_vCode.size(); ++i) {
            symbols->addString(m_vCode[i] + " " + m_vName[i]);
        }
    } else {
        m_vCode.clear();
        m_vName.clear();
    }
    symbols->setRedraw(true);
}

void QuoteTRVChangeSymbol::OnSelchangeMarket() {
    vFillSymbols();
}

void QuoteTRVChangeSymbol::OnChoose() {
    auto* markets = GetDlgItemAs<host::ui::ListBox>(kIdMarketList);
    auto* symbols = GetDlgItemAs<host::ui::ListBox>(kIdSymbolList);
    host::ui::Window* parent = GetParentWnd();
    if (markets == nullptr || symbols == nullptr || parent == nullptr || m_iMode != 1) {
        return;
    }
    const int market = markets->curSel();
    const int row = symbols->curSel();
    if (market < 0 || market >= static_cast<int>(m_vMarket.size()) || row < 0 ||
        row >= static_cast<int>(m_vCode.size())) {
        return;
    }
    const CSymbolInfo symbol{m_vMarket[static_cast<std::size_t>(market)], m_vCode[static_cast<std::size_t>(row)],
                             m_vName[static_cast<std::size_t>(row)]};
    m_lastChosen = symbol;
    parent->sendMessage(host::ui::RegisterWindowMessageA(kMsgChangeSymbolBySearch),
                        reinterpret_cast<host::ui::WPARAM>(&symbol), 0);
}

void QuoteTRVChangeSymbol::OnOK() {
    // Enter chooses the symbol under the caret; the picker stays open.
    OnChoose();
}
