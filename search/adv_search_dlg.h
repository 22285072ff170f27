#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/backend/search.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"
#include "host/ui/controls.h"

class QuoteTRVChangeSymbol;

// The advanced search dialog (template 2013): the user composes a keyword search over
// headlines and stories from typed keywords, the keyword pool and symbol candidates, picks its
// scope and method, or re-runs one of the ten most recent searches.
//
// The dialog edits copies of the condition, the pool and the recent-search list; the caller
// reads all three back after DoModal whatever its result (vGetResult). A cancelled dialog's
// condition and pool changes therefore count as well: only the recent-search list is changed
// by OK alone.
// Ownership: the caller owns the dialog (on its stack); the dialog owns the symbol picker from
// its first opening. Thread: UI thread.
class CAdvSearchDlg : public CDialog {
public:
    static constexpr int IDD = 2013;
    static constexpr std::size_t kMaxRecent = 10;
    static constexpr unsigned kTimerSymbolSearch = 20001;
    static constexpr unsigned kSymbolSearchDelayMs = 200;

    CAdvSearchDlg(const CSearch& condition, const std::vector<CString>& pool, const std::vector<CSearch>& recent,
                  host::ui::Window* parent);
    ~CAdvSearchDlg() override;

    // The edited condition, the pool and the recent-search list.
    void vGetResult(CSearch& condition, std::vector<CString>& pool, std::vector<CSearch>& recent) const;
    const CSearch& GetCondition() const { return m_search; }
    const std::vector<CString>& GetPool() const { return m_vPool; }
    const std::vector<CSearch>& GetRecent() const { return m_vRecent; }
    QuoteTRVChangeSymbol* GetSymbolPicker() const { return m_pSymbolPicker.get(); }

    // Two conditions are the same search when scope and method agree and the keywords are
    // equal in order, or are the same number of keywords each found in the other.
    static bool bIsSameSearch(const CSearch& a, const CSearch& b);

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnOK() override;
    void OnTimer(unsigned id) override;
    void OnDestroy() override;

private:
    static const host::MessageMap<CAdvSearchDlg>& GetMessageMap();

    // ---- Handlers ----
    void OnSelchangeTab(const host::ui::NotifyInfo& info);
    void OnAddTypedKeyword();   // hidden default button 2063: Enter in the keyword edit
    void OnChangeKeywordEdit(); // filters the pool
    void OnAddSelected();       // button 2066
    void OnDblclkPool();
    void OnDblclkCandidate();
    void OnRemoveSelected(); // button 2067, double click in the condition list
    void OnDeletePoolKeys(); // button 2065
    void OnRemoveAll();      // button 2076
    void OnChangeSymbolEdit();
    void OnSymbolPicker(); // button 9000
    void OnClickRecent(const host::ui::NotifyInfo& info);
    void OnDblclkRecent(const host::ui::NotifyInfo& info);
    void OnSetFocusKeywordEdit();
    void OnSetFocusCandidates();
    void OnSetFocusCondition();
    host::ui::LRESULT OnChangeSymbolBySearch(host::ui::WPARAM wParam, host::ui::LPARAM lParam);
    host::ui::LRESULT OnSymbolUpdateTreeDlg(host::ui::WPARAM wParam, host::ui::LPARAM lParam);

    // ---- Helpers ----
    // Shows the controls of tab 0 or 1 and moves the focus to its edit.
    void vSwitchTab(int tab);
    // Condition into the radio members and the condition list, selecting the given indexes.
    void vLoadCondition(const std::vector<int>& select = {});
    // The controls into the condition (at OK).
    void vReadCondition();
    // Rebuilds the pool list with the keywords containing filter, selecting an item equal to select.
    void vFillPool(const CString& filter, const CString& select = {});
    void vFillRecent();
    // Adds a keyword to the condition unless present; returns its index.
    int iAddKeyword(const CString& keyword);
    // Selects a recent-search row: the condition becomes its entry.
    void vSelectRecent(int row);
    // Makes a button the default push button (the one Enter presses from a control that is none).
    void vSetDefaultButton(int id);
    // Focus to an edit with its whole text selected.
    void vFocusEdit(int id);
    static std::vector<int> selectedItems(const host::ui::ListBox* list);

    // ---- State, in the order the dialog keeps it ----
    CSearch m_search;
    std::vector<CString> m_vPool;
    std::vector<CSearch> m_vRecent; // oldest first
    int m_iSelRecent = -1;
    int m_iCurTab = 0;
    std::unique_ptr<QuoteTRVChangeSymbol> m_pSymbolPicker;
    host::ui::Button* m_pPickerButton = nullptr;   // 9000
    host::ui::TabStrip* m_pTab = nullptr;          // 2094
    host::ui::ListBox* m_pCandidates = nullptr;    // 2093
    host::ui::ListCtrl* m_pRecentList = nullptr;   // 2074
    host::ui::ListBox* m_pPoolList = nullptr;      // 2059
    host::ui::ListBox* m_pConditionList = nullptr; // 2060
    CString m_strKeyword;
    int m_iMethod = -1; // 0 OR, 1 AND
    int m_iScope = -1;  // 0 headline, 1 story, 2 both
    CString m_strSymbolEdit;
};
