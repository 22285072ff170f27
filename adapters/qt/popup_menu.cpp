#include "adapters/qt/popup_menu.h"

#include <QMenu>
#include <QPointer>
#include <QWidget>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"
#include "adapters/qt/window_core.h"

namespace qthost {

void QtPopupMenu::appendItem(unsigned id, const CString& text, bool checked) {
    m_items.push_back({id, text, checked});
}
void QtPopupMenu::appendSeparator() {
    m_items.push_back({});
}

const QtPopupMenu::Item* QtPopupMenu::at(int position) const {
    return position >= 0 && position < itemCount() ? &m_items[static_cast<std::size_t>(position)] : nullptr;
}

unsigned QtPopupMenu::itemId(int position) const {
    const Item* item = at(position);
    return item == nullptr ? 0 : item->id;
}

CString QtPopupMenu::itemText(int position) const {
    const Item* item = at(position);
    return item == nullptr ? CString{} : item->text;
}

void QtPopupMenu::checkItemByPosition(int position, bool checked) {
    if (position >= 0 && position < itemCount()) {
        m_items[static_cast<std::size_t>(position)].checked = checked;
    }
}

bool QtPopupMenu::isCheckedByPosition(int position) const {
    const Item* item = at(position);
    return item != nullptr && item->checked;
}

void QtPopupMenu::track(host::ui::Point screenPoint, host::ui::Window* owner, bool /*rightButton*/) {
    WindowCore* ownerWindow = WindowCore::fromWindow(owner);
    if (ownerWindow == nullptr || !ownerWindow->isAlive()) {
        return;
    }
    auto* menu = new QMenu(ownerWindow->widget());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setFont(toQFont(host::ui::Font{}));
    const QPointer<QWidget> ownerWidget = ownerWindow->widget();
    for (const Item& item : m_items) {
        if (item.id == 0) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(toQString(item.text));
        action->setCheckable(item.checked);
        action->setChecked(item.checked);
        const unsigned id = item.id;
        QObject::connect(action, &QAction::triggered, menu, [ownerWidget, id] {
            // The owner may have been destroyed while the menu was open.
            if (WindowCore* target = ownerWidget.isNull() ? nullptr : WindowCore::fromWidget(ownerWidget)) {
                target->sendMessage(host::ui::win::WM_COMMAND, host::ui::MAKEWPARAM(id, 0), 0);
            }
        });
    }
    menu->popup(toQPoint(screenPoint));
}

} // namespace qthost
