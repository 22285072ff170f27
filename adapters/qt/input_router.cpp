#include "adapters/qt/input_router.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QWidget>

#include "adapters/qt/key_codes.h"
#include "adapters/qt/text_codec.h"
#include "adapters/qt/window_core.h"

namespace qthost {

namespace win = host::ui::win;
using host::ui::Message;
using host::ui::WPARAM;

namespace {

// Set while the router itself hands an event to a native widget, so that the event is not
// translated a second time.
int g_bypassDepth = 0;

class Bypass {
public:
    Bypass() { ++g_bypassDepth; }
    ~Bypass() { --g_bypassDepth; }
    Bypass(const Bypass&) = delete;
    Bypass& operator=(const Bypass&) = delete;
};

// Key data of WM_KEYDOWN: repeat count 1, bit 30 set for an auto-repeat, bit 31 for a release.
host::ui::LPARAM keyData(const QKeyEvent& key) {
    std::uint32_t data = 1;
    if (key.isAutoRepeat()) {
        data |= 1u << 30;
    }
    if (key.type() == QEvent::KeyRelease) {
        data |= 3u << 30;
    }
    return static_cast<host::ui::LPARAM>(data);
}

// WM_CHAR carries code page 950 bytes: one message per byte, lead byte first.
void sendChars(WindowCore& window, const QString& text) {
    for (const char byte : fromQString(text)) {
        if (!window.isAlive()) {
            return;
        }
        window.windowProc(
            Message{win::WM_CHAR, static_cast<WPARAM>(static_cast<unsigned char>(byte)), 1, &window.hostWindow()});
    }
}

} // namespace

InputRouter::InputRouter() {
    QCoreApplication::instance()->installEventFilter(this);
}

InputRouter::~InputRouter() {
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::instance()->removeEventFilter(this);
    }
}

bool InputRouter::isKeyDown(unsigned virtualKey) const {
    const Qt::KeyboardModifiers modifiers = QGuiApplication::queryKeyboardModifiers();
    if (virtualKey == win::VK_SHIFT) {
        return modifiers.testFlag(Qt::ShiftModifier);
    }
    if (virtualKey == win::VK_CONTROL) {
        return modifiers.testFlag(Qt::ControlModifier);
    }
    return m_keysDown.count(virtualKey) != 0;
}

bool InputRouter::eventFilter(QObject* watched, QEvent* event) {
    if (g_bypassDepth > 0 || !watched->isWidgetType()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return routeKey(static_cast<QWidget*>(watched), event);
    case QEvent::InputMethod:
        return routeInputMethod(static_cast<QWidget*>(watched), event);
    default:
        return false;
    }
}

bool InputRouter::preTranslate(WindowCore& window, const Message& message) {
    for (WindowCore* w = &window; w != nullptr; w = w->parentCore()) {
        if (w->handler() != nullptr && w->handler()->preTranslateMessage(message)) {
            return true;
        }
        // The walk ends at the window's top-level window: a dialog's keys are its own, not
        // those of the view that owns it.
        if (w->widget()->isWindow()) {
            break;
        }
    }
    return false;
}

WindowCore* InputRouter::keyWindow(const QWidget* receiver) {
    WindowCore* window = WindowCore::nearest(receiver);
    // A window Qt opens on its own (a menu, a combo's list, the calendar) has a host window as
    // its parent but is not part of it: its keys are its own.
    if (window == nullptr || window->widget()->window() != receiver->window()) {
        return nullptr;
    }
    return window;
}

bool InputRouter::routeKey(QWidget* receiver, QEvent* event) {
    auto* key = static_cast<QKeyEvent*>(event);
    const bool press = event->type() == QEvent::KeyPress;
    const unsigned vk = virtualKeyFromQt(key->key());
    // Wherever the key went, so that a key released in a pop-up is not left down.
    if (vk != 0 && !key->isAutoRepeat()) {
        if (press) {
            m_keysDown.insert(vk);
        } else {
            m_keysDown.erase(vk);
        }
    }
    WindowCore* window = keyWindow(receiver);
    if (window == nullptr) {
        return false;
    }
    const unsigned message = press ? win::WM_KEYDOWN : win::WM_KEYUP;
    const Message m{message, static_cast<WPARAM>(vk), keyData(*key), &window->hostWindow()};
    if (vk != 0 && preTranslate(*window, m)) {
        return true;
    }
    if (!window->isAlive()) {
        return true;
    }
    if (window->handlesKeys()) {
        if (vk != 0) {
            window->windowProc(m);
        }
        if (press && !key->text().isEmpty() && key->text().at(0).isPrint() && window->isAlive()) {
            sendChars(*window, key->text());
        }
        return true;
    }
    // A native control: the characters it is about to get are offered first as WM_CHAR, as a
    // message loop would, so that a view may refuse one; then it gets the event itself, and an
    // event it ignores must not travel on to a parent view as if the view had the focus.
    if (press && !key->text().isEmpty() && key->text().at(0).isPrint()) {
        for (const char byte : fromQString(key->text())) {
            const Message typed{win::WM_CHAR, static_cast<WPARAM>(static_cast<unsigned char>(byte)), 1,
                                &window->hostWindow()};
            if (preTranslate(*window, typed) || !window->isAlive()) {
                event->accept();
                return true;
            }
        }
    }
    {
        const Bypass bypass;
        QCoreApplication::sendEvent(receiver, event);
    }
    event->accept();
    return true;
}

bool InputRouter::routeInputMethod(QWidget* receiver, QEvent* event) {
    WindowCore* window = keyWindow(receiver);
    if (window == nullptr) {
        return false;
    }
    const Message m{win::WM_KEYDOWN, win::VK_PROCESSKEY, 1, &window->hostWindow()};
    if (preTranslate(*window, m)) {
        return true;
    }
    if (!window->isAlive() || !window->handlesKeys()) {
        return false; // a native edit composes the text itself
    }
    window->windowProc(m);
    const auto* input = static_cast<QInputMethodEvent*>(event);
    if (!input->commitString().isEmpty() && window->isAlive()) {
        sendChars(*window, input->commitString());
    }
    return true;
}

void InputRouter::sendNativeKey(QWidget* widget, const Message& message) {
    QEvent::Type type = QEvent::KeyPress;
    int qtKey = Qt::Key_unknown;
    QString text;
    if (message.message == win::WM_CHAR) {
        // Only single-byte characters: a double-byte character needs both of its messages.
        if (message.wParam >= 0x20 && message.wParam < 0x80) {
            text = QChar(static_cast<char16_t>(message.wParam));
        } else {
            return;
        }
    } else {
        const auto vk = static_cast<unsigned>(message.wParam);
        qtKey = qtKeyFromVirtualKey(vk);
        if (qtKey == Qt::Key_unknown) {
            return;
        }
        if (message.message == win::WM_KEYUP) {
            type = QEvent::KeyRelease;
        }
        if (vk == win::VK_RETURN) {
            text = QStringLiteral("\r"); // what makes a line edit report returnPressed
        }
    }
    QKeyEvent key(type, qtKey, Qt::NoModifier, text);
    const Bypass bypass;
    QCoreApplication::sendEvent(widget, &key);
}

} // namespace qthost
