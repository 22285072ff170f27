#pragma once

#include <map>
#include <vector>

#include "search/keyword_entry_dlg.h"
#include "search/news_key.h"

// The key-set dialog of the relation search (template 2014): the user makes key sets (a
// method, the news types they cover, keywords) with the keyword entry part shared with the
// advanced search, keeps them in the key-set list 2089, and ticks the ones the
// relation-search list is to show.
//
// The dialog edits copies of the keyword pool and the stored key sets. After DoModal the caller
// takes back the pool whatever the result, and on IDOK the stored key sets and the ticked ones
// (GetNewsKeys, GetTickedKeys).
//
// Row i of the key-set list always shows stored key set i. A key set whose news types are the
// single id -999 (every type) is opened with every id of the category map instead, so its row
// and the news-type list show every type; saved again, it keeps those ids.
// Ownership: the caller owns the dialog (on its stack). Thread: UI thread.
class CNewsKeySearchDlg : public CKeywordEntryDlg {
public:
    static constexpr int IDD = 2014;
    static constexpr unsigned kKeySetListStyle = 0x35; // grid lines, check boxes, header drag-and-drop, full-row select

    CNewsKeySearchDlg(const std::vector<CString>& pool, const std::map<int, CString>& categories,
                      const std::vector<CNewsKey>& keySets, host::ui::Window* parent);
    ~CNewsKeySearchDlg() override;

    const std::vector<CNewsKey>& GetNewsKeys() const { return m_vNewsKey; }
    const std::vector<CNewsKey>& GetTickedKeys() const { return m_vTickedKey; }
    // The stored key set being edited; -1 while a new one is made.
    int GetEditIndex() const { return m_iEditIndex; }
    bool IsModified() const { return m_bModified; }

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void OnOK() override;

private:
    static const host::MessageMap<CNewsKeySearchDlg>& GetMessageMap();

    // ---- Handlers ----
    void OnSaveKeySet();    // 2091
    void OnDeleteKeySets(); // 2092: the ticked rows
    void OnRemoveAll();     // 2068
    void OnAllNewsTypes();  // check box 2034
    void OnAllKeySets();    // check box 2096
    void OnClickKeySet(const host::ui::NotifyInfo& info);
    void OnDblclkKeySet(const host::ui::NotifyInfo& info);
    void OnRclickKeySet(const host::ui::NotifyInfo& info);
    void OnSetFocusPool();
    void OnSetFocusNewsTypes();

    // ---- Helpers ----
    // The key set the controls describe: method radio, ticked news types, condition keywords.
    CNewsKey MakeKeySet();
    // Writes the three columns of row from key set `row`.
    void vSetRowTexts(int row);
    // Leaves edit mode: the save button reads "add", the condition keywords are emptied and
    // the selection mark is cleared.
    void vLeaveEditMode();
    // Asks whether to delete these key sets; on Yes removes every stored key set equal to one of
    // them, with its row, and leaves edit mode.
    void vDeleteKeySets(const std::vector<CNewsKey>& doomed);
    // Shows a message box with the language text of key.
    void vShowError(const char* key);

    // ---- State ----
    std::map<int, CString> m_mapCategory;
    host::ui::ListBox* m_pNewsTypeList = nullptr; // 2062, check list
    host::ui::Button* m_pAllNewsTypes = nullptr;  // 2034
    host::ui::Button* m_pAllKeySets = nullptr;    // 2096
    host::ui::ListCtrl* m_pKeySetList = nullptr;  // 2089
    std::vector<CNewsKey> m_vNewsKey;
    std::vector<CNewsKey> m_vTickedKey;
    int m_iEditIndex = -1;
    bool m_bModified = false;
};
