#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QComboBox;

namespace qthost {

// A drop-down list (editable unless CBS_DROPDOWNLIST). The parent hears CBN_SELCHANGE when
// the user changes the selection (not when the module does), CBN_DROPDOWN when the list
// opens and CBN_CLOSEUP after it closed and the chosen item is selected; a choice made on
// the closed box is followed by CBN_CLOSEUP at once. An owner-drawn combo
// (CBS_OWNERDRAWFIXED) paints each item in its own colours, the closed box included.
class QtComboBox final : public WindowImpl<host::ui::ComboBox> {
public:
    QtComboBox(QWidget* parent, int id, unsigned style);

    void setText(const CString& text) override;
    CString text() const override;

    int addString(const CString& text) override;
    int insertString(int index, const CString& text) override;
    void deleteString(int index) override;
    void resetContent() override;
    int count() const override;
    int curSel() const override;
    void setCurSel(int index) override;
    CString itemText(int index) const override;
    void setItemData(int index, std::intptr_t data) override;
    std::intptr_t itemData(int index) const override;
    int findStringExact(int start, const CString& text) const override;
    void setItemColors(int index, COLORREF text, COLORREF background) override;

    bool isDroppedDown() const;

private:
    friend class ComboWidget;
    QComboBox* combo() const;
    void onPopupShown();
    void onPopupHidden();
    void applySelectedColors();

    bool m_ownerDrawn = false;
    bool m_droppedDown = false;
    bool m_closeUpPending = false; // the list closed; its CBN_CLOSEUP is on its way
};

} // namespace qthost
