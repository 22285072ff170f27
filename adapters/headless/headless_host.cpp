#include "adapters/headless/headless_host.h"

namespace headless {

HeadlessHost::HeadlessHost(std::int64_t startMs)
    : m_clock(startMs), m_ui(m_clock), m_previous(host::HostContext::current()) {
    host::HostContext& context = host::HostContext::current();
    context.ui = &m_ui;
    context.clock = &m_clock;
    context.dispatcher = &m_dispatcher;
}

HeadlessHost::~HeadlessHost() {
    host::HostContext::current() = m_previous;
}

void HeadlessHost::settle() {
    // Bounded: work that keeps re-posting itself must not hang a test.
    for (int round = 0; round < 1000; ++round) {
        const std::size_t ran = m_dispatcher.drain();
        const int delivered = m_ui.pumpMessages();
        if (ran == 0 && delivered == 0) {
            return;
        }
    }
}

} // namespace headless
