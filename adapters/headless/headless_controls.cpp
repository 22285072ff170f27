#include "adapters/headless/headless_controls.h"

#include <algorithm>

#include "adapters/headless/headless_ui_host.h"
#include "host/text/cp950.h"

namespace headless {

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::NotifyInfo;
using host::ui::Rect;
namespace win = host::ui::win;

// --- Button ---

HeadlessButton::HeadlessButton(HeadlessUiHost& host, int id, const Rect& rect, const CString& text, unsigned style)
    : WindowBase(host, WindowKind::kButton, id, rect, nullptr, style) {
    setTextSilently(text);
}

bool HeadlessButton::click() {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    if (buttonKind() == win::BS_AUTOCHECKBOX) {
        m_checked = !m_checked;
    } else if (buttonKind() == win::BS_AUTORADIOBUTTON) {
        m_checked = true;
    }
    commandToParent(win::BN_CLICKED);
    return true;
}

// --- ComboBox ---

HeadlessComboBox::HeadlessComboBox(HeadlessUiHost& host, int id, const Rect& rect, unsigned style)
    : WindowBase(host, WindowKind::kComboBox, id, rect, nullptr, style) {}

CString HeadlessComboBox::text() const {
    const Item* item = m_items.at(m_items.curSel());
    return item != nullptr ? item->text : WindowCore::text();
}

int HeadlessComboBox::addString(const CString& text) {
    return m_items.add(Item{text, 0, std::nullopt});
}

int HeadlessComboBox::insertString(int index, const CString& text) {
    return m_items.insert(index, Item{text, 0, std::nullopt});
}

void HeadlessComboBox::deleteString(int index) {
    m_items.erase(index);
}

void HeadlessComboBox::resetContent() {
    m_items.clear();
}

CString HeadlessComboBox::itemText(int index) const {
    const Item* item = m_items.at(index);
    return item != nullptr ? item->text : CString{};
}

void HeadlessComboBox::setItemData(int index, std::intptr_t data) {
    if (Item* item = m_items.at(index)) {
        item->data = data;
    }
}

std::intptr_t HeadlessComboBox::itemData(int index) const {
    const Item* item = m_items.at(index);
    return item != nullptr ? item->data : -1;
}

int HeadlessComboBox::findStringExact(int start, const CString& text) const {
    int index = 0;
    for (const Item& item : m_items) {
        if (index >= start && item.text == text) {
            return index;
        }
        ++index;
    }
    return -1;
}

void HeadlessComboBox::setItemColors(int index, COLORREF text, COLORREF background) {
    if (Item* item = m_items.at(index)) {
        item->colors = std::make_pair(text, background);
    }
}

std::optional<std::pair<COLORREF, COLORREF>> HeadlessComboBox::itemColors(int index) const {
    const Item* item = m_items.at(index);
    return item != nullptr ? item->colors : std::nullopt;
}

bool HeadlessComboBox::dropDown() {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_droppedDown = true;
    commandToParent(win::CBN_DROPDOWN);
    return true;
}

bool HeadlessComboBox::selectItem(int index) {
    if (!usable() || !m_items.valid(index)) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_items.setCurSel(index);
    commandToParent(win::CBN_SELCHANGE);
    return true;
}

bool HeadlessComboBox::closeUp() {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_droppedDown = false;
    commandToParent(win::CBN_CLOSEUP);
    return true;
}

bool HeadlessComboBox::chooseItem(int index) {
    if (!usable() || !m_items.valid(index)) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    dropDown();
    if (usable() && m_items.valid(index)) {
        selectItem(index);
    }
    if (usable()) {
        closeUp();
    }
    return true;
}

// --- DatePicker ---

HeadlessDatePicker::HeadlessDatePicker(HeadlessUiHost& host, int id, const Rect& rect)
    : WindowBase(host, WindowKind::kDatePicker, id, rect) {}

bool HeadlessDatePicker::date(host::ui::Date& out) const {
    if (!m_date) {
        return false;
    }
    out = *m_date;
    return true;
}

bool HeadlessDatePicker::dropDown() {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_droppedDown = true;
    NotifyInfo info;
    info.code = win::DTN_DROPDOWN;
    notifyParent(info);
    return true;
}

bool HeadlessDatePicker::pickDate(const host::ui::Date& date) {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_date = date;
    host::ui::Date shown = date;
    NotifyInfo info;
    info.code = win::DTN_DATETIMECHANGE;
    info.date = &shown;
    notifyParent(info);
    return true;
}

bool HeadlessDatePicker::closeUp() {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_droppedDown = false;
    NotifyInfo info;
    info.code = win::DTN_CLOSEUP;
    notifyParent(info);
    return true;
}

bool HeadlessDatePicker::chooseDate(const host::ui::Date& date) {
    if (!usable()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    dropDown();
    if (usable()) {
        pickDate(date);
    }
    if (usable()) {
        closeUp();
    }
    return true;
}

// --- Edit ---

HeadlessEdit::HeadlessEdit(HeadlessUiHost& host, int id, const Rect& rect, unsigned style)
    : WindowBase(host, WindowKind::kEdit, id, rect, nullptr, style), m_readOnly((style & win::ES_READONLY) != 0) {}

void HeadlessEdit::setSelection(int start, int end) {
    const int length = static_cast<int>(text().size());
    // As the toolkit: -1 as the end (or an end past the text) means the end of the text.
    m_selStart = std::clamp(start, 0, length);
    m_selEnd = end < 0 ? length : std::clamp(end, 0, length);
    if (m_selEnd < m_selStart) {
        std::swap(m_selStart, m_selEnd);
    }
}

void HeadlessEdit::textChanged() {
    m_selStart = m_selEnd = static_cast<int>(text().size());
    HeadlessUiHost::DispatchScope scope(uiHost());
    commandToParent(win::EN_UPDATE);
    if (!isDestroyed()) {
        commandToParent(win::EN_CHANGE);
    }
}

bool HeadlessEdit::typeText(const CString& text) {
    if (!usable() || m_readOnly) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    setText(text);
    return true;
}

LRESULT HeadlessEdit::defaultProc(const Message& message) {
    if (message.message != win::WM_CHAR || m_readOnly) {
        return WindowCore::defaultProc(message);
    }
    const auto ch = static_cast<unsigned>(message.wParam);
    CString value = text();
    const auto start = static_cast<std::size_t>(m_selStart);
    const auto end = static_cast<std::size_t>(m_selEnd);
    if (ch == win::VK_BACK) {
        if (start != end) {
            value.erase(start, end - start);
        } else if (start > 0) {
            // Back over one whole character: find the start of the character before the caret.
            std::size_t pos = 0;
            std::size_t previous = 0;
            while (pos < start) {
                previous = pos;
                pos += std::max<std::size_t>(1, cp950::charLength(value, pos));
            }
            value.erase(previous, start - previous);
            m_selStart = static_cast<int>(previous);
        } else {
            return 0;
        }
    } else if (ch >= 0x20 && ch <= 0xFF && ch != 0x7F) {
        // Double-byte characters arrive as two WM_CHAR messages, lead byte first.
        value.replace(start, end - start, 1, static_cast<char>(ch));
        m_selStart = static_cast<int>(start + 1);
    } else {
        return 0;
    }
    const int caret = m_selStart;
    setText(value); // reports EN_UPDATE / EN_CHANGE
    if (!isDestroyed()) {
        m_selStart = m_selEnd = std::min(caret, static_cast<int>(text().size()));
    }
    return 0;
}

void HeadlessEdit::focusChanged(bool gained, WindowCore* other) {
    WindowCore::focusChanged(gained, other);
    commandToParent(gained ? win::EN_SETFOCUS : win::EN_KILLFOCUS);
}

// --- TabStrip ---

HeadlessTabStrip::HeadlessTabStrip(HeadlessUiHost& host, int id, const Rect& rect)
    : WindowBase(host, WindowKind::kTabStrip, id, rect) {}

int HeadlessTabStrip::insertItem(int index, const CString& caption, std::intptr_t data) {
    if (index < 0 || index > itemCount()) {
        index = itemCount();
    }
    m_items.insert(m_items.begin() + index, Item{caption, data});
    if (m_curSel < 0) {
        m_curSel = 0; // the first tab is selected, as in the toolkit
    } else if (m_curSel >= index && itemCount() > 1) {
        ++m_curSel;
    }
    return index;
}

void HeadlessTabStrip::deleteAllItems() {
    m_items.clear();
    m_curSel = -1;
}

std::intptr_t HeadlessTabStrip::itemData(int index) const {
    return index >= 0 && index < itemCount() ? m_items[static_cast<std::size_t>(index)].data : 0;
}

CString HeadlessTabStrip::itemCaption(int index) const {
    return index >= 0 && index < itemCount() ? m_items[static_cast<std::size_t>(index)].caption : CString{};
}

void HeadlessTabStrip::setItemCaption(int index, const CString& caption) {
    if (index >= 0 && index < itemCount()) {
        m_items[static_cast<std::size_t>(index)].caption = caption;
    }
}

Rect HeadlessTabStrip::itemRect(int index) const {
    if (index < 0 || index >= itemCount()) {
        return {};
    }
    int left = 0;
    for (int i = 0; i < index; ++i) {
        left += textExtent(m_items[static_cast<std::size_t>(i)].caption).cx + 12;
    }
    // Tabs are as high as their text plus a margin, whatever the height of the strip.
    const host::ui::Size caption = textExtent(m_items[static_cast<std::size_t>(index)].caption);
    return Rect{left, 0, left + caption.cx + 12, caption.cy + 6};
}

void HeadlessTabStrip::setCurSel(int index) {
    m_curSel = index >= 0 && index < itemCount() ? index : -1;
}

void HeadlessTabStrip::setColors(COLORREF text, COLORREF background, COLORREF selected) {
    m_colors = Colors{text, background, selected};
}

bool HeadlessTabStrip::selectTab(int index) {
    if (!usable() || index < 0 || index >= itemCount()) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_curSel = index;
    NotifyInfo info;
    info.code = win::TCN_SELCHANGE;
    info.item = index;
    notifyParent(info);
    return true;
}

} // namespace headless
