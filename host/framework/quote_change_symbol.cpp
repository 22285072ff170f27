#include "host/framework/quote_change_symbol.h"

#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/ui/controls.h"
#include "host/ui/messages.h"
#include "host/ui/registered_messages.h"

namespace win = host::ui::win;

namespace {

enum : int { kIdTree = 2122, kIdChoose = 2125 };

constexpr const char* kMsgChangeSymbolBySearch = "RVMSGCHANGESYMBOLBYSEARCH";

} // namespace

QuoteTRVChangeSymbol::QuoteTRVChangeSymbol(host::ui::Window* parent, int mode) : CDialog(IDD, parent), m_iMode(mode) {}

const host::MessageMap<QuoteTRVChangeSymbol>& QuoteTRVChangeSymbol::GetMessageMap() {
    using Map = host::MessageMap<QuoteTRVChangeSymbol>;
    using T = QuoteTRVChangeSymbol;
    static const Map map{
        Map::notify<&T::OnDblclkTree>(kIdTree, win::NM_DBLCLK),
        Map::command<&T::OnChoose>(kIdChoose),
    };
    return map;
}

std::optional<host::ui::LRESULT> QuoteTRVChangeSymbol::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

bool QuoteTRVChangeSymbol::OnInitDialog() {
    vFillTree();
    return true;
}

void QuoteTRVChangeSymbol::vSetShowStatus(bool shown) {
    m_bShowing = shown;
    if (shown && m_vSymbol.empty()) {
        vFillTree();
    }
}

void QuoteTRVChangeSymbol::vDoSymbolUpdateTreeNode(host::ui::WPARAM /*update*/) {
    vFillTree();
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

void QuoteTRVChangeSymbol::vFillTree() {
    auto* tree = GetDlgItemAs<host::ui::TreeCtrl>(kIdTree);
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    SearchObjInterface* search = SearchControl::GetSearchObjInterface();
    if (tree == nullptr) {
        return;
    }
    // The chosen symbol stays chosen when the back end still lists it.
    const std::intptr_t chosen = tree->itemData(tree->selectedItem());
    const std::optional<CSymbolInfo> keep =
        chosen > 0 && static_cast<std::size_t>(chosen) <= m_vSymbol.size()
            ? std::optional<CSymbolInfo>(m_vSymbol[static_cast<std::size_t>(chosen - 1)])
            : std::nullopt;
    tree->setRedraw(false);
    tree->deleteAllItems();
    m_vSymbol.clear();
    std::vector<unsigned char> markets;
    if (bk != nullptr && bk->bGetAllServiceID(markets)) {
        for (const unsigned char market : markets) {
            CString label;
            if (!bk->BKQNEWS_bGetShortNameByService(label, market) || label.empty()) {
                label = std::to_string(market);
            }
            const host::ui::TreeCtrl::Item node = tree->insertItem(0, label, 0);
            std::vector<CString> codes;
            std::vector<CString> names;
            if (search == nullptr || !search->GetSymbolsByService(market, codes, names, 1) ||
                codes.size() != names.size()) {
                continue;
            }
            for (std::size_t i = 0; i < codes.size(); ++i) {
                m_vSymbol.push_back(CSymbolInfo{market, codes[i], names[i]});
                const host::ui::TreeCtrl::Item item =
                    tree->insertItem(node, codes[i] + " " + names[i], static_cast<std::intptr_t>(m_vSymbol.size()));
                if (keep && *keep == m_vSymbol.back()) {
                    tree->selectItem(item);
                }
            }
        }
    }
    tree->setRedraw(true);
}

void QuoteTRVChangeSymbol::OnDblclkTree(const host::ui::NotifyInfo& /*info*/) {
    OnChoose();
}

void QuoteTRVChangeSymbol::OnChoose() {
    auto* tree = GetDlgItemAs<host::ui::TreeCtrl>(kIdTree);
    host::ui::Window* parent = GetParentWnd();
    if (tree == nullptr || parent == nullptr || m_iMode != 1) {
        return;
    }
    // A market is no symbol: choosing one only opens it.
    const host::ui::TreeCtrl::Item item = tree->selectedItem();
    const std::intptr_t index = tree->itemData(item);
    if (index <= 0 || static_cast<std::size_t>(index) > m_vSymbol.size()) {
        tree->expand(item, true);
        return;
    }
    const CSymbolInfo symbol = m_vSymbol[static_cast<std::size_t>(index - 1)];
    m_lastChosen = symbol;
    parent->sendMessage(host::ui::RegisterWindowMessageA(kMsgChangeSymbolBySearch),
                        reinterpret_cast<host::ui::WPARAM>(&symbol), 0);
}

void QuoteTRVChangeSymbol::OnOK() {
    // Enter chooses the symbol under the caret; the picker stays open.
    OnChoose();
}
