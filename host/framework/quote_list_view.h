#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/framework/base_views.h"

namespace host::ui {
class CSuperSheetWnd;
}

// The host's quote list: a grid of symbols with their live quotes. It registers the symbols
// it shows with the real-time distribution, takes their quote records from the back end
// (vRecvNewMemory, vRecvMemoryRecovery, vRecvMultiSymbolMemoryRecovery) and writes the
// changed cells on a short refresh timer, so a burst of updates costs one grid write per
// changed cell per refresh. A double-click on a row makes its symbol the link group's.
// Ownership: the view owns its grid (a child of its window). Thread: UI thread.
class QuoteListBaseView : public TRVQuoteBaseView {
public:
    enum Column : int {
        kColCode,
        kColName,
        kColLast,
        kColChange,
        kColChangePercent,
        kColVolume,
        kColBid,
        kColAsk,
        kColOpen,
        kColHigh,
        kColLow,
        kColReference,
        kColumnKinds
    };
    // Column set-ups: the full set, and the compact set of a list shown beside other content
    // (code, name, last, change, change %, volume, bid, ask).
    static constexpr int kColumnSetupFull = 0;
    static constexpr int kColumnSetupCompact = 16;

    static constexpr int kGridId = 4100;
    static constexpr unsigned kRefreshTimer = 1;
    static constexpr unsigned kRefreshMs = 100;
    static constexpr const char* kViewKey = "QuoteListBaseView";

    QuoteListBaseView();
    ~QuoteListBaseView() override;

    // Creates the view's window under parent. value1 is the window's child id, value2 the frame
    // id of the view. False when the window could not be created.
    virtual bool bCreateView(host::ui::Window* parent, const CString& name, int value1, int value2);

    // Shows these symbols, in this order (a symbol listed twice shows once): registers them,
    // unregisters the ones no longer shown, and fills each row from the back end's record (a
    // symbol the back end holds no record of is asked for again).
    void vSetSymbolList(const std::vector<CSymbolInfo>& symbols);
    // Empties the list and unregisters its symbols.
    void vClearList();
    const std::vector<CSymbolInfo>& GetSymbolList() const { return m_vSymbols; }
    // The focused row's symbol; false (outputs untouched) when no row has the focus.
    bool vGetFocusSymbol(unsigned char& market, CString& code) const;
    int GetRowCount() const;

    // Drops the quote updates not written to the grid yet.
    void vClearAllMemoryUpdate();
    // Applies a column set-up (kColumnSetupFull, kColumnSetupCompact; others give the full set).
    void vSetColumnSetup(int setup);
    int GetColumnSetup() const { return m_iColumnSetup; }
    const std::vector<Column>& GetColumns() const { return m_vColumns; }
    // Lays the grid out below the title band and shows it.
    void vSetComponentPos();
    void vShowGrid(bool show);
    host::ui::CSuperSheetWnd* GetGrid() const { return m_pGrid; }
    const CString& GetViewName() const { return m_strViewName; }
    // Writes the updates that are pending now (the refresh timer does so by itself).
    void vFlushMemoryUpdate();

    // --- Back-end callbacks ---
    void vRecvNewMemory(const CMemoryInfo* info) override;
    void vRecvMemoryRecovery(const CMemoryInfo* info) override;
    void vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* infos) override;

    // --- Host overrides ---
    // A symbol of the link group that this list shows gets the focus row.
    void ChangeSymbol(const TRVQuoteBaseView* sender, unsigned char group, unsigned char service, const CString& code,
                      const CString& name) override;
    void vDoSymbolUpdate(const std::vector<CSymbolUpdateInfo>& updates) override;
    void vReRegisterSymbols() override;
    void vUnregisterViewSymbol() override;
    void vChangeCast() override;
    void InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                         const CString& name) override;
    void SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) override;
    void GetCaption(CString& caption) override { caption = GetCaptionText(); }
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;

protected:
    void OnDraw(host::ui::DeviceContext& dc) override;
    void OnTimer(unsigned id) override;
    // A row was double-clicked: its symbol becomes the view's and the link group's.
    virtual void OnDblClickRow(int row);

private:
    struct Row {
        CSymbolInfo symbol;
        CMemoryInfo memory;
        bool hasMemory = false;
        bool dirty = false;
    };
    static std::string keyOf(unsigned char service, const CString& code);
    void vApplyMemory(const CMemoryInfo& info);
    void vWriteRow(std::size_t row);
    void vWriteHeader();
    void vScheduleRefresh();
    COLORREF crPriceColor(std::int32_t price, std::int32_t reference) const;
    // The link group a double-clicked symbol is announced to: the group of the view whose
    // window holds this list when there is one (a list inside another view belongs to it),
    // otherwise the list's own.
    unsigned char byAnnounceGroup() const;

    host::ui::CSuperSheetWnd* m_pGrid = nullptr; // owned by the window tree
    CString m_strViewName;
    int m_iColumnSetup = kColumnSetupFull;
    std::vector<Column> m_vColumns;
    std::vector<int> m_vColumnWidths; // saved widths by column kind (0: default)
    std::vector<CSymbolInfo> m_vSymbols;
    std::vector<Row> m_vRows;
    std::unordered_map<std::string, std::size_t> m_rowOf;
    std::vector<std::size_t> m_vDirty; // rows with updates not written yet
    bool m_bRefreshArmed = false;
};
