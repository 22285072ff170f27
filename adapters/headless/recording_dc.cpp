#include "adapters/headless/recording_dc.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "host/ui/messages.h"
#include "host/ui/mul_div.h"

namespace headless {

using host::ui::Font;
using host::ui::Rect;
using host::ui::Size;

int TextMetrics::halfCellWidth(const Font& font) {
    return std::max(1, std::abs(font.height) / 2);
}

int TextMetrics::lineHeight(const Font& font) {
    return std::abs(font.height) + 4;
}

Size TextMetrics::extent(const Font& font, const CString& text) {
    return Size{static_cast<int>(text.size()) * halfCellWidth(font), lineHeight(font)};
}

std::vector<const DrawOp*> DrawingLog::texts(std::size_t page) const {
    std::vector<const DrawOp*> result;
    if (page >= pages.size()) {
        return result;
    }
    for (const DrawOp& op : pages[page].ops) {
        if (op.kind == DrawOp::Kind::kTextOut || op.kind == DrawOp::Kind::kDrawText) {
            result.push_back(&op);
        }
    }
    return result;
}

namespace {
std::string colorText(COLORREF c) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", host::ui::GetRValue(c), host::ui::GetGValue(c),
                  host::ui::GetBValue(c));
    return buffer;
}

std::string rectText(const Rect& r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "-" + std::to_string(r.right) + "," +
           std::to_string(r.bottom);
}
} // namespace

std::string DrawingLog::describe(const DrawOp& op) {
    switch (op.kind) {
    case DrawOp::Kind::kFillRect:
        return "fill " + rectText(op.rect) + " " + colorText(op.color);
    case DrawOp::Kind::kFrameRect:
        return "frame " + rectText(op.rect) + " " + colorText(op.color);
    case DrawOp::Kind::kLine:
        return "line " + std::to_string(op.from.x) + "," + std::to_string(op.from.y) + "-" + std::to_string(op.to.x) +
               "," + std::to_string(op.to.y) + " " + colorText(op.color);
    case DrawOp::Kind::kTextOut:
        return "text " + std::to_string(op.from.x) + "," + std::to_string(op.from.y) + " \"" + op.text + "\"";
    case DrawOp::Kind::kDrawText:
        return "drawtext " + rectText(op.rect) + " \"" + op.text + "\"";
    }
    return {};
}

RecordingDeviceContext::RecordingDeviceContext(DeviceCaps caps, std::shared_ptr<DrawingLog> log)
    : m_caps(caps), m_log(log ? std::move(log) : std::make_shared<DrawingLog>()) {
    if (m_caps.printer) {
        m_font.height = -host::ui::MulDiv(12, m_caps.logPixelsY, 72);
    }
}

namespace {
std::string fontText(const Font& font) {
    return "\"" + font.faceName + "\" " + std::to_string(font.height) + " weight " + std::to_string(font.weight) +
           " charset " + std::to_string(font.charSet);
}

const char* capName(int index) {
    using namespace host::ui::win;
    switch (index) {
    case HORZRES:
        return "HORZRES";
    case VERTRES:
        return "VERTRES";
    case HORZSIZE:
        return "HORZSIZE";
    case VERTSIZE:
        return "VERTSIZE";
    case LOGPIXELSY:
        return "LOGPIXELSY";
    default:
        return nullptr;
    }
}
} // namespace

void RecordingDeviceContext::setTextColor(COLORREF color) {
    call("setTextColor " + colorText(color));
    m_textColor = color;
}

void RecordingDeviceContext::setBkColor(COLORREF color) {
    call("setBkColor " + colorText(color));
    m_bkColor = color;
}

void RecordingDeviceContext::setBkTransparent(bool transparent) {
    call(std::string("setBkTransparent ") + (transparent ? "yes" : "no"));
    m_bkTransparent = transparent;
}

void RecordingDeviceContext::selectFont(const Font& font) {
    call("selectFont " + fontText(font));
    m_font = font;
}

int RecordingDeviceContext::externalLeading() const {
    call("externalLeading -> 0");
    return 0;
}

void RecordingDeviceContext::record(DrawOp op) {
    call(DrawingLog::describe(op));
    if (m_caps.printer && !m_pageOpen) {
        m_log->errors.push_back("drawing outside a page: " + DrawingLog::describe(op));
    }
    if (m_pageOpen) {
        m_log->pages.back().ops.push_back(std::move(op));
    } else {
        m_log->looseOps.push_back(std::move(op));
    }
}

void RecordingDeviceContext::fillRect(const Rect& rect, COLORREF color) {
    DrawOp op;
    op.kind = DrawOp::Kind::kFillRect;
    op.rect = rect;
    op.color = color;
    record(std::move(op));
}

void RecordingDeviceContext::frameRect(const Rect& rect, COLORREF color) {
    DrawOp op;
    op.kind = DrawOp::Kind::kFrameRect;
    op.rect = rect;
    op.color = color;
    record(std::move(op));
}

void RecordingDeviceContext::drawLine(host::ui::Point from, host::ui::Point to, COLORREF color) {
    DrawOp op;
    op.kind = DrawOp::Kind::kLine;
    op.from = from;
    op.to = to;
    op.color = color;
    record(std::move(op));
}

void RecordingDeviceContext::textOut(int x, int y, const CString& text) {
    DrawOp op;
    op.kind = DrawOp::Kind::kTextOut;
    op.from = {x, y};
    op.text = text;
    op.color = m_textColor;
    op.bkColor = m_bkColor;
    op.bkTransparent = m_bkTransparent;
    op.font = m_font;
    record(std::move(op));
}

void RecordingDeviceContext::drawText(const CString& text, const Rect& rect, unsigned format) {
    DrawOp op;
    op.kind = DrawOp::Kind::kDrawText;
    op.rect = rect;
    op.text = text;
    op.color = m_textColor;
    op.bkColor = m_bkColor;
    op.bkTransparent = m_bkTransparent;
    op.font = m_font;
    op.format = format;
    record(std::move(op));
}

Size RecordingDeviceContext::textExtent(const CString& text) const {
    const Size size = TextMetrics::extent(m_font, text);
    call("textExtent \"" + text + "\" -> " + std::to_string(size.cx) + "x" + std::to_string(size.cy));
    return size;
}

int RecordingDeviceContext::textHeight() const {
    const int height = TextMetrics::lineHeight(m_font);
    call("textHeight -> " + std::to_string(height));
    return height;
}

int RecordingDeviceContext::deviceCaps(int index) const {
    const int value = capValue(index);
    const char* name = capName(index);
    call("deviceCaps " + (name != nullptr ? std::string(name) : std::to_string(index)) + " -> " +
         std::to_string(value));
    return value;
}

int RecordingDeviceContext::capValue(int index) const {
    using namespace host::ui::win;
    switch (index) {
    case HORZRES:
        return m_caps.horzRes;
    case VERTRES:
        return m_caps.vertRes;
    case HORZSIZE:
        return m_caps.horzSizeMm;
    case VERTSIZE:
        return m_caps.vertSizeMm;
    case LOGPIXELSY:
        return m_caps.logPixelsY;
    default:
        return 0;
    }
}

int RecordingDeviceContext::startDoc(const CString& documentName) {
    call("startDoc \"" + documentName + "\"");
    if (!m_caps.printer) {
        return -1;
    }
    if (m_log->docStarted) {
        m_log->errors.push_back("startDoc called twice");
        return -1;
    }
    m_log->docStarted = true;
    m_log->documentName = documentName;
    return 1;
}

int RecordingDeviceContext::startPage() {
    call("startPage");
    if (!m_caps.printer) {
        return -1;
    }
    if (!m_log->docStarted || m_log->docEnded) {
        m_log->errors.push_back("startPage outside a document");
        return -1;
    }
    if (m_pageOpen) {
        m_log->errors.push_back("startPage while a page is open");
        return -1;
    }
    m_log->pages.emplace_back();
    m_pageOpen = true;
    return 1;
}

int RecordingDeviceContext::endPage() {
    call("endPage");
    if (!m_caps.printer) {
        return -1;
    }
    if (!m_pageOpen) {
        m_log->errors.push_back("endPage without startPage");
        return -1;
    }
    m_log->pages.back().ended = true;
    m_pageOpen = false;
    return 1;
}

int RecordingDeviceContext::endDoc() {
    call("endDoc");
    if (!m_caps.printer) {
        return -1;
    }
    if (!m_log->docStarted || m_log->docEnded) {
        m_log->errors.push_back("endDoc without startDoc");
        return -1;
    }
    if (m_pageOpen) {
        m_log->errors.push_back("endDoc while a page is open");
        m_log->pages.back().ended = true;
        m_pageOpen = false;
    }
    m_log->docEnded = true;
    return 1;
}

} // namespace headless
