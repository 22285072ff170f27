#pragma once

#include <QSize>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "host/ui/forwarding_window.h"
#include "host/ui/window.h"

class QEvent;
class QObject;
class QWidget;

namespace qthost {

class WindowAnchor;

// What every host window of this adapter shares, whatever widget it is built on: id, parent
// and children, geometry, font, timers, messages and the creation of child controls.
// A window is owned by its widget (through a small anchor object among the widget's
// children), so Qt's parent ownership decides when it dies, exactly as a host window dies
// with its parent. The module's destroy() detaches the window at once and deletes the
// widget later, because the module may destroy a control from inside its own notification.
// Thread: UI thread.
class WindowCore {
public:
    virtual ~WindowCore();
    WindowCore(const WindowCore&) = delete;
    WindowCore& operator=(const WindowCore&) = delete;

    // Creates a window whose constructor builds its widget, and hands its ownership to it.
    template <class T, class... Args> static T* create(Args&&... args) {
        auto window = std::make_unique<T>(std::forward<Args>(args)...);
        T* raw = window.get();
        raw->anchorTo(std::move(window));
        return raw;
    }

    // The host window this core implements (the most-derived object).
    virtual host::ui::Window& hostWindow() = 0;
    const host::ui::Window& hostWindow() const { return const_cast<WindowCore*>(this)->hostWindow(); }
    // The handler of this window's own messages; null for controls and after WM_DESTROY.
    host::ui::WindowHandler* handler() const { return m_handler; }
    // Whether key messages go to the window itself (views, the grid) instead of the widget's
    // native key handling (edits, combos, ...).
    virtual bool handlesKeys() const { return m_handler != nullptr; }
    // Every message sent or posted to the window arrives here. Views pass it to their
    // handler; controls answer the few messages they understand.
    virtual host::ui::LRESULT windowProc(const host::ui::Message& message);

    QWidget* widget() const { return m_widget; }
    bool isAlive() const { return m_alive; }
    WindowCore* parentCore() const;
    static WindowCore* fromWidget(const QWidget* widget);
    // The window of widget or of its nearest ancestor that is one; null for foreign widgets.
    static WindowCore* nearest(const QWidget* widget);
    // Null for windows of another host.
    static WindowCore* fromWindow(const host::ui::Window* window);

    // Notifications to the parent window: WM_COMMAND (id, code) and WM_NOTIFY.
    void notifyParentCommand(unsigned code);
    void notifyParent(host::ui::NotifyInfo info);
    // A message to the parent's window procedure on behalf of this window (target: this).
    host::ui::LRESULT sendToParent(unsigned message, host::ui::WPARAM wParam, host::ui::LPARAM lParam);

    // --- host::ui::Window, forwarded by WindowImpl ---
    int id() const { return m_id; }
    host::ui::Window* parent() const;
    void setParent(host::ui::Window* parent);
    host::ui::Window* child(int id) const;
    void setText(const CString& text);
    CString text() const { return m_text; }
    void show(bool visible);
    bool isVisible() const;
    void enable(bool enabled);
    bool isEnabled() const;
    void move(const host::ui::Rect& rect, bool repaint);
    host::ui::Rect rect() const;
    host::ui::Rect clientRect() const;
    host::ui::Point clientToScreen(host::ui::Point p) const;
    void setFocus();
    bool hasFocus() const;
    void invalidate(bool erase);
    void update();
    void setRedraw(bool redraw);
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

    // Sends WM_DESTROY to the handler once (views) and forgets it; called when the module
    // destroys the window and when the widget dies with its parent.
    void markDestroyed();
    // Reports the widget's size (WM_SIZE for views) when it differs from the last report.
    void reportSizeIfChanged();
    // Sets the geometry of a new window without a size report.
    void place(const host::ui::Rect& rect);
    // WM_CREATE and the first WM_SIZE to a new view; false (and the window destroyed) when
    // the handler refused it or destroyed it.
    bool announceCreation();

protected:
    enum class FontPolicy { kHostFont, kKeepWidgetFont };
    // widget: the window's widget, already parented; handler: null for controls. New windows
    // start in the host's default font (a Traditional Chinese face); a wrapped widget of the
    // application keeps its own.
    WindowCore(QWidget* widget, int id, host::ui::WindowHandler* handler,
               FontPolicy fontPolicy = FontPolicy::kHostFont);

    // Events of the widget and of any object the window watches through watch(); true
    // consumes the event.
    virtual bool filterEvent(QObject* watched, QEvent* event);
    void watch(QObject* object);
    // A size change of the widget: WM_SIZE to the handler; the grid also tells its parent.
    virtual void onSizeChanged(QSize size);
    // The widget whose updates invalidate() and update() trigger (a scroll area's viewport).
    virtual QWidget* paintTarget() const { return m_widget; }
    // Kept so that text() answers the exact bytes set, which Unicode cannot always carry back.
    void rememberText(const CString& text) { m_text = text; }

private:
    friend class WindowAnchor;
    void anchorTo(std::unique_ptr<WindowCore> self);
    void onQtTimer(int qtTimerId);

    QWidget* m_widget; // owns this core through m_anchor
    WindowAnchor* m_anchor = nullptr;
    std::vector<QObject*> m_watchedBeforeAnchor;
    int m_id;
    host::ui::WindowHandler* m_handler; // not owned
    bool m_alive = true;
    CString m_text;
    host::ui::Font m_font;
    std::map<unsigned, int> m_timers; // host timer id -> Qt timer id
    QSize m_reportedSize{-1, -1};
};

// host::ui::Window (or one of its control interfaces) implemented by WindowCore.
template <class Interface> class WindowImpl : public host::ui::ForwardingWindow<Interface, WindowCore> {
public:
    host::ui::Window& hostWindow() override { return *this; }

protected:
    using host::ui::ForwardingWindow<Interface, WindowCore>::ForwardingWindow;
};

} // namespace qthost
