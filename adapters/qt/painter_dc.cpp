#include "adapters/qt/painter_dc.h"

#include <QFontMetrics>
#include <QPaintDevice>
#include <QPainter>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

PainterDeviceContext::PainterDeviceContext(QPainter& painter, QPaintDevice& device)
    : m_painter(&painter), m_device(&device), m_font(toQFont(m_hostFont)) {
    if (m_painter->isActive()) {
        m_painter->setFont(m_font);
    }
}

void PainterDeviceContext::setTarget(QPainter& painter, QPaintDevice& device) {
    m_painter = &painter;
    m_device = &device;
    if (m_painter->isActive()) {
        m_painter->setFont(m_font);
    }
}

void PainterDeviceContext::fillRect(const host::ui::Rect& rect, COLORREF color) {
    m_painter->fillRect(toQRect(rect), toQColor(color));
}

void PainterDeviceContext::frameRect(const host::ui::Rect& rect, COLORREF color) {
    if (rect.IsEmpty()) {
        return;
    }
    // A one-pixel frame inside the rectangle, drawn as four fills so that no pen
    // geometry (half-pixel offsets, cosmetic widths on printers) changes it.
    const QColor c = toQColor(color);
    const QRect r = toQRect(rect);
    m_painter->fillRect(QRect(r.left(), r.top(), r.width(), 1), c);
    m_painter->fillRect(QRect(r.left(), r.bottom(), r.width(), 1), c);
    m_painter->fillRect(QRect(r.left(), r.top(), 1, r.height()), c);
    m_painter->fillRect(QRect(r.right(), r.top(), 1, r.height()), c);
}

void PainterDeviceContext::drawLine(host::ui::Point from, host::ui::Point to, COLORREF color) {
    m_painter->setPen(QPen(toQColor(color), 0));
    m_painter->drawLine(toQPoint(from), toQPoint(to));
}

void PainterDeviceContext::textOut(int x, int y, const CString& text) {
    const QString shown = toQString(text);
    const LineMetrics line = lineMetrics();
    if (!m_bkTransparent) {
        const QFontMetrics metrics(m_font, m_device);
        m_painter->fillRect(QRect(x, y, metrics.horizontalAdvance(shown), line.height), toQColor(m_bkColor));
    }
    m_painter->setPen(toQColor(m_textColor));
    m_painter->drawText(QPoint(x, y + line.ascent), shown);
}

void PainterDeviceContext::drawText(const CString& text, const host::ui::Rect& rect, unsigned format) {
    int flags = Qt::TextExpandTabs;
    if ((format & win::DT_CENTER) != 0) {
        flags |= Qt::AlignHCenter;
    } else if ((format & win::DT_RIGHT) != 0) {
        flags |= Qt::AlignRight;
    } else {
        flags |= Qt::AlignLeft;
    }
    if ((format & win::DT_SINGLELINE) != 0) {
        flags |= Qt::TextSingleLine;
        flags |= (format & win::DT_VCENTER) != 0 ? Qt::AlignVCenter : Qt::AlignTop;
    } else {
        flags |= Qt::AlignTop;
    }
    const QRect box = toQRect(rect);
    const QString shown = toQString(text);
    if (!m_bkTransparent) {
        m_painter->fillRect(m_painter->boundingRect(box, flags, shown).intersected(box), toQColor(m_bkColor));
    }
    m_painter->setPen(toQColor(m_textColor));
    m_painter->drawText(box, flags, shown);
}

QFont PainterDeviceContext::resolveFont(const host::ui::Font& font) const {
    return toQFont(font);
}

void PainterDeviceContext::selectFont(const host::ui::Font& font) {
    m_hostFont = font;
    m_font = resolveFont(font);
    if (m_painter->isActive()) {
        m_painter->setFont(m_font);
    }
}

PainterDeviceContext::LineMetrics PainterDeviceContext::lineMetrics() const {
    const QFontMetrics metrics(m_font, m_device);
    return LineMetrics{metrics.ascent(), metrics.height(), metrics.leading()};
}

host::ui::Size PainterDeviceContext::textExtent(const CString& text) const {
    const QFontMetrics metrics(m_font, m_device);
    return host::ui::Size{metrics.horizontalAdvance(toQString(text)), lineMetrics().height};
}

int PainterDeviceContext::textHeight() const {
    return lineMetrics().height;
}
int PainterDeviceContext::externalLeading() const {
    return lineMetrics().leading;
}

int PainterDeviceContext::deviceCaps(int index) const {
    switch (index) {
    case win::HORZRES:
        return m_device->width();
    case win::VERTRES:
        return m_device->height();
    case win::HORZSIZE:
        return m_device->widthMM();
    case win::VERTSIZE:
        return m_device->heightMM();
    case win::LOGPIXELSY:
        return m_device->logicalDpiY();
    default:
        return 0;
    }
}

} // namespace qthost
