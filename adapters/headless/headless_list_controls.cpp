#include <algorithm>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_ui_host.h"
#include "host/text/cp950.h"

// Rich edit, static text, list box, list control and tip window.
namespace headless {

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::NotifyInfo;
using host::ui::Rect;
namespace win = host::ui::win;

// --- RichEdit ---

HeadlessRichEdit::HeadlessRichEdit(HeadlessUiHost& host, int id, const Rect& rect, unsigned style)
    : WindowBase(host, WindowKind::kRichEdit, id, rect, nullptr, style), m_readOnly((style & win::ES_READONLY) != 0) {}

std::vector<std::size_t> HeadlessRichEdit::characterStarts() const {
    const CString value = text();
    std::vector<std::size_t> starts;
    std::size_t pos = 0;
    while (pos < value.size()) {
        starts.push_back(pos);
        if (value[pos] == '\r' && pos + 1 < value.size() && value[pos + 1] == '\n') {
            pos += 2;
        } else {
            pos += std::max<std::size_t>(1, cp950::charLength(value, pos));
        }
    }
    starts.push_back(value.size());
    return starts;
}

int HeadlessRichEdit::characterCount() const {
    return static_cast<int>(characterStarts().size()) - 1;
}

std::pair<int, int> HeadlessRichEdit::findText(int from, const CString& needle) const {
    const CString value = text();
    const std::vector<std::size_t> starts = characterStarts();
    if (needle.empty()) {
        return {-1, -1};
    }
    for (std::size_t ci = static_cast<std::size_t>(std::max(from, 0)); ci + 1 < starts.size(); ++ci) {
        const std::size_t begin = starts[ci];
        const std::size_t end = begin + needle.size();
        if (end > value.size()) {
            break;
        }
        const auto endChar = std::lower_bound(starts.begin(), starts.end(), end);
        // A match must end on a character boundary: never half of a double-byte character.
        if (endChar == starts.end() || *endChar != end) {
            continue;
        }
        if (cp950::equalsIgnoreCase(std::string_view(value).substr(begin, needle.size()), needle)) {
            return {static_cast<int>(ci), static_cast<int>(endChar - starts.begin())};
        }
    }
    return {-1, -1};
}

void HeadlessRichEdit::setSelection(int start, int end) {
    const int count = characterCount();
    // As the toolkit: (0, -1) selects everything; -1 as the start removes the selection.
    if (start < 0) {
        m_selection = {count, count};
        return;
    }
    start = std::min(start, count);
    end = end < 0 ? count : std::min(end, count);
    m_selection = {std::min(start, end), std::max(start, end)};
}

CString HeadlessRichEdit::selectedText() const {
    const std::vector<std::size_t> starts = characterStarts();
    const auto begin = starts[static_cast<std::size_t>(m_selection.first)];
    const auto end = starts[static_cast<std::size_t>(m_selection.second)];
    return text().substr(begin, end - begin);
}

// --- Static ---

HeadlessStatic::HeadlessStatic(HeadlessUiHost& host, int id, const Rect& rect, const CString& text)
    : WindowBase(host, WindowKind::kStatic, id, rect) {
    setTextSilently(text);
}

// --- ListBox ---

HeadlessListBox::HeadlessListBox(HeadlessUiHost& host, int id, const Rect& rect, bool multiSelect, bool checkBoxes)
    : WindowBase(host, WindowKind::kListBox, id, rect), m_multiSelect(multiSelect), m_checkBoxes(checkBoxes) {}

int HeadlessListBox::addString(const CString& text) {
    return m_items.add(Item{text, false, false});
}

void HeadlessListBox::deleteString(int index) {
    m_items.erase(index);
}

void HeadlessListBox::resetContent() {
    m_items.clear();
}

CString HeadlessListBox::itemText(int index) const {
    const Item* item = m_items.at(index);
    return item != nullptr ? item->text : CString{};
}

void HeadlessListBox::setSel(int index, bool selected) {
    if (!m_multiSelect) {
        // A single-selection list has one selected item: the current one.
        if (selected) {
            setCurSel(index);
        } else if (index == m_items.curSel() || index == -1) {
            setCurSel(-1);
        }
        return;
    }
    if (index == -1) {
        for (Item& item : m_items) {
            item.selected = selected;
        }
    } else if (Item* item = m_items.at(index)) {
        item->selected = selected;
        m_items.setCurSel(index);
    }
}

bool HeadlessListBox::isSel(int index) const {
    const Item* item = m_items.at(index);
    if (item == nullptr) {
        return false;
    }
    return m_multiSelect ? item->selected : index == m_items.curSel();
}

std::vector<int> HeadlessListBox::selectedIndexes() const {
    std::vector<int> result;
    for (int i = 0; i < count(); ++i) {
        if (isSel(i)) {
            result.push_back(i);
        }
    }
    return result;
}

void HeadlessListBox::setCurSel(int index) {
    m_items.setCurSel(index);
    if (Item* item = m_items.at(index); item != nullptr && m_multiSelect) {
        item->selected = true;
    }
}

void HeadlessListBox::setCheck(int index, bool checked) {
    if (Item* item = m_items.at(index)) {
        item->checked = checked;
    }
}

bool HeadlessListBox::isChecked(int index) const {
    const Item* item = m_items.at(index);
    return item != nullptr && item->checked;
}

bool HeadlessListBox::clickItem(int index) {
    Item* item = m_items.at(index);
    if (!usable() || item == nullptr) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    if (m_multiSelect) {
        item->selected = !item->selected;
    }
    m_items.setCurSel(index);
    commandToParent(win::LBN_SELCHANGE);
    return true;
}

bool HeadlessListBox::doubleClickItem(int index) {
    if (!usable() || !m_items.valid(index)) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_items.setCurSel(index);
    commandToParent(win::LBN_DBLCLK);
    return true;
}

bool HeadlessListBox::checkItem(int index, bool checked) {
    Item* item = m_items.at(index);
    if (!usable() || item == nullptr || !m_checkBoxes) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    item->checked = checked;
    m_items.setCurSel(index);
    commandToParent(win::LBN_SELCHANGE);
    return true;
}

void HeadlessListBox::focusChanged(bool gained, WindowCore* other) {
    WindowCore::focusChanged(gained, other);
    commandToParent(gained ? win::LBN_SETFOCUS : win::LBN_KILLFOCUS);
}

// --- ListCtrl ---

HeadlessListCtrl::HeadlessListCtrl(HeadlessUiHost& host, int id, const Rect& rect, bool checkBoxes)
    : WindowBase(host, WindowKind::kListCtrl, id, rect), m_checkBoxes(checkBoxes) {}

int HeadlessListCtrl::insertColumn(int index, const CString& header, int width, Align align) {
    if (index < 0 || index > columnCount()) {
        index = columnCount();
    }
    m_columns.insert(m_columns.begin() + index, Column{header, width, align});
    for (Row& row : m_rows) {
        if (static_cast<int>(row.texts.size()) > index) {
            row.texts.insert(row.texts.begin() + index, CString{});
        }
    }
    return index;
}

int HeadlessListCtrl::insertItem(int index, const CString& text) {
    if (index < 0 || index > itemCount()) {
        index = itemCount();
    }
    Row row;
    row.texts.push_back(text);
    m_rows.insert(m_rows.begin() + index, std::move(row));
    if (m_selectionMark >= index) {
        ++m_selectionMark;
    }
    return index;
}

void HeadlessListCtrl::setItemText(int row, int column, const CString& text) {
    if (!valid(row) || column < 0 || column >= std::max(columnCount(), 1)) {
        return;
    }
    auto& texts = m_rows[static_cast<std::size_t>(row)].texts;
    if (static_cast<int>(texts.size()) <= column) {
        texts.resize(static_cast<std::size_t>(column) + 1);
    }
    texts[static_cast<std::size_t>(column)] = text;
}

CString HeadlessListCtrl::itemText(int row, int column) const {
    if (!valid(row) || column < 0) {
        return {};
    }
    const auto& texts = m_rows[static_cast<std::size_t>(row)].texts;
    return column < static_cast<int>(texts.size()) ? texts[static_cast<std::size_t>(column)] : CString{};
}

void HeadlessListCtrl::deleteItem(int row) {
    if (!valid(row)) {
        return;
    }
    m_rows.erase(m_rows.begin() + row);
    if (m_selectionMark == row) {
        m_selectionMark = -1;
    } else if (m_selectionMark > row) {
        --m_selectionMark;
    }
}

void HeadlessListCtrl::deleteAllItems() {
    m_rows.clear();
    m_selectionMark = -1;
}

void HeadlessListCtrl::setCheck(int row, bool checked) {
    if (valid(row)) {
        m_rows[static_cast<std::size_t>(row)].checked = checked;
    }
}

bool HeadlessListCtrl::isChecked(int row) const {
    return valid(row) && m_rows[static_cast<std::size_t>(row)].checked;
}

void HeadlessListCtrl::setItemSelected(int row, bool selected) {
    if (row == -1) {
        for (Row& r : m_rows) {
            r.selected = selected;
        }
    } else if (valid(row)) {
        m_rows[static_cast<std::size_t>(row)].selected = selected;
    }
}

std::vector<int> HeadlessListCtrl::selectedRows() const {
    std::vector<int> result;
    for (int i = 0; i < itemCount(); ++i) {
        if (m_rows[static_cast<std::size_t>(i)].selected) {
            result.push_back(i);
        }
    }
    return result;
}

CString HeadlessListCtrl::columnHeader(int column) const {
    return column >= 0 && column < columnCount() ? m_columns[static_cast<std::size_t>(column)].header : CString{};
}

int HeadlessListCtrl::columnWidth(int column) const {
    return column >= 0 && column < columnCount() ? m_columns[static_cast<std::size_t>(column)].width : 0;
}

bool HeadlessListCtrl::notifyRow(int code, int row) {
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    NotifyInfo info;
    info.code = code;
    info.item = row;
    notifyParent(info);
    return true;
}

bool HeadlessListCtrl::clickRow(int row) {
    if (!usable() || !valid(row)) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    setItemSelected(-1, false);
    m_rows[static_cast<std::size_t>(row)].selected = true;
    m_selectionMark = row;
    return notifyRow(win::NM_CLICK, row);
}

bool HeadlessListCtrl::doubleClickRow(int row) {
    if (!usable() || !valid(row)) {
        return false;
    }
    return notifyRow(win::NM_DBLCLK, row);
}

bool HeadlessListCtrl::rightClickRow(int row) {
    if (!usable() || !valid(row)) {
        return false;
    }
    return notifyRow(win::NM_RCLICK, row);
}

bool HeadlessListCtrl::checkRow(int row, bool checked) {
    if (!usable() || !valid(row) || !m_checkBoxes) {
        return false;
    }
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    m_rows[static_cast<std::size_t>(row)].checked = checked;
    return notifyRow(win::NM_CLICK, row);
}

void HeadlessListCtrl::focusChanged(bool gained, WindowCore* other) {
    WindowCore::focusChanged(gained, other);
    NotifyInfo info;
    info.code = gained ? win::NM_SETFOCUS : win::NM_KILLFOCUS;
    notifyParent(info);
}

// --- TipWindow ---

HeadlessTipWindow::HeadlessTipWindow(HeadlessUiHost& host, int id) : WindowBase(host, WindowKind::kTip, id, Rect{}) {
    show(false);
}

void HeadlessTipWindow::showTip(const CString& title, const CString& text, host::ui::Point screenCenter, int style,
                                int delayMs, int durationMs) {
    m_title = title;
    m_tipText = text;
    m_center = screenCenter;
    m_style = style;
    m_delayMs = delayMs;
    m_durationMs = durationMs;
    m_shown = true;
    ++m_showCount;
    show(true);
    killTimer(kHideTimerId);
    if (durationMs > 0) {
        setTimer(kHideTimerId, static_cast<unsigned>(std::max(delayMs, 0) + durationMs));
    }
}

void HeadlessTipWindow::hideTip() {
    m_shown = false;
    killTimer(kHideTimerId);
    show(false);
}

LRESULT HeadlessTipWindow::defaultProc(const Message& message) {
    if (message.message == win::WM_TIMER && message.wParam == kHideTimerId) {
        hideTip();
        return 0;
    }
    return WindowCore::defaultProc(message);
}

// ---- Tree ----

HeadlessTreeCtrl::HeadlessTreeCtrl(HeadlessUiHost& host, int id, const Rect& rect)
    : WindowBase(host, WindowKind::kTree, id, rect) {}

HeadlessTreeCtrl::Item HeadlessTreeCtrl::insertItem(Item parent, const CString& text, std::intptr_t data) {
    if (parent != 0 && !valid(parent)) {
        return 0;
    }
    m_items.push_back(Node{parent, text, data, false});
    return itemCount();
}

void HeadlessTreeCtrl::deleteAllItems() {
    m_items.clear();
    m_selected = 0;
}

CString HeadlessTreeCtrl::itemText(Item item) const {
    return valid(item) ? m_items[static_cast<std::size_t>(item - 1)].text : CString{};
}

std::intptr_t HeadlessTreeCtrl::itemData(Item item) const {
    return valid(item) ? m_items[static_cast<std::size_t>(item - 1)].data : 0;
}

HeadlessTreeCtrl::Item HeadlessTreeCtrl::parentItem(Item item) const {
    return valid(item) ? m_items[static_cast<std::size_t>(item - 1)].parent : 0;
}

std::vector<HeadlessTreeCtrl::Item> HeadlessTreeCtrl::children(Item parent) const {
    std::vector<Item> out;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].parent == parent) {
            out.push_back(static_cast<Item>(i + 1));
        }
    }
    return out;
}

void HeadlessTreeCtrl::selectItem(Item item) {
    m_selected = valid(item) ? item : 0;
    for (Item up = parentItem(m_selected); up != 0; up = parentItem(up)) {
        m_items[static_cast<std::size_t>(up - 1)].expanded = true;
    }
}

void HeadlessTreeCtrl::expand(Item item, bool expanded) {
    if (valid(item)) {
        m_items[static_cast<std::size_t>(item - 1)].expanded = expanded;
    }
}

bool HeadlessTreeCtrl::isExpanded(Item item) const {
    return valid(item) && m_items[static_cast<std::size_t>(item - 1)].expanded;
}

std::vector<std::pair<HeadlessTreeCtrl::Item, int>> HeadlessTreeCtrl::displayOrder() const {
    std::vector<std::pair<Item, int>> out;
    std::vector<std::pair<Item, int>> stack;
    const std::vector<Item> top = children(0);
    for (auto it = top.rbegin(); it != top.rend(); ++it) {
        stack.emplace_back(*it, 0);
    }
    while (!stack.empty()) {
        const auto [item, depth] = stack.back();
        stack.pop_back();
        out.emplace_back(item, depth);
        const std::vector<Item> below = children(item);
        for (auto it = below.rbegin(); it != below.rend(); ++it) {
            stack.emplace_back(*it, depth + 1);
        }
    }
    return out;
}

HeadlessTreeCtrl::Item HeadlessTreeCtrl::findPath(const CString& path) const {
    Item at = 0;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t slash = path.find('/', start);
        const CString part = path.substr(start, slash == CString::npos ? CString::npos : slash - start);
        Item found = 0;
        for (const Item child : children(at)) {
            if (itemText(child) == part) {
                found = child;
                break;
            }
        }
        if (found == 0) {
            return 0;
        }
        at = found;
        if (slash == CString::npos) {
            break;
        }
        start = slash + 1;
    }
    return at;
}

void HeadlessTreeCtrl::notify(int code, Item item) {
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    NotifyInfo info;
    info.code = code;
    info.item = item;
    notifyParent(info);
}

bool HeadlessTreeCtrl::clickItem(Item item) {
    if (!usable() || !valid(item)) {
        return false;
    }
    const bool changed = item != m_selected;
    selectItem(item);
    if (changed) {
        notify(win::TVN_SELCHANGED, item);
    }
    return true;
}

bool HeadlessTreeCtrl::doubleClickItem(Item item) {
    if (!clickItem(item)) {
        return false;
    }
    notify(win::NM_DBLCLK, item);
    return true;
}

} // namespace headless
