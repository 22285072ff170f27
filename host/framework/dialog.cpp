#include "host/framework/dialog.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/ui/controls.h"
#include "host/ui/dialog_templates.h"
#include "host/ui/ui_host.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Window;
namespace win = host::ui::win;

// ---- Data exchange ----

Window* CDataExchange::control(int id) const {
    return m_dialog.GetDlgItem(id);
}

void DDX_Text(CDataExchange* pDX, int id, CString& value) {
    Window* control = pDX->control(id);
    if (control == nullptr) {
        return;
    }
    if (pDX->m_bSaveAndValidate) {
        value = control->text();
    } else if (control->text() != value) {
        control->setText(value);
    }
}

void DDX_Check(CDataExchange* pDX, int id, int& value) {
    auto* button = dynamic_cast<host::ui::Button*>(pDX->control(id));
    if (button == nullptr) {
        return;
    }
    if (pDX->m_bSaveAndValidate) {
        value = button->isChecked() ? 1 : 0;
    } else {
        button->setCheck(value != 0);
    }
}

void DDX_Radio(CDataExchange* pDX, int firstId, int& index) {
    const host::ui::DialogTemplate* tpl = pDX->dialog().GetTemplate();
    if (tpl == nullptr) {
        return;
    }
    // The group runs from firstId to the next button that starts a group of its own.
    bool inGroup = false;
    int position = 0;
    if (pDX->m_bSaveAndValidate) {
        index = -1;
    }
    for (const host::ui::ControlTemplate& c : tpl->controls) {
        if (c.kind != host::ui::ControlKind::kRadio) {
            continue;
        }
        if (c.id == firstId) {
            inGroup = true;
        } else if (inGroup && c.group) {
            break;
        }
        if (!inGroup) {
            continue;
        }
        if (auto* button = dynamic_cast<host::ui::Button*>(pDX->control(c.id))) {
            if (pDX->m_bSaveAndValidate) {
                if (button->isChecked() && index < 0) {
                    index = position;
                }
            } else {
                button->setCheck(position == index);
            }
        }
        ++position;
    }
}

void DDX_LBIndex(CDataExchange* pDX, int id, int& index) {
    auto* list = dynamic_cast<host::ui::ListBox*>(pDX->control(id));
    if (list == nullptr) {
        return;
    }
    if (pDX->m_bSaveAndValidate) {
        index = list->curSel();
    } else {
        list->setCurSel(index);
    }
}

void DDX_CBIndex(CDataExchange* pDX, int id, int& index) {
    auto* combo = dynamic_cast<host::ui::ComboBox*>(pDX->control(id));
    if (combo == nullptr) {
        return;
    }
    if (pDX->m_bSaveAndValidate) {
        index = combo->curSel();
    } else {
        combo->setCurSel(index);
    }
}

// ---- CDialog ----

CDialog::CDialog(int templateId, Window* parent) : m_iTemplateId(templateId), m_pParentWnd(parent) {}

CDialog::~CDialog() {
    DestroyWindow();
}

host::ui::DialogTemplate CDialog::resolveTexts(const host::ui::DialogTemplate& source) {
    host::ui::DialogTemplate resolved = source;
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    const auto resolve = [bk](CString& text) {
        if (bk != nullptr && text.rfind("IDS_", 0) == 0) {
            text = bk->LangGetLangString(text);
        }
    };
    resolve(resolved.caption);
    for (host::ui::ControlTemplate& c : resolved.controls) {
        resolve(c.text);
        for (host::ui::ColumnTemplate& column : c.columns) {
            resolve(column.header);
        }
        for (CString& tab : c.tabs) {
            resolve(tab);
        }
    }
    return resolved;
}

bool CDialog::Create(int templateId, Window* parent) {
    m_strCreateError.clear();
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr) {
        m_strCreateError = "no user interface host";
        return false;
    }
    if (m_pWnd != nullptr) {
        m_strCreateError = "the dialog exists already";
        return false;
    }
    std::string error;
    const host::ui::DialogTemplate* source = host::ui::DialogTemplateStore::instance().find(templateId, &error);
    if (source == nullptr) {
        m_strCreateError = error;
        return false;
    }
    m_iTemplateId = templateId;
    m_pParentWnd = parent;
    m_template = resolveTexts(*source);
    m_bHaveTemplate = true;
    m_pWnd = ui->createDialog(parent, m_template, this);
    if (m_pWnd == nullptr) {
        m_strCreateError = "the host could not make dialog " + std::to_string(templateId);
        return false;
    }
    m_pWnd->setText(m_template.caption);
    m_pWnd->sendMessage(win::WM_INITDIALOG, 0, 0);
    // As a window manager does when a dialog first appears: its handlers lay out from the size.
    if (m_pWnd != nullptr) {
        const host::ui::Rect client = m_pWnd->clientRect();
        m_pWnd->sendMessage(win::WM_SIZE, 0, host::ui::MAKELPARAM(client.Width(), client.Height()));
    }
    return m_pWnd != nullptr;
}

int CDialog::DoModal() {
    if (!Create(m_iTemplateId, m_pParentWnd)) {
        return -1;
    }
    host::ui::UiHost* ui = host::HostContext::current().ui;
    m_bModal = true;
    m_iModalResult = win::IDCANCEL;
    const int result = ui->runModalLoop(m_pWnd);
    m_bModal = false;
    m_iModalResult = result;
    DestroyWindow();
    return result;
}

void CDialog::EndDialog(int result) {
    m_iModalResult = result;
    if (m_pWnd == nullptr) {
        return;
    }
    if (m_bModal) {
        if (host::ui::UiHost* ui = host::HostContext::current().ui) {
            ui->endModalLoop(m_pWnd, result);
        }
        return;
    }
    m_pWnd->show(false);
}

Window* CDialog::GetDlgItem(int id) const {
    return m_pWnd != nullptr ? m_pWnd->child(id) : nullptr;
}

bool CDialog::UpdateData(bool saveAndValidate) {
    if (m_pWnd == nullptr) {
        return false;
    }
    CDataExchange dx(*this, saveAndValidate);
    DoDataExchange(&dx);
    return true;
}

void CDialog::ShowWindow(bool show) {
    if (m_pWnd != nullptr) {
        m_pWnd->show(show);
    }
}

bool CDialog::IsWindowVisible() const {
    return m_pWnd != nullptr && m_pWnd->isVisible();
}

void CDialog::DestroyWindow() {
    if (m_pWnd == nullptr) {
        return;
    }
    Window* wnd = m_pWnd;
    m_pWnd = nullptr;
    wnd->destroy();
}

void CDialog::SetTimer(unsigned id, unsigned milliseconds) {
    if (m_pWnd != nullptr) {
        m_pWnd->setTimer(id, milliseconds);
    }
}

void CDialog::KillTimer(unsigned id) {
    if (m_pWnd != nullptr) {
        m_pWnd->killTimer(id);
    }
}

void CDialog::OnOK() {
    UpdateData(true);
    EndDialog(win::IDOK);
}

void CDialog::OnCancel() {
    EndDialog(win::IDCANCEL);
}

void CDialog::checkRadioInGroup(int clickedId) {
    if (!m_bHaveTemplate) {
        return;
    }
    // The group of the clicked button: from the nearest group start before it to the next one.
    const auto& controls = m_template.controls;
    std::size_t clicked = controls.size();
    for (std::size_t i = 0; i < controls.size(); ++i) {
        if (controls[i].id == clickedId) {
            clicked = i;
        }
    }
    if (clicked == controls.size() || controls[clicked].kind != host::ui::ControlKind::kRadio) {
        return;
    }
    std::size_t first = clicked;
    while (first > 0 && !controls[first].group && controls[first - 1].kind == host::ui::ControlKind::kRadio) {
        --first;
    }
    for (std::size_t i = first; i < controls.size() && controls[i].kind == host::ui::ControlKind::kRadio; ++i) {
        if (i > first && controls[i].group) {
            break;
        }
        if (auto* button = GetDlgItemAs<host::ui::Button>(controls[i].id)) {
            button->setCheck(i == clicked);
        }
    }
}

LRESULT CDialog::handleMessage(const Message& message) {
    // A radio button is checked before anyone hears of the click, as a platform radio does.
    if (message.message == win::WM_COMMAND && host::ui::HIWORD(message.wParam) == win::BN_CLICKED) {
        checkRadioInGroup(static_cast<int>(host::ui::LOWORD(message.wParam)));
    }
    if (const std::optional<LRESULT> handled = dispatchMessageMap(message)) {
        return *handled;
    }
    return standardHandling(message);
}

LRESULT CDialog::standardHandling(const Message& message) {
    switch (message.message) {
    case win::WM_INITDIALOG:
        return OnInitDialog() ? 1 : 0;
    case win::WM_COMMAND: {
        const int id = static_cast<int>(host::ui::LOWORD(message.wParam));
        const unsigned code = host::ui::HIWORD(message.wParam);
        if (code != win::BN_CLICKED) {
            return 0;
        }
        if (id == win::IDOK) {
            OnOK();
        } else if (id == win::IDCANCEL) {
            OnCancel();
        }
        return 0;
    }
    case win::WM_CLOSE:
        OnClose();
        return 0;
    case win::WM_SIZE:
        OnSize(static_cast<unsigned>(message.wParam), host::ui::GET_X_LPARAM(message.lParam),
               host::ui::GET_Y_LPARAM(message.lParam));
        return 0;
    case win::WM_TIMER:
        OnTimer(static_cast<unsigned>(message.wParam));
        return 0;
    case win::WM_LBUTTONDOWN:
        OnLButtonDown(static_cast<unsigned>(message.wParam),
                      host::ui::Point{host::ui::GET_X_LPARAM(message.lParam), host::ui::GET_Y_LPARAM(message.lParam)});
        return 0;
    case win::WM_DESTROY:
        // The window is going (with its owner, or by DestroyWindow): never touch it again.
        m_pWnd = nullptr;
        OnDestroy();
        return 0;
    default:
        return 0;
    }
}

int CDialog::enterCommandId(const Window* target) const {
    if (m_bHaveTemplate && target != nullptr && target->parent() == m_pWnd) {
        const host::ui::ControlTemplate* focused = m_template.control(target->id());
        if (focused != nullptr &&
            (focused->kind == host::ui::ControlKind::kButton || focused->kind == host::ui::ControlKind::kHoverButton)) {
            return focused->id;
        }
    }
    if (m_iDefId != 0) {
        return m_iDefId;
    }
    if (m_bHaveTemplate) {
        for (const host::ui::ControlTemplate& c : m_template.controls) {
            if (c.isDefault) {
                return c.id;
            }
        }
    }
    return win::IDOK;
}

bool CDialog::preTranslateMessage(const Message& message) {
    Window* wnd = m_pWnd;
    if (message.message != win::WM_KEYDOWN || wnd == nullptr) {
        return false;
    }
    const auto key = static_cast<unsigned>(message.wParam);
    if (key == win::VK_ESCAPE) {
        wnd->sendMessage(win::WM_COMMAND, host::ui::MAKEWPARAM(win::IDCANCEL, win::BN_CLICKED), 0);
        return true;
    }
    if (key != win::VK_RETURN) {
        return false;
    }
    if (m_bHaveTemplate && message.target != nullptr) {
        const host::ui::ControlTemplate* focused = m_template.control(message.target->id());
        if (focused != nullptr && focused->multiline && message.target->parent() == wnd) {
            return false; // a multi-line edit takes Enter as a line break
        }
    }
    const int id = enterCommandId(message.target);
    const Window* control = wnd->child(id);
    if (control != nullptr && !control->isEnabled()) {
        return true;
    }
    const host::ui::LPARAM from = control != nullptr ? reinterpret_cast<host::ui::LPARAM>(control) : 0;
    wnd->sendMessage(win::WM_COMMAND, host::ui::MAKEWPARAM(static_cast<unsigned>(id), win::BN_CLICKED), from);
    return true;
}

int iCalTransDevScale(int pixels) {
    const host::ui::UiHost* ui = host::HostContext::current().ui;
    const int dpi = ui != nullptr ? ui->logicalDpi() : 96;
    return (pixels * dpi + 48) / 96;
}
