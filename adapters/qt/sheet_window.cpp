#include "adapters/qt/sheet_window.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTableView>
#include <QToolTip>
#include <algorithm>
#include <climits>
#include <cmath>

#include "adapters/qt/convert.h"
#include "adapters/qt/key_codes.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/registered_messages.h"

namespace qthost {

namespace win = host::ui::win;
using host::ui::LPARAM;
using host::ui::LRESULT;
using host::ui::Message;
using host::ui::WPARAM;

namespace {

constexpr unsigned kSbThumbPosition = 4;
constexpr unsigned kSbTop = 6;
constexpr unsigned kSbBottom = 7;
constexpr int kWheelRowsPerNotch = 3;

// Marks the user's scrolling, which the parent hears about, apart from the program's.
class UserScroll {
public:
    explicit UserScroll(int& depth) : m_depth(depth) { ++m_depth; }
    ~UserScroll() { --m_depth; }
    UserScroll(const UserScroll&) = delete;
    UserScroll& operator=(const UserScroll&) = delete;

private:
    int& m_depth;
};

// Paints a cell with one fill and one clipped line of text. The style's item painting
// (focus frames, icons, check boxes, eliding) costs several times more and the grid shows
// none of it. (Keeping laid-out texts as QStaticText measured slower: the clip it needs per
// cell costs more than the shaping it saves.)
class SheetDelegate final : public QAbstractItemDelegate {
public:
    using QAbstractItemDelegate::QAbstractItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QVariant background = index.data(Qt::BackgroundRole);
        if (background.isValid()) {
            painter->fillRect(option.rect, background.value<QColor>());
        }
        const QVariant text = index.data(Qt::DisplayRole);
        if (text.isValid()) {
            painter->setPen(index.data(Qt::ForegroundRole).value<QColor>());
            painter->setFont(option.font);
            painter->drawText(option.rect.adjusted(3, 0, 3 - kTextMargins, 0),
                              Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text.toString());
        }
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const override {
        return option.rect.size();
    }
    // The whole text of a cut cell; nothing over a cell that shows all of its text.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override {
        if (event->type() != QEvent::ToolTip) {
            return QAbstractItemDelegate::helpEvent(event, view, option, index);
        }
        const QString text = index.data(Qt::DisplayRole).toString();
        if (!text.isEmpty() && isCut(QFontMetrics(option.font), text, option.rect.width())) {
            QToolTip::showText(event->globalPos(), text, view->viewport(), option.rect);
        } else {
            QToolTip::hideText();
        }
        return true;
    }
    // The room paint() leaves a cell's text.
    static bool isCut(const QFontMetrics& metrics, const QString& text, int cellWidth) {
        return metrics.horizontalAdvance(text) > cellWidth - kTextMargins;
    }
    static constexpr int kTextMargins = 5;
};

} // namespace

class SheetView final : public QTableView {
public:
    explicit SheetView(QWidget* parent) : QTableView(parent) {}
    void attach(QtSheet* sheet) { m_sheet = sheet; }

protected:
    void mousePressEvent(QMouseEvent* event) override { forward(event); }
    void mouseReleaseEvent(QMouseEvent* event) override { forward(event); }
    void mouseDoubleClickEvent(QMouseEvent* event) override { forward(event); }
    void mouseMoveEvent(QMouseEvent* event) override { forward(event); }
    void contextMenuEvent(QContextMenuEvent* event) override {
        if (m_sheet != nullptr) {
            const QPoint global = event->reason() == QContextMenuEvent::Keyboard ? QPoint(-1, -1) : event->globalPos();
            m_sheet->sendToParent(win::WM_CONTEXTMENU,
                                  reinterpret_cast<WPARAM>(static_cast<host::ui::CSuperSheetWnd*>(m_sheet)),
                                  host::ui::MAKELPARAM(global.x(), global.y()));
        }
    }
    // Keys reach the grid as messages (see InputRouter); Qt's own item navigation is unused.
    void keyPressEvent(QKeyEvent* event) override { event->ignore(); }

private:
    void forward(QMouseEvent* event) {
        if (m_sheet != nullptr) {
            m_sheet->onMouse(event);
        }
    }
    QtSheet* m_sheet = nullptr; // owns this widget's window object through the anchor
};

QtSheet::QtSheet(QWidget* parent, int id) : WindowImpl(new SheetView(parent), id, nullptr) {
    auto* view = static_cast<SheetView*>(widget());
    view->attach(this);
    m_model = new SheetModel(view);
    view->setModel(m_model);
    view->setItemDelegate(new SheetDelegate(view));
    QHeaderView* rows = view->verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setMinimumSectionSize(1);
    rows->setDefaultSectionSize(16);
    QHeaderView* columns = view->horizontalHeader();
    columns->setSectionResizeMode(QHeaderView::Interactive);
    columns->setHighlightSections(false);
    columns->setSectionsClickable(false);
    columns->setMinimumSectionSize(1);
    columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    columns->setFixedHeight(16);
    view->setSelectionMode(QAbstractItemView::NoSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setWordWrap(false);
    view->setCornerButtonEnabled(false);
    view->setTabKeyNavigation(false);
    view->setAutoScroll(false);
    view->setFocusPolicy(Qt::StrongFocus);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    view->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);

    QScrollBar* vbar = view->verticalScrollBar();
    // The bar announces a user's action (a drag, a click, a wheel turn) just before it moves.
    QObject::connect(vbar, &QScrollBar::actionTriggered, view, [this](int) { m_sliderAction = true; });
    QObject::connect(vbar, &QScrollBar::valueChanged, view, [this] { onScrolled(); });
    m_model->beforePublish = [this] { rememberRowsInView(); };
    m_model->afterPublish = [this] { keepRowsInView(); };
    applyStyleSheet();
}

void QtSheet::requestRepaint() {
    m_model->invalidateAll();
}
void QtSheet::repaintNow() {
    m_model->invalidateAll();
}

void QtSheet::rememberRowsInView() {
    m_anchorRow.reset();
    m_keepFocusRowInView = false;
    const QTableView& view = tableView();
    const int top = view.verticalScrollBar()->value();
    const std::optional<std::size_t> first = m_model->moduleRow(top);
    if (!first) {
        return;
    }
    if (top > 0) {
        m_anchorRow = first;
        return;
    }
    // At the top new rows show; a focused row being read is only kept on screen.
    const int focus = m_model->focusRow();
    m_keepFocusRowInView = view.hasFocus() && focus >= 0;
}

void QtSheet::keepRowsInView() {
    QScrollBar* bar = tableView().verticalScrollBar();
    int target = bar->value();
    if (m_anchorRow) {
        target = static_cast<int>(std::min<std::size_t>(*m_anchorRow, static_cast<std::size_t>(INT_MAX)));
    } else if (m_keepFocusRowInView) {
        const int page = std::max(1, iGetRowsPerPage());
        const int focus = m_model->focusRow();
        if (focus >= page) {
            target = focus - page + 1; // the row read stays, at the bottom of the page
        }
    }
    m_anchorRow.reset();
    m_keepFocusRowInView = false;
    if (target != bar->value()) {
        // The bar's range follows the new row count only after a layout; do it now.
        tableView().doItemsLayout();
        bar->setValue(std::min(target, bar->maximum()));
    }
}

QTableView& QtSheet::tableView() const {
    return *static_cast<QTableView*>(widget());
}
QWidget* QtSheet::paintTarget() const {
    return tableView().viewport();
}

void QtSheet::publish() const {
    if (m_model->hasPendingChanges()) {
        m_model->publish();
    }
}

int QtSheet::rowHeight() const {
    return std::max(1, tableView().verticalHeader()->defaultSectionSize());
}

void QtSheet::onScrolled() {
    const bool byUser = m_userScroll > 0 || m_sliderAction;
    m_sliderAction = false;
    if (byUser) {
        // The bar's value is the first visible row: rows scroll one by one.
        sendToParent(win::WM_VSCROLL,
                     host::ui::MAKEWPARAM(win::SB_THUMBTRACK,
                                          static_cast<unsigned>(std::max(0, tableView().verticalScrollBar()->value()))),
                     reinterpret_cast<LPARAM>(static_cast<host::ui::Window*>(this)));
    }
}

bool QtSheet::filterEvent(QObject* watched, QEvent* event) {
    if (watched == widget() && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)) {
        host::ui::NotifyInfo info;
        info.code = event->type() == QEvent::FocusIn ? win::NM_SETFOCUS : win::NM_KILLFOCUS;
        notifyParent(info);
    }
    return WindowCore::filterEvent(watched, event);
}

void QtSheet::onSizeChanged(QSize /*size*/) {
    static const unsigned changeSize = host::ui::RegisterWindowMessageA("RVMSG_CHANGESIZE");
    sendToParent(changeSize, reinterpret_cast<WPARAM>(static_cast<host::ui::CSuperSheetWnd*>(this)), 0);
}

LRESULT QtSheet::windowProc(const Message& message) {
    switch (message.message) {
    case win::WM_KEYDOWN: {
        const UserScroll user(m_userScroll);
        const bool extend = QGuiApplication::keyboardModifiers().testFlag(Qt::ShiftModifier);
        if (moveFocus(static_cast<unsigned>(message.wParam), extend)) {
            return 0;
        }
        return sendToParent(message.message, message.wParam, message.lParam);
    }
    case win::WM_KEYUP:
    case win::WM_CHAR:
        return sendToParent(message.message, message.wParam, message.lParam);
    case win::WM_MOUSEWHEEL: {
        const UserScroll user(m_userScroll);
        const int delta = static_cast<short>(host::ui::HIWORD(message.wParam));
        scrollRows(-delta * kWheelRowsPerNotch / 120);
        return 0;
    }
    case win::WM_VSCROLL:
    case win::WM_HSCROLL: {
        const UserScroll user(m_userScroll);
        publish();
        QScrollBar* bar =
            message.message == win::WM_VSCROLL ? tableView().verticalScrollBar() : tableView().horizontalScrollBar();
        switch (host::ui::LOWORD(message.wParam)) {
        case win::SB_LINEUP:
            bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
            break;
        case win::SB_LINEDOWN:
            bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
            break;
        case win::SB_PAGEUP:
            bar->triggerAction(QAbstractSlider::SliderPageStepSub);
            break;
        case win::SB_PAGEDOWN:
            bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
            break;
        case win::SB_THUMBTRACK:
        case kSbThumbPosition:
            bar->setValue(static_cast<int>(host::ui::HIWORD(message.wParam)));
            break;
        case kSbTop:
            bar->setValue(bar->minimum());
            break;
        case kSbBottom:
            bar->setValue(bar->maximum());
            break;
        default:
            break;
        }
        return 0;
    }
    default:
        return 0;
    }
}

bool QtSheet::moveFocus(unsigned virtualKey, bool extend) {
    switch (virtualKey) {
    case win::VK_UP:
    case win::VK_DOWN:
    case win::VK_PRIOR:
    case win::VK_NEXT:
    case win::VK_HOME:
    case win::VK_END:
    case win::VK_LEFT:
    case win::VK_RIGHT:
        break;
    default:
        return false;
    }
    publish();
    const int rows = static_cast<int>(m_model->rows());
    if (rows == 0) {
        return true;
    }
    const int focus = m_model->focusRow();
    const int start = focus < 0 ? iGetFirstVisibleRow() : focus;
    const int page = std::max(1, iGetRowsPerPage());
    int column = m_model->focusColumn();
    int target = start;
    switch (virtualKey) {
    case win::VK_UP:
        target = focus < 0 ? start : start - 1;
        break;
    case win::VK_DOWN:
        target = focus < 0 ? start : start + 1;
        break;
    case win::VK_PRIOR:
        target = start - page;
        break;
    case win::VK_NEXT:
        target = start + page;
        break;
    case win::VK_HOME:
        target = 0;
        break;
    case win::VK_END:
        target = rows - 1;
        break;
    case win::VK_LEFT:
        column = std::max(0, column - 1);
        break;
    default: // VK_RIGHT
        column = std::clamp(column + 1, 0, std::max(0, iGetColCount() - 1));
        break;
    }
    target = std::clamp(target, 0, rows - 1);
    if (extend) {
        m_model->selectRange(m_model->anchorRow(), static_cast<std::size_t>(target), column);
    } else {
        m_model->selectOnly(static_cast<std::size_t>(target), column);
    }
    vAutoVerScrolling(target);
    if ((virtualKey == win::VK_LEFT || virtualKey == win::VK_RIGHT) && column < iGetColCount()) {
        tableView().scrollTo(m_model->index(tableView().rowAt(0) < 0 ? 0 : tableView().rowAt(0), column));
    }
    return true;
}

void QtSheet::scrollRows(int delta) {
    publish();
    QScrollBar* bar = tableView().verticalScrollBar();
    bar->setValue(std::clamp(bar->value() + delta, bar->minimum(), bar->maximum()));
}

void QtSheet::onMouse(QEvent* event) {
    auto* mouse = static_cast<QMouseEvent*>(event);
    QTableView& view = tableView();
    publish();
    const QPoint inViewport = mouse->position().toPoint();
    const QPoint inGrid = view.viewport()->mapTo(&view, inViewport);
    const std::optional<std::size_t> row = m_model->moduleRow(view.rowAt(inViewport.y()));
    const int column = std::max(0, view.columnAt(inViewport.x()));
    const bool left = mouse->button() == Qt::LeftButton;
    const Qt::KeyboardModifiers modifiers = mouse->modifiers();
    unsigned message = win::WM_MOUSEMOVE;
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        // The second press of a double-click arrives as the double-click itself.
        view.setFocus(Qt::MouseFocusReason);
        if (row && left) {
            if (modifiers.testFlag(Qt::ControlModifier)) {
                m_model->toggleSelected(*row, column);
            } else if (modifiers.testFlag(Qt::ShiftModifier)) {
                m_model->selectRange(m_model->anchorRow(), *row, column);
            } else {
                m_model->selectOnly(*row, column);
            }
        } else if (row && !m_model->isSelected(*row)) {
            m_model->selectOnly(*row, column);
        }
        if (event->type() == QEvent::MouseButtonDblClick) {
            message = left ? win::WM_LBUTTONDBLCLK : win::WM_RBUTTONDOWN;
        } else {
            message = left ? win::WM_LBUTTONDOWN : win::WM_RBUTTONDOWN;
        }
        break;
    case QEvent::MouseButtonRelease:
        message = left ? win::WM_LBUTTONUP : win::WM_RBUTTONUP;
        break;
    default:
        // Dragging with the left button extends the selection, as on the platform's grid.
        if (row && mouse->buttons().testFlag(Qt::LeftButton) && m_model->focusRow() != static_cast<int>(*row)) {
            m_model->selectRange(m_model->anchorRow(), *row, column);
        }
        break;
    }
    sendToParent(message, mouseKeyFlags(mouse->buttons(), modifiers) | win::kGridForwarded,
                 host::ui::MAKELPARAM(inGrid.x(), inGrid.y()));
}

} // namespace qthost
