#pragma once

#include <QFont>
#include <memory>

#include "host/ui/device_context.h"
#include "host/ui/messages.h"

class QPainter;
class QPaintDevice;

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
    // The line a selected font takes: where the baseline sits below the top, the cell height
    // and the leading between lines.
    struct LineMetrics {
        int ascent = 0;
        int height = 0;
        int leading = 0;
    };
    // The toolkit's metrics of the selected font on the device; a printer may report others.
    virtual LineMetrics lineMetrics() const;
    // The Qt font a host font is drawn with; a printer may map faces.
    virtual QFont resolveFont(const host::ui::Font& font) const;

    QPainter& painter() { return *m_painter; }
    QPaintDevice& device() const { return *m_device; }
    const QFont& currentFont() const { return m_font; }
    const host::ui::Font& selectedFont() const { return m_hostFont; }
    void setTarget(QPainter& painter, QPaintDevice& device);

private:
    QPainter* m_painter;    // not owned
    QPaintDevice* m_device; // not owned
    host::ui::Font m_hostFont;
    QFont m_font;
    COLORREF m_textColor = 0;
    COLORREF m_bkColor = 0xFFFFFF;
    bool m_bkTransparent = false;
};

} // namespace qthost
