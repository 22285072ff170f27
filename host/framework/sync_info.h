#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/backend/news_records.h"

// The host's settings object for the thin-bar switch of grids.
class CSettingCFG {
public:
    bool CApi_GetThinBarStatus() const { return m_bThinBar; }
    void setThinBar(bool thin) { m_bThinBar = thin; }

private:
    bool m_bThinBar = false;
};

// The host's global settings shared by all views: pop-up window position, current symbol
// per link group, the linked-news request and the named colours.
// Ownership: one instance per host, reached through CSyncInfo::Get(). Thread: UI thread.
class CSyncInfo {
public:
    static CSyncInfo& Get();

    int SYS_eGetPopupWndPosition() const { return m_iPopupWndPosition; }
    void setPopupWndPosition(int value) { m_iPopupWndPosition = value; }

    // The current symbol of a link group (service, code); empty code when none.
    CString SYS_cszGetCurrentSymbol(unsigned char group) const;
    unsigned char SYS_byGetCurrentService(unsigned char group) const;
    void setCurrentSymbol(unsigned char group, unsigned char service, const CString& code);

    bool SYS_bGetIsLinkNews() const { return m_bLinkNews; }
    void SYS_vSetIsLinkNews(bool link) { m_bLinkNews = link; }

    // Named colours ("COLOR_LISTCTL_NORMALTEXT", ...); unknown names give black.
    COLORREF SYS_crGetOtherColor(const CString& name) const;
    // Records the name of every SYS_crGetOtherColor read into log (null: stop), so that a host
    // or a test can see which colours a view reads and in what order. The log is not owned.
    void setColorReadLog(std::vector<CString>* log) { m_colorReadLog = log; }
    // The named colour when the host set one; false (colour unchanged) otherwise.
    bool SYS_bFindOtherColor(const CString& name, COLORREF& color) const;
    void setOtherColor(const CString& name, COLORREF color) {
        m_colors[name] = color;
        ++m_colorVersion;
    }
    // Changes whenever a named colour may have changed, so that readers can keep what they
    // derived from the colours until then.
    std::uint64_t colorVersion() const { return m_colorVersion; }

    CSettingCFG* GetSettingCFG() { return &m_setting; }

    // Back to the defaults (a dark quote-screen palette, no symbols, pop-up position 0).
    void reset();
    // The named colours of the default palette.
    static const std::map<CString, COLORREF>& DefaultColors();

private:
    CSyncInfo();
    int m_iPopupWndPosition = 0;
    bool m_bLinkNews = false;
    std::map<unsigned char, std::pair<unsigned char, CString>> m_symbols;
    std::map<CString, COLORREF> m_colors;
    std::uint64_t m_colorVersion = 0;
    std::vector<CString>* m_colorReadLog = nullptr;
    CSettingCFG m_setting;
};
