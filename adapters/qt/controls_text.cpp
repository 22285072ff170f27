#include "adapters/qt/controls_text.h"

#include <QPlainTextEdit>
#include <QStyle>
#include <QTabBar>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

namespace {

QString withoutCarriageReturns(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text;
}

} // namespace

QtRichEdit::QtRichEdit(QWidget* parent, int id, unsigned style) : WindowImpl(new QPlainTextEdit(parent), id, nullptr) {
    QPlainTextEdit* e = edit();
    e->setReadOnly((style & win::ES_READONLY) != 0);
    e->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    QObject::connect(e->document(), &QTextDocument::contentsChanged, e, [this] { m_plainValid = false; });
    applyPalette();
}

const QString& QtRichEdit::plainText() const {
    if (!m_plainValid) {
        m_plain = edit()->toPlainText();
        m_plainValid = true;
    }
    return m_plain;
}

QPlainTextEdit* QtRichEdit::edit() const {
    return static_cast<QPlainTextEdit*>(widget());
}
QWidget* QtRichEdit::paintTarget() const {
    return edit()->viewport();
}

void QtRichEdit::setText(const CString& text) {
    rememberText(text);
    m_pendingSelection.reset(); // a new text starts without a selection
    edit()->setPlainText(withoutCarriageReturns(toQString(text)));
}

CString QtRichEdit::text() const {
    QString shown = plainText();
    shown.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return fromQString(shown);
}

void QtRichEdit::setBackgroundColor(COLORREF color) {
    m_backgroundColor = color;
    applyPalette();
}

void QtRichEdit::setDefaultTextColor(COLORREF color) {
    m_textColor = color;
    applyPalette();
}

void QtRichEdit::setReadOnly(bool readOnly) {
    edit()->setReadOnly(readOnly);
}

void QtRichEdit::hideSelection(bool hide) {
    m_hideSelection = hide;
    applyPalette();
}

void QtRichEdit::applyPalette() {
    QPalette palette = edit()->palette();
    palette.setColor(QPalette::Base, toQColor(m_backgroundColor));
    palette.setColor(QPalette::Text, toQColor(m_textColor));
    // A hidden selection is invisible while the control does not have the focus.
    const QPalette defaults = edit()->style()->standardPalette();
    palette.setColor(QPalette::Inactive, QPalette::Highlight,
                     m_hideSelection ? toQColor(m_backgroundColor)
                                     : defaults.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::Inactive, QPalette::HighlightedText,
                     m_hideSelection ? toQColor(m_textColor)
                                     : defaults.color(QPalette::Active, QPalette::HighlightedText));
    // An unchanged palette is not set again: setting one repaints the whole text.
    if (palette != edit()->palette()) {
        edit()->setPalette(palette);
    }
}

std::pair<int, int> QtRichEdit::findText(int from, const CString& text) const {
    const QString needle = withoutCarriageReturns(toQString(text));
    const QString& haystack = plainText();
    if (needle.isEmpty() || from < 0 || from > haystack.size()) {
        return {-1, -1};
    }
    const auto found = haystack.indexOf(needle, from, Qt::CaseInsensitive);
    if (found < 0) {
        return {-1, -1};
    }
    return {static_cast<int>(found), static_cast<int>(found + needle.size())};
}

void QtRichEdit::setSelection(int start, int end) {
    const int length = static_cast<int>(plainText().size());
    const bool posted = m_pendingSelection.has_value();
    // (0, -1) selects everything; a negative start removes the selection (the caret at the end).
    if (start < 0) {
        m_pendingSelection = std::pair<int, int>{length, length};
    } else {
        const int anchor = std::min(start, length);
        const int position = end < 0 ? length : std::clamp(end, 0, length);
        m_pendingSelection = std::pair<int, int>{anchor, position};
    }
    if (!posted) {
        QMetaObject::invokeMethod(
            edit(), [this] { applySelection(); }, Qt::QueuedConnection);
    }
}

void QtRichEdit::applySelection() {
    if (!m_pendingSelection) {
        return;
    }
    const auto [anchor, position] = *m_pendingSelection;
    m_pendingSelection.reset();
    QTextCursor cursor = edit()->textCursor();
    const int length = static_cast<int>(plainText().size());
    cursor.setPosition(std::min(anchor, length));
    cursor.setPosition(std::min(position, length), QTextCursor::KeepAnchor);
    edit()->setTextCursor(cursor);
    edit()->ensureCursorVisible();
}

std::pair<int, int> QtRichEdit::selection() const {
    if (m_pendingSelection) {
        return {std::min(m_pendingSelection->first, m_pendingSelection->second),
                std::max(m_pendingSelection->first, m_pendingSelection->second)};
    }
    const QTextCursor cursor = edit()->textCursor();
    return {cursor.selectionStart(), cursor.selectionEnd()};
}

QtTabStrip::QtTabStrip(QWidget* parent, int id) : WindowImpl(new QTabBar(parent), id, nullptr) {
    QTabBar* t = tabs();
    t->setDrawBase(false);
    t->setExpanding(false);
    t->setUsesScrollButtons(true);
    QObject::connect(t, &QTabBar::currentChanged, t, [this](int index) {
        if (!m_changing) {
            host::ui::NotifyInfo info;
            info.code = win::TCN_SELCHANGE;
            info.item = index;
            notifyParent(info);
        }
    });
}

QTabBar* QtTabStrip::tabs() const {
    return static_cast<QTabBar*>(widget());
}

int QtTabStrip::insertItem(int index, const CString& caption, std::intptr_t data) {
    const bool old = m_changing;
    m_changing = true;
    const int position = tabs()->insertTab(std::clamp(index, 0, itemCount()), toQString(caption));
    QVariantList stored{QVariant::fromValue<qlonglong>(data),
                        QByteArray(caption.data(), static_cast<qsizetype>(caption.size()))};
    tabs()->setTabData(position, stored);
    m_changing = old;
    return position;
}

void QtTabStrip::deleteAllItems() {
    const bool old = m_changing;
    m_changing = true;
    while (tabs()->count() > 0) {
        tabs()->removeTab(0);
    }
    m_changing = old;
}

int QtTabStrip::itemCount() const {
    return tabs()->count();
}

std::intptr_t QtTabStrip::itemData(int index) const {
    const QVariantList stored = tabs()->tabData(index).toList();
    return stored.size() == 2 ? static_cast<std::intptr_t>(stored[0].toLongLong()) : 0;
}

CString QtTabStrip::itemCaption(int index) const {
    const QVariantList stored = tabs()->tabData(index).toList();
    if (stored.size() != 2) {
        return {};
    }
    const QByteArray bytes = stored[1].toByteArray();
    return CString(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void QtTabStrip::setItemCaption(int index, const CString& caption) {
    if (index < 0 || index >= itemCount()) {
        return;
    }
    QVariantList stored = tabs()->tabData(index).toList();
    if (stored.size() == 2) {
        stored[1] = QByteArray(caption.data(), static_cast<qsizetype>(caption.size()));
        tabs()->setTabData(index, stored);
    }
    tabs()->setTabText(index, toQString(caption));
}

host::ui::Rect QtTabStrip::itemRect(int index) const {
    return toHostRect(tabs()->tabRect(index));
}
int QtTabStrip::curSel() const {
    return tabs()->currentIndex();
}

void QtTabStrip::setCurSel(int index) {
    if (index < 0 || index >= itemCount()) {
        return;
    }
    const bool old = m_changing;
    m_changing = true;
    tabs()->setCurrentIndex(index);
    m_changing = old;
}

void QtTabStrip::setColors(COLORREF text, COLORREF background, COLORREF selected) {
    const auto css = [](COLORREF c) { return toQColor(c).name(); };
    tabs()->setStyleSheet(QStringLiteral("QTabBar::tab { color: %1; background: %2; padding: 2px 10px; }"
                                         "QTabBar::tab:selected { background: %3; }")
                              .arg(css(text), css(background), css(selected)));
}

} // namespace qthost
