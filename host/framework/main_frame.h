#pragma once

namespace host::ui {
class Window;
}

// The host's main frame as the module's windows see it: the window a bare story viewer
// belongs to. Ownership: the host owns it. Thread: UI thread.
class CMainFrame {
public:
    virtual ~CMainFrame() = default;
    virtual host::ui::Window* GetFrameWnd() const = 0;
};
