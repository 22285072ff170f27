#include "host/framework/cfg_io.h"

#include <charconv>

bool TRVCfgIO2::GetViewInfoInt(const CString& section, int layout1, int layout2, const CString& viewKey,
                               const CString& key, int& value) const {
    CString text;
    if (!GetViewInfo(section, layout1, layout2, viewKey, key, text)) {
        return false;
    }
    int parsed = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (ec != std::errc{} || end != text.data() + text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

bool TRVCfgIO2::GetViewInfoBool(const CString& section, int layout1, int layout2, const CString& viewKey,
                                const CString& key, bool& value) const {
    int number = 0;
    if (!GetViewInfoInt(section, layout1, layout2, viewKey, key, number)) {
        return false;
    }
    value = number != 0;
    return true;
}

void TRVCfgIO2::SetViewInfoInt(const CString& section, int layout1, int layout2, const CString& viewKey,
                               const CString& key, int value) {
    SetViewInfo(section, layout1, layout2, viewKey, key, std::to_string(value));
}

void TRVCfgIO2::SetViewInfoBool(const CString& section, int layout1, int layout2, const CString& viewKey,
                                const CString& key, bool value) {
    SetViewInfo(section, layout1, layout2, viewKey, key, value ? "1" : "0");
}
