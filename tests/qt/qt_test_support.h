#pragma once

#include <functional>
#include <set>
#include <vector>

#include "host/ui/window.h"

class QWidget;

namespace qttest {

// Runs the event loop until pred holds or the deadline passes; the answer is pred's. Never
// sleeps: it processes events as they come.
bool waitUntil(const std::function<bool()>& pred, int timeoutMs = 3000);
// Processes the events already queued (posted calls, deferred deletes) a few times over.
void drainEvents();
// Shows a top-level widget, makes it the active window and waits until it is exposed.
void showActive(QWidget* window);

// A view handler that records every message it handles and every key offered to
// preTranslateMessage, and consumes the keys it is told to.
class RecordingHandler : public host::ui::WindowHandler {
public:
    struct Record {
        host::ui::Message message;
        bool preTranslate = false;
        int notifyCode = 0; // WM_NOTIFY: the code
        int notifyId = 0;   // WM_NOTIFY: the control id
        int sequence = 0;   // order across every handler of a test
    };

    bool preTranslateMessage(const host::ui::Message& message) override;
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;

    std::vector<Record> records;
    std::set<unsigned> consumeKeys;
    std::function<void(const host::ui::Message&)> onMessage;

    std::vector<Record> handled(unsigned message) const;
    std::vector<Record> preTranslated(unsigned message) const;
    // WM_COMMAND notification codes from control id, in order.
    std::vector<unsigned> commandCodes(int id) const;
    // WM_NOTIFY codes from control id, in order.
    std::vector<int> notifyCodes(int id) const;
    void clear() { records.clear(); }
};

} // namespace qttest
