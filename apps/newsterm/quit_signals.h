#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

namespace newsterm {

// Turns SIGTERM and SIGINT into a call on the UI thread, so that a terminal stopped by the
// system or with Ctrl+C closes like a closed window (layout and settings saved). The handler
// only writes a byte to a socket pair; the event loop reads it. While one object lives, the
// two signals are taken; the default actions come back when it is destroyed.
// Thread: UI thread (the signal may arrive on any thread).
class QuitSignals final : public QObject {
public:
    explicit QuitSignals(std::function<void(int signal)> onSignal);
    ~QuitSignals() override;
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

    bool active() const { return m_notifier != nullptr; }

private:
    std::function<void(int)> m_onSignal;
    QSocketNotifier* m_notifier = nullptr; // child
};

} // namespace newsterm
