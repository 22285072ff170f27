#include "adapters/qt/tip_window.h"

#include <QLabel>
#include <QTimer>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"
#include "host/framework/sync_info.h"

namespace qthost {

QtTipWindow::QtTipWindow(QWidget* owner)
    : WindowImpl(new QLabel(owner, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), 0, nullptr),
      m_delay(new QTimer(widget())), m_duration(new QTimer(widget())) {
    QLabel* l = label();
    l->setAttribute(Qt::WA_ShowWithoutActivating);
    l->setMargin(4);
    l->setTextFormat(Qt::RichText);
    l->setFrameStyle(QFrame::Box | QFrame::Plain);
    m_delay->setSingleShot(true);
    m_duration->setSingleShot(true);
    QObject::connect(m_delay, &QTimer::timeout, l, [this] { appear(); });
    QObject::connect(m_duration, &QTimer::timeout, l, [this] { hideTip(); });
}

QLabel* QtTipWindow::label() const {
    return static_cast<QLabel*>(widget());
}

void QtTipWindow::showTip(const CString& title, const CString& text, host::ui::Point screenCenter, int /*style*/,
                          int delayMs, int durationMs) {
    m_text = text;
    m_center = toQPoint(screenCenter);
    const QString body = toQString(text).toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    const QString heading = toQString(title).toHtmlEscaped();
    label()->setText(heading.isEmpty() ? body : QStringLiteral("<b>%1</b><br>%2").arg(heading, body));
    const CSyncInfo& colors = CSyncInfo::Get();
    QPalette palette = label()->palette();
    palette.setColor(QPalette::WindowText, toQColor(colors.SYS_crGetOtherColor("COLOR_TIP_TEXT")));
    palette.setColor(QPalette::Window, toQColor(colors.SYS_crGetOtherColor("COLOR_TIP_BACKGROUND")));
    label()->setPalette(palette);
    label()->setAutoFillBackground(true);
    m_duration->stop();
    m_pending = true;
    if (durationMs > 0) {
        m_duration->setInterval(delayMs + durationMs);
        m_duration->start();
    }
    if (delayMs > 0) {
        m_delay->start(delayMs);
    } else {
        m_delay->stop();
        appear();
    }
}

void QtTipWindow::appear() {
    m_pending = false;
    QLabel* l = label();
    l->adjustSize();
    l->move(m_center - QPoint(l->width() / 2, l->height() / 2));
    l->show();
}

void QtTipWindow::hideTip() {
    m_pending = false;
    m_delay->stop();
    m_duration->stop();
    label()->hide();
}

bool QtTipWindow::isTipShown() const {
    return m_pending || label()->isVisible();
}

} // namespace qthost
