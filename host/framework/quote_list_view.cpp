#include "host/framework/quote_list_view.h"

#include <algorithm>
#include <sstream>

#include "host/backend/bk_quote_interface.h"
#include "host/backend/quote_price.h"
#include "host/framework/cfg_io.h"
#include "host/framework/sync_info.h"
#include "host/ui/messages.h"
#include "host/ui/sheet.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Rect;
namespace win = host::ui::win;

namespace {

struct ColumnSpec {
    const char* headerKey;
    int width;
};

// Header language keys and default widths by column kind.
constexpr ColumnSpec kColumnSpecs[QuoteListBaseView::kColumnKinds] = {
    {"IDS_QUOTELIST_CODE", 52},   {"IDS_QUOTELIST_NAME", 72},   {"IDS_QUOTELIST_LAST", 60},
    {"IDS_QUOTELIST_CHANGE", 56}, {"IDS_QUOTELIST_CHGPCT", 60}, {"IDS_QUOTELIST_VOLUME", 64},
    {"IDS_QUOTELIST_BID", 60},    {"IDS_QUOTELIST_ASK", 60},    {"IDS_QUOTELIST_OPEN", 60},
    {"IDS_QUOTELIST_HIGH", 60},   {"IDS_QUOTELIST_LOW", 60},    {"IDS_QUOTELIST_REF", 60},
};

CString langText(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString{key};
}

} // namespace

QuoteListBaseView::QuoteListBaseView() {
    vSetColumnSetup(kColumnSetupFull);
}

QuoteListBaseView::~QuoteListBaseView() = default;

std::string QuoteListBaseView::keyOf(unsigned char service, const CString& code) {
    std::string key;
    key.reserve(code.size() + 1);
    key.push_back(static_cast<char>(service));
    key += code;
    return key;
}

bool QuoteListBaseView::bCreateView(host::ui::Window* parent, const CString& name, int value1, int value2) {
    m_strViewName = name;
    vSetFrameID(value2);
    if (GetWnd() == nullptr && !Create(parent, Rect{0, 0, 0, 0}, value1)) {
        return false;
    }
    if (m_pGrid == nullptr) {
        m_pGrid = GetWnd()->createSheet(kGridId, GetClientRect());
        if (m_pGrid == nullptr) {
            return false;
        }
        host::ui::CSheetBuilder builder;
        m_pGrid->bCreateSheet(builder);
        m_pGrid->vSetThinBar(CSyncInfo::Get().GetSettingCFG()->CApi_GetThinBarStatus());
        vChangeCast();
        // The columns come with the column set-up (or with the first symbols, at the latest):
        // the host's grid cannot drop columns once they exist.
    }
    return true;
}

void QuoteListBaseView::vSetColumnSetup(int setup) {
    m_iColumnSetup = setup == kColumnSetupCompact ? kColumnSetupCompact : kColumnSetupFull;
    const int count = m_iColumnSetup == kColumnSetupCompact ? kColAsk + 1 : kColumnKinds;
    m_vColumns.clear();
    for (int c = 0; c < count; ++c) {
        m_vColumns.push_back(static_cast<Column>(c));
    }
    vWriteHeader();
}

void QuoteListBaseView::vWriteHeader() {
    if (m_pGrid == nullptr) {
        return;
    }
    // Columns cannot be removed from the host's grid: columns beyond the set-up shrink out of sight.
    for (int col = static_cast<int>(m_vColumns.size()); col < m_pGrid->iGetColCount(); ++col) {
        m_pGrid->vSetColWidth(col, 0);
        m_pGrid->vSetHeaderText(col, CString{});
    }
    for (std::size_t i = 0; i < m_vColumns.size(); ++i) {
        const Column kind = m_vColumns[i];
        int width = kColumnSpecs[kind].width;
        if (static_cast<std::size_t>(kind) < m_vColumnWidths.size() && m_vColumnWidths[kind] > 0) {
            width = m_vColumnWidths[kind];
        }
        const int col = static_cast<int>(i);
        if (col >= m_pGrid->iGetColCount()) {
            m_pGrid->iInsertCol(col, width);
        } else {
            m_pGrid->vSetColWidth(col, width);
        }
        m_pGrid->vSetHeaderText(col, langText(kColumnSpecs[kind].headerKey));
    }
    for (std::size_t row = 0; row < m_vRows.size(); ++row) {
        vWriteRow(row);
    }
}

void QuoteListBaseView::vSetComponentPos() {
    if (GetWnd() == nullptr || m_pGrid == nullptr) {
        return;
    }
    Rect area = GetClientRect();
    area.top += GetTitleHeight();
    m_pGrid->move(area);
    Invalidate();
}

void QuoteListBaseView::vShowGrid(bool show) {
    if (m_pGrid != nullptr) {
        m_pGrid->show(show);
    }
}

void QuoteListBaseView::vSetSymbolList(const std::vector<CSymbolInfo>& symbols) {
    std::vector<CSymbolInfo> shown;
    std::unordered_map<std::string, std::size_t> rowOf;
    for (const CSymbolInfo& s : symbols) {
        if (s.m_strCode.empty() || rowOf.count(keyOf(s.m_byMarket, s.m_strCode)) > 0) {
            continue;
        }
        rowOf.emplace(keyOf(s.m_byMarket, s.m_strCode), shown.size());
        shown.push_back(CSymbolInfo{s.m_byMarket, s.m_strCode, s.m_strName});
    }

    std::vector<CSymbolInfo> removed;
    for (const CSymbolInfo& s : m_vSymbols) {
        if (rowOf.count(keyOf(s.m_byMarket, s.m_strCode)) == 0) {
            removed.push_back(CSymbolInfo{s.m_byMarket, s.m_strCode, {}});
        }
    }
    std::vector<CSymbolInfo> added;
    for (const CSymbolInfo& s : shown) {
        if (m_rowOf.count(keyOf(s.m_byMarket, s.m_strCode)) == 0) {
            added.push_back(CSymbolInfo{s.m_byMarket, s.m_strCode, {}});
        }
    }
    if (!added.empty() || !removed.empty()) {
        C_RegisterSymbol(this, added, removed);
    }

    m_vSymbols = shown;
    m_rowOf = std::move(rowOf);
    m_vRows.assign(shown.size(), Row{});
    m_vDirty.clear();
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    bool quotesCarried = shown.empty();
    for (std::size_t i = 0; i < shown.size(); ++i) {
        Row& row = m_vRows[i];
        row.symbol = shown[i];
        row.memory.m_byService = shown[i].m_byMarket;
        row.memory.m_strCode = shown[i].m_strCode;
        row.memory.m_strName = shown[i].m_strName;
        if (bk != nullptr) {
            CMemoryInfo memory;
            if (bk->BKQbGetSymbolMemory(memory, shown[i].m_byMarket, shown[i].m_strCode)) {
                row.memory = memory;
                row.hasMemory = true;
                quotesCarried = true;
            } else if (bk->BKQbReRequestSymbolMemory(shown[i].m_byMarket, shown[i].m_strCode)) {
                quotesCarried = true;
            }
        }
    }
    // A back end that neither holds nor sends quotes for any of the symbols does not carry
    // quotes: the view says so instead of showing a grid of names without prices.
    const int state = quotesCarried ? kDataNormal : kDataNotSupported;
    if (state != GetDataState()) {
        SetDataState(state);
        vShowGrid(state == kDataNormal);
        Invalidate();
    }
    if (m_pGrid != nullptr) {
        if (m_pGrid->iGetColCount() == 0 && !m_vRows.empty()) {
            vWriteHeader();
        }
        m_pGrid->vClearAllRows();
        m_pGrid->vAddRows(m_vRows.size());
        m_pGrid->vResetScroll();
        for (std::size_t i = 0; i < m_vRows.size(); ++i) {
            vWriteRow(i);
        }
        if (!m_vRows.empty()) {
            m_pGrid->vSetActiveSelection(0, 0);
        }
        m_pGrid->invalidate(true);
    }
}

void QuoteListBaseView::vClearList() {
    vSetSymbolList({});
}

int QuoteListBaseView::GetRowCount() const {
    return m_pGrid != nullptr ? static_cast<int>(m_pGrid->iGetRowCount()) : static_cast<int>(m_vRows.size());
}

bool QuoteListBaseView::vGetFocusSymbol(unsigned char& market, CString& code) const {
    if (m_pGrid == nullptr) {
        return false;
    }
    const int row = m_pGrid->cptGetFocusNdx().y;
    if (row < 0 || static_cast<std::size_t>(row) >= m_vRows.size()) {
        return false;
    }
    market = m_vRows[static_cast<std::size_t>(row)].symbol.m_byMarket;
    code = m_vRows[static_cast<std::size_t>(row)].symbol.m_strCode;
    return true;
}

void QuoteListBaseView::vClearAllMemoryUpdate() {
    for (std::size_t row : m_vDirty) {
        if (row < m_vRows.size()) {
            m_vRows[row].dirty = false;
        }
    }
    m_vDirty.clear();
}

void QuoteListBaseView::vApplyMemory(const CMemoryInfo& info) {
    const auto it = m_rowOf.find(keyOf(info.m_byService, info.m_strCode));
    if (it == m_rowOf.end()) {
        return; // not a symbol of this list (any more)
    }
    Row& row = m_vRows[it->second];
    const CString name = row.memory.m_strName;
    row.memory = info;
    if (row.memory.m_strName.empty()) {
        row.memory.m_strName = name;
    }
    row.hasMemory = true;
    if (!row.dirty) {
        row.dirty = true;
        m_vDirty.push_back(it->second);
    }
    vScheduleRefresh();
}

void QuoteListBaseView::vScheduleRefresh() {
    if (m_bRefreshArmed || GetWnd() == nullptr) {
        return;
    }
    // Armed once per burst and not restarted by later updates, so a steady stream still
    // reaches the screen every refresh period.
    m_bRefreshArmed = true;
    GetWnd()->setTimer(kRefreshTimer, kRefreshMs);
}

void QuoteListBaseView::vFlushMemoryUpdate() {
    std::vector<std::size_t> dirty;
    dirty.swap(m_vDirty);
    for (std::size_t row : dirty) {
        if (row < m_vRows.size() && m_vRows[row].dirty) {
            m_vRows[row].dirty = false;
            vWriteRow(row);
        }
    }
}

void QuoteListBaseView::vRecvNewMemory(const CMemoryInfo* info) {
    if (info != nullptr) {
        vApplyMemory(*info);
    }
}

void QuoteListBaseView::vRecvMemoryRecovery(const CMemoryInfo* info) {
    if (info != nullptr) {
        vApplyMemory(*info);
    }
}

void QuoteListBaseView::vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* infos) {
    if (infos == nullptr) {
        return;
    }
    for (const CMemoryInfo& info : *infos) {
        vApplyMemory(info);
    }
}

COLORREF QuoteListBaseView::crPriceColor(std::int32_t price, std::int32_t reference) const {
    const CSyncInfo& sync = CSyncInfo::Get();
    if (price <= 0 || reference <= 0 || price == reference) {
        return sync.SYS_crGetOtherColor("COLOR_QUOTE_EVEN");
    }
    return sync.SYS_crGetOtherColor(price > reference ? "COLOR_QUOTE_UP" : "COLOR_QUOTE_DOWN");
}

void QuoteListBaseView::vWriteRow(std::size_t index) {
    if (m_pGrid == nullptr || index >= m_vRows.size() || index >= m_pGrid->iGetRowCount()) {
        return;
    }
    const Row& row = m_vRows[index];
    const CMemoryInfo& m = row.memory;
    const CSyncInfo& sync = CSyncInfo::Get();
    const COLORREF normal = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");
    for (std::size_t i = 0; i < m_vColumns.size(); ++i) {
        const int col = static_cast<int>(i);
        CString text;
        COLORREF fg = normal;
        bool limitCell = false;
        // A price cell: the price, coloured by its side of the reference price.
        const auto showPrice = [&](std::int32_t price) {
            text = quote_price::priceText(price);
            fg = crPriceColor(price, m.m_iRefPrice);
        };
        switch (m_vColumns[i]) {
        case kColCode:
            text = row.symbol.m_strCode;
            break;
        case kColName:
            text = m.m_strName;
            break;
        case kColLast:
            showPrice(m.m_iLast);
            limitCell = m.m_iLast > 0 && (m.m_iLast == m.m_iLimitUp || m.m_iLast == m.m_iLimitDown);
            break;
        case kColChange:
            text = quote_price::changeText(m.m_iLast, m.m_iRefPrice);
            fg = crPriceColor(m.m_iLast, m.m_iRefPrice);
            break;
        case kColChangePercent:
            text = quote_price::changePercentText(m.m_iLast, m.m_iRefPrice);
            fg = crPriceColor(m.m_iLast, m.m_iRefPrice);
            break;
        case kColVolume:
            text = row.hasMemory && m.m_llVolume > 0 ? std::to_string(m.m_llVolume) : CString{};
            break;
        case kColBid:
            showPrice(m.m_iBid);
            break;
        case kColAsk:
            showPrice(m.m_iAsk);
            break;
        case kColOpen:
            showPrice(m.m_iOpen);
            break;
        case kColHigh:
            showPrice(m.m_iHigh);
            break;
        case kColLow:
            showPrice(m.m_iLow);
            break;
        case kColReference:
            text = quote_price::priceText(m.m_iRefPrice);
            break;
        case kColumnKinds:
            break;
        }
        if (m_pGrid->cszGetCellText(index, col) != text) {
            m_pGrid->vSetCellText(index, col, text);
        }
        // A price at the day's limit is shown reversed: the price colour becomes the background.
        if (limitCell) {
            m_pGrid->vSetCellBkColor(index, col, fg);
            m_pGrid->vSetCellFgColor(index, col, sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
        } else {
            m_pGrid->vResetCellColor(index, col);
            m_pGrid->vSetCellFgColor(index, col, fg);
        }
    }
    m_pGrid->vInvalidateRow(index);
}

void QuoteListBaseView::vDoSymbolUpdate(const std::vector<CSymbolUpdateInfo>& updates) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    // A changed or new catalogue record may carry a new name or reference price: read it again.
    for (const CSymbolUpdateInfo& update : updates) {
        const auto it = m_rowOf.find(keyOf(update.m_byService, update.m_strCode));
        if (it == m_rowOf.end()) {
            continue;
        }
        CMemoryInfo memory;
        if (bk->BKQbGetSymbolMemory(memory, update.m_byService, update.m_strCode)) {
            vApplyMemory(memory);
        }
    }
}

void QuoteListBaseView::vReRegisterSymbols() {
    C_UnRegisterSymbol(this);
    std::vector<CSymbolInfo> symbols;
    for (const CSymbolInfo& s : m_vSymbols) {
        symbols.push_back(CSymbolInfo{s.m_byMarket, s.m_strCode, {}});
    }
    if (!symbols.empty()) {
        C_RegisterSymbol(this, symbols, {});
    }
}

void QuoteListBaseView::vUnregisterViewSymbol() {
    C_UnRegisterSymbol(this);
}

void QuoteListBaseView::vChangeCast() {
    if (m_pGrid == nullptr) {
        return;
    }
    const CSyncInfo& sync = CSyncInfo::Get();
    m_pGrid->vSetBkColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"),
                         sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH"));
    m_pGrid->vSetFgColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT"));
    m_pGrid->vSetHeaderRowBkColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDBkCOLOR1"));
    m_pGrid->vSetHeaderRowFgColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDTEXTCOLOR1"));
    m_pGrid->vSetFrameColor(sync.SYS_crGetOtherColor("COLOR_OTHERLINES"));
    // No focus colours: a quote keeps its up and down colours on the focused row too.
    m_pGrid->vSetFocusColor(false, sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT"),
                            sync.SYS_crGetOtherColor("COLOR_LISTCTL_CLICKLINE"));
    m_pGrid->vSetFont(GetViewFont());
    for (std::size_t row = 0; row < m_vRows.size(); ++row) {
        vWriteRow(row);
    }
    Invalidate();
}

void QuoteListBaseView::InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                                        const CString& /*name*/) {
    if (cfg == nullptr) {
        return;
    }
    int setup = m_iColumnSetup;
    if (cfg->GetViewInfoInt(section, layout1, layout2, kViewKey, "ColumnSetup", setup)) {
        vSetColumnSetup(setup);
    }
    CString widths;
    if (cfg->GetViewInfo(section, layout1, layout2, kViewKey, "ColumnWidths", widths)) {
        // "kind:width" pairs separated by commas; a malformed pair is skipped.
        std::vector<int> parsed(kColumnKinds, 0);
        std::istringstream in(widths);
        std::string pair;
        while (std::getline(in, pair, ',')) {
            const auto colon = pair.find(':');
            if (colon == std::string::npos) {
                continue;
            }
            try {
                std::size_t used = 0;
                const int kind = std::stoi(pair.substr(0, colon), &used);
                const int width = std::stoi(pair.substr(colon + 1));
                if (kind >= 0 && kind < kColumnKinds && width > 0 && width <= 2000) {
                    parsed[static_cast<std::size_t>(kind)] = width;
                }
            } catch (const std::exception&) {
                continue;
            }
        }
        m_vColumnWidths = parsed;
        vWriteHeader();
    }
}

void QuoteListBaseView::SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    if (cfg == nullptr) {
        return;
    }
    cfg->SetViewInfo(section, layout1, layout2, kViewKey, "ColumnSetup", std::to_string(m_iColumnSetup));
    CString widths;
    for (std::size_t i = 0; i < m_vColumns.size(); ++i) {
        const int width = m_pGrid != nullptr ? m_pGrid->iGetColWidth(static_cast<int>(i)) : 0;
        if (width <= 0) {
            continue;
        }
        if (!widths.empty()) {
            widths += ",";
        }
        widths += std::to_string(static_cast<int>(m_vColumns[i])) + ":" + std::to_string(width);
    }
    cfg->SetViewInfo(section, layout1, layout2, kViewKey, "ColumnWidths", widths);
}

void QuoteListBaseView::OnDraw(host::ui::DeviceContext& dc) {
    if (GetWnd() == nullptr) {
        return;
    }
    dc.fillRect(GetClientRect(), CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
    DrawTitle(dc);
}

void QuoteListBaseView::OnTimer(unsigned id) {
    if (id != kRefreshTimer) {
        return;
    }
    if (GetWnd() != nullptr) {
        GetWnd()->killTimer(kRefreshTimer);
    }
    m_bRefreshArmed = false;
    vFlushMemoryUpdate();
}

void QuoteListBaseView::OnDblClickRow(int row) {
    if (row < 0 || static_cast<std::size_t>(row) >= m_vRows.size()) {
        return;
    }
    const CSymbolInfo& symbol = m_vRows[static_cast<std::size_t>(row)].symbol;
    SetSymbol(symbol.m_byMarket, symbol.m_strCode);
    if (const unsigned char group = byAnnounceGroup(); group != 0) {
        SendChangeSymbol(this, group);
    }
}

unsigned char QuoteListBaseView::byAnnounceGroup() const {
    host::ui::Window* parent = GetWnd() != nullptr ? GetWnd()->parent() : nullptr;
    for (const TRVQuoteBaseView* view : AllViews()) {
        if (parent != nullptr && view != this && view->GetWnd() == parent) {
            return view->GetLinkGroup();
        }
    }
    return GetLinkGroup();
}

void QuoteListBaseView::ChangeSymbol(const TRVQuoteBaseView* sender, unsigned char group, unsigned char service,
                                     const CString& code, const CString& name) {
    TRVQuoteBaseView::ChangeSymbol(sender, group, service, code, name);
    const auto it = m_rowOf.find(keyOf(service, code));
    if (it != m_rowOf.end() && m_pGrid != nullptr && m_pGrid->cptGetFocusNdx().y != static_cast<int>(it->second)) {
        m_pGrid->vSetActiveSelection(static_cast<int>(it->second), 0);
        m_pGrid->vAutoVerScrolling(static_cast<int>(it->second));
    }
}

LRESULT QuoteListBaseView::handleMessage(const Message& message) {
    switch (message.message) {
    case win::WM_SIZE:
        TRVQuoteBaseView::handleMessage(message);
        vSetComponentPos();
        return 0;
    case win::WM_TIMER:
        OnTimer(static_cast<unsigned>(message.wParam));
        return 0;
    case win::WM_LBUTTONDBLCLK:
        if ((message.wParam & win::kGridForwarded) != 0 && m_pGrid != nullptr) {
            OnDblClickRow(m_pGrid->cptGetFocusNdx().y);
        }
        return 0;
    case win::WM_DESTROY:
        m_pGrid = nullptr;
        break;
    default:
        break;
    }
    return TRVQuoteBaseView::handleMessage(message);
}
