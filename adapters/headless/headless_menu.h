#pragma once

#include <vector>

#include "adapters/headless/headless_ui_host.h"
#include "host/ui/menu.h"

namespace headless {

// A pop-up menu that records its items; tracking it hands a snapshot to the UI host, where
// the test chooses an item (or dismisses the menu).
// Ownership: owned by its creator; the host keeps only snapshots. Thread: UI thread.
class HeadlessPopupMenu final : public host::ui::PopupMenu {
public:
    explicit HeadlessPopupMenu(HeadlessUiHost& host) : m_host(host) {}

    void appendItem(unsigned id, const CString& text, bool checked = false) override;
    void appendSeparator() override;
    int itemCount() const override { return static_cast<int>(m_items.size()); }
    unsigned itemId(int position) const override;
    CString itemText(int position) const override;
    void checkItemByPosition(int position, bool checked) override;
    bool isCheckedByPosition(int position) const override;
    void track(host::ui::Point screenPoint, host::ui::Window* owner, bool rightButton) override;

private:
    bool valid(int position) const { return position >= 0 && position < itemCount(); }

    HeadlessUiHost& m_host;
    std::vector<MenuRecord::Item> m_items;
};

} // namespace headless
