#pragma once

#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "adapters/headless/headless_window.h"
#include "adapters/headless/item_list.h"

namespace headless {

// The headless controls. Each keeps its state in memory for tests to read and offers "user"
// operations (click, pick, type, ...) that change the state and report to the parent exactly
// as the toolkit would, with WM_COMMAND / WM_NOTIFY. A user operation on a hidden or disabled
// control does nothing and returns false. Ownership: owned by the parent window. Thread: UI thread.

class HeadlessButton final : public WindowBase<host::ui::Button> {
public:
    HeadlessButton(HeadlessUiHost& host, int id, const host::ui::Rect& rect, const CString& text, unsigned style);

    void setCheck(bool checked) override { m_checked = checked; }
    bool isChecked() const override { return m_checked; }
    void setDefault(bool isDefault) override { m_default = isDefault; }
    bool isDefault() const { return m_default; }
    void setBitmaps(int normal, int hover, int pressed) override { m_bitmaps = {normal, hover, pressed}; }
    std::array<int, 3> bitmaps() const { return m_bitmaps; }
    // The kind bits of the style (BS_PUSHBUTTON, BS_AUTOCHECKBOX, ...).
    unsigned buttonKind() const { return style() & host::ui::win::BS_TYPEMASK; }

    // BN_CLICKED to the parent; an automatic check box toggles first, an automatic radio
    // button checks itself.
    bool click();

private:
    bool m_checked = false;
    bool m_default = false;
    std::array<int, 3> m_bitmaps{};
};

class HeadlessComboBox final : public WindowBase<host::ui::ComboBox> {
public:
    HeadlessComboBox(HeadlessUiHost& host, int id, const host::ui::Rect& rect, unsigned style);

    // The text of the selected item, as a drop-down list shows it.
    CString text() const override;

    int addString(const CString& text) override;
    int insertString(int index, const CString& text) override;
    void deleteString(int index) override;
    void resetContent() override;
    int count() const override { return m_items.count(); }
    int curSel() const override { return m_items.curSel(); }
    void setCurSel(int index) override { m_items.setCurSel(index); }
    CString itemText(int index) const override;
    void setItemData(int index, std::intptr_t data) override;
    std::intptr_t itemData(int index) const override;
    int findStringExact(int start, const CString& text) const override;
    void setItemColors(int index, COLORREF text, COLORREF background) override;
    // (text, background) of an owner-drawn item, when set.
    std::optional<std::pair<COLORREF, COLORREF>> itemColors(int index) const;
    bool isDroppedDown() const { return m_droppedDown; }

    // User operations: open the list (CBN_DROPDOWN), pick an item (CBN_SELCHANGE), close the
    // list (CBN_CLOSEUP), or all three in that order.
    bool dropDown();
    bool selectItem(int index);
    bool closeUp();
    bool chooseItem(int index);

private:
    struct Item {
        CString text;
        std::intptr_t data = 0;
        std::optional<std::pair<COLORREF, COLORREF>> colors;
    };
    ItemList<Item> m_items;
    bool m_droppedDown = false;
};

class HeadlessDatePicker final : public WindowBase<host::ui::DatePicker> {
public:
    HeadlessDatePicker(HeadlessUiHost& host, int id, const host::ui::Rect& rect);

    bool date(host::ui::Date& out) const override;
    void setDate(const host::ui::Date& date) override { m_date = date; }
    bool isDroppedDown() const override { return m_droppedDown; }

    // User operations: open the calendar (DTN_DROPDOWN), pick a date (DTN_DATETIMECHANGE with
    // the date), close it (DTN_CLOSEUP), or all three in that order.
    bool dropDown();
    bool pickDate(const host::ui::Date& date);
    bool closeUp();
    bool chooseDate(const host::ui::Date& date);

private:
    std::optional<host::ui::Date> m_date;
    bool m_droppedDown = false;
};

// Text changes, from code or from typing, reach the parent as EN_UPDATE then EN_CHANGE, as
// they do for a toolkit edit. Typed characters replace the selection, which setText puts at
// the end of the text; positions are byte offsets.
class HeadlessEdit final : public WindowBase<host::ui::Edit> {
public:
    HeadlessEdit(HeadlessUiHost& host, int id, const host::ui::Rect& rect, unsigned style);

    void setSelection(int start, int end) override;
    void setReadOnly(bool readOnly) override { m_readOnly = readOnly; }
    bool isReadOnly() const { return m_readOnly; }
    std::pair<int, int> selection() const { return {m_selStart, m_selEnd}; }

    // User operation: replaces the whole text as if typed over it.
    bool typeText(const CString& text);

protected:
    host::ui::LRESULT defaultProc(const host::ui::Message& message) override;
    void textChanged() override;
    void focusChanged(bool gained, WindowCore* other) override;

private:
    bool m_readOnly = false;
    int m_selStart = 0;
    int m_selEnd = 0;
};

class HeadlessTabStrip final : public WindowBase<host::ui::TabStrip> {
public:
    HeadlessTabStrip(HeadlessUiHost& host, int id, const host::ui::Rect& rect);

    int insertItem(int index, const CString& caption, std::intptr_t data) override;
    void deleteAllItems() override;
    int itemCount() const override { return static_cast<int>(m_items.size()); }
    std::intptr_t itemData(int index) const override;
    CString itemCaption(int index) const override;
    void setItemCaption(int index, const CString& caption) override;
    // Tabs sit side by side from the left, each as wide as its caption plus 12 pixels.
    host::ui::Rect itemRect(int index) const override;
    int curSel() const override { return m_curSel; }
    void setCurSel(int index) override;
    void setColors(COLORREF text, COLORREF background, COLORREF selected) override;
    struct Colors {
        COLORREF text = 0;
        COLORREF background = 0;
        COLORREF selected = 0;
    };
    Colors colors() const { return m_colors; }

    // User operation: selects a tab (TCN_SELCHANGE with the item).
    bool selectTab(int index);

private:
    struct Item {
        CString caption;
        std::intptr_t data = 0;
    };
    std::vector<Item> m_items;
    int m_curSel = -1;
    Colors m_colors;
};

// Character positions count characters of the text: a double-byte character is one, and so
// is a CR LF pair, as in the toolkit's rich edit.
class HeadlessRichEdit final : public WindowBase<host::ui::RichEdit> {
public:
    HeadlessRichEdit(HeadlessUiHost& host, int id, const host::ui::Rect& rect, unsigned style);

    void setBackgroundColor(COLORREF color) override { m_background = color; }
    COLORREF backgroundColor() const { return m_background; }
    void setDefaultTextColor(COLORREF color) override { m_textColor = color; }
    COLORREF defaultTextColor() const override { return m_textColor; }
    void setReadOnly(bool readOnly) override { m_readOnly = readOnly; }
    bool isReadOnly() const { return m_readOnly; }
    void hideSelection(bool hide) override { m_selectionHidden = hide; }
    bool isSelectionHidden() const { return m_selectionHidden; }
    std::pair<int, int> findText(int from, const CString& text) const override;
    void setSelection(int start, int end) override;
    std::pair<int, int> selection() const override { return m_selection; }

    int characterCount() const;
    CString selectedText() const;

protected:
    void textChanged() override { m_selection = {0, 0}; }

private:
    // Byte offset of every character start, plus the text length at the end.
    std::vector<std::size_t> characterStarts() const;

    COLORREF m_background = 0xFFFFFF;
    COLORREF m_textColor = 0;
    bool m_readOnly = false;
    bool m_selectionHidden = true; // as the platform: shown only with the focus unless told otherwise
    std::pair<int, int> m_selection{0, 0};
};

class HeadlessStatic final : public WindowBase<host::ui::StaticText> {
public:
    HeadlessStatic(HeadlessUiHost& host, int id, const host::ui::Rect& rect, const CString& text);

    void setColors(COLORREF text, COLORREF background) override { m_colors = {text, background}; }
    std::optional<std::pair<COLORREF, COLORREF>> colors() const { return m_colors; }

private:
    std::optional<std::pair<COLORREF, COLORREF>> m_colors;
};

class HeadlessListBox final : public WindowBase<host::ui::ListBox> {
public:
    HeadlessListBox(HeadlessUiHost& host, int id, const host::ui::Rect& rect, bool multiSelect, bool checkBoxes);

    int addString(const CString& text) override;
    void deleteString(int index) override;
    void resetContent() override;
    int count() const override { return m_items.count(); }
    CString itemText(int index) const override;
    void setSel(int index, bool selected) override; // index -1: every item
    bool isSel(int index) const override;
    std::vector<int> selectedIndexes() const override;
    int curSel() const override { return m_items.curSel(); }
    void setCurSel(int index) override;
    void setCheck(int index, bool checked) override;
    bool isChecked(int index) const override;
    bool isMultiSelect() const { return m_multiSelect; }
    bool hasCheckBoxes() const { return m_checkBoxes; }

    // User operations: click an item (single: select it; multi: toggle it) then LBN_SELCHANGE;
    // double-click (LBN_DBLCLK); tick a check box (LBN_SELCHANGE).
    bool clickItem(int index);
    bool doubleClickItem(int index);
    bool checkItem(int index, bool checked);

protected:
    void focusChanged(bool gained, WindowCore* other) override;

private:
    struct Item {
        CString text;
        bool selected = false;
        bool checked = false;
    };
    bool m_multiSelect;
    bool m_checkBoxes;
    ItemList<Item> m_items;
};

// A tree of items; the user's clicks select an item (TVN_SELCHANGED) and double-clicks
// report it (NM_DBLCLK).
class HeadlessTreeCtrl final : public WindowBase<host::ui::TreeCtrl> {
public:
    HeadlessTreeCtrl(HeadlessUiHost& host, int id, const host::ui::Rect& rect);

    Item insertItem(Item parent, const CString& text, std::intptr_t data) override;
    void deleteAllItems() override;
    int itemCount() const override { return static_cast<int>(m_items.size()); }
    CString itemText(Item item) const override;
    std::intptr_t itemData(Item item) const override;
    Item parentItem(Item item) const override;
    std::vector<Item> children(Item parent) const override;
    Item selectedItem() const override { return m_selected; }
    void selectItem(Item item) override;
    void expand(Item item, bool expanded) override;
    bool isExpanded(Item item) const override;

    // Every item depth first, as the tree lists them, with its depth (0 for the top level).
    std::vector<std::pair<Item, int>> displayOrder() const;
    // The item named by its texts from the top, joined with "/" ("market/symbol"); 0 when none.
    Item findPath(const CString& path) const;

    // User operations: a click selects the item (its parents open) and reports the change; a
    // double click selects it and reports NM_DBLCLK.
    bool clickItem(Item item);
    bool doubleClickItem(Item item);

private:
    struct Node {
        Item parent = 0;
        CString text;
        std::intptr_t data = 0;
        bool expanded = false;
    };
    bool valid(Item item) const { return item >= 1 && item <= itemCount(); }
    void notify(int code, Item item);

    std::vector<Node> m_items; // item n at n - 1
    Item m_selected = 0;
};

class HeadlessListCtrl final : public WindowBase<host::ui::ListCtrl> {
public:
    HeadlessListCtrl(HeadlessUiHost& host, int id, const host::ui::Rect& rect, bool checkBoxes);

    int insertColumn(int index, const CString& header, int width, Align align) override;
    int insertItem(int index, const CString& text) override;
    void setItemText(int row, int column, const CString& text) override;
    CString itemText(int row, int column) const override;
    void deleteItem(int row) override;
    void deleteAllItems() override;
    int itemCount() const override { return static_cast<int>(m_rows.size()); }
    void setCheck(int row, bool checked) override;
    bool isChecked(int row) const override;
    void setItemSelected(int row, bool selected) override;
    std::vector<int> selectedRows() const override;
    void setSelectionMark(int row) override { m_selectionMark = row; }
    int selectionMark() const override { return m_selectionMark; }
    void setExtendedStyle(unsigned style) override { m_extendedStyle = style; }
    unsigned extendedStyle() const { return m_extendedStyle; }
    int columnCount() const { return static_cast<int>(m_columns.size()); }
    CString columnHeader(int column) const;
    int columnWidth(int column) const;

    // User operations: click a row (it becomes the only selected row and the mark) then
    // NM_CLICK; double-click (NM_DBLCLK); right-click (NM_RCLICK); tick a check box (NM_CLICK).
    bool clickRow(int row);
    bool doubleClickRow(int row);
    bool rightClickRow(int row);
    bool checkRow(int row, bool checked);

protected:
    void focusChanged(bool gained, WindowCore* other) override;

private:
    bool valid(int row) const { return row >= 0 && row < itemCount(); }
    bool notifyRow(int code, int row);
    struct Column {
        CString header;
        int width = 0;
        Align align = Align::kLeft;
    };
    struct Row {
        std::vector<CString> texts;
        bool checked = false;
        bool selected = false;
    };
    bool m_checkBoxes;
    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
    int m_selectionMark = -1;
    unsigned m_extendedStyle = 0;
};

// Shown from showTip until hideTip or until its display time (delay plus duration) has run
// out on the clock; a duration of 0 keeps it up.
class HeadlessTipWindow final : public WindowBase<host::ui::TipWindow> {
public:
    static constexpr unsigned kHideTimerId = 0xFFFF0001u;

    HeadlessTipWindow(HeadlessUiHost& host, int id);

    void showTip(const CString& title, const CString& text, host::ui::Point screenCenter, int style, int delayMs,
                 int durationMs) override;
    void hideTip() override;
    bool isTipShown() const override { return m_shown; }
    CString tipText() const override { return m_tipText; }

    CString tipTitle() const { return m_title; }
    host::ui::Point center() const { return m_center; }
    int tipStyle() const { return m_style; }
    int delayMs() const { return m_delayMs; }
    int durationMs() const { return m_durationMs; }
    int showCount() const { return m_showCount; }

protected:
    host::ui::LRESULT defaultProc(const host::ui::Message& message) override;

private:
    CString m_title;
    CString m_tipText;
    host::ui::Point m_center{};
    int m_style = 0;
    int m_delayMs = 0;
    int m_durationMs = 0;
    bool m_shown = false;
    int m_showCount = 0;
};

} // namespace headless
