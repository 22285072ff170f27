#pragma once

#include <memory>

#include "adapters/qt/painter_dc.h"

class QPrinter;

namespace qthost {

// A device context on a printer (a real one or a PDF file). Drawing happens between startDoc
// and endDoc; each startPage after the first begins a new sheet.
//
// Fonts are those a printer of the platform offers: a 12-point font is selected from the
// start, a Big5 face the system lacks is drawn with Noto Sans CJK TC, and a Big5 font reports
// the line metrics of the platform's Big5 printer faces: a cell exactly one character height
// tall with the baseline at 88% of it (the ideographic em box), and no extra leading. Printed
// lines then step by the character height, as printed news always did.
// Ownership: owns the printer. Thread: UI thread.
class PrinterDeviceContext final : public PainterDeviceContext {
public:
    explicit PrinterDeviceContext(std::unique_ptr<QPrinter> printer);
    ~PrinterDeviceContext() override;
    PrinterDeviceContext(const PrinterDeviceContext&) = delete;
    PrinterDeviceContext& operator=(const PrinterDeviceContext&) = delete;

    int startDoc(const CString& documentName) override;
    int startPage() override;
    int endPage() override;
    int endDoc() override;

    QPrinter& printer() { return *m_printer; }
    int pagesStarted() const { return m_pages; }

    // The family a printer draws a host font with.
    static QString printerFamily(const host::ui::Font& font);

protected:
    LineMetrics lineMetrics() const override;
    QFont resolveFont(const host::ui::Font& font) const override;

private:
    std::unique_ptr<QPrinter> m_printer;
    std::unique_ptr<QPainter> m_printerPainter;
    int m_pages = 0;
};

} // namespace qthost
