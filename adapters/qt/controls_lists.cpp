#include "adapters/qt/controls_lists.h"

#include <QEvent>
#include <QHeaderView>
#include <QListWidget>
#include <QMouseEvent>
#include <QTableWidget>
#include <QTreeWidget>
#include <algorithm>

#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

namespace {

constexpr int kBytesRole = Qt::UserRole + 1;
constexpr unsigned kClbnChkChange = 40;
constexpr unsigned kLvsExGridLines = 0x1;
constexpr unsigned kLvsExCheckBoxes = 0x4;

QVariant bytesOf(const CString& text) {
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

CString textOf(const QVariant& bytes) {
    const QByteArray array = bytes.toByteArray();
    return CString(array.constData(), static_cast<std::size_t>(array.size()));
}

// Marks a stretch of changes made by the module, which must not come back as notifications.
class Changing {
public:
    explicit Changing(bool& flag) : m_flag(flag), m_old(flag) { m_flag = true; }
    ~Changing() { m_flag = m_old; }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

private:
    bool& m_flag;
    bool m_old;
};

} // namespace

QtListBox::QtListBox(QWidget* parent, int id, bool multiSelect, bool checkBoxes)
    : WindowImpl(new QListWidget(parent), id, nullptr), m_checkBoxes(checkBoxes) {
    QListWidget* l = list();
    l->setSelectionMode(multiSelect ? QAbstractItemView::ExtendedSelection : QAbstractItemView::SingleSelection);
    l->setUniformItemSizes(true);
    QObject::connect(l, &QListWidget::itemSelectionChanged, l, [this] {
        if (!m_changing) {
            notifyParentCommand(win::LBN_SELCHANGE);
        }
    });
    QObject::connect(l, &QListWidget::itemDoubleClicked, l, [this] { notifyParentCommand(win::LBN_DBLCLK); });
    QObject::connect(l, &QListWidget::itemChanged, l, [this] {
        if (!m_changing && m_checkBoxes) {
            notifyParentCommand(kClbnChkChange);
        }
    });
}

QListWidget* QtListBox::list() const {
    return static_cast<QListWidget*>(widget());
}

int QtListBox::addString(const CString& text) {
    const Changing changing(m_changing);
    auto* item = new QListWidgetItem(toQString(text));
    item->setData(kBytesRole, bytesOf(text));
    if (m_checkBoxes) {
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Unchecked);
    }
    list()->addItem(item); // the list owns the item
    return list()->count() - 1;
}

void QtListBox::deleteString(int index) {
    const Changing changing(m_changing);
    delete list()->takeItem(index);
}

void QtListBox::resetContent() {
    const Changing changing(m_changing);
    list()->clear();
}

int QtListBox::count() const {
    return list()->count();
}

CString QtListBox::itemText(int index) const {
    const QListWidgetItem* item = list()->item(index);
    return item == nullptr ? CString{} : textOf(item->data(kBytesRole));
}

void QtListBox::setSel(int index, bool selected) {
    const Changing changing(m_changing);
    if (index < 0) {
        // Index -1 applies to every item, as on the platform.
        for (int i = 0; i < count(); ++i) {
            list()->item(i)->setSelected(selected);
        }
    } else if (QListWidgetItem* item = list()->item(index)) {
        item->setSelected(selected);
    }
}

bool QtListBox::isSel(int index) const {
    const QListWidgetItem* item = list()->item(index);
    return item != nullptr && item->isSelected();
}

std::vector<int> QtListBox::selectedIndexes() const {
    std::vector<int> rows;
    for (int i = 0; i < count(); ++i) {
        if (list()->item(i)->isSelected()) {
            rows.push_back(i);
        }
    }
    return rows;
}

int QtListBox::curSel() const {
    if (list()->selectionMode() == QAbstractItemView::SingleSelection) {
        const QList<QListWidgetItem*> selected = list()->selectedItems();
        return selected.isEmpty() ? -1 : list()->row(selected.front());
    }
    return list()->currentRow(); // the caret item of a multi-select list
}

void QtListBox::setCurSel(int index) {
    const Changing changing(m_changing);
    if (index < 0 || index >= count()) {
        list()->clearSelection();
        list()->setCurrentRow(-1);
        return;
    }
    list()->setCurrentRow(index, QItemSelectionModel::ClearAndSelect);
}

void QtListBox::setCheck(int index, bool checked) {
    const Changing changing(m_changing);
    if (QListWidgetItem* item = list()->item(index); item != nullptr && m_checkBoxes) {
        item->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
    }
}

bool QtListBox::isChecked(int index) const {
    const QListWidgetItem* item = list()->item(index);
    return item != nullptr && item->checkState() == Qt::Checked;
}

bool QtListBox::filterEvent(QObject* watched, QEvent* event) {
    if (watched == widget() && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)) {
        notifyParentCommand(event->type() == QEvent::FocusIn ? win::LBN_SETFOCUS : win::LBN_KILLFOCUS);
    }
    return WindowCore::filterEvent(watched, event);
}

QtListCtrl::QtListCtrl(QWidget* parent, int id, bool checkBoxes)
    : WindowImpl(new QTableWidget(parent), id, nullptr), m_checkBoxes(checkBoxes) {
    QTableWidget* t = table();
    t->verticalHeader()->hide();
    t->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    t->setSelectionBehavior(QAbstractItemView::SelectRows);
    t->setSelectionMode(QAbstractItemView::ExtendedSelection);
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setShowGrid(false);
    t->setWordWrap(false);
    t->horizontalHeader()->setHighlightSections(false);
    watch(t->viewport());
}

QTableWidget* QtListCtrl::table() const {
    return static_cast<QTableWidget*>(widget());
}

int QtListCtrl::insertColumn(int index, const CString& header, int width, Align align) {
    QTableWidget* t = table();
    const int column = std::clamp(index, 0, t->columnCount());
    t->insertColumn(column);
    auto* item = new QTableWidgetItem(toQString(header));
    const Qt::Alignment alignment = align == Align::kRight    ? Qt::AlignRight
                                    : align == Align::kCenter ? Qt::AlignHCenter
                                                              : Qt::AlignLeft;
    item->setTextAlignment(alignment | Qt::AlignVCenter);
    t->setHorizontalHeaderItem(column, item); // the table owns the item
    t->setColumnWidth(column, width);
    return column;
}

int QtListCtrl::insertItem(int index, const CString& text) {
    QTableWidget* t = table();
    const int row = std::clamp(index, 0, t->rowCount());
    t->insertRow(row);
    setItemText(row, 0, text);
    if (m_checkBoxes) {
        setCheck(row, false);
    }
    return row;
}

void QtListCtrl::setItemText(int row, int column, const CString& text) {
    QTableWidget* t = table();
    if (row < 0 || row >= t->rowCount() || column < 0 || column >= t->columnCount()) {
        return;
    }
    QTableWidgetItem* item = t->item(row, column);
    if (item == nullptr) {
        item = new QTableWidgetItem;
        if (const QTableWidgetItem* header = t->horizontalHeaderItem(column)) {
            item->setTextAlignment(Qt::Alignment(header->textAlignment()));
        }
        t->setItem(row, column, item); // the table owns the item
    }
    item->setText(toQString(text));
    item->setData(kBytesRole, bytesOf(text));
}

CString QtListCtrl::itemText(int row, int column) const {
    const QTableWidgetItem* item = table()->item(row, column);
    return item == nullptr ? CString{} : textOf(item->data(kBytesRole));
}

void QtListCtrl::deleteItem(int row) {
    if (row >= 0 && row < itemCount()) {
        table()->removeRow(row);
    }
}

void QtListCtrl::deleteAllItems() {
    table()->setRowCount(0);
}
int QtListCtrl::itemCount() const {
    return table()->rowCount();
}

void QtListCtrl::setCheck(int row, bool checked) {
    if (row < 0 || row >= itemCount() || table()->columnCount() == 0) {
        return;
    }
    QTableWidgetItem* item = table()->item(row, 0);
    if (item == nullptr) {
        setItemText(row, 0, CString{});
        item = table()->item(row, 0);
    }
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

bool QtListCtrl::isChecked(int row) const {
    const QTableWidgetItem* item = table()->item(row, 0);
    return item != nullptr && item->checkState() == Qt::Checked;
}

void QtListCtrl::setItemSelected(int row, bool selected) {
    QTableWidget* t = table();
    if (row < 0 || row >= t->rowCount() || t->columnCount() == 0) {
        return;
    }
    const QModelIndex index = t->model()->index(row, 0);
    t->selectionModel()->select(index, (selected ? QItemSelectionModel::Select : QItemSelectionModel::Deselect) |
                                           QItemSelectionModel::Rows);
}

std::vector<int> QtListCtrl::selectedRows() const {
    std::vector<int> rows;
    for (const QModelIndex& index : table()->selectionModel()->selectedRows()) {
        rows.push_back(index.row());
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

void QtListCtrl::setSelectionMark(int row) {
    QTableWidget* t = table();
    if (row < 0 || row >= t->rowCount() || t->columnCount() == 0) {
        return;
    }
    t->selectionModel()->setCurrentIndex(t->model()->index(row, 0), QItemSelectionModel::NoUpdate);
}

int QtListCtrl::selectionMark() const {
    return table()->currentRow();
}

void QtListCtrl::setExtendedStyle(unsigned style) {
    table()->setShowGrid((style & kLvsExGridLines) != 0);
    if ((style & kLvsExCheckBoxes) != 0 && !m_checkBoxes) {
        m_checkBoxes = true;
        for (int row = 0; row < itemCount(); ++row) {
            setCheck(row, false);
        }
    }
}

void QtListCtrl::notifyClick(int code, const QPoint& viewportPoint) {
    const QPoint point = table()->viewport()->mapTo(table(), viewportPoint);
    host::ui::NotifyInfo info;
    info.code = code;
    info.item = table()->rowAt(viewportPoint.y());
    info.point = host::ui::Point{point.x(), point.y()};
    notifyParent(info);
}

bool QtListCtrl::filterEvent(QObject* watched, QEvent* event) {
    if (watched == table()->viewport()) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        switch (event->type()) {
        case QEvent::MouseButtonRelease:
            // Qt selects at the press, so the parent reads the new selection here.
            notifyClick(mouse->button() == Qt::RightButton ? win::NM_RCLICK : win::NM_CLICK,
                        mouse->position().toPoint());
            break;
        case QEvent::MouseButtonDblClick:
            if (mouse->button() == Qt::LeftButton) {
                notifyClick(win::NM_DBLCLK, mouse->position().toPoint());
            }
            break;
        default:
            break;
        }
        return false;
    }
    if (watched == widget() && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)) {
        notifyParent(host::ui::NotifyInfo{0, event->type() == QEvent::FocusIn ? win::NM_SETFOCUS : win::NM_KILLFOCUS});
    }
    return WindowCore::filterEvent(watched, event);
}

// ---- Tree ----

QtTreeCtrl::QtTreeCtrl(QWidget* parent, int id) : WindowImpl(new QTreeWidget(parent), id, nullptr) {
    QTreeWidget* t = tree();
    t->setHeaderHidden(true);
    t->setColumnCount(1);
    t->setSelectionMode(QAbstractItemView::SingleSelection);
    QObject::connect(t, &QTreeWidget::currentItemChanged, t, [this](QTreeWidgetItem* current, QTreeWidgetItem*) {
        if (m_bSetting || current == nullptr) {
            return;
        }
        host::ui::NotifyInfo info;
        info.code = win::TVN_SELCHANGED;
        info.item = numberOf(current);
        notifyParent(info);
    });
    QObject::connect(t, &QTreeWidget::itemDoubleClicked, t, [this](QTreeWidgetItem* item, int) {
        host::ui::NotifyInfo info;
        info.code = win::NM_DBLCLK;
        info.item = numberOf(item);
        notifyParent(info);
    });
}

QTreeWidget* QtTreeCtrl::tree() const {
    return static_cast<QTreeWidget*>(widget());
}

QTreeWidgetItem* QtTreeCtrl::itemAt(Item item) const {
    return item >= 1 && item <= itemCount() ? m_items[static_cast<std::size_t>(item - 1)].item : nullptr;
}

QtTreeCtrl::Item QtTreeCtrl::numberOf(const QTreeWidgetItem* item) const {
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].item == item) {
            return static_cast<Item>(i + 1);
        }
    }
    return 0;
}

QtTreeCtrl::Item QtTreeCtrl::insertItem(Item parent, const CString& text, std::intptr_t data) {
    QTreeWidgetItem* above = itemAt(parent);
    if (parent != 0 && above == nullptr) {
        return 0;
    }
    auto* item = above != nullptr ? new QTreeWidgetItem(above) : new QTreeWidgetItem(tree());
    item->setText(0, toQString(text));
    m_items.push_back(Entry{item, parent, text, data});
    return itemCount();
}

void QtTreeCtrl::deleteAllItems() {
    m_bSetting = true;
    tree()->clear();
    m_bSetting = false;
    m_items.clear();
}

CString QtTreeCtrl::itemText(Item item) const {
    return itemAt(item) != nullptr ? m_items[static_cast<std::size_t>(item - 1)].text : CString{};
}

std::intptr_t QtTreeCtrl::itemData(Item item) const {
    return itemAt(item) != nullptr ? m_items[static_cast<std::size_t>(item - 1)].data : 0;
}

QtTreeCtrl::Item QtTreeCtrl::parentItem(Item item) const {
    return itemAt(item) != nullptr ? m_items[static_cast<std::size_t>(item - 1)].parent : 0;
}

std::vector<QtTreeCtrl::Item> QtTreeCtrl::children(Item parent) const {
    std::vector<Item> out;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].parent == parent) {
            out.push_back(static_cast<Item>(i + 1));
        }
    }
    return out;
}

QtTreeCtrl::Item QtTreeCtrl::selectedItem() const {
    return numberOf(tree()->currentItem());
}

void QtTreeCtrl::selectItem(Item item) {
    m_bSetting = true;
    tree()->setCurrentItem(itemAt(item));
    m_bSetting = false;
}

void QtTreeCtrl::expand(Item item, bool expanded) {
    if (QTreeWidgetItem* node = itemAt(item)) {
        node->setExpanded(expanded);
    }
}

bool QtTreeCtrl::isExpanded(Item item) const {
    const QTreeWidgetItem* node = itemAt(item);
    return node != nullptr && node->isExpanded();
}

} // namespace qthost
