#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QListWidget;
class QPoint;
class QTableWidget;
class QTreeWidget;
class QTreeWidgetItem;

namespace qthost {

// A list box, single or extended multi-select, optionally with a check box per item. The
// parent hears LBN_SELCHANGE for the user's selection changes, LBN_DBLCLK, LBN_SETFOCUS /
// LBN_KILLFOCUS and, for a check box the user toggles, the check-list notification 40.
class QtListBox final : public WindowImpl<host::ui::ListBox> {
public:
    QtListBox(QWidget* parent, int id, bool multiSelect, bool checkBoxes);

    int addString(const CString& text) override;
    void deleteString(int index) override;
    void resetContent() override;
    int count() const override;
    CString itemText(int index) const override;
    void setSel(int index, bool selected) override;
    bool isSel(int index) const override;
    std::vector<int> selectedIndexes() const override;
    int curSel() const override;
    void setCurSel(int index) override;
    void setCheck(int index, bool checked) override;
    bool isChecked(int index) const override;

private:
    QListWidget* list() const;
    bool filterEvent(QObject* watched, QEvent* event) override;

    bool m_checkBoxes;
    bool m_changing = false; // set while the module changes items: no notifications
};

// A report-view list with columns and optional check boxes in the first column. The parent
// hears WM_NOTIFY NM_CLICK, NM_DBLCLK and NM_RCLICK with the row and the point.
class QtListCtrl final : public WindowImpl<host::ui::ListCtrl> {
public:
    QtListCtrl(QWidget* parent, int id, bool checkBoxes);

    int insertColumn(int index, const CString& header, int width, Align align) override;
    int insertItem(int index, const CString& text) override;
    void setItemText(int row, int column, const CString& text) override;
    CString itemText(int row, int column) const override;
    void deleteItem(int row) override;
    void deleteAllItems() override;
    int itemCount() const override;
    void setCheck(int row, bool checked) override;
    bool isChecked(int row) const override;
    void setItemSelected(int row, bool selected) override;
    std::vector<int> selectedRows() const override;
    void setSelectionMark(int row) override;
    int selectionMark() const override;
    void setExtendedStyle(unsigned style) override;

private:
    QTableWidget* table() const;
    void notifyClick(int code, const QPoint& viewportPoint);
    bool filterEvent(QObject* watched, QEvent* event) override;

    bool m_checkBoxes;
};

// QTreeWidget. Items are numbered from 1 in insertion order; TVN_SELCHANGED reports the
// user's selection changes, NM_DBLCLK a double click.
class QtTreeCtrl final : public WindowImpl<host::ui::TreeCtrl> {
public:
    QtTreeCtrl(QWidget* parent, int id);

    Item insertItem(Item parent, const CString& text, std::intptr_t data) override;
    void deleteAllItems() override;
    int itemCount() const override { return static_cast<int>(m_items.size()); }
    CString itemText(Item item) const override;
    std::intptr_t itemData(Item item) const override;
    Item parentItem(Item item) const override;
    std::vector<Item> children(Item parent) const override;
    Item selectedItem() const override;
    void selectItem(Item item) override;
    void expand(Item item, bool expanded) override;
    bool isExpanded(Item item) const override;

private:
    QTreeWidget* tree() const;
    QTreeWidgetItem* itemAt(Item item) const;
    Item numberOf(const QTreeWidgetItem* item) const;

    struct Entry {
        QTreeWidgetItem* item = nullptr;
        Item parent = 0;
        CString text;
        std::intptr_t data = 0;
    };
    std::vector<Entry> m_items; // item n at n - 1
    bool m_bSetting = false;    // the module moves the selection: no notification
};

} // namespace qthost
