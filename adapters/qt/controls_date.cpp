#include "adapters/qt/controls_date.h"

#include <QCalendarWidget>
#include <QDateEdit>
#include <QEvent>

namespace qthost {

namespace win = host::ui::win;

QtDatePicker::QtDatePicker(QWidget* parent, int id) : WindowImpl(new QDateEdit(parent), id, nullptr) {
    QDateEdit* e = edit();
    e->setCalendarPopup(true);
    e->setDisplayFormat(QStringLiteral("yyyy/MM/dd"));
    e->setDate(QDate::currentDate());
    // The calendar opens in a pop-up window of its own; its showing and hiding are the
    // drop-down and close-up of the platform's picker. A click outside it only closes it:
    // passed on, it would act on a control while the parent takes the close-up.
    calendarPopup()->setAttribute(Qt::WA_NoMouseReplay);
    watch(calendarPopup());
    QObject::connect(e, &QDateEdit::dateChanged, e, [this](QDate changed) {
        if (m_settingDate || !changed.isValid()) {
            return;
        }
        host::ui::Date value{changed.year(), changed.month(), changed.day()};
        host::ui::NotifyInfo info;
        info.code = win::DTN_DATETIMECHANGE;
        info.date = &value;
        notifyParent(info);
    });
}

QDateEdit* QtDatePicker::edit() const {
    return static_cast<QDateEdit*>(widget());
}

QWidget* QtDatePicker::calendarPopup() const {
    QCalendarWidget* calendar = edit()->calendarWidget();
    return calendar == nullptr ? nullptr : calendar->window();
}

bool QtDatePicker::date(host::ui::Date& out) const {
    const QDate value = edit()->date();
    if (!value.isValid()) {
        return false;
    }
    out = host::ui::Date{value.year(), value.month(), value.day()};
    return true;
}

void QtDatePicker::setDate(const host::ui::Date& date) {
    const QDate value(date.year, date.month, date.day);
    if (!value.isValid()) {
        return;
    }
    m_settingDate = true;
    edit()->setDate(value);
    m_settingDate = false;
}

bool QtDatePicker::isDroppedDown() const {
    return m_droppedDown;
}

bool QtDatePicker::filterEvent(QObject* watched, QEvent* event) {
    if (watched == calendarPopup() && watched != widget()) {
        if (event->type() == QEvent::Show && !m_droppedDown) {
            m_droppedDown = true;
            notifyParent(host::ui::NotifyInfo{0, win::DTN_DROPDOWN});
        } else if (event->type() == QEvent::Hide && m_droppedDown) {
            m_droppedDown = false;
            notifyParent(host::ui::NotifyInfo{0, win::DTN_CLOSEUP});
        }
        return false;
    }
    return WindowCore::filterEvent(watched, event);
}

} // namespace qthost
