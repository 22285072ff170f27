#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QTabBar;
class QTextEdit;

namespace qthost {

// Multi-line rich text (a story body). Positions count characters of the shown text, line
// breaks one each; text() gives lines ended by CR LF as the platform's control does.
class QtRichEdit final : public WindowImpl<host::ui::RichEdit> {
public:
    QtRichEdit(QWidget* parent, int id, unsigned style);

    void setText(const CString& text) override;
    CString text() const override;
    void setBackgroundColor(COLORREF color) override;
    void setDefaultTextColor(COLORREF color) override;
    COLORREF defaultTextColor() const override { return m_textColor; }
    void setReadOnly(bool readOnly) override;
    void hideSelection(bool hide) override;
    std::pair<int, int> findText(int from, const CString& text) const override;
    void setSelection(int start, int end) override;
    std::pair<int, int> selection() const override;

private:
    QTextEdit* edit() const;
    QWidget* paintTarget() const override;
    void applyPalette();
    // The shown text, kept until the document changes: a keyword search asks for it once per
    // match, and a story is tens of kilobytes.
    const QString& plainText() const;

    COLORREF m_textColor = 0;
    COLORREF m_backgroundColor = 0xFFFFFF;
    bool m_hideSelection = true;
    mutable QString m_plain;
    mutable bool m_plainValid = false;
    bool m_scrollPending = false; // the selection is scrolled into view once, after a run of changes
};

// A tab strip whose tabs carry an item datum. The user's tab changes reach the parent as
// WM_NOTIFY TCN_SELCHANGE.
class QtTabStrip final : public WindowImpl<host::ui::TabStrip> {
public:
    QtTabStrip(QWidget* parent, int id);

    int insertItem(int index, const CString& caption, std::intptr_t data) override;
    void deleteAllItems() override;
    int itemCount() const override;
    std::intptr_t itemData(int index) const override;
    CString itemCaption(int index) const override;
    host::ui::Rect itemRect(int index) const override;
    int curSel() const override;
    void setCurSel(int index) override;
    void setColors(COLORREF text, COLORREF background, COLORREF selected) override;

private:
    QTabBar* tabs() const;

    bool m_changing = false;
};

} // namespace qthost
