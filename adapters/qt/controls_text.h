#pragma once

#include <optional>
#include <utility>

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QTabBar;
class QPlainTextEdit;

namespace qthost {

// Multi-line rich text (a story body), on Qt's plain-text document view: the module shows
// one colour and a selection, and that view lays out only the paragraphs on screen, where the
// rich-text one lays out a whole 64 KB story first. Positions count characters of the shown
// text, line breaks one each; text() gives lines ended by CR LF as the platform's control does.
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
    QPlainTextEdit* edit() const;
    QWidget* paintTarget() const override;
    void applyPalette();
    // The shown text, kept until the document changes: a keyword search asks for it once per
    // match, and a story is tens of kilobytes.
    const QString& plainText() const;

    COLORREF m_textColor = 0;
    COLORREF m_backgroundColor = 0xFFFFFF;
    bool m_hideSelection = true;
    // Puts the last selection asked for into the widget and scrolls it into view.
    void applySelection();

    mutable QString m_plain;
    mutable bool m_plainValid = false;
    // A selection asked for and not yet shown: a keyword marking selects every match in turn,
    // and only the last one is ever seen, so the widget takes it once, before it paints.
    std::optional<std::pair<int, int>> m_pendingSelection;
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
    void setItemCaption(int index, const CString& caption) override;
    host::ui::Rect itemRect(int index) const override;
    int curSel() const override;
    void setCurSel(int index) override;
    void setColors(COLORREF text, COLORREF background, COLORREF selected) override;

private:
    QTabBar* tabs() const;

    bool m_changing = false;
};

} // namespace qthost
