#pragma once

#include <vector>

#include "host/ui/menu.h"

namespace qthost {

// A pop-up menu built by position. track() shows a QMenu built from the items and returns
// at once; the QMenu lives on its own until it closes, so the module may destroy this object
// right after track(). Choosing an item sends WM_COMMAND (item id) to the owner, unless the
// owner died in between.
class QtPopupMenu final : public host::ui::PopupMenu {
public:
    void appendItem(unsigned id, const CString& text, bool checked = false) override;
    void appendSeparator() override;
    int itemCount() const override { return static_cast<int>(m_items.size()); }
    unsigned itemId(int position) const override;
    CString itemText(int position) const override;
    void checkItemByPosition(int position, bool checked) override;
    bool isCheckedByPosition(int position) const override;
    void track(host::ui::Point screenPoint, host::ui::Window* owner, bool rightButton) override;

private:
    struct Item {
        unsigned id = 0; // 0: a separator
        CString text;
        bool checked = false;
    };
    const Item* at(int position) const;
    std::vector<Item> m_items;
};

} // namespace qthost
