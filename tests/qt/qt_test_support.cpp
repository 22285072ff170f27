#include "tests/qt/qt_test_support.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTest>
#include <QWidget>

namespace qttest {

namespace win = host::ui::win;

namespace {
int g_sequence = 0;
} // namespace

bool waitUntil(const std::function<bool()>& pred, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!pred()) {
        if (deadline.hasExpired()) {
            return pred();
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

void drainEvents() {
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}

void showActive(QWidget* window) {
    window->show();
    window->activateWindow();
    (void)QTest::qWaitForWindowExposed(window, 3000);
    (void)QTest::qWaitForWindowActive(window, 3000);
}

bool RecordingHandler::preTranslateMessage(const host::ui::Message& message) {
    records.push_back({message, true, 0, 0, ++g_sequence});
    return (message.message == win::WM_KEYDOWN || message.message == win::WM_KEYUP) &&
           consumeKeys.count(static_cast<unsigned>(message.wParam)) != 0;
}

host::ui::LRESULT RecordingHandler::handleMessage(const host::ui::Message& message) {
    Record record{message, false, 0, 0, ++g_sequence};
    if (message.message == win::WM_NOTIFY && message.lParam != 0) {
        const auto* info = reinterpret_cast<const host::ui::NotifyInfo*>(message.lParam);
        record.notifyCode = info->code;
        record.notifyId = info->idFrom;
    }
    records.push_back(record);
    if (onMessage) {
        onMessage(message);
    }
    return 0;
}

std::vector<RecordingHandler::Record> RecordingHandler::handled(unsigned message) const {
    std::vector<Record> found;
    for (const Record& r : records) {
        if (!r.preTranslate && r.message.message == message) {
            found.push_back(r);
        }
    }
    return found;
}

std::vector<RecordingHandler::Record> RecordingHandler::preTranslated(unsigned message) const {
    std::vector<Record> found;
    for (const Record& r : records) {
        if (r.preTranslate && r.message.message == message) {
            found.push_back(r);
        }
    }
    return found;
}

std::vector<unsigned> RecordingHandler::commandCodes(int id) const {
    std::vector<unsigned> codes;
    for (const Record& r : handled(win::WM_COMMAND)) {
        if (static_cast<int>(host::ui::LOWORD(r.message.wParam)) == id) {
            codes.push_back(host::ui::HIWORD(r.message.wParam));
        }
    }
    return codes;
}

std::vector<int> RecordingHandler::notifyCodes(int id) const {
    std::vector<int> codes;
    for (const Record& r : handled(win::WM_NOTIFY)) {
        if (r.notifyId == id) {
            codes.push_back(r.notifyCode);
        }
    }
    return codes;
}

} // namespace qttest
