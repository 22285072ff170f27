#include "adapters/headless/headless_menu.h"

#include "adapters/headless/headless_window.h"

namespace headless {

void HeadlessPopupMenu::appendItem(unsigned id, const CString& text, bool checked) {
    m_items.push_back(MenuRecord::Item{id, text, checked});
}

void HeadlessPopupMenu::appendSeparator() {
    m_items.push_back(MenuRecord::Item{});
}

unsigned HeadlessPopupMenu::itemId(int position) const {
    return valid(position) ? m_items[static_cast<std::size_t>(position)].id : 0;
}

CString HeadlessPopupMenu::itemText(int position) const {
    return valid(position) ? m_items[static_cast<std::size_t>(position)].text : CString{};
}

void HeadlessPopupMenu::checkItemByPosition(int position, bool checked) {
    if (valid(position)) {
        m_items[static_cast<std::size_t>(position)].checked = checked;
    }
}

bool HeadlessPopupMenu::isCheckedByPosition(int position) const {
    return valid(position) && m_items[static_cast<std::size_t>(position)].checked;
}

void HeadlessPopupMenu::track(host::ui::Point screenPoint, host::ui::Window* owner, bool rightButton) {
    MenuRecord record;
    record.items = m_items;
    record.screenPoint = screenPoint;
    WindowCore* core = m_host.liveCore(owner);
    record.ownerId = core != nullptr ? core->id() : 0;
    record.ownerSerial = core != nullptr ? core->serial() : 0;
    record.rightButton = rightButton;
    m_host.recordMenu(std::move(record));
}

} // namespace headless
