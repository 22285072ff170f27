#include "host/framework/sync_info.h"

#include "host/ui/geometry.h"

CSyncInfo& CSyncInfo::Get() {
    static CSyncInfo info;
    return info;
}

CSyncInfo::CSyncInfo() {
    reset();
}

CString CSyncInfo::SYS_cszGetCurrentSymbol(unsigned char group) const {
    const auto it = m_symbols.find(group);
    return it == m_symbols.end() ? CString{} : it->second.second;
}

unsigned char CSyncInfo::SYS_byGetCurrentService(unsigned char group) const {
    const auto it = m_symbols.find(group);
    return it == m_symbols.end() ? 0 : it->second.first;
}

void CSyncInfo::setCurrentSymbol(unsigned char group, unsigned char service, const CString& code) {
    m_symbols[group] = {service, code};
}

COLORREF CSyncInfo::SYS_crGetOtherColor(const CString& name) const {
    if (m_colorReadLog != nullptr) {
        m_colorReadLog->push_back(name);
    }
    const auto it = m_colors.find(name);
    return it == m_colors.end() ? 0 : it->second;
}

bool CSyncInfo::SYS_bFindOtherColor(const CString& name, COLORREF& color) const {
    const auto it = m_colors.find(name);
    if (it == m_colors.end()) {
        return false;
    }
    color = it->second;
    return true;
}

void CSyncInfo::reset() {
    m_iPopupWndPosition = 0;
    m_bLinkNews = false;
    m_symbols.clear();
    m_colorReadLog = nullptr;
    m_setting = CSettingCFG{};
    ++m_colorVersion;
    m_colors = DefaultColors();
}

const std::map<CString, COLORREF>& CSyncInfo::DefaultColors() {
    using host::ui::RGB;
    static const std::map<CString, COLORREF> colors = {
        {"COLOR_LISTCTL_NORMALTEXT", RGB(220, 220, 220)},
        {"COLOR_LISTCTL_BACKGROUND", RGB(0, 0, 0)},
        {"COLOR_LISTCTL_BACKGROUNDSLASH", RGB(24, 24, 32)},
        {"COLOR_LISTCTL_CLICKLINE", RGB(0, 64, 128)},
        {"COLOR_LISTCTL_CLICKLINE_GRAY", RGB(64, 64, 64)},
        {"COLOR_LISTCTL_HDBkCOLOR1", RGB(40, 40, 56)},
        {"COLOR_LISTCTL_HDTEXTCOLOR1", RGB(255, 255, 160)},
        {"COLOR_OTHERLINES", RGB(96, 96, 96)},
        {"COLOR_QUOTE_UP", RGB(255, 72, 72)},
        {"COLOR_QUOTE_DOWN", RGB(40, 208, 40)},
        {"COLOR_QUOTE_EVEN", RGB(240, 240, 240)},
        {"COLOR_TIP_TEXT", RGB(0, 0, 0)},
        {"COLOR_TIP_BACKGROUND", RGB(255, 255, 225)},
    };
    return colors;
}
