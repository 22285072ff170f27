#pragma once

#include "host/ui/window.h"

namespace host::ui {

// Joins a window interface (Window, Button, CSuperSheetWnd, ...) with a host's window core:
// every Window operation is carried out by Core's operation of the same name. A host keeps one
// core class for all its windows and controls; this spares each host the same list of
// forwarding functions. Core must provide every Window operation under its Window name.
template <class Interface, class Core> class ForwardingWindow : public Interface, public Core {
public:
    using Window::clientToScreen;

    int id() const override { return Core::id(); }
    Window* parent() const override { return Core::parent(); }
    void setParent(Window* parent) override { Core::setParent(parent); }
    Window* child(int id) const override { return Core::child(id); }
    void setText(const CString& text) override { Core::setText(text); }
    CString text() const override { return Core::text(); }
    void show(bool visible) override { Core::show(visible); }
    bool isVisible() const override { return Core::isVisible(); }
    void enable(bool enabled) override { Core::enable(enabled); }
    bool isEnabled() const override { return Core::isEnabled(); }
    void move(const Rect& rect, bool repaint = true) override { Core::move(rect, repaint); }
    Rect rect() const override { return Core::rect(); }
    Rect clientRect() const override { return Core::clientRect(); }
    Point clientToScreen(Point p) const override { return Core::clientToScreen(p); }
    void setFocus() override { Core::setFocus(); }
    bool hasFocus() const override { return Core::hasFocus(); }
    void invalidate(bool erase = true) override { Core::invalidate(erase); }
    void update() override { Core::update(); }
    void setRedraw(bool redraw) override { Core::setRedraw(redraw); }
    void setFont(const Font& font, bool redraw = true) override { Core::setFont(font, redraw); }
    Font font() const override { return Core::font(); }
    Size textExtent(const CString& text) const override { return Core::textExtent(text); }
    void setZOrder(ZOrder order, bool activate = false) override { Core::setZOrder(order, activate); }
    void destroy() override { Core::destroy(); }
    void setTimer(unsigned id, unsigned milliseconds) override { Core::setTimer(id, milliseconds); }
    void killTimer(unsigned id) override { Core::killTimer(id); }
    LRESULT sendMessage(unsigned message, WPARAM wParam = 0, LPARAM lParam = 0) override {
        return Core::sendMessage(message, wParam, lParam);
    }
    void postMessage(unsigned message, WPARAM wParam = 0, LPARAM lParam = 0) override {
        Core::postMessage(message, wParam, lParam);
    }

    Button* createButton(int id, const Rect& rect, const CString& text, unsigned style = 0) override {
        return Core::createButton(id, rect, text, style);
    }
    ComboBox* createComboBox(int id, const Rect& rect, unsigned style) override {
        return Core::createComboBox(id, rect, style);
    }
    DatePicker* createDatePicker(int id, const Rect& rect) override { return Core::createDatePicker(id, rect); }
    Edit* createEdit(int id, const Rect& rect, unsigned style = 0) override {
        return Core::createEdit(id, rect, style);
    }
    TabStrip* createTabStrip(int id, const Rect& rect) override { return Core::createTabStrip(id, rect); }
    RichEdit* createRichEdit(int id, const Rect& rect, unsigned style) override {
        return Core::createRichEdit(id, rect, style);
    }
    StaticText* createStatic(int id, const Rect& rect, const CString& text) override {
        return Core::createStatic(id, rect, text);
    }
    ListBox* createListBox(int id, const Rect& rect, bool multiSelect, bool checkBoxes = false) override {
        return Core::createListBox(id, rect, multiSelect, checkBoxes);
    }
    ListCtrl* createListCtrl(int id, const Rect& rect, bool checkBoxes = false) override {
        return Core::createListCtrl(id, rect, checkBoxes);
    }
    TreeCtrl* createTreeCtrl(int id, const Rect& rect) override { return Core::createTreeCtrl(id, rect); }
    CSuperSheetWnd* createSheet(int id, const Rect& rect) override { return Core::createSheet(id, rect); }
    TipWindow* createTipWindow() override { return Core::createTipWindow(); }
    Window* createChildWindow(int id, const Rect& rect, WindowHandler* handler) override {
        return Core::createChildWindow(id, rect, handler);
    }

protected:
    using Core::Core;
};

} // namespace host::ui
