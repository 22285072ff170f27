#include "adapters/qt/view_window.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <QWidget>

#include "adapters/qt/key_codes.h"
#include "adapters/qt/painter_dc.h"

namespace qthost {

namespace win = host::ui::win;
using host::ui::LPARAM;
using host::ui::WPARAM;

class ViewWidget final : public QWidget {
public:
    explicit ViewWidget(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setFocusPolicy(Qt::StrongFocus);
        if (parent == nullptr) {
            setWindowFlag(Qt::Window);
        }
    }
    ~ViewWidget() override {
        // Before Qt deletes the child widgets: the view hears WM_DESTROY ahead of its children.
        if (m_window != nullptr) {
            m_window->markDestroyed();
        }
    }
    ViewWidget(const ViewWidget&) = delete;
    ViewWidget& operator=(const ViewWidget&) = delete;

    void attach(QtViewWindow* window) { m_window = window; }
    void detach() { m_window = nullptr; }

protected:
    void paintEvent(QPaintEvent* event) override {
        if (m_window != nullptr) {
            m_window->paint(event);
        }
    }

private:
    QtViewWindow* m_window = nullptr; // owns this widget's window object through the anchor
};

QtViewWindow::QtViewWindow(QWidget* parent, int id, host::ui::WindowHandler* handler)
    : WindowImpl(new ViewWidget(parent), id, handler) {
    static_cast<ViewWidget*>(widget())->attach(this);
    widget()->setMouseTracking(true);
}

QtViewWindow::~QtViewWindow() {
    static_cast<ViewWidget*>(widget())->detach();
}

void QtViewWindow::paint(QPaintEvent* /*event*/) {
    QPainter painter(widget());
    PainterDeviceContext dc(painter, *widget());
    host::ui::WindowHandler* h = handler();
    if (h == nullptr || h->eraseBackground(dc) == 0) {
        painter.fillRect(widget()->rect(), widget()->palette().window());
    }
    if (h != nullptr) {
        h->paint(dc);
    }
}

void QtViewWindow::deliver(unsigned message, WPARAM wParam, LPARAM lParam) {
    if (handler() != nullptr) {
        handler()->handleMessage(host::ui::Message{message, wParam, lParam, &hostWindow()});
    }
}

bool QtViewWindow::filterEvent(QObject* watched, QEvent* event) {
    if (watched != widget()) {
        return WindowCore::filterEvent(watched, event);
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const bool right = mouse->button() == Qt::RightButton;
        unsigned message = win::WM_MOUSEMOVE;
        if (event->type() == QEvent::MouseButtonPress) {
            message = right ? win::WM_RBUTTONDOWN : win::WM_LBUTTONDOWN;
        } else if (event->type() == QEvent::MouseButtonRelease) {
            message = right ? win::WM_RBUTTONUP : win::WM_LBUTTONUP;
        } else if (event->type() == QEvent::MouseButtonDblClick) {
            // The platform has no right double-click message the module reads.
            message = right ? win::WM_RBUTTONDOWN : win::WM_LBUTTONDBLCLK;
        }
        if (event->type() == QEvent::MouseButtonPress) {
            widget()->setFocus(Qt::MouseFocusReason);
        }
        const QPoint p = mouse->position().toPoint();
        deliver(message, mouseKeyFlags(mouse->buttons(), mouse->modifiers()), host::ui::MAKELPARAM(p.x(), p.y()));
        return true;
    }
    case QEvent::Wheel: {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        const QPoint global = wheel->globalPosition().toPoint();
        const auto delta =
            static_cast<unsigned>(static_cast<std::uint16_t>(static_cast<short>(wheel->angleDelta().y())));
        deliver(win::WM_MOUSEWHEEL,
                host::ui::MAKEWPARAM(static_cast<unsigned>(mouseKeyFlags(wheel->buttons(), wheel->modifiers())), delta),
                host::ui::MAKELPARAM(global.x(), global.y()));
        return true;
    }
    case QEvent::ContextMenu: {
        const auto* menu = static_cast<QContextMenuEvent*>(event);
        // A menu asked for from the keyboard has no point: (-1, -1) as on the platform.
        const QPoint global = menu->reason() == QContextMenuEvent::Keyboard ? QPoint(-1, -1) : menu->globalPos();
        deliver(win::WM_CONTEXTMENU, reinterpret_cast<WPARAM>(&hostWindow()),
                host::ui::MAKELPARAM(global.x(), global.y()));
        return true;
    }
    case QEvent::FocusIn:
        deliver(win::WM_SETFOCUS, 0, 0);
        break;
    case QEvent::FocusOut:
        deliver(win::WM_KILLFOCUS, 0, 0);
        break;
    case QEvent::Close: {
        deliver(win::WM_CLOSE, 0, 0);
        // The platform destroys a window whose handler lets WM_CLOSE through; here the
        // handler owns its window, so the window is only hidden.
        event->ignore();
        if (isAlive()) {
            widget()->hide();
        }
        return true;
    }
    default:
        break;
    }
    return WindowCore::filterEvent(watched, event);
}

QtForeignWindow::QtForeignWindow(QWidget* widget, host::ui::WindowHandler* handler)
    : WindowImpl(widget, 0, handler, FontPolicy::kKeepWidgetFont) {}

} // namespace qthost
