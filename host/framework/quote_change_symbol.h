#pragma once

#include <optional>
#include <vector>

#include "host/backend/news_records.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"

// The host's symbol picker (template 2120): a tree of the markets the back end serves, each
// with its symbols. Choosing a symbol (double click, Enter or the choose button) sends the registered message
// "RVMSGCHANGESYMBOLBYSEARCH" to the window that opened the picker, its first parameter pointing at the chosen
// CSymbolInfo (valid during the call). The picker is modeless and stays open for the next choice; Close or Escape hides
// it. Ownership: the opener owns the object; the window belongs to the opener's window. Thread: UI thread.
class QuoteTRVChangeSymbol : public CDialog {
public:
    static constexpr int IDD = 2120;

    // mode 1: the picker reports to its parent by message (the only mode this host offers).
    QuoteTRVChangeSymbol(host::ui::Window* parent, int mode);

    bool Create() { return CDialog::Create(IDD, GetParentWnd()); }
    // Shown or hidden by its opener; showing fills the lists when they are still empty.
    void vSetShowStatus(bool shown);
    // A symbol update of the host: the lists are read again (first parameter of
    // "MSG_SYMBOLUPDATE_TREEDLG", unused here).
    void vDoSymbolUpdateTreeNode(host::ui::WPARAM update);
    // Centres the picker over its parent window.
    void CenterWindow();
    // Makes the picker the active window.
    void vActivate();

    bool IsShowing() const { return m_bShowing; }
    // The symbol last reported (nothing before the first choice).
    const std::optional<CSymbolInfo>& GetLastChosen() const { return m_lastChosen; }

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void OnOK() override;

private:
    static const host::MessageMap<QuoteTRVChangeSymbol>& GetMessageMap();
    void OnDblclkTree(const host::ui::NotifyInfo& info);
    void OnChoose();
    // Reads the markets and their symbols into the tree again, keeping the chosen item.
    void vFillTree();

    int m_iMode;
    bool m_bShowing = false;
    std::vector<CSymbolInfo> m_vSymbol; // tree item data: index + 1 into this list (0: a market)
    std::optional<CSymbolInfo> m_lastChosen;
};
