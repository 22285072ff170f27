#pragma once

#include "host/ui/geometry.h"

namespace host::ui {

// Drawing surface of a window or a printer page, in device pixels.
// Ownership: the caller of paint or of a print dialog owns it for the call. Thread: UI thread.
class DeviceContext {
public:
    virtual ~DeviceContext() = default;

    virtual void fillRect(const Rect& rect, COLORREF color) = 0;
    virtual void frameRect(const Rect& rect, COLORREF color) = 0;
    virtual void drawLine(Point from, Point to, COLORREF color) = 0;
    virtual void textOut(int x, int y, const CString& text) = 0;
    virtual void drawText(const CString& text, const Rect& rect, unsigned format) = 0;
    virtual void setTextColor(COLORREF color) = 0;
    virtual void setBkColor(COLORREF color) = 0;
    virtual void setBkTransparent(bool transparent) = 0;
    virtual void selectFont(const Font& font) = 0;
    virtual Size textExtent(const CString& text) const = 0;
    // Line height parts of the selected font.
    virtual int textHeight() const = 0;
    virtual int externalLeading() const = 0;
    virtual int deviceCaps(int index) const = 0;

    // Printing; a window context answers -1 / does nothing.
    virtual int startDoc(const CString& documentName) = 0;
    virtual int startPage() = 0;
    virtual int endPage() = 0;
    virtual int endDoc() = 0;
};

} // namespace host::ui
