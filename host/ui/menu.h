#pragma once

#include <memory>

#include "host/ui/geometry.h"

namespace host::ui {

class Window;

// A pop-up menu built by position. Choosing an item sends WM_COMMAND (item id) to the
// owner window given to track. Ownership: the creator owns the menu. Thread: UI thread.
class PopupMenu {
public:
    virtual ~PopupMenu() = default;
    virtual void appendItem(unsigned id, const CString& text, bool checked = false) = 0;
    virtual void appendSeparator() = 0;
    virtual int itemCount() const = 0;
    virtual unsigned itemId(int position) const = 0; // 0 for a separator
    virtual CString itemText(int position) const = 0;
    virtual void checkItemByPosition(int position, bool checked) = 0;
    virtual bool isCheckedByPosition(int position) const = 0;
    // Shows the menu at a screen point. The host may return before the user chooses.
    virtual void track(Point screenPoint, Window* owner, bool rightButton) = 0;
};

} // namespace host::ui
