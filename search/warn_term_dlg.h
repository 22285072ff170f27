#pragma once

#include <optional>
#include <vector>

#include "host/backend/search.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"

namespace host::ui {
class ListCtrl;
}

// The warning-term list (template 2046): numbered stored search conditions (warning items)
// the user keeps and picks from. Button 3 adds an item, button 4 or a double click in the
// list (2047) edits the selected one, button 2051 deletes it; OK chooses the selected item.
//
// Kept on purpose:
// - an edited item moves to the end of the list (it is removed and appended again);
// - the numbers shown are row index + 1 at the time a row was written: a deletion does not
//   renumber the rows below it until the dialog is opened again.
//
// The dialog edits copies of the keyword pool and the item list; the caller reads them back
// with the chosen condition and its number after DoModal, whatever its result. The chosen
// condition starts as the one given (the view's active warning-term condition), so an item
// whose method is neither AND nor OR keeps the method it had before.
// Ownership: the caller owns the dialog (on its stack). Thread: UI thread.
class CWarnTermDlg : public CDialog {
public:
    static constexpr int IDD = 2046;

    CWarnTermDlg(const std::vector<CString>& pool, const std::vector<CSearch>& items, const CSearch& chosen,
                 int chosenNumber, host::ui::Window* parent);

    const std::vector<CString>& GetPool() const { return m_vPool; }
    const std::vector<CSearch>& GetItems() const { return m_vItems; }
    const CSearch& GetChosen() const { return m_chosen; }
    // 1-based number of the chosen item (the row index + 1 at OK).
    int GetChosenNumber() const { return m_iChosenNumber; }

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void OnOK() override;

private:
    static const host::MessageMap<CWarnTermDlg>& GetMessageMap();

    void OnAdd();    // button 3
    void OnEdit();   // button 4, double click in 2047
    void OnDelete(); // button 2051
    void OnDblclkList(const host::ui::NotifyInfo& info);

    // The first selected row; -1 when none. The list's rows mirror m_vItems one for one (every
    // add, edit and delete changes both, and the list reports only rows it has), so a row found
    // here always indexes an item.
    int iFirstSelectedRow() const;
    // Writes the row of an item at row index (number row + 1).
    void vAppendRow(const CSearch& item);

    std::vector<CString> m_vPool;
    std::vector<CSearch> m_vItems;
    CSearch m_chosen;
    int m_iChosenNumber;
    host::ui::ListCtrl* m_pList = nullptr; // 2047, owned by the dialog's window
};
