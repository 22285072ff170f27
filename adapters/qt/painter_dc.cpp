#include "adapters/qt/painter_dc.h"

#include <QFontMetrics>
#include <QPaintDevice>
#include <QPainter>
#include <QPrinter>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace win = host::ui::win;

PainterDeviceContext::PainterDeviceContext(QPainter& painter, QPaintDevice& device)
    : m_painter(&painter), m_device(&device), m_font(toQFont(host::ui::Font{})) {
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
    const QFontMetrics metrics(m_font, m_device);
    if (!m_bkTransparent) {
        m_painter->fillRect(QRect(x, y, metrics.horizontalAdvance(shown), metrics.height()), toQColor(m_bkColor));
    }
    m_painter->setPen(toQColor(m_textColor));
    m_painter->drawText(QPoint(x, y + metrics.ascent()), shown);
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

void PainterDeviceContext::selectFont(const host::ui::Font& font) {
    m_font = toQFont(font);
    if (m_painter->isActive()) {
        m_painter->setFont(m_font);
    }
}

host::ui::Size PainterDeviceContext::textExtent(const CString& text) const {
    const QFontMetrics metrics(m_font, m_device);
    return host::ui::Size{metrics.horizontalAdvance(toQString(text)), metrics.height()};
}

int PainterDeviceContext::textHeight() const {
    return QFontMetrics(m_font, m_device).height();
}
int PainterDeviceContext::externalLeading() const {
    return QFontMetrics(m_font, m_device).leading();
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

namespace {
// Painting needs a painter from the start; the printer's own one begins with startDoc.
QPainter& idlePainter() {
    static QPainter painter;
    return painter;
}
} // namespace

PrinterDeviceContext::PrinterDeviceContext(std::unique_ptr<QPrinter> printer)
    : PainterDeviceContext(idlePainter(), *printer), m_printer(std::move(printer)) {}

PrinterDeviceContext::~PrinterDeviceContext() {
    if (m_printerPainter && m_printerPainter->isActive()) {
        m_printerPainter->end();
    }
}

int PrinterDeviceContext::startDoc(const CString& documentName) {
    if (m_printerPainter) {
        return -1;
    }
    m_printer->setDocName(toQString(documentName));
    m_printerPainter = std::make_unique<QPainter>();
    if (!m_printerPainter->begin(m_printer.get())) {
        m_printerPainter.reset();
        return -1;
    }
    setTarget(*m_printerPainter, *m_printer);
    m_pages = 0;
    return 1;
}

int PrinterDeviceContext::startPage() {
    if (!m_printerPainter) {
        return -1;
    }
    // QPainter::begin opened the first sheet already.
    if (m_pages > 0 && !m_printer->newPage()) {
        return -1;
    }
    ++m_pages;
    return 1;
}

int PrinterDeviceContext::endPage() {
    return m_printerPainter ? 1 : -1;
}

int PrinterDeviceContext::endDoc() {
    if (!m_printerPainter) {
        return -1;
    }
    const bool ended = m_printerPainter->end();
    setTarget(idlePainter(), *m_printer);
    m_printerPainter.reset();
    return ended ? 1 : -1;
}

} // namespace qthost
