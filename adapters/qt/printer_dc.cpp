#include "adapters/qt/printer_dc.h"

#include <QFontDatabase>
#include <QPainter>
#include <QPrinter>
#include <cmath>
#include <cstdlib>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/mul_div.h"

namespace qthost {

namespace {

constexpr int kBig5Charset = 136;
constexpr int kDefaultPoints = 12;
// Where the baseline of a Big5 printer face sits in its cell: the ideographic em box runs from
// 0.88 above the baseline to 0.12 below it.
constexpr double kIdeographicAscent = 0.88;

// Painting needs a painter from the start; the printer's own one begins with startDoc.
QPainter& idlePainter() {
    static QPainter painter;
    return painter;
}

} // namespace

QString PrinterDeviceContext::printerFamily(const host::ui::Font& font) {
    const QString requested = font.faceName.empty() ? QString() : toQString(font.faceName);
    if (font.charSet == kBig5Charset && (requested.isEmpty() || !QFontDatabase::hasFamily(requested))) {
        return QString::fromLatin1(kDefaultFontFamily);
    }
    return requested.isEmpty() ? QString::fromLatin1(kDefaultFontFamily) : requested;
}

PrinterDeviceContext::PrinterDeviceContext(std::unique_ptr<QPrinter> printer)
    : PainterDeviceContext(idlePainter(), *printer), m_printer(std::move(printer)) {
    host::ui::Font font;
    font.height = -host::ui::MulDiv(kDefaultPoints, m_printer->logicalDpiY(), 72);
    selectFont(font);
}

PrinterDeviceContext::~PrinterDeviceContext() {
    if (m_printerPainter && m_printerPainter->isActive()) {
        m_printerPainter->end();
    }
}

QFont PrinterDeviceContext::resolveFont(const host::ui::Font& font) const {
    QFont result = toQFontAtScale(font, 1.0);
    const QString family = printerFamily(font);
    result.setFamilies({family, QString::fromLatin1(kDefaultFontFamily)});
    // Shaping substitutes glyph variants (digits next to Latin letters) that the PDF writer
    // cannot map back to characters; plain glyphs keep the text of a PDF searchable.
    result.setStyleStrategy(static_cast<QFont::StyleStrategy>(result.styleStrategy() | QFont::PreferNoShaping));
    return result;
}

PainterDeviceContext::LineMetrics PrinterDeviceContext::lineMetrics() const {
    const host::ui::Font& font = selectedFont();
    if (font.charSet != kBig5Charset || font.height >= 0) {
        return PainterDeviceContext::lineMetrics();
    }
    const int cell = std::abs(font.height);
    return LineMetrics{static_cast<int>(std::lround(cell * kIdeographicAscent)), cell, 0};
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
