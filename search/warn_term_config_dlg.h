#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "host/backend/search.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"

// One warning item (template 2056): its keywords typed into edit 2043, its method (AND 2057,
// OR 2059) and its scope (headline 2058, story 2060, headline and story 2061). Each of the two
// groups behaves as a set of mutually exclusive check buttons: a click checks the clicked
// button and clears the others of its group.
//
// OK splits the edit text into keywords and ends the dialog with IDOK; the caller then reads
// GetKeywords, GetMethod and GetScope. An edit without any keyword is refused with a message
// and the dialog stays open, so a stored item always has a keyword.
// Ownership: the caller owns the dialog (on its stack). Thread: UI thread.
class CWarnTermConfigDlg : public CDialog {
public:
    static constexpr int IDD = 2056;

    CWarnTermConfigDlg(const CSearch& condition, host::ui::Window* parent);

    const std::vector<CString>& GetKeywords() const { return m_vKeywords; }
    unsigned char GetMethod() const { return m_byMethod; }
    unsigned char GetScope() const { return m_byScope; }

    // The keywords of a typed text: split at every blank, comma and line feed; empty pieces
    // are dropped, duplicates and order are kept.
    static std::vector<CString> SplitKeywords(std::string_view text);

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void OnOK() override;

private:
    static const host::MessageMap<CWarnTermConfigDlg>& GetMessageMap();

    void OnClickAnd();
    void OnClickOr();
    void OnClickHeadline();
    void OnClickStory();
    void OnClickBoth();
    // Checks one button and clears the other buttons of its group.
    void vCheckOnly(int id, std::initializer_list<int> group);
    bool bIsChecked(int id) const;

    std::vector<CString> m_vKeywords;
    unsigned char m_byMethod;
    unsigned char m_byScope;
};
