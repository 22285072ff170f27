#pragma once

#include <cstdint>

#include "adapters/headless/headless_ui_host.h"
#include "adapters/headless/queued_dispatcher.h"
#include "adapters/headless/virtual_clock.h"
#include "host/framework/host_context.h"

namespace headless {

// The whole headless host in one object: a virtual clock, a dispatcher queue and the UI host,
// installed into host::HostContext::current() for its lifetime (the previous services are
// restored on destruction).
// Ownership: owns the three services; views created on it must be destroyed before it.
// Thread: UI thread. Not copyable or movable (the context points into it).
class HeadlessHost {
public:
    explicit HeadlessHost(std::int64_t startMs = VirtualClock::kDefaultStartMs);
    ~HeadlessHost();
    HeadlessHost(const HeadlessHost&) = delete;
    HeadlessHost& operator=(const HeadlessHost&) = delete;

    VirtualClock& clock() { return m_clock; }
    QueuedDispatcher& dispatcher() { return m_dispatcher; }
    HeadlessUiHost& ui() { return m_ui; }
    ScriptedDialogService& dialogs() { return m_ui.dialogService(); }

    // Moves the clock (firing timers) and delivers what the timers posted.
    int advanceBy(std::int64_t ms) { return m_clock.advanceBy(ms); }
    // Drains the dispatcher, then delivers posted window messages; repeats until both are quiet.
    void settle();

private:
    VirtualClock m_clock;
    QueuedDispatcher m_dispatcher;
    HeadlessUiHost m_ui;
    host::HostContext m_previous;
};

} // namespace headless
