#include "adapters/qt/window_core.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QFontMetrics>
#include <QHash>
#include <QTimerEvent>
#include <QWidget>

#include "adapters/qt/controls_basic.h"
#include "adapters/qt/controls_combo.h"
#include "adapters/qt/controls_date.h"
#include "adapters/qt/controls_lists.h"
#include "adapters/qt/controls_text.h"
#include "adapters/qt/convert.h"
#include "adapters/qt/input_router.h"
#include "adapters/qt/sheet_window.h"
#include "adapters/qt/text_codec.h"
#include "adapters/qt/tip_window.h"
#include "adapters/qt/view_window.h"

namespace qthost {

namespace win = host::ui::win;
using host::ui::LPARAM;
using host::ui::LRESULT;
using host::ui::Message;
using host::ui::WPARAM;

namespace {

QHash<const QWidget*, WindowCore*>& registry() {
    static QHash<const QWidget*, WindowCore*> windows;
    return windows;
}

} // namespace

// Lives among the widget's children: owns the window, receives its timers and watches the
// widget's events for it.
class WindowAnchor final : public QObject {
public:
    WindowAnchor(QWidget* widget, std::unique_ptr<WindowCore> window) : QObject(widget), m_window(std::move(window)) {
        widget->installEventFilter(this);
    }
    ~WindowAnchor() override {
        // The widget is going away with its parent: views hear WM_DESTROY unless the module
        // destroyed the window itself first.
        m_window->markDestroyed();
    }
    WindowAnchor(const WindowAnchor&) = delete;
    WindowAnchor& operator=(const WindowAnchor&) = delete;

protected:
    void timerEvent(QTimerEvent* event) override { m_window->onQtTimer(event->timerId()); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        return m_window->isAlive() && m_window->filterEvent(watched, event);
    }

private:
    std::unique_ptr<WindowCore> m_window;
};

WindowCore::WindowCore(QWidget* widget, int id, host::ui::WindowHandler* handler, FontPolicy fontPolicy)
    : m_widget(widget), m_id(id), m_handler(handler) {
    registry().insert(widget, this);
    if (fontPolicy == FontPolicy::kHostFont) {
        widget->setFont(toQFont(m_font));
    }
}

WindowCore::~WindowCore() {
    registry().remove(m_widget);
}

void WindowCore::anchorTo(std::unique_ptr<WindowCore> self) {
    m_anchor = new WindowAnchor(m_widget, std::move(self));
    for (QObject* object : m_watchedBeforeAnchor) {
        object->installEventFilter(m_anchor);
    }
    m_watchedBeforeAnchor.clear();
}

WindowCore* WindowCore::fromWidget(const QWidget* widget) {
    WindowCore* window = registry().value(widget, nullptr);
    return window != nullptr && window->m_alive ? window : nullptr;
}

WindowCore* WindowCore::nearest(const QWidget* widget) {
    for (const QWidget* w = widget; w != nullptr; w = w->parentWidget()) {
        if (WindowCore* window = fromWidget(w)) {
            return window;
        }
    }
    return nullptr;
}

WindowCore* WindowCore::fromWindow(const host::ui::Window* window) {
    return const_cast<WindowCore*>(dynamic_cast<const WindowCore*>(window));
}

WindowCore* WindowCore::parentCore() const {
    return m_widget->parentWidget() == nullptr ? nullptr : nearest(m_widget->parentWidget());
}

LRESULT WindowCore::windowProc(const Message& message) {
    if (m_handler != nullptr) {
        return m_handler->handleMessage(message);
    }
    // A control answers keys sent to it the way it answers typed ones.
    if (message.message == win::WM_KEYDOWN || message.message == win::WM_KEYUP || message.message == win::WM_CHAR) {
        InputRouter::sendNativeKey(m_widget, message);
    }
    return 0;
}

void WindowCore::notifyParentCommand(unsigned code) {
    sendToParent(win::WM_COMMAND, host::ui::MAKEWPARAM(static_cast<unsigned>(m_id), code),
                 reinterpret_cast<LPARAM>(&hostWindow()));
}

void WindowCore::notifyParent(host::ui::NotifyInfo info) {
    info.idFrom = m_id;
    sendToParent(win::WM_NOTIFY, static_cast<WPARAM>(m_id), reinterpret_cast<LPARAM>(&info));
}

LRESULT WindowCore::sendToParent(unsigned message, WPARAM wParam, LPARAM lParam) {
    WindowCore* parentWindow = parentCore();
    if (parentWindow == nullptr || !m_alive) {
        return 0;
    }
    return parentWindow->windowProc(Message{message, wParam, lParam, &hostWindow()});
}

host::ui::Window* WindowCore::parent() const {
    WindowCore* parentWindow = parentCore();
    return parentWindow == nullptr ? nullptr : &parentWindow->hostWindow();
}

void WindowCore::setParent(host::ui::Window* parent) {
    WindowCore* parentWindow = fromWindow(parent);
    const bool wasHidden = m_widget->isHidden();
    if (parentWindow == nullptr) {
        m_widget->setParent(nullptr, Qt::Window);
    } else {
        m_widget->setParent(parentWindow->widget(), m_widget->windowFlags() & ~Qt::Window);
    }
    // Re-parenting hides a widget in Qt; a host window keeps its visibility.
    m_widget->setVisible(!wasHidden);
}

host::ui::Window* WindowCore::child(int id) const {
    for (QObject* object : m_widget->children()) {
        if (!object->isWidgetType()) {
            continue;
        }
        WindowCore* window = fromWidget(static_cast<QWidget*>(object));
        if (window != nullptr && window->m_id == id) {
            return &window->hostWindow();
        }
    }
    return nullptr;
}

void WindowCore::setText(const CString& text) {
    m_text = text;
    m_widget->setWindowTitle(toQString(text));
}

void WindowCore::show(bool visible) {
    m_widget->setVisible(visible);
}
bool WindowCore::isVisible() const {
    return m_widget->isVisible();
}
void WindowCore::enable(bool enabled) {
    m_widget->setEnabled(enabled);
}
bool WindowCore::isEnabled() const {
    return m_widget->isEnabled();
}

void WindowCore::move(const host::ui::Rect& rect, bool repaint) {
    m_widget->setGeometry(toQRect(rect));
    // Qt delivers the resize of a hidden widget only when it is shown; the module expects
    // to hear about the new size now.
    reportSizeIfChanged();
    if (repaint) {
        invalidate(true);
    }
}

host::ui::Rect WindowCore::rect() const {
    return toHostRect(m_widget->geometry());
}
host::ui::Rect WindowCore::clientRect() const {
    return host::ui::Rect{0, 0, m_widget->width(), m_widget->height()};
}
host::ui::Point WindowCore::clientToScreen(host::ui::Point p) const {
    return toHostPoint(m_widget->mapToGlobal(toQPoint(p)));
}

void WindowCore::setFocus() {
    m_widget->setFocus(Qt::OtherFocusReason);
}

bool WindowCore::hasFocus() const {
    const QWidget* focus = QApplication::focusWidget();
    // The focus may sit in an inner widget of a control (the edit of a date picker).
    return focus != nullptr && nearest(focus) == this;
}

void WindowCore::invalidate(bool /*erase*/) {
    paintTarget()->update();
}
void WindowCore::update() {
    paintTarget()->repaint();
}
void WindowCore::setRedraw(bool redraw) {
    m_widget->setUpdatesEnabled(redraw);
    if (redraw) {
        paintTarget()->update();
    }
}

void WindowCore::setFont(const host::ui::Font& font, bool redraw) {
    m_font = font;
    m_widget->setFont(toQFont(font));
    if (redraw) {
        invalidate(true);
    }
}

host::ui::Size WindowCore::textExtent(const CString& text) const {
    const QFontMetrics metrics(m_widget->font());
    return host::ui::Size{metrics.horizontalAdvance(toQString(text)), metrics.height()};
}

void WindowCore::setZOrder(host::ui::ZOrder order, bool activate) {
    switch (order) {
    case host::ui::ZOrder::kTop:
        m_widget->raise();
        break;
    case host::ui::ZOrder::kBottom:
        m_widget->lower();
        break;
    case host::ui::ZOrder::kTopMost:
    case host::ui::ZOrder::kNotTopMost:
        if (m_widget->isWindow()) {
            const bool visible = m_widget->isVisible();
            m_widget->setWindowFlag(Qt::WindowStaysOnTopHint, order == host::ui::ZOrder::kTopMost);
            m_widget->setVisible(visible); // changing window flags hides a window
        }
        m_widget->raise();
        break;
    }
    if (activate && m_widget->isWindow()) {
        m_widget->activateWindow();
    }
}

void WindowCore::destroy() {
    if (!m_alive) {
        return;
    }
    // Descendant views hear WM_DESTROY after this one, as with the platform's windows.
    markDestroyed();
    for (QWidget* descendant : m_widget->findChildren<QWidget*>()) {
        if (WindowCore* window = registry().value(descendant, nullptr)) {
            window->markDestroyed();
        }
    }
    m_widget->hide();
    m_widget->deleteLater();
}

void WindowCore::markDestroyed() {
    if (!m_alive) {
        return;
    }
    for (const auto& [hostId, qtId] : m_timers) {
        m_anchor->killTimer(qtId);
    }
    m_timers.clear();
    host::ui::WindowHandler* handler = m_handler;
    if (handler != nullptr) {
        handler->handleMessage(Message{win::WM_DESTROY, 0, 0, &hostWindow()});
    }
    m_handler = nullptr;
    m_alive = false;
}

void WindowCore::setTimer(unsigned id, unsigned milliseconds) {
    if (!m_alive) {
        return;
    }
    killTimer(id);
    // A zero period fires on the next turn of the event loop, as the platform's does.
    const int qtId = m_anchor->startTimer(static_cast<int>(milliseconds), Qt::PreciseTimer);
    if (qtId != 0) {
        m_timers[id] = qtId;
    }
}

void WindowCore::killTimer(unsigned id) {
    const auto found = m_timers.find(id);
    if (found != m_timers.end()) {
        m_anchor->killTimer(found->second);
        m_timers.erase(found);
    }
}

void WindowCore::onQtTimer(int qtTimerId) {
    for (const auto& [hostId, qtId] : m_timers) {
        if (qtId == qtTimerId) {
            // Periodic like the platform's timers: the module kills one-shot timers itself.
            windowProc(Message{win::WM_TIMER, static_cast<WPARAM>(hostId), 0, &hostWindow()});
            return;
        }
    }
}

LRESULT WindowCore::sendMessage(unsigned message, WPARAM wParam, LPARAM lParam) {
    if (!m_alive) {
        return 0;
    }
    return windowProc(Message{message, wParam, lParam, &hostWindow()});
}

void WindowCore::postMessage(unsigned message, WPARAM wParam, LPARAM lParam) {
    // The anchor is the context: a message posted to a window that dies first is dropped.
    QMetaObject::invokeMethod(
        m_anchor,
        [this, message, wParam, lParam] {
            if (m_alive) {
                windowProc(Message{message, wParam, lParam, &hostWindow()});
            }
        },
        Qt::QueuedConnection);
}

bool WindowCore::filterEvent(QObject* watched, QEvent* event) {
    if (watched == m_widget && event->type() == QEvent::Resize) {
        reportSizeIfChanged();
    }
    return false;
}

void WindowCore::watch(QObject* object) {
    // Constructors of windows watch their inner widgets before the anchor exists.
    if (m_anchor == nullptr) {
        m_watchedBeforeAnchor.push_back(object);
    } else {
        object->installEventFilter(m_anchor);
    }
}

void WindowCore::reportSizeIfChanged() {
    const QSize size = m_widget->size();
    if (size != m_reportedSize && m_alive) {
        m_reportedSize = size;
        onSizeChanged(size);
    }
}

void WindowCore::place(const host::ui::Rect& rect) {
    m_widget->setGeometry(toQRect(rect));
    m_reportedSize = m_widget->size();
}

bool WindowCore::announceCreation() {
    if (m_handler == nullptr) {
        return true;
    }
    // As the platform does: WM_CREATE (-1 refuses the window), then the first WM_SIZE. The
    // creator learns the window only when the create call returns, so handlers read it from
    // Message::target.
    if (windowProc(Message{win::WM_CREATE, 0, 0, &hostWindow()}) == -1 || !m_alive) {
        destroy();
        return false;
    }
    onSizeChanged(m_reportedSize);
    if (!m_alive) {
        return false;
    }
    return true;
}

void WindowCore::onSizeChanged(QSize size) {
    if (m_handler != nullptr) {
        m_handler->handleMessage(
            Message{win::WM_SIZE, 0, host::ui::MAKELPARAM(size.width(), size.height()), &hostWindow()});
    }
}

namespace {

template <class T> T* placed(T* window, const host::ui::Rect& rect) {
    window->place(rect);
    window->widget()->show();
    return window;
}

} // namespace

host::ui::Button* WindowCore::createButton(int id, const host::ui::Rect& rect, const CString& text, unsigned style) {
    return placed(create<QtButton>(m_widget, id, text, style), rect);
}
host::ui::ComboBox* WindowCore::createComboBox(int id, const host::ui::Rect& rect, unsigned style) {
    return placed(create<QtComboBox>(m_widget, id, style), rect);
}
host::ui::DatePicker* WindowCore::createDatePicker(int id, const host::ui::Rect& rect) {
    return placed(create<QtDatePicker>(m_widget, id), rect);
}
host::ui::Edit* WindowCore::createEdit(int id, const host::ui::Rect& rect, unsigned style) {
    if ((style & win::ES_MULTILINE) != 0) {
        return placed(create<QtMultiLineEdit>(m_widget, id, style), rect);
    }
    return placed(create<QtEdit>(m_widget, id, style), rect);
}
host::ui::TabStrip* WindowCore::createTabStrip(int id, const host::ui::Rect& rect) {
    return placed(create<QtTabStrip>(m_widget, id), rect);
}
host::ui::RichEdit* WindowCore::createRichEdit(int id, const host::ui::Rect& rect, unsigned style) {
    return placed(create<QtRichEdit>(m_widget, id, style), rect);
}
host::ui::StaticText* WindowCore::createStatic(int id, const host::ui::Rect& rect, const CString& text) {
    return placed(create<QtStatic>(m_widget, id, text), rect);
}
host::ui::ListBox* WindowCore::createListBox(int id, const host::ui::Rect& rect, bool multiSelect, bool checkBoxes) {
    return placed(create<QtListBox>(m_widget, id, multiSelect, checkBoxes), rect);
}
host::ui::ListCtrl* WindowCore::createListCtrl(int id, const host::ui::Rect& rect, bool checkBoxes) {
    return placed(create<QtListCtrl>(m_widget, id, checkBoxes), rect);
}
host::ui::TreeCtrl* WindowCore::createTreeCtrl(int id, const host::ui::Rect& rect) {
    return placed(create<QtTreeCtrl>(m_widget, id), rect);
}
host::ui::CSuperSheetWnd* WindowCore::createSheet(int id, const host::ui::Rect& rect) {
    return placed(create<QtSheet>(m_widget, id), rect);
}
host::ui::TipWindow* WindowCore::createTipWindow() {
    return create<QtTipWindow>(m_widget);
}
host::ui::Window* WindowCore::createChildWindow(int id, const host::ui::Rect& rect, host::ui::WindowHandler* handler) {
    QtViewWindow* window = placed(create<QtViewWindow>(m_widget, id, handler), rect);
    return window->announceCreation() ? window : nullptr;
}

} // namespace qthost
