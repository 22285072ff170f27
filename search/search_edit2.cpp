#include "search/search_edit2.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ctrl_view.h"

namespace win = host::ui::win;

bool SearchEdit2::PreTranslateMessage(const host::ui::Message& message) {
    if (message.message == win::WM_CHAR && message.wParam == win::VK_SPACE) {
        // A search text never holds a typed blank: blanks separate keywords elsewhere.
        vShowTip("IDS_NEWSCTRLVIEW_STRING_INVALIDATE_VALUE");
        return true;
    }
    if (message.message == win::WM_KEYDOWN) {
        const host::ui::UiHost* ui = host::HostContext::current().ui;
        if (ui != nullptr && ui->isKeyDown(win::VK_SHIFT) && ui->isKeyDown(win::VK_INSERT)) {
            vShowTip("IDS_NEWSCTRLVIEW_STRING_INVALIDATE_PASTE");
            return true;
        }
        // The edit's own handling of Enter, as every edit of the host's kind has it: the owning
        // view hears it and runs its quick search.
        if (message.wParam == win::VK_RETURN && m_pNewsView != nullptr) {
            m_pNewsView->vOnEnterDown();
            return true;
        }
    }
    return false;
}

void SearchEdit2::vShowTip(const char* key) {
    if (m_pNewsView == nullptr || m_pEdit == nullptr) {
        return;
    }
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    m_pNewsView->vShowTip(m_pEdit->clientToScreen(m_pEdit->clientRect()),
                          bk != nullptr ? bk->LangGetLangString(key) : CString(key));
}
