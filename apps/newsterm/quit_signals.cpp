#include "apps/newsterm/quit_signals.h"

#include <QSocketNotifier>
#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

namespace newsterm {

namespace {

int g_fds[2] = {-1, -1};

extern "C" void onQuitSignal(int signal) {
    const unsigned char byte = static_cast<unsigned char>(signal);
    // Only async-signal-safe calls here; a full pipe already holds a wake-up.
    [[maybe_unused]] const ssize_t written = ::write(g_fds[0], &byte, 1);
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

QuitSignals::QuitSignals(std::function<void(int)> onSignal) : m_onSignal(std::move(onSignal)) {
    if (g_fds[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, g_fds) != 0) {
        return;
    }
    m_notifier = new QSocketNotifier(g_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        unsigned char byte = 0;
        while (::read(g_fds[1], &byte, 1) == 1) {
            if (m_onSignal) {
                m_onSignal(byte);
            }
        }
    });
    setHandler(SIGTERM, onQuitSignal);
    setHandler(SIGINT, onQuitSignal);
}

QuitSignals::~QuitSignals() {
    if (m_notifier == nullptr) {
        return;
    }
    setHandler(SIGTERM, SIG_DFL);
    setHandler(SIGINT, SIG_DFL);
    delete m_notifier;
    m_notifier = nullptr;
    ::close(g_fds[0]);
    ::close(g_fds[1]);
    g_fds[0] = g_fds[1] = -1;
}

} // namespace newsterm
