#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "search/keyword_entry_dlg.h"

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
class CAdvSearchDlg : public CKeywordEntryDlg {
public:
    static constexpr int IDD = 2013;
    static constexpr std::size_t kMaxRecent = 10;

    CAdvSearchDlg(const CSearch& condition, const std::vector<CString>& pool, const std::vector<CSearch>& recent,
                  host::ui::Window* parent);
    ~CAdvSearchDlg() override;

    // The edited condition, the pool and the recent-search list.
    void vGetResult(CSearch& condition, std::vector<CString>& pool, std::vector<CSearch>& recent) const;
    const CSearch& GetCondition() const { return m_search; }
    const std::vector<CSearch>& GetRecent() const { return m_vRecent; }

    // Two conditions are the same search when scope and method agree and the keywords are
    // equal in order, or are the same number of keywords each found in the other.
    static bool bIsSameSearch(const CSearch& a, const CSearch& b);

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnOK() override;

private:
    static const host::MessageMap<CAdvSearchDlg>& GetMessageMap();

    void OnRemoveAll(); // button 2076
    void OnClickRecent(const host::ui::NotifyInfo& info);
    void OnDblclkRecent(const host::ui::NotifyInfo& info);

    // Condition into the radio members and the condition list, selecting the given indexes.
    void vLoadCondition(const std::vector<int>& select = {});
    // The condition's scope and method into the radio members.
    void vLoadRadios();
    // The controls into the condition (at OK).
    void vReadCondition();
    void vFillRecent();
    // Selects a recent-search row: the condition becomes its entry.
    void vSelectRecent(int row);

    std::vector<CSearch> m_vRecent; // oldest first
    int m_iSelRecent = -1;
    host::ui::ListCtrl* m_pRecentList = nullptr; // 2074
    int m_iScope = -1;                           // 0 headline, 1 story, 2 both
};
