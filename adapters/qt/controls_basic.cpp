#include "adapters/qt/controls_basic.h"

#include <QCheckBox>
#include <QEvent>
#include <QFileInfo>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTextCursor>
#include <algorithm>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

namespace {

QWidget* makeButton(QWidget* parent, unsigned style) {
    switch (style & kBsTypeMask) {
    case kBsCheckBox:
    case kBsAutoCheckBox:
        if ((style & kBsPushLike) != 0) {
            auto* button = new QPushButton(parent);
            button->setCheckable(true);
            return button;
        }
        return new QCheckBox(parent);
    case kBsRadioButton:
    case kBsAutoRadioButton: {
        auto* radio = new QRadioButton(parent);
        radio->setAutoExclusive((style & kBsTypeMask) == kBsAutoRadioButton);
        return radio;
    }
    case kBsGroupBox:
        return new QGroupBox(parent);
    default:
        return new QPushButton(parent);
    }
}

} // namespace

QtButton::QtButton(QWidget* parent, int id, const CString& text, unsigned style)
    : WindowImpl(makeButton(parent, style), id, nullptr) {
    QtButton::setText(text);
    const unsigned kind = style & kBsTypeMask;
    if (kind == kBsDefPushButton) {
        setDefault(true);
    }
    if (QAbstractButton* b = button()) {
        const bool manual = kind == kBsCheckBox || kind == kBsRadioButton;
        QObject::connect(b, &QAbstractButton::clicked, b, [this, b, manual](bool checked) {
            if (manual && b->isCheckable()) {
                // The parent decides the state of a manual check or radio button.
                const QSignalBlocker blocker(b);
                b->setChecked(!checked);
            }
            notifyParentCommand(win::BN_CLICKED);
        });
    }
}

QAbstractButton* QtButton::button() const {
    return qobject_cast<QAbstractButton*>(widget());
}

void QtButton::setText(const CString& text) {
    rememberText(text);
    if (QAbstractButton* b = button()) {
        b->setText(toQString(text));
    } else if (auto* group = qobject_cast<QGroupBox*>(widget())) {
        group->setTitle(toQString(text));
    }
}

void QtButton::setCheck(bool checked) {
    if (QAbstractButton* b = button(); b != nullptr && b->isCheckable()) {
        const QSignalBlocker blocker(b);
        b->setChecked(checked);
    }
}

bool QtButton::isChecked() const {
    const QAbstractButton* b = button();
    return b != nullptr && b->isChecked();
}

void QtButton::setDefault(bool isDefault) {
    if (auto* push = qobject_cast<QPushButton*>(widget())) {
        push->setDefault(isDefault);
    }
}

namespace {
QString& bitmapDirectory() {
    static QString directory;
    return directory;
}
} // namespace

void QtButton::setBitmapDirectory(const QString& directory) {
    bitmapDirectory() = directory;
}

void QtButton::setBitmaps(int normal, int hover, int pressed) {
    m_bitmaps[0] = normal;
    m_bitmaps[1] = hover;
    m_bitmaps[2] = pressed;
    showBitmap(normal);
}

void QtButton::showBitmap(int id) {
    auto* push = qobject_cast<QPushButton*>(widget());
    const QString path = bitmapDirectory() + QStringLiteral("/%1.png").arg(id);
    if (push == nullptr || id == 0 || bitmapDirectory().isEmpty() || !QFileInfo(path).isFile()) {
        return;
    }
    const QIcon icon(path);
    push->setIcon(icon);
    push->setIconSize(push->size());
    push->setText(QString());
}

bool QtButton::filterEvent(QObject* watched, QEvent* event) {
    if (watched == widget() && m_bitmaps[0] != 0) {
        switch (event->type()) {
        case QEvent::Enter:
            showBitmap(m_bitmaps[1] != 0 ? m_bitmaps[1] : m_bitmaps[0]);
            break;
        case QEvent::Leave:
        case QEvent::MouseButtonRelease:
            showBitmap(m_bitmaps[0]);
            break;
        case QEvent::MouseButtonPress:
            showBitmap(m_bitmaps[2] != 0 ? m_bitmaps[2] : m_bitmaps[0]);
            break;
        default:
            break;
        }
    }
    return WindowCore::filterEvent(watched, event);
}

QtStatic::QtStatic(QWidget* parent, int id, const CString& text) : WindowImpl(new QLabel(parent), id, nullptr) {
    QtStatic::setText(text);
}

QLabel* QtStatic::label() const {
    return static_cast<QLabel*>(widget());
}

void QtStatic::setText(const CString& text) {
    rememberText(text);
    label()->setText(toQString(text));
}

void QtStatic::setColors(COLORREF text, COLORREF background) {
    QPalette palette = label()->palette();
    palette.setColor(QPalette::WindowText, toQColor(text));
    palette.setColor(QPalette::Window, toQColor(background));
    label()->setPalette(palette);
    label()->setAutoFillBackground(true);
}

QtEdit::QtEdit(QWidget* parent, int id, unsigned style) : WindowImpl(new QLineEdit(parent), id, nullptr) {
    QLineEdit* e = edit();
    e->setReadOnly((style & win::ES_READONLY) != 0);
    if ((style & kEsPassword) != 0) {
        e->setEchoMode(QLineEdit::Password);
    }
    if ((style & kEsCenter) != 0) {
        e->setAlignment(Qt::AlignCenter);
    } else if ((style & kEsRight) != 0) {
        e->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    QObject::connect(e, &QLineEdit::textChanged, e, [this] {
        notifyParentCommand(win::EN_UPDATE);
        notifyParentCommand(win::EN_CHANGE);
    });
}

QLineEdit* QtEdit::edit() const {
    return static_cast<QLineEdit*>(widget());
}

void QtEdit::setText(const CString& text) {
    rememberText(text);
    edit()->setText(toQString(text));
}

CString QtEdit::text() const {
    // The bytes set by the module come back unchanged while the user has not edited them.
    const CString remembered = WindowCore::text();
    const QString shown = edit()->text();
    return toQString(remembered) == shown ? remembered : fromQString(shown);
}

void QtEdit::setSelection(int start, int end) {
    const int length = static_cast<int>(edit()->text().size());
    // (0, -1) selects everything, a negative start removes the selection.
    if (start < 0) {
        edit()->deselect();
        return;
    }
    const int last = end < 0 || end > length ? length : end;
    edit()->setSelection(std::min(start, length), last - std::min(start, length));
}

void QtEdit::setReadOnly(bool readOnly) {
    edit()->setReadOnly(readOnly);
}

bool QtEdit::filterEvent(QObject* watched, QEvent* event) {
    if (watched == widget() && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)) {
        notifyParentCommand(event->type() == QEvent::FocusIn ? win::EN_SETFOCUS : win::EN_KILLFOCUS);
    }
    return WindowCore::filterEvent(watched, event);
}

QtMultiLineEdit::QtMultiLineEdit(QWidget* parent, int id, unsigned style)
    : WindowImpl(new QPlainTextEdit(parent), id, nullptr) {
    QPlainTextEdit* e = edit();
    e->setReadOnly((style & win::ES_READONLY) != 0);
    e->setVerticalScrollBarPolicy((style & win::WS_VSCROLL) != 0 ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    e->setTabChangesFocus(true);
    QObject::connect(e, &QPlainTextEdit::textChanged, e, [this] {
        notifyParentCommand(win::EN_UPDATE);
        notifyParentCommand(win::EN_CHANGE);
    });
}

QPlainTextEdit* QtMultiLineEdit::edit() const {
    return static_cast<QPlainTextEdit*>(widget());
}

QWidget* QtMultiLineEdit::paintTarget() const {
    return edit()->viewport();
}

void QtMultiLineEdit::setText(const CString& text) {
    rememberText(text);
    QString shown = toQString(text);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    edit()->setPlainText(shown);
}

CString QtMultiLineEdit::text() const {
    CString remembered = WindowCore::text();
    QString shown = edit()->toPlainText();
    QString rememberedShown = toQString(remembered);
    rememberedShown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    if (rememberedShown == shown) {
        return remembered;
    }
    shown.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return fromQString(shown);
}

void QtMultiLineEdit::setSelection(int start, int end) {
    QTextCursor cursor = edit()->textCursor();
    const int length = static_cast<int>(edit()->toPlainText().size());
    if (start < 0) {
        cursor.clearSelection();
    } else {
        cursor.setPosition(std::min(start, length));
        cursor.setPosition(end < 0 ? length : std::clamp(end, 0, length), QTextCursor::KeepAnchor);
    }
    edit()->setTextCursor(cursor);
}

void QtMultiLineEdit::setReadOnly(bool readOnly) {
    edit()->setReadOnly(readOnly);
}

bool QtMultiLineEdit::filterEvent(QObject* watched, QEvent* event) {
    if (watched == widget() && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)) {
        notifyParentCommand(event->type() == QEvent::FocusIn ? win::EN_SETFOCUS : win::EN_KILLFOCUS);
    }
    return WindowCore::filterEvent(watched, event);
}

} // namespace qthost
