#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/ui/device_context.h"

namespace headless {

// Deterministic text metrics of the headless host: every byte is half a character cell wide
// (a double-byte character takes a full cell), and a line is the font's character height
// plus four pixels of leading. With the default font (height -12) a line is 16 pixels, the
// grids' row height.
struct TextMetrics {
    static int halfCellWidth(const host::ui::Font& font);
    static int lineHeight(const host::ui::Font& font);
    static host::ui::Size extent(const host::ui::Font& font, const CString& text);
};

// Capabilities a recording context reports (deviceCaps).
struct DeviceCaps {
    int horzRes = 1920;
    int vertRes = 1080;
    int horzSizeMm = 508;
    int vertSizeMm = 286;
    int logPixelsY = 96;
    bool printer = false;

    // An A4 page at 600 dots per inch.
    static DeviceCaps a4Printer() { return DeviceCaps{4960, 7016, 210, 297, 600, true}; }
};

// One drawing call as recorded.
struct DrawOp {
    enum class Kind { kFillRect, kFrameRect, kLine, kTextOut, kDrawText };
    Kind kind = Kind::kTextOut;
    host::ui::Rect rect{};  // fill, frame, drawText
    host::ui::Point from{}; // line start; textOut position
    host::ui::Point to{};   // line end
    CString text;
    COLORREF color = 0;   // fill / frame / line colour; text colour for texts
    COLORREF bkColor = 0; // texts
    bool bkTransparent = false;
    host::ui::Font font{}; // texts
    unsigned format = 0;   // drawText
};

// What a recording context drew: ops outside any page (a window paint) and the printed pages.
struct DrawingLog {
    struct Page {
        std::vector<DrawOp> ops;
        bool ended = false;
    };
    CString documentName;
    // Every call made on the context, in order, one line each ("startPage", "selectFont ...",
    // "deviceCaps HORZRES -> 4960", ...), queries included.
    std::vector<std::string> calls;
    bool docStarted = false;
    bool docEnded = false;
    std::vector<DrawOp> looseOps; // drawn outside a page
    std::vector<Page> pages;
    std::vector<std::string> errors; // misuse such as startPage without startDoc

    // Texts of one page (textOut and drawText) in drawing order.
    std::vector<const DrawOp*> texts(std::size_t page) const;
    // One line per op: "text 120,40 \"...\"", "fill 0,0-100,20 #102030", ...
    static std::string describe(const DrawOp& op);
};

// A device context that records every call into a shared log, which outlives the context
// (the module deletes a print context when it finishes printing). A printer context starts
// with a 12-point font of its resolution selected, as printers do, so a line height read
// before any font is chosen is a printer's, not a screen's.
// Ownership: the log is shared with whoever asked for it. Thread: UI thread.
class RecordingDeviceContext : public host::ui::DeviceContext {
public:
    explicit RecordingDeviceContext(DeviceCaps caps = {},
                                    std::shared_ptr<DrawingLog> log = std::make_shared<DrawingLog>());

    const std::shared_ptr<DrawingLog>& log() const { return m_log; }

    void fillRect(const host::ui::Rect& rect, COLORREF color) override;
    void frameRect(const host::ui::Rect& rect, COLORREF color) override;
    void drawLine(host::ui::Point from, host::ui::Point to, COLORREF color) override;
    void textOut(int x, int y, const CString& text) override;
    void drawText(const CString& text, const host::ui::Rect& rect, unsigned format) override;
    void setTextColor(COLORREF color) override;
    void setBkColor(COLORREF color) override;
    void setBkTransparent(bool transparent) override;
    void selectFont(const host::ui::Font& font) override;
    host::ui::Size textExtent(const CString& text) const override;
    int textHeight() const override;
    int externalLeading() const override;
    int deviceCaps(int index) const override;

    int startDoc(const CString& documentName) override;
    int startPage() override;
    int endPage() override;
    int endDoc() override;

private:
    void record(DrawOp op);
    void call(std::string line) const { m_log->calls.push_back(std::move(line)); }
    int capValue(int index) const;

    DeviceCaps m_caps;
    std::shared_ptr<DrawingLog> m_log;
    COLORREF m_textColor = 0;
    COLORREF m_bkColor = 0xFFFFFF;
    bool m_bkTransparent = false;
    host::ui::Font m_font{};
    bool m_pageOpen = false;
};

} // namespace headless
