#pragma once

#include <QPoint>

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QLabel;
class QTimer;

namespace qthost {

// The toolkit's tip: a frameless tool window with a text (and an optional bold title)
// centred on a screen point, shown after a delay for a duration. Owned by the window that
// created it.
class QtTipWindow final : public WindowImpl<host::ui::TipWindow> {
public:
    explicit QtTipWindow(QWidget* owner);

    void showTip(const CString& title, const CString& text, host::ui::Point screenCenter, int style, int delayMs,
                 int durationMs) override;
    void hideTip() override;
    bool isTipShown() const override;
    CString tipText() const override { return m_text; }

private:
    QLabel* label() const;
    void appear();

    QTimer* m_delay;    // child of the label
    QTimer* m_duration; // child of the label
    CString m_text;
    QPoint m_center;
    bool m_pending = false;
};

} // namespace qthost
