#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "adapters/headless/virtual_clock.h"
#include "host/ui/controls.h"
#include "host/ui/forwarding_window.h"
#include "host/ui/sheet.h"
#include "host/ui/window.h"

namespace headless {

class HeadlessUiHost;
struct DrawingLog;

enum class WindowKind {
    kWindow,
    kButton,
    kComboBox,
    kDatePicker,
    kEdit,
    kTabStrip,
    kRichEdit,
    kStatic,
    kListBox,
    kListCtrl,
    kTree,
    kSheet,
    kTip,
    kDialog
};
const char* kindName(WindowKind kind);

// State and behaviour that every headless window shares: the window tree, texts, geometry,
// visibility, focus, z-order, timers and message delivery. Each window class combines it with
// its host interface through WindowBase below; tests reach it with coreOf(window).
// Ownership: a parent owns its children, the UI host owns top-level windows; destroyed windows
// stay allocated until the outermost message handler returns. Thread: UI thread.
class WindowCore : public TimerTarget {
public:
    WindowCore(HeadlessUiHost& host, WindowKind kind, int id, const host::ui::Rect& rect,
               host::ui::WindowHandler* handler, unsigned style);
    WindowCore(const WindowCore&) = delete;
    WindowCore& operator=(const WindowCore&) = delete;
    virtual ~WindowCore();

    virtual host::ui::Window& window() = 0;
    virtual const host::ui::Window& window() const = 0;

    // --- Read by tests ---
    WindowKind kind() const { return m_kind; }
    HeadlessUiHost& uiHost() const { return m_host; }
    host::ui::WindowHandler* handler() const { return m_handler; }
    WindowCore* parentCore() const { return m_parent; }
    // Children in creation order (non-owning view of the owned list).
    std::vector<WindowCore*> childCores() const;
    std::uint64_t serial() const { return m_serial; }
    unsigned style() const { return m_style; }
    bool isDestroyed() const { return m_destroyed; }
    // Whether a user could operate it now: alive, shown and enabled. User operations run as one
    // input: posted messages are delivered when they end, and the control stays allocated even
    // when a handler destroys it meanwhile.
    bool usable() const { return !isDestroyed() && isVisible() && isEnabled(); }
    bool ownVisible() const { return m_visible; }
    bool isTopMost() const { return m_topMost; }
    // The window a top-level window belongs to (0: none): it dies with it.
    std::uint64_t ownerSerial() const { return m_ownerSerial; }
    void setOwnerSerial(std::uint64_t serial) { m_ownerSerial = serial; }
    std::int64_t zRank() const { return m_zRank; }
    int invalidateCount() const { return m_invalidateCount; }
    int paintCount() const { return m_paintCount; }
    bool redrawEnabled() const { return m_redraw; }
    // What the last paint of this window drew (null before the first paint).
    const std::shared_ptr<DrawingLog>& lastPaint() const { return m_lastPaint; }
    // Timers armed on this window: (id, interval) in firing order.
    std::vector<std::pair<unsigned, unsigned>> timers() const;

    // --- The host::ui::Window operations (WindowBase forwards to these) ---
    int id() const { return m_id; }
    host::ui::Window* parent() const;
    void setParent(host::ui::Window* parent);
    host::ui::Window* child(int id) const;
    void setText(const CString& text);
    CString text() const;
    void show(bool visible);
    bool isVisible() const; // false when this window or any ancestor is hidden
    void enable(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }
    void move(const host::ui::Rect& rect, bool repaint);
    host::ui::Rect rect() const { return m_rect; }
    host::ui::Rect clientRect() const { return {0, 0, m_rect.Width(), m_rect.Height()}; }
    host::ui::Point clientToScreen(host::ui::Point p) const;
    void setFocus();
    bool hasFocus() const;
    void invalidate(bool erase);
    void update();
    void setRedraw(bool redraw) { m_redraw = redraw; }
    void setFont(const host::ui::Font& font, bool redraw);
    host::ui::Font font() const { return m_font; }
    host::ui::Size textExtent(const CString& text) const;
    void setZOrder(host::ui::ZOrder order, bool activate);
    void destroy();
    void setTimer(unsigned id, unsigned milliseconds);
    void killTimer(unsigned id);
    host::ui::LRESULT sendMessage(unsigned message, host::ui::WPARAM wParam, host::ui::LPARAM lParam);
    void postMessage(unsigned message, host::ui::WPARAM wParam, host::ui::LPARAM lParam);

    host::ui::Button* createButton(int id, const host::ui::Rect& rect, const CString& text, unsigned style);
    host::ui::ComboBox* createComboBox(int id, const host::ui::Rect& rect, unsigned style);
    host::ui::DatePicker* createDatePicker(int id, const host::ui::Rect& rect);
    host::ui::Edit* createEdit(int id, const host::ui::Rect& rect, unsigned style);
    host::ui::TabStrip* createTabStrip(int id, const host::ui::Rect& rect);
    host::ui::RichEdit* createRichEdit(int id, const host::ui::Rect& rect, unsigned style);
    host::ui::StaticText* createStatic(int id, const host::ui::Rect& rect, const CString& text);
    host::ui::ListBox* createListBox(int id, const host::ui::Rect& rect, bool multiSelect, bool checkBoxes);
    host::ui::ListCtrl* createListCtrl(int id, const host::ui::Rect& rect, bool checkBoxes);
    host::ui::TreeCtrl* createTreeCtrl(int id, const host::ui::Rect& rect);
    host::ui::CSuperSheetWnd* createSheet(int id, const host::ui::Rect& rect);
    host::ui::TipWindow* createTipWindow();
    host::ui::Window* createChildWindow(int id, const host::ui::Rect& rect, host::ui::WindowHandler* handler);

    // --- Used by the UI host ---
    // Delivers a message to the handler, or to the control's own handling when it has none.
    host::ui::LRESULT deliver(const host::ui::Message& message);
    void fireTimer(unsigned id) override;
    // Focus changes, told by the host after it moved the focus.
    virtual void focusChanged(bool gained, WindowCore* other);
    void setLastPaint(std::shared_ptr<DrawingLog> log);
    void destroyTree(); // WM_DESTROY to this window then its children; timers killed
    std::unique_ptr<WindowCore> releaseChild(WindowCore* child);
    void adoptChild(std::unique_ptr<WindowCore> child);

protected:
    // The control's own handling of a message when it has no handler (default: nothing).
    virtual host::ui::LRESULT defaultProc(const host::ui::Message& message);
    virtual void sizeChanged(host::ui::Size /*oldSize*/) {}
    virtual void textChanged() {}

    // WM_COMMAND (id, code) to the parent's handler, as a control reports to its dialog.
    void commandToParent(unsigned code);
    // WM_NOTIFY to the parent's handler; info.idFrom is filled in.
    void notifyParent(host::ui::NotifyInfo& info);
    // Delivers a message to the nearest ancestor that has a handler; 0 when there is none.
    host::ui::LRESULT deliverToParent(const host::ui::Message& message);
    void setTextSilently(const CString& text) { m_text = text; }

private:
    template <class T, class... Args> T* makeChild(Args&&... args);

    HeadlessUiHost& m_host;
    WindowKind m_kind;
    int m_id;
    host::ui::Rect m_rect;
    host::ui::WindowHandler* m_handler; // not owned
    unsigned m_style;
    std::uint64_t m_serial;
    WindowCore* m_parent = nullptr; // not owned; null for a top-level window
    std::vector<std::unique_ptr<WindowCore>> m_children;
    CString m_text;
    bool m_visible = true;
    bool m_enabled = true;
    bool m_destroyed = false;
    bool m_topMost = false;
    bool m_redraw = true;
    std::int64_t m_zRank = 0;
    std::uint64_t m_ownerSerial = 0;
    int m_invalidateCount = 0;
    int m_paintCount = 0;
    host::ui::Font m_font{};
    std::shared_ptr<DrawingLog> m_lastPaint;
};

// The headless core of a host window, or null for a window of another host.
WindowCore* coreOf(const host::ui::Window* window);

// Joins a host window interface (Window, Button, CSuperSheetWnd, ...) with the shared core.
template <class Interface> class WindowBase : public host::ui::ForwardingWindow<Interface, WindowCore> {
public:
    WindowBase(HeadlessUiHost& host, WindowKind kind, int id, const host::ui::Rect& rect,
               host::ui::WindowHandler* handler = nullptr, unsigned style = 0)
        : host::ui::ForwardingWindow<Interface, WindowCore>(host, kind, id, rect, handler, style) {}

    host::ui::Window& window() override { return *this; }
    const host::ui::Window& window() const override { return *this; }
};

// A plain window with a handler: a view's window, a child view's window or a dialog frame.
class HeadlessWindow final : public WindowBase<host::ui::Window> {
public:
    using WindowBase::WindowBase;
};

} // namespace headless
