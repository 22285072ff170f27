#include "adapters/qt/dialog_window.h"

#include <QCloseEvent>
#include <QDialog>
#include <QEventLoop>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

#include "adapters/qt/convert.h"
#include "adapters/qt/key_codes.h"
#include "adapters/qt/painter_dc.h"

namespace qthost {

namespace win = host::ui::win;
using host::ui::LPARAM;
using host::ui::WPARAM;

class DialogWidget final : public QDialog {
public:
    DialogWidget(QWidget* owner, Qt::WindowFlags flags) : QDialog(owner, flags) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }
    ~DialogWidget() override {
        if (m_window != nullptr) {
            m_window->markDestroyed();
        }
    }
    DialogWidget(const DialogWidget&) = delete;
    DialogWidget& operator=(const DialogWidget&) = delete;

    void attach(QtDialogWindow* window) { m_window = window; }
    void detach() { m_window = nullptr; }

    // Escape and other ways Qt has of dismissing a dialog press Cancel: the dialog decides.
    void reject() override {
        if (m_window != nullptr && m_window->handler() != nullptr) {
            m_window->deliver(win::WM_COMMAND, host::ui::MAKEWPARAM(win::IDCANCEL, win::BN_CLICKED), 0);
        }
    }
    void accept() override {
        if (m_window != nullptr && m_window->handler() != nullptr) {
            m_window->deliver(win::WM_COMMAND, host::ui::MAKEWPARAM(win::IDOK, win::BN_CLICKED), 0);
        }
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        PainterDeviceContext dc(painter, *this);
        host::ui::WindowHandler* h = m_window != nullptr ? m_window->handler() : nullptr;
        if (h == nullptr || h->eraseBackground(dc) == 0) {
            painter.fillRect(rect(), palette().window());
        }
        if (h != nullptr) {
            h->paint(dc);
        }
    }

private:
    QtDialogWindow* m_window = nullptr; // owns this widget's window object through the anchor
};

QtDialogWindow::QtDialogWindow(QWidget* owner, const host::ui::DialogTemplate& dialog, host::ui::WindowHandler* handler)
    : WindowImpl(new DialogWidget(owner, Qt::Dialog), dialog.id, handler),
      m_borderless(dialog.frame == host::ui::DialogTemplate::Frame::kBorderless), m_resizable(dialog.resizable) {
    auto* w = static_cast<DialogWidget*>(widget());
    w->attach(this);
    w->setWindowFlags(topLevelFlags());
    w->setModal(false);
    if (m_borderless) {
        w->setAttribute(Qt::WA_ShowWithoutActivating);
        w->setFocusPolicy(Qt::NoFocus);
    }
    setFont(dialog.font, false);
    QRect area(QPoint(0, 0), QSize(dialog.size.cx, dialog.size.cy));
    if (owner != nullptr) {
        const QWidget* top = owner->window();
        area.moveCenter(top->mapToGlobal(top->rect().center()));
    }
    place(toHostRect(area));
    if (!m_resizable && !m_borderless) {
        w->setFixedSize(area.size());
    }
}

QtDialogWindow::~QtDialogWindow() {
    static_cast<DialogWidget*>(widget())->detach();
    if (m_loop != nullptr) {
        m_loop->exit(win::IDCANCEL);
    }
}

Qt::WindowFlags QtDialogWindow::topLevelFlags() const {
    if (m_borderless) {
        return Qt::ToolTip | Qt::FramelessWindowHint;
    }
    return Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint;
}

void QtDialogWindow::setParent(host::ui::Window* parent) {
    WindowCore* parentWindow = WindowCore::fromWindow(parent);
    QWidget* w = widget();
    const bool wasHidden = w->isHidden();
    const QPoint where = w->pos();
    if (parentWindow == nullptr) {
        w->setParent(nullptr, topLevelFlags());
    } else {
        w->setParent(parentWindow->widget(), Qt::Widget);
        w->move(where);
    }
    // Re-parenting hides a widget in Qt; a host window keeps its visibility.
    w->setVisible(!wasHidden);
}

void QtDialogWindow::destroy() {
    if (m_loop != nullptr) {
        m_loop->exit(win::IDCANCEL);
    }
    WindowCore::destroy();
}

int QtDialogWindow::runModal() {
    QWidget* w = widget();
    QEventLoop loop;
    m_loop = &loop;
    m_result = win::IDCANCEL;
    w->setWindowModality(Qt::ApplicationModal);
    w->show();
    w->raise();
    w->activateWindow();
    const QPointer<QWidget> alive = w;
    const int result = loop.exec(QEventLoop::DialogExec);
    if (!alive.isNull()) {
        m_loop = nullptr;
        w->hide();
        w->setWindowModality(Qt::NonModal);
    }
    return result;
}

void QtDialogWindow::endModal(int result) {
    m_result = result;
    if (m_loop != nullptr) {
        m_loop->exit(result);
    }
}

void QtDialogWindow::deliver(unsigned message, WPARAM wParam, LPARAM lParam) {
    if (handler() != nullptr) {
        handler()->handleMessage(host::ui::Message{message, wParam, lParam, &hostWindow()});
    }
}

bool QtDialogWindow::filterEvent(QObject* watched, QEvent* event) {
    if (watched != widget()) {
        return WindowCore::filterEvent(watched, event);
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton) {
            break;
        }
        const unsigned message = event->type() == QEvent::MouseButtonPress     ? win::WM_LBUTTONDOWN
                                 : event->type() == QEvent::MouseButtonRelease ? win::WM_LBUTTONUP
                                                                               : win::WM_LBUTTONDBLCLK;
        const QPoint p = mouse->position().toPoint();
        deliver(message, mouseKeyFlags(mouse->buttons(), mouse->modifiers()), host::ui::MAKELPARAM(p.x(), p.y()));
        return true;
    }
    case QEvent::Close:
        // The handler decides: a dialog hides or ends itself when it takes the close.
        event->ignore();
        deliver(win::WM_CLOSE, 0, 0);
        return true;
    default:
        break;
    }
    return WindowCore::filterEvent(watched, event);
}

} // namespace qthost
