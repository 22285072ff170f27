#pragma once

#include "host/ui/controls.h"

class TRVNewsCtrlView;

// The news view's one-line search edit (control 3008): it refuses a typed blank and the
// Shift+Insert paste, each with a short tip. Other ways of pasting are let through on purpose.
// Enter tells the owning view (vOnEnterDown), which runs its quick search.
// The view creates the edit control and offers the edit's key and character messages here
// before anyone else, as the control's own pre-translation.
// Ownership: the view owns the object; the edit control belongs to the view's window.
// Thread: UI thread.
class SearchEdit2 {
public:
    SearchEdit2() = default;

    void SetNewsView(TRVNewsCtrlView* view) { m_pNewsView = view; }
    TRVNewsCtrlView* GetNewsView() const { return m_pNewsView; }
    void Attach(host::ui::Edit* edit) { m_pEdit = edit; }
    host::ui::Edit* GetEdit() const { return m_pEdit; }

    // True when the message is refused (and a tip was shown).
    bool PreTranslateMessage(const host::ui::Message& message);

private:
    void vShowTip(const char* key);

    TRVNewsCtrlView* m_pNewsView = nullptr; // not owned
    host::ui::Edit* m_pEdit = nullptr;      // owned by the view's window
};
