#pragma once

#include <cstdint>

#include "host/backend/news_records.h"

namespace host::ui {

struct Point {
    int x = 0;
    int y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    int cx = 0;
    int cy = 0;
    bool operator==(const Size&) const = default;
};

// A rectangle in Windows convention: right and bottom are exclusive.
struct Rect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    constexpr int Width() const { return right - left; }
    constexpr int Height() const { return bottom - top; }
    constexpr bool IsEmpty() const { return right <= left || bottom <= top; }
    constexpr bool Contains(Point p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    constexpr Point Center() const { return {left + (right - left) / 2, top + (bottom - top) / 2}; }
    bool operator==(const Rect&) const = default;
};

constexpr COLORREF RGB(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) | (static_cast<COLORREF>(b) << 16);
}
constexpr std::uint8_t GetRValue(COLORREF c) {
    return static_cast<std::uint8_t>(c & 0xFF);
}
constexpr std::uint8_t GetGValue(COLORREF c) {
    return static_cast<std::uint8_t>((c >> 8) & 0xFF);
}
constexpr std::uint8_t GetBValue(COLORREF c) {
    return static_cast<std::uint8_t>((c >> 16) & 0xFF);
}

// A logical font description (LOGFONT-like). Height is in pixels, negative for character height.
struct Font {
    CString faceName = "Noto Sans CJK TC";
    int height = -12;
    int weight = 400;
    int charSet = 136; // CHINESEBIG5_CHARSET
    bool italic = false;
    bool operator==(const Font&) const = default;
};

// A calendar date as the date picker holds it.
struct Date {
    int year = 0;
    int month = 0;
    int day = 0;
    bool operator==(const Date&) const = default;
};

} // namespace host::ui
