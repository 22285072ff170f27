#pragma once

class UiDispatcher;

namespace host {

class Clock;
namespace ui {
class UiHost;
}

// The host services a view reaches without a constructor argument (views are created by
// run-time class name). The host installs them before it creates a view; tests install the
// headless ones. Ownership: the host owns every service; these are non-owning pointers.
// Thread: UI thread.
struct HostContext {
    ui::UiHost* ui = nullptr;
    Clock* clock = nullptr;
    UiDispatcher* dispatcher = nullptr;

    static HostContext& current();
};

} // namespace host
