#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/ui/device_context.h"
#include "host/ui/menu.h"
#include "host/ui/window.h"

namespace host::ui {

struct DialogTemplate;

// Common dialogs, answered by the user in a real host and by a script in the headless host.
// Thread: UI thread; every call may run a nested event loop before it returns.
class DialogService {
public:
    virtual ~DialogService() = default;
    // Returns IDOK, IDCANCEL, IDYES or IDNO.
    virtual int messageBox(Window* owner, const CString& text, const CString& caption, unsigned flags) = 0;
    // filter in the "Text (*.txt)|*.txt||" form; false on Cancel. path is UTF-8 (a file system path).
    virtual bool saveFileDialog(Window* owner, const CString& filter, const CString& defaultExtension, unsigned flags,
                                std::string& path) = 0;
    // A printer page surface, or null on Cancel.
    virtual std::unique_ptr<DeviceContext> printDialog(Window* owner, unsigned flags) = 0;
};

// The windowing system of the host. Ownership: the host owns every window it creates;
// top-level windows live until destroyed. Thread: UI thread.
class UiHost {
public:
    virtual ~UiHost() = default;
    // A top-level or child window whose events go to handler (not owned).
    virtual Window* createWindow(Window* parent, int id, const Rect& rect, WindowHandler* handler) = 0;
    virtual std::unique_ptr<PopupMenu> createPopupMenu() = 0;
    virtual DialogService& dialogs() = 0;
    // The active top-level window, or null.
    virtual Window* activeWindow() const = 0;
    // Whether a key is down now (GetKeyState < 0).
    virtual bool isKeyDown(unsigned virtualKey) const = 0;
    virtual int systemMetricCaptionButtonWidth() const = 0;
    // Pixels per logical inch of the screen (96 at 100 % scale).
    virtual int logicalDpi() const { return 96; }

    // --- Dialogs made from templates ---
    // A dialog window built from a template: a hidden top-level window of the template's
    // client size, caption and frame, holding the template's controls with their ids, texts
    // and options (buildDialogControls). owner (may be null) is the window the dialog belongs
    // to: it stays above it and is hidden and destroyed with it. Its events go to handler
    // (not owned, must outlive the window or destroy it first). Null when it cannot be made.
    virtual Window* createDialog(Window* owner, const DialogTemplate& dialog, WindowHandler* handler) = 0;
    // Runs a modal loop for a dialog made by createDialog: shows it, keeps the rest of the
    // application from input and returns once endModalLoop is called for it, with that result.
    // The headless host drives the dialog with its modal hook instead of waiting for a person.
    virtual int runModalLoop(Window* dialog) = 0;
    // Ends the modal loop of a dialog (does nothing when the dialog runs none).
    virtual void endModalLoop(Window* dialog, int result) = 0;
};

} // namespace host::ui
