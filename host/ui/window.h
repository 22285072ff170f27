#pragma once

#include <memory>
#include <string>

#include "host/backend/news_records.h"
#include "host/ui/geometry.h"
#include "host/ui/messages.h"

namespace host::ui {

class Button;
class ComboBox;
class DatePicker;
class Edit;
class TabStrip;
class RichEdit;
class StaticText;
class ListBox;
class ListCtrl;
class TreeCtrl;
class CSuperSheetWnd;
class TipWindow;

// Receives the events of a window: every message in Windows numbering (commands and
// notifications of its controls, timers, size, keys, mouse, registered messages), plus
// painting. Ownership: the handler is not owned by the window; it must outlive it or
// destroy it first. Thread: UI thread. Re-entrancy: a handler may create, move or destroy
// controls of its window while handling a message.
class WindowHandler {
public:
    virtual ~WindowHandler() = default;
    // Called for key messages aimed at this window or one of its descendants before they
    // are dispatched; true consumes the message.
    virtual bool preTranslateMessage(const Message& /*message*/) { return false; }
    virtual LRESULT handleMessage(const Message& message) = 0;
    virtual void paint(DeviceContext& /*dc*/) {}
    // WM_ERASEBKGND; the result is the message result (0: not erased).
    virtual LRESULT eraseBackground(DeviceContext& /*dc*/) { return 0; }
};

enum class ZOrder { kTop, kBottom, kTopMost, kNotTopMost };

// A host window or control, found again by its id. Coordinates are client coordinates of
// the parent unless said otherwise. Texts are code page 950.
// Ownership: children are owned by their parent window and die with it; pointers handed
// out are non-owning. Thread: UI thread only.
class Window {
public:
    virtual ~Window() = default;

    virtual int id() const = 0;
    virtual Window* parent() const = 0;
    virtual void setParent(Window* parent) = 0;
    virtual Window* child(int id) const = 0;

    virtual void setText(const CString& text) = 0;
    virtual CString text() const = 0;
    virtual void show(bool visible) = 0;
    virtual bool isVisible() const = 0;
    virtual void enable(bool enabled) = 0;
    virtual bool isEnabled() const = 0;
    virtual void move(const Rect& rect, bool repaint = true) = 0;
    virtual Rect rect() const = 0;       // in parent client coordinates
    virtual Rect clientRect() const = 0; // (0, 0, width, height)
    virtual Point clientToScreen(Point p) const = 0;
    Rect clientToScreen(const Rect& r) const {
        const Point tl = clientToScreen(Point{r.left, r.top});
        return Rect{tl.x, tl.y, tl.x + r.Width(), tl.y + r.Height()};
    }
    virtual void setFocus() = 0;
    virtual bool hasFocus() const = 0;
    virtual void invalidate(bool erase = true) = 0;
    virtual void update() = 0; // repaint now
    virtual void setRedraw(bool redraw) = 0;
    virtual void setFont(const Font& font, bool redraw = true) = 0;
    virtual Font font() const = 0;
    // Width and height in pixels of a single-line text in the window's font.
    virtual Size textExtent(const CString& text) const = 0;
    virtual void setZOrder(ZOrder order, bool activate = false) = 0;
    virtual void destroy() = 0;

    // Timers of this window by id; WM_TIMER (wParam = id) reaches its handler.
    virtual void setTimer(unsigned id, unsigned milliseconds) = 0;
    virtual void killTimer(unsigned id) = 0;

    // Delivers a message to this window's handler now / after the current one.
    virtual LRESULT sendMessage(unsigned message, WPARAM wParam = 0, LPARAM lParam = 0) = 0;
    virtual void postMessage(unsigned message, WPARAM wParam = 0, LPARAM lParam = 0) = 0;

    // Child controls. Commands and notifications of a control reach this window's handler.
    virtual Button* createButton(int id, const Rect& rect, const CString& text, unsigned style = 0) = 0;
    virtual ComboBox* createComboBox(int id, const Rect& rect, unsigned style) = 0;
    virtual DatePicker* createDatePicker(int id, const Rect& rect) = 0;
    virtual Edit* createEdit(int id, const Rect& rect, unsigned style = 0) = 0;
    virtual TabStrip* createTabStrip(int id, const Rect& rect) = 0;
    virtual RichEdit* createRichEdit(int id, const Rect& rect, unsigned style) = 0;
    virtual StaticText* createStatic(int id, const Rect& rect, const CString& text) = 0;
    virtual ListBox* createListBox(int id, const Rect& rect, bool multiSelect, bool checkBoxes = false) = 0;
    virtual ListCtrl* createListCtrl(int id, const Rect& rect, bool checkBoxes = false) = 0;
    virtual TreeCtrl* createTreeCtrl(int id, const Rect& rect) = 0;
    virtual CSuperSheetWnd* createSheet(int id, const Rect& rect) = 0;
    virtual TipWindow* createTipWindow() = 0;
    // A child window with a handler of its own (a child view).
    virtual Window* createChildWindow(int id, const Rect& rect, WindowHandler* handler) = 0;
};

} // namespace host::ui
