#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QDateEdit;

namespace qthost {

// A date picker with a calendar pop-up. The parent hears WM_NOTIFY: DTN_DROPDOWN when the
// calendar opens, DTN_CLOSEUP when it closes and DTN_DATETIMECHANGE (with the new date) when
// the user changes the date; setting the date from the module notifies nobody.
class QtDatePicker final : public WindowImpl<host::ui::DatePicker> {
public:
    QtDatePicker(QWidget* parent, int id);

    bool date(host::ui::Date& out) const override;
    void setDate(const host::ui::Date& date) override;
    bool isDroppedDown() const override;

    // The calendar's pop-up window (created with the picker), for tests and styling.
    QWidget* calendarPopup() const;

private:
    QDateEdit* edit() const;
    bool filterEvent(QObject* watched, QEvent* event) override;

    bool m_droppedDown = false;
    bool m_settingDate = false;
};

} // namespace qthost
