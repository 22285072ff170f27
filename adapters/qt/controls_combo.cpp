#include "adapters/qt/controls_combo.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

namespace {

constexpr unsigned kCbnEditChange = 5;

// The module's bytes of an item, kept beside the shown text so that itemText gives them back.
constexpr int kBytesRole = Qt::UserRole + 1;
constexpr int kDataRole = Qt::UserRole + 2;

// Paints each item of the open list in the colours the module gave it.
class ColoredItemDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QStyleOptionViewItem opt(option);
        initStyleOption(&opt, index);
        const QVariant background = index.data(Qt::BackgroundRole);
        const QVariant foreground = index.data(Qt::ForegroundRole);
        if (background.isValid()) {
            painter->fillRect(opt.rect, background.value<QColor>());
        }
        if (foreground.isValid()) {
            opt.palette.setColor(QPalette::Text, foreground.value<QColor>());
            opt.palette.setColor(QPalette::HighlightedText, foreground.value<QColor>());
        }
        if (background.isValid()) {
            opt.backgroundBrush = background.value<QColor>();
        }
        QStyledItemDelegate::paint(painter, opt, index);
    }
};

} // namespace

class ComboWidget final : public QComboBox {
public:
    explicit ComboWidget(QWidget* parent) : QComboBox(parent) {}
    void attach(QtComboBox* window) { m_window = window; }

    void showPopup() override {
        if (m_window != nullptr) {
            m_window->onPopupShown();
        }
        fitListToItems();
        QComboBox::showPopup();
    }
    void hidePopup() override {
        QComboBox::hidePopup();
        if (m_window != nullptr) {
            m_window->onPopupHidden();
        }
    }

private:
    // The open list is as wide as its longest text (never narrower than the box), whatever the
    // box's own width and the screen's scale: the module sizes the box for its usual texts.
    void fitListToItems() {
        QAbstractItemView* list = view();
        const QFontMetrics metrics(list->font());
        int widest = 0;
        for (int i = 0; i < count(); ++i) {
            widest = std::max(widest, metrics.horizontalAdvance(itemText(i)));
        }
        const int chrome = list->verticalScrollBar()->sizeHint().width() + 2 * list->frameWidth() +
                           metrics.averageCharWidth() * 3; // item padding and a little air
        list->setMinimumWidth(std::max(width(), widest + chrome));
    }

    QtComboBox* m_window = nullptr; // owns this widget's window object through the anchor
};

QtComboBox::QtComboBox(QWidget* parent, int id, unsigned style) : WindowImpl(new ComboWidget(parent), id, nullptr) {
    auto* box = static_cast<ComboWidget*>(widget());
    box->attach(this);
    box->setEditable((style & win::CBS_DROPDOWNLIST) != win::CBS_DROPDOWNLIST);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->setMaxVisibleItems(20);
    m_ownerDrawn = (style & win::CBS_OWNERDRAWFIXED) != 0;
    if (m_ownerDrawn) {
        box->setItemDelegate(new ColoredItemDelegate(box));
    }
    // Activated is the user's choice; setCurrentIndex from the module raises nothing.
    QObject::connect(box, &QComboBox::activated, box, [this](int) {
        applySelectedColors();
        notifyParentCommand(win::CBN_SELCHANGE);
        // A choice made on the closed box (arrow keys, typing, the wheel) is complete at once,
        // so it ends with CBN_CLOSEUP like a choice from the open list: a parent that reads
        // the selection at close-up takes it either way.
        if (!m_droppedDown && !m_closeUpPending) {
            notifyParentCommand(win::CBN_CLOSEUP);
        }
    });
    if (box->isEditable()) {
        QObject::connect(box, &QComboBox::editTextChanged, box, [this] { notifyParentCommand(kCbnEditChange); });
    }
}

QComboBox* QtComboBox::combo() const {
    return static_cast<QComboBox*>(widget());
}

void QtComboBox::onPopupShown() {
    m_droppedDown = true;
    notifyParentCommand(win::CBN_DROPDOWN);
}

void QtComboBox::onPopupHidden() {
    if (!m_droppedDown) {
        return;
    }
    m_droppedDown = false;
    // Qt closes the list before it selects the clicked item; the parent reads the new
    // selection in its close-up handler, so the notification waits for that.
    m_closeUpPending = true;
    QMetaObject::invokeMethod(
        widget(),
        [this] {
            m_closeUpPending = false;
            notifyParentCommand(win::CBN_CLOSEUP);
        },
        Qt::QueuedConnection);
}

bool QtComboBox::isDroppedDown() const {
    return m_droppedDown;
}

void QtComboBox::setText(const CString& text) {
    rememberText(text);
    if (combo()->isEditable()) {
        const QSignalBlocker blocker(combo());
        combo()->setEditText(toQString(text));
    }
}

CString QtComboBox::text() const {
    if (combo()->isEditable()) {
        const CString remembered = WindowCore::text();
        const QString shown = combo()->currentText();
        return toQString(remembered) == shown ? remembered : fromQString(shown);
    }
    return curSel() < 0 ? CString{} : itemText(curSel());
}

int QtComboBox::addString(const CString& text) {
    return insertString(-1, text);
}

int QtComboBox::insertString(int index, const CString& text) {
    const int position = index < 0 || index > count() ? count() : index;
    const QSignalBlocker blocker(combo());
    combo()->insertItem(position, toQString(text));
    combo()->setItemData(position, QByteArray(text.data(), static_cast<qsizetype>(text.size())), kBytesRole);
    // A drop-down list starts with nothing selected, as on the platform.
    if (combo()->count() == 1 && !combo()->isEditable()) {
        combo()->setCurrentIndex(-1);
    }
    return position;
}

void QtComboBox::deleteString(int index) {
    if (index >= 0 && index < count()) {
        const QSignalBlocker blocker(combo());
        combo()->removeItem(index);
    }
}

void QtComboBox::resetContent() {
    const QSignalBlocker blocker(combo());
    combo()->clear();
}

int QtComboBox::count() const {
    return combo()->count();
}
int QtComboBox::curSel() const {
    return combo()->currentIndex();
}

void QtComboBox::setCurSel(int index) {
    const QSignalBlocker blocker(combo());
    combo()->setCurrentIndex(index >= 0 && index < count() ? index : -1);
    applySelectedColors();
}

CString QtComboBox::itemText(int index) const {
    if (index < 0 || index >= count()) {
        return {};
    }
    const QByteArray bytes = combo()->itemData(index, kBytesRole).toByteArray();
    return CString(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void QtComboBox::setItemData(int index, std::intptr_t data) {
    if (index >= 0 && index < count()) {
        combo()->setItemData(index, QVariant::fromValue<qlonglong>(data), kDataRole);
    }
}

std::intptr_t QtComboBox::itemData(int index) const {
    if (index < 0 || index >= count()) {
        return -1; // CB_ERR
    }
    return static_cast<std::intptr_t>(combo()->itemData(index, kDataRole).toLongLong());
}

int QtComboBox::findStringExact(int start, const CString& text) const {
    // The platform searches from the item after start and wraps around; -1 searches all.
    const int n = count();
    for (int step = 0; step < n; ++step) {
        const int index = (start + 1 + step) % n;
        if (itemText(index) == text) {
            return index;
        }
    }
    return -1;
}

void QtComboBox::setItemColors(int index, COLORREF text, COLORREF background) {
    if (index < 0 || index >= count()) {
        return;
    }
    combo()->setItemData(index, toQColor(text), Qt::ForegroundRole);
    combo()->setItemData(index, toQColor(background), Qt::BackgroundRole);
    if (index == curSel()) {
        applySelectedColors();
    }
}

void QtComboBox::applySelectedColors() {
    if (!m_ownerDrawn) {
        return;
    }
    // The closed box shows the selected item in that item's colours.
    QPalette palette = combo()->parentWidget() != nullptr ? combo()->parentWidget()->palette() : QPalette();
    const int index = curSel();
    if (index >= 0) {
        const QVariant fg = combo()->itemData(index, Qt::ForegroundRole);
        const QVariant bg = combo()->itemData(index, Qt::BackgroundRole);
        if (fg.isValid()) {
            palette.setColor(QPalette::ButtonText, fg.value<QColor>());
            palette.setColor(QPalette::Text, fg.value<QColor>());
        }
        if (bg.isValid()) {
            palette.setColor(QPalette::Button, bg.value<QColor>());
            palette.setColor(QPalette::Base, bg.value<QColor>());
        }
    }
    combo()->setPalette(palette);
}

} // namespace qthost
