#include "adapters/headless/headless_window.h"

#include <algorithm>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/headless_ui_host.h"
#include "adapters/headless/recording_dc.h"

namespace headless {

using host::ui::LPARAM;
using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Point;
using host::ui::Rect;
using host::ui::Window;
using host::ui::WPARAM;
namespace win = host::ui::win;

const char* kindName(WindowKind kind) {
    switch (kind) {
    case WindowKind::kWindow:
        return "window";
    case WindowKind::kButton:
        return "button";
    case WindowKind::kComboBox:
        return "combo";
    case WindowKind::kDatePicker:
        return "date";
    case WindowKind::kEdit:
        return "edit";
    case WindowKind::kTabStrip:
        return "tabs";
    case WindowKind::kRichEdit:
        return "richedit";
    case WindowKind::kStatic:
        return "static";
    case WindowKind::kListBox:
        return "listbox";
    case WindowKind::kListCtrl:
        return "listctrl";
    case WindowKind::kTree:
        return "tree";
    case WindowKind::kSheet:
        return "grid";
    case WindowKind::kTip:
        return "tip";
    case WindowKind::kDialog:
        return "dialog";
    }
    return "?";
}

WindowCore* coreOf(const Window* window) {
    return dynamic_cast<WindowCore*>(const_cast<Window*>(window));
}

WindowCore::WindowCore(HeadlessUiHost& host, WindowKind kind, int id, const Rect& rect,
                       host::ui::WindowHandler* handler, unsigned style)
    : m_host(host), m_kind(kind), m_id(id), m_rect(rect), m_handler(handler), m_style(style),
      m_serial(host.registerWindow(this)), m_zRank(host.nextTopRank()) {}

WindowCore::~WindowCore() {
    // Normally done by destroy(); a window freed with its host or its parent does it here.
    m_host.clock().killTimers(this);
    m_host.unregisterWindow(this);
}

std::vector<WindowCore*> WindowCore::childCores() const {
    std::vector<WindowCore*> result;
    result.reserve(m_children.size());
    for (const auto& c : m_children) {
        if (!c->m_destroyed) {
            result.push_back(c.get());
        }
    }
    return result;
}

std::vector<std::pair<unsigned, unsigned>> WindowCore::timers() const {
    std::vector<std::pair<unsigned, unsigned>> result;
    for (const VirtualClock::TimerState& t : m_host.clock().timers()) {
        if (t.target == this) {
            result.emplace_back(t.id, t.intervalMs);
        }
    }
    return result;
}

Window* WindowCore::parent() const {
    return m_parent != nullptr ? &m_parent->window() : nullptr;
}

void WindowCore::setParent(Window* parent) {
    WindowCore* newParent = parent != nullptr ? m_host.liveCore(parent) : nullptr;
    if (newParent == m_parent || m_destroyed || (parent != nullptr && newParent == nullptr)) {
        return;
    }
    for (WindowCore* p = newParent; p != nullptr; p = p->m_parent) {
        if (p == this) {
            return; // a window cannot become its own descendant
        }
    }
    std::unique_ptr<WindowCore> self =
        m_parent != nullptr ? m_parent->releaseChild(this) : m_host.releaseTopLevel(this);
    if (!self) {
        return;
    }
    if (newParent != nullptr) {
        newParent->adoptChild(std::move(self));
    } else {
        m_host.adoptTopLevel(std::move(self));
    }
}

Window* WindowCore::child(int id) const {
    for (const auto& c : m_children) {
        if (!c->m_destroyed && c->m_id == id) {
            return &c->window();
        }
    }
    return nullptr;
}

void WindowCore::setText(const CString& text) {
    m_text = text;
    textChanged();
}

CString WindowCore::text() const {
    return m_text;
}

void WindowCore::show(bool visible) {
    m_visible = visible;
}

bool WindowCore::isVisible() const {
    for (const WindowCore* w = this; w != nullptr; w = w->m_parent) {
        if (!w->m_visible) {
            return false;
        }
    }
    return true;
}

void WindowCore::move(const Rect& rect, bool repaint) {
    const host::ui::Size oldSize{m_rect.Width(), m_rect.Height()};
    m_rect = rect;
    if (repaint) {
        ++m_invalidateCount;
    }
    if (oldSize.cx == rect.Width() && oldSize.cy == rect.Height()) {
        return;
    }
    HeadlessUiHost::DispatchScope scope(m_host);
    if (m_handler != nullptr) {
        m_host.dispatch(*this, Message{win::WM_SIZE, 0, host::ui::MAKELPARAM(rect.Width(), rect.Height()), &window()});
    }
    if (!m_destroyed) {
        sizeChanged(oldSize);
    }
}

Point WindowCore::clientToScreen(Point p) const {
    for (const WindowCore* w = this; w != nullptr; w = w->m_parent) {
        p.x += w->m_rect.left;
        p.y += w->m_rect.top;
    }
    return p;
}

void WindowCore::setFocus() {
    if (!m_destroyed) {
        m_host.moveFocus(this);
    }
}

bool WindowCore::hasFocus() const {
    return m_host.m_focusSerial == m_serial;
}

void WindowCore::invalidate(bool /*erase*/) {
    ++m_invalidateCount;
}

void WindowCore::update() {
    if (m_redraw && m_handler != nullptr && !m_destroyed) {
        m_host.paint(&window());
    }
}

void WindowCore::setFont(const host::ui::Font& font, bool redraw) {
    m_font = font;
    if (redraw) {
        ++m_invalidateCount;
    }
}

host::ui::Size WindowCore::textExtent(const CString& text) const {
    return TextMetrics::extent(m_font, text);
}

void WindowCore::setZOrder(host::ui::ZOrder order, bool activate) {
    switch (order) {
    case host::ui::ZOrder::kTop:
        m_zRank = m_host.nextTopRank();
        break;
    case host::ui::ZOrder::kBottom:
        m_zRank = m_host.nextBottomRank();
        break;
    case host::ui::ZOrder::kTopMost:
        m_topMost = true;
        m_zRank = m_host.nextTopRank();
        break;
    case host::ui::ZOrder::kNotTopMost:
        m_topMost = false;
        break;
    }
    if (activate) {
        m_host.activate(&window());
    }
}

void WindowCore::destroy() {
    m_host.destroyWindow(*this);
}

void WindowCore::setTimer(unsigned id, unsigned milliseconds) {
    if (!m_destroyed) {
        m_host.clock().setTimer(this, id, milliseconds);
    }
}

void WindowCore::killTimer(unsigned id) {
    m_host.clock().killTimer(this, id);
}

LRESULT WindowCore::sendMessage(unsigned message, WPARAM wParam, LPARAM lParam) {
    return m_host.dispatch(*this, Message{message, wParam, lParam, &window()});
}

void WindowCore::postMessage(unsigned message, WPARAM wParam, LPARAM lParam) {
    if (!m_destroyed) {
        m_host.post(*this, Message{message, wParam, lParam, &window()});
    }
}

template <class T, class... Args> T* WindowCore::makeChild(Args&&... args) {
    auto child = std::make_unique<T>(m_host, std::forward<Args>(args)...);
    T* raw = child.get();
    adoptChild(std::move(child));
    return raw;
}

host::ui::Button* WindowCore::createButton(int id, const Rect& rect, const CString& text, unsigned style) {
    return makeChild<HeadlessButton>(id, rect, text, style);
}

host::ui::ComboBox* WindowCore::createComboBox(int id, const Rect& rect, unsigned style) {
    return makeChild<HeadlessComboBox>(id, rect, style);
}

host::ui::DatePicker* WindowCore::createDatePicker(int id, const Rect& rect) {
    return makeChild<HeadlessDatePicker>(id, rect);
}

host::ui::Edit* WindowCore::createEdit(int id, const Rect& rect, unsigned style) {
    return makeChild<HeadlessEdit>(id, rect, style);
}

host::ui::TabStrip* WindowCore::createTabStrip(int id, const Rect& rect) {
    return makeChild<HeadlessTabStrip>(id, rect);
}

host::ui::RichEdit* WindowCore::createRichEdit(int id, const Rect& rect, unsigned style) {
    return makeChild<HeadlessRichEdit>(id, rect, style);
}

host::ui::StaticText* WindowCore::createStatic(int id, const Rect& rect, const CString& text) {
    return makeChild<HeadlessStatic>(id, rect, text);
}

host::ui::ListBox* WindowCore::createListBox(int id, const Rect& rect, bool multiSelect, bool checkBoxes) {
    return makeChild<HeadlessListBox>(id, rect, multiSelect, checkBoxes);
}

host::ui::ListCtrl* WindowCore::createListCtrl(int id, const Rect& rect, bool checkBoxes) {
    return makeChild<HeadlessListCtrl>(id, rect, checkBoxes);
}

host::ui::TreeCtrl* WindowCore::createTreeCtrl(int id, const Rect& rect) {
    return makeChild<HeadlessTreeCtrl>(id, rect);
}

host::ui::CSuperSheetWnd* WindowCore::createSheet(int id, const Rect& rect) {
    return makeChild<HeadlessSheet>(id, rect);
}

host::ui::TipWindow* WindowCore::createTipWindow() {
    return makeChild<HeadlessTipWindow>(0);
}

Window* WindowCore::createChildWindow(int id, const Rect& rect, host::ui::WindowHandler* handler) {
    if (m_destroyed) {
        return nullptr;
    }
    HeadlessUiHost::DispatchScope scope(m_host);
    HeadlessWindow* child = makeChild<HeadlessWindow>(WindowKind::kWindow, id, rect, handler, win::WS_CHILD);
    if (!m_host.announceCreation(*child)) {
        child->destroy();
        return nullptr;
    }
    return child;
}

LRESULT WindowCore::deliver(const Message& message) {
    if (m_destroyed && message.message != win::WM_DESTROY) {
        return 0;
    }
    if (m_handler != nullptr) {
        return m_handler->handleMessage(message);
    }
    return defaultProc(message);
}

LRESULT WindowCore::defaultProc(const Message& message) {
    // A control leaves the context menu to its parent, as the toolkit's default handling does.
    if (message.message == win::WM_CONTEXTMENU) {
        return deliverToParent(message);
    }
    return 0;
}

void WindowCore::fireTimer(unsigned id) {
    m_host.dispatch(*this, Message{win::WM_TIMER, id, 0, &window()});
}

void WindowCore::focusChanged(bool gained, WindowCore* other) {
    if (m_handler != nullptr) {
        const auto otherWindow = reinterpret_cast<WPARAM>(other != nullptr ? &other->window() : nullptr);
        m_host.dispatch(*this, Message{gained ? win::WM_SETFOCUS : win::WM_KILLFOCUS, otherWindow, 0, &window()});
    }
}

void WindowCore::setLastPaint(std::shared_ptr<DrawingLog> log) {
    m_lastPaint = std::move(log);
    ++m_paintCount;
}

void WindowCore::destroyTree() {
    if (m_destroyed) {
        return;
    }
    m_destroyed = true;
    m_host.clock().killTimers(this);
    if (m_handler != nullptr) {
        m_host.dispatch(*this, Message{win::WM_DESTROY, 0, 0, &window()});
    }
    for (WindowCore* c : childCores()) {
        c->destroyTree();
    }
    m_host.unregisterWindow(this);
}

std::unique_ptr<WindowCore> WindowCore::releaseChild(WindowCore* child) {
    const auto it = std::find_if(m_children.begin(), m_children.end(), [&](const auto& c) { return c.get() == child; });
    if (it == m_children.end()) {
        return nullptr;
    }
    std::unique_ptr<WindowCore> owned = std::move(*it);
    m_children.erase(it);
    owned->m_parent = nullptr;
    return owned;
}

void WindowCore::adoptChild(std::unique_ptr<WindowCore> child) {
    child->m_parent = this;
    m_children.push_back(std::move(child));
}

void WindowCore::commandToParent(unsigned code) {
    deliverToParent(Message{win::WM_COMMAND, host::ui::MAKEWPARAM(static_cast<unsigned>(m_id), code),
                            reinterpret_cast<LPARAM>(&window()), &window()});
}

void WindowCore::notifyParent(host::ui::NotifyInfo& info) {
    info.idFrom = m_id;
    deliverToParent(Message{win::WM_NOTIFY, static_cast<WPARAM>(m_id), reinterpret_cast<LPARAM>(&info), &window()});
}

LRESULT WindowCore::deliverToParent(const Message& message) {
    for (WindowCore* p = m_parent; p != nullptr; p = p->m_parent) {
        if (p->m_handler != nullptr) {
            return m_host.dispatch(*p, message);
        }
    }
    return 0;
}

} // namespace headless
