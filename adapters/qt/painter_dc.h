#pragma once

#include <QFont>
#include <memory>

#include "host/ui/device_context.h"
#include "host/ui/messages.h"

class QPainter;
class QPaintDevice;
class QPrinter;

namespace qthost {

// A device context drawing with a QPainter: a window being painted, or a printer page.
// Text is drawn top-left anchored in the selected font with an opaque background unless
// the background mode is transparent, as on the platform.
// Ownership: the painter and the device belong to the caller. Thread: UI thread.
class PainterDeviceContext : public host::ui::DeviceContext {
public:
    PainterDeviceContext(QPainter& painter, QPaintDevice& device);

    void fillRect(const host::ui::Rect& rect, COLORREF color) override;
    void frameRect(const host::ui::Rect& rect, COLORREF color) override;
    void drawLine(host::ui::Point from, host::ui::Point to, COLORREF color) override;
    void textOut(int x, int y, const CString& text) override;
    void drawText(const CString& text, const host::ui::Rect& rect, unsigned format) override;
    void setTextColor(COLORREF color) override { m_textColor = color; }
    void setBkColor(COLORREF color) override { m_bkColor = color; }
    void setBkTransparent(bool transparent) override { m_bkTransparent = transparent; }
    void selectFont(const host::ui::Font& font) override;
    host::ui::Size textExtent(const CString& text) const override;
    int textHeight() const override;
    int externalLeading() const override;
    int deviceCaps(int index) const override;

    int startDoc(const CString& /*documentName*/) override { return -1; }
    int startPage() override { return -1; }
    int endPage() override { return -1; }
    int endDoc() override { return -1; }

protected:
    QPainter& painter() { return *m_painter; }
    void setTarget(QPainter& painter, QPaintDevice& device);

private:
    QPainter* m_painter;    // not owned
    QPaintDevice* m_device; // not owned
    QFont m_font;
    COLORREF m_textColor = 0;
    COLORREF m_bkColor = 0xFFFFFF;
    bool m_bkTransparent = false;
};

// A device context on a printer (a real one or a PDF file). Drawing happens between
// startDoc and endDoc; each startPage after the first begins a new sheet.
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

private:
    std::unique_ptr<QPrinter> m_printer;
    std::unique_ptr<QPainter> m_printerPainter;
    int m_pages = 0;
};

} // namespace qthost
