#pragma once

#include <string>
#include <vector>

#include "host/backend/news_records.h"
#include "host/text/format.h"
#include "host/ui/geometry.h"

// How observations write values: one fixed form each, so that expectations can match them.
namespace scenario::format {

inline std::string rectText(const host::ui::Rect& r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "-" + std::to_string(r.right) + "," +
           std::to_string(r.bottom);
}

inline std::string colorText(COLORREF c) {
    return text::format("#%02X%02X%02X", host::ui::GetRValue(c), host::ui::GetGValue(c), host::ui::GetBValue(c));
}

inline std::string yes(bool value) {
    return value ? "yes" : "no";
}

inline std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string result;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        result += (i > 0 ? separator : "") + parts[i];
    }
    return result;
}

// Inclusive row range "A..B"; false when the text is not one.
inline bool parseRange(const std::string& text, long long& first, long long& last) {
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos) {
        return false;
    }
    try {
        std::size_t used = 0;
        first = std::stoll(text.substr(0, dots), &used);
        if (used != dots) {
            return false;
        }
        last = std::stoll(text.substr(dots + 2), &used);
        return used == text.size() - dots - 2 && first >= 0 && last >= first;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace scenario::format
