#pragma once

#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

#include "host/backend/search.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"
#include "host/ui/controls.h"

class QuoteTRVChangeSymbol;

// The keyword entry part that the advanced search dialog and the key-set dialog share: the
// keyword tab (typed keywords and the keyword pool) and the symbol tab (symbol candidates and
// the symbol picker), the condition's keyword list, the AND/OR radios and the default button
// that follows the focus. Both dialogs use the same control ids for it:
//   2094 tabs, 2061 keyword edit, 2059 pool, 2065 delete from pool, 2086 symbol edit,
//   2093 candidates, 9000 picker button, 2066 add, 2060 condition keywords, 2067 remove,
//   2063 hidden add-typed-keyword button, 2072 (OR) and 2071 (AND) the method radios.
// The button that removes every condition keyword differs per dialog; the derived dialog maps
// it to vRemoveAllKeywords with its own question.
//
// The derived dialog tries its own message map first and hands the rest to this one.
// Ownership: the dialog owns the symbol picker from its first opening. Thread: UI thread.
class CKeywordEntryDlg : public CDialog {
public:
    static constexpr unsigned kTimerSymbolSearch = 20001;
    static constexpr unsigned kSymbolSearchDelayMs = 200;

    ~CKeywordEntryDlg() override;

    const std::vector<CString>& GetPool() const { return m_vPool; }
    QuoteTRVChangeSymbol* GetSymbolPicker() const { return m_pSymbolPicker.get(); }

protected:
    enum : int {
        kIdTab = 2094,
        kIdKeywordEdit = 2061,
        kIdPoolList = 2059,
        kIdDeleteKey = 2065,
        kIdSymbolEdit = 2086,
        kIdCandidateList = 2093,
        kIdPickerButton = 9000,
        kIdAdd = 2066,
        kIdConditionList = 2060,
        kIdRemove = 2067,
        kIdMethodFirst = 2072,
        kIdAddTyped = 2063,
    };

    // methodIndex: the method radio at construction (0 OR, 1 AND, -1 none).
    CKeywordEntryDlg(int templateId, host::ui::Window* parent, const CSearch& condition,
                     const std::vector<CString>& pool, int methodIndex);

    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnTimer(unsigned id) override;
    void OnDestroy() override;

    // One fixed column of a list of stored conditions: its title's language key, width, alignment.
    struct ListColumn {
        const char* titleKey;
        int width;
        host::ui::ListCtrl::Align align;
    };

    // Finds the part's controls, hides 2063 and gives it the focus, inserts the two tabs and
    // fills the pool (first steps of OnInitDialog).
    void vInitKeywordPart();
    // Last steps of OnInitDialog: the window titled with titleKey's text, the pool unfiltered,
    // tab 0, the condition's keywords listed and the members written into the controls.
    void vShowKeywordPart(const char* titleKey);
    // Sets up a list of stored conditions (recent searches, key sets): its style, the fixed
    // columns, then the keyword column in the width they leave (otherWidths: the fixed
    // columns, the border and the scroll bar).
    static void vInitStoredList(host::ui::ListCtrl& list, unsigned style, std::initializer_list<ListColumn> fixed,
                                int otherWidths);
    // A stored condition's row texts: its method (AND, or OR for any other method) and its
    // keywords, each followed by a blank.
    static CString MethodText(bool bAnd);
    static CString RowKeywords(const std::vector<CString>& keywords);
    // Shows the controls of tab 0 or 1 and moves the focus to its edit.
    void vSwitchTab(int tab);
    // The condition's keywords into the condition list, selecting the given indexes.
    void vLoadKeywords(const std::vector<int>& select = {});
    // The non-empty texts of the condition list, in list order.
    std::vector<CString> vReadKeywords() const;
    // Rebuilds the pool list with the keywords containing filter, selecting an item equal to select.
    void vFillPool(const CString& filter, const CString& select = {});
    // Adds a keyword to the condition unless present; returns its index.
    int iAddKeyword(const CString& keyword);
    // Asks questionKey (Yes/No) when the condition has keywords; on Yes empties them.
    void vRemoveAllKeywords(const char* questionKey);
    // Makes a button the default push button (the one Enter presses from a control that is none).
    void vSetDefaultButton(int id);
    // Focus to an edit with its whole text selected.
    void vFocusEdit(int id);
    static std::vector<int> selectedItems(const host::ui::ListBox* list);
    // The back end's language text of a key.
    static CString Lang(const char* key);

    // ---- State ----
    CSearch m_search; // the condition being edited; the key-set dialog uses its keywords only
    std::vector<CString> m_vPool;
    int m_iCurTab = 0;
    std::unique_ptr<QuoteTRVChangeSymbol> m_pSymbolPicker;
    host::ui::Button* m_pPickerButton = nullptr;   // 9000
    host::ui::TabStrip* m_pTab = nullptr;          // 2094
    host::ui::ListBox* m_pCandidates = nullptr;    // 2093
    host::ui::ListBox* m_pPoolList = nullptr;      // 2059
    host::ui::ListBox* m_pConditionList = nullptr; // 2060
    CString m_strKeyword;
    int m_iMethod = -1; // 0 OR, 1 AND
    CString m_strSymbolEdit;

private:
    static const host::MessageMap<CKeywordEntryDlg>& GetMessageMap();

    void OnSelchangeTab(const host::ui::NotifyInfo& info);
    void OnAddTypedKeyword();   // hidden default button 2063: Enter in the keyword edit
    void OnChangeKeywordEdit(); // filters the pool
    void OnAddSelected();       // button 2066
    void OnDblclkPool();
    void OnDblclkCandidate();
    void OnRemoveSelected(); // button 2067, double click in the condition list
    void OnDeletePoolKeys(); // button 2065
    void OnChangeSymbolEdit();
    void OnSymbolPicker(); // button 9000
    void OnSetFocusKeywordEdit();
    void OnSetFocusCandidates();
    void OnSetFocusCondition();
    host::ui::LRESULT OnChangeSymbolBySearch(host::ui::WPARAM wParam, host::ui::LPARAM lParam);
    host::ui::LRESULT OnSymbolUpdateTreeDlg(host::ui::WPARAM wParam, host::ui::LPARAM lParam);
};
