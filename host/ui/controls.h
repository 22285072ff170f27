#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "host/ui/window.h"

namespace host::ui {

// Push, check and radio buttons. Clicks reach the parent as WM_COMMAND / BN_CLICKED.
class Button : public Window {
public:
    virtual void setCheck(bool checked) = 0;
    virtual bool isChecked() const = 0;
    virtual void setDefault(bool isDefault) = 0;
    // A button drawn from bitmaps (by bitmap id; 0: none): at rest, under the mouse, pressed.
    virtual void setBitmaps(int normal, int hover, int pressed) = 0;
};

// Drop-down list. Selection changes reach the parent as CBN_SELCHANGE, the closing of the
// list as CBN_CLOSEUP.
class ComboBox : public Window {
public:
    virtual int addString(const CString& text) = 0;
    virtual int insertString(int index, const CString& text) = 0;
    virtual void deleteString(int index) = 0;
    virtual void resetContent() = 0;
    virtual int count() const = 0;
    virtual int curSel() const = 0; // -1 when nothing is selected
    virtual void setCurSel(int index) = 0;
    virtual CString itemText(int index) const = 0;
    virtual void setItemData(int index, std::intptr_t data) = 0;
    virtual std::intptr_t itemData(int index) const = 0;
    // First item at or after start whose text equals text exactly; -1 when none.
    virtual int findStringExact(int start, const CString& text) const = 0;
    virtual void setItemColors(int index, COLORREF text, COLORREF background) = 0; // owner-drawn lists
};

// Date picker. Notifications: DTN_DROPDOWN, DTN_CLOSEUP, DTN_DATETIMECHANGE (with the date).
class DatePicker : public Window {
public:
    virtual bool date(Date& out) const = 0; // false when the picker holds no date
    virtual void setDate(const Date& date) = 0;
    virtual bool isDroppedDown() const = 0;
};

// Single-line edit, or multi-line with ES_MULTILINE. Text changes reach the parent as
// EN_UPDATE then EN_CHANGE.
class Edit : public Window {
public:
    virtual void setSelection(int start, int end) = 0;
    virtual void setReadOnly(bool readOnly) = 0;
};

// Tab strip; each tab carries an item datum. Selection changes reach the parent as TCN_SELCHANGE.
class TabStrip : public Window {
public:
    virtual int insertItem(int index, const CString& caption, std::intptr_t data) = 0;
    virtual void deleteAllItems() = 0;
    virtual int itemCount() const = 0;
    virtual std::intptr_t itemData(int index) const = 0;
    virtual CString itemCaption(int index) const = 0;
    // Changes the caption of an existing tab; an index outside the strip does nothing.
    virtual void setItemCaption(int index, const CString& caption) = 0;
    virtual Rect itemRect(int index) const = 0;
    virtual int curSel() const = 0;
    virtual void setCurSel(int index) = 0;
    virtual void setColors(COLORREF text, COLORREF background, COLORREF selected) = 0;
};

// Multi-line rich text. Character positions count characters of the shown text.
class RichEdit : public Window {
public:
    virtual void setBackgroundColor(COLORREF color) = 0;
    virtual void setDefaultTextColor(COLORREF color) = 0;
    virtual COLORREF defaultTextColor() const = 0;
    virtual void setReadOnly(bool readOnly) = 0;
    virtual void hideSelection(bool hide) = 0;
    // Case-insensitive search from position from; {-1, -1} when absent.
    virtual std::pair<int, int> findText(int from, const CString& text) const = 0;
    virtual void setSelection(int start, int end) = 0;
    virtual std::pair<int, int> selection() const = 0;
};

class StaticText : public Window {
public:
    virtual void setColors(COLORREF text, COLORREF background) = 0;
};

// List box, optionally multi-select and with check boxes.
class ListBox : public Window {
public:
    virtual int addString(const CString& text) = 0;
    virtual void deleteString(int index) = 0;
    virtual void resetContent() = 0;
    virtual int count() const = 0;
    virtual CString itemText(int index) const = 0;
    virtual void setSel(int index, bool selected) = 0;
    virtual bool isSel(int index) const = 0;
    virtual std::vector<int> selectedIndexes() const = 0;
    virtual int curSel() const = 0;
    virtual void setCurSel(int index) = 0;
    virtual void setCheck(int index, bool checked) = 0;
    virtual bool isChecked(int index) const = 0;
};

// Report-view list with columns, optionally with check boxes.
class ListCtrl : public Window {
public:
    enum class Align { kLeft, kCenter, kRight };
    virtual int insertColumn(int index, const CString& header, int width, Align align) = 0;
    virtual int insertItem(int index, const CString& text) = 0;
    virtual void setItemText(int row, int column, const CString& text) = 0;
    virtual CString itemText(int row, int column) const = 0;
    virtual void deleteItem(int row) = 0;
    virtual void deleteAllItems() = 0;
    virtual int itemCount() const = 0;
    virtual void setCheck(int row, bool checked) = 0;
    virtual bool isChecked(int row) const = 0;
    virtual void setItemSelected(int row, bool selected) = 0;
    virtual std::vector<int> selectedRows() const = 0;
    virtual void setSelectionMark(int row) = 0;
    virtual int selectionMark() const = 0;
    virtual void setExtendedStyle(unsigned style) = 0;
};

// Tree of items (a market and its symbols). Items are numbered from 1 as they are inserted;
// 0 stands for the root (no item). The parent hears TVN_SELCHANGED when the user moves the
// selection (NotifyInfo::item the new item) and NM_DBLCLK on a double click (the item).
class TreeCtrl : public Window {
public:
    using Item = int;
    virtual Item insertItem(Item parent, const CString& text, std::intptr_t data) = 0;
    virtual void deleteAllItems() = 0;
    virtual int itemCount() const = 0;
    virtual CString itemText(Item item) const = 0;
    virtual std::intptr_t itemData(Item item) const = 0;
    virtual Item parentItem(Item item) const = 0;
    // Children of an item (0: the top-level items), in insertion order.
    virtual std::vector<Item> children(Item parent) const = 0;
    virtual Item selectedItem() const = 0; // 0: none
    virtual void selectItem(Item item) = 0;
    virtual void expand(Item item, bool expanded) = 0;
    virtual bool isExpanded(Item item) const = 0;
};

// The toolkit's tip window: a short text shown at a point for a time.
class TipWindow : public Window {
public:
    virtual void showTip(const CString& title, const CString& text, Point screenCenter, int style, int delayMs,
                         int durationMs) = 0;
    virtual void hideTip() = 0;
    virtual bool isTipShown() const = 0;
    virtual CString tipText() const = 0;
};

} // namespace host::ui
