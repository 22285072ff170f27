#pragma once

#include "host/framework/dialog.h"
#include "host/ui/controls.h"

// The tip message window: a small borderless pop-up (template 3059, one static text 2349)
// that shows one line near a point of another window for a limited time. It sizes itself to
// its text (100 to 800 pixels wide, at least 22 high), keeps itself pinned at its place with
// a fast timer (29062, 100 ms), counts its time down by whole seconds (29063) and hides when
// the time is up or when it is clicked. It never keeps the keyboard.
// Ownership: owned by the window that made it (the news view); the owner window given to
// vSetInfo / vShow is not owned. Thread: UI thread.
class CQuoteDlgTipMsg : public CDialog {
public:
    explicit CQuoteDlgTipMsg(host::ui::Window* parent);
    ~CQuoteDlgTipMsg() override;

    // Makes the tip window from template 3059 (hidden).
    bool CreateByID(host::ui::Window* parent);
    // Display time, owner, text (null: empty) and colours of the next vShow.
    void vSetInfo(host::ui::Window* owner, const char* text, COLORREF textColor, COLORREF backColor, int displayTimeMs);
    void vSetInfoColor(COLORREF textColor, COLORREF backColor);
    void vSetFont(const host::ui::Font* font) { m_pFont = font; }
    // Sizes, places and shows the tip; only while parent's top-level window is the active one.
    // top and left in the coordinates of parent's client area (-1 keeps the last position);
    // toTheLeft ends the tip at left instead of starting it there.
    void vShow(host::ui::Window* parent, int top, int left, bool toTheLeft);
    void vStop();

    // WM_CTLCOLOR of the window and of its text: transparent text on the tip's brush.
    static constexpr host::ui::LRESULT kCtlColorNoBrush = 0;
    static constexpr host::ui::LRESULT kCtlColorTipBrush = 1;
    static constexpr host::ui::LRESULT kCtlColorDefault = 2;
    host::ui::LRESULT OnCtlColor(host::ui::DeviceContext& dc, host::ui::Window* control) const;

    // ---- Read access for hosts and tests ----
    const CString& GetText() const { return m_strText; }
    host::ui::Size GetTipSize() const { return m_size; }
    host::ui::Point GetPosition() const { return host::ui::Point{m_iLeft, m_iTop}; }
    int GetDisplayTime() const { return m_iDisplayTime; }
    int GetRemainingTime() const { return m_iRemaining; }
    COLORREF GetTextColor() const { return m_crText; }
    COLORREF GetBackColor() const { return m_crBack; }
    host::ui::Window* GetOwner() const { return m_pOwner; }

protected:
    bool OnInitDialog() override;
    void OnTimer(unsigned id) override;
    void OnLButtonDown(unsigned flags, host::ui::Point point) override;
    void OnDestroy() override { m_bBrush = false; }
    host::ui::LRESULT OnEraseBkgnd(host::ui::DeviceContext& dc) override;

private:
    // Timer 29062: puts the tip at its position with its size, (2, 2) when it has none.
    void vPlace();

    int m_iTop = 0;
    int m_iLeft = 0;
    host::ui::StaticText* m_pStatic = nullptr; // owned by the window
    int m_iDisplayTime = 0;
    int m_iRemaining = 0;
    CString m_strText;
    COLORREF m_crText = 0;
    COLORREF m_crBack = 0;
    bool m_bBrush = false;                   // a background brush of m_crBack exists
    const host::ui::Font* m_pFont = nullptr; // not owned; null: the window's font
    host::ui::Window* m_pOwner = nullptr;    // not owned
    host::ui::Size m_size{};
};
