#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/controls.h"

class QAbstractButton;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace qthost {

// Button styles by their platform numbers (the low four bits select the kind).
inline constexpr unsigned kBsPushButton = 0x0;
inline constexpr unsigned kBsDefPushButton = 0x1;
inline constexpr unsigned kBsCheckBox = 0x2;
inline constexpr unsigned kBsAutoCheckBox = 0x3;
inline constexpr unsigned kBsRadioButton = 0x4;
inline constexpr unsigned kBsGroupBox = 0x7;
inline constexpr unsigned kBsAutoRadioButton = 0x9;
inline constexpr unsigned kBsTypeMask = 0xF;
inline constexpr unsigned kBsPushLike = 0x1000;

// Edit styles besides those in host/ui/messages.h.
inline constexpr unsigned kEsCenter = 0x1;
inline constexpr unsigned kEsRight = 0x2;
inline constexpr unsigned kEsPassword = 0x20;

// Push, check and radio buttons (a group box is a frame with a caption). A click reaches
// the parent as BN_CLICKED. Check and radio buttons without the automatic styles keep their
// state until the parent sets it, as on the platform.
class QtButton final : public WindowImpl<host::ui::Button> {
public:
    QtButton(QWidget* parent, int id, const CString& text, unsigned style);

    void setText(const CString& text) override;
    void setCheck(bool checked) override;
    bool isChecked() const override;
    void setDefault(bool isDefault) override;
    // Bitmaps come from the folder set with setBitmapDirectory, as ID.png; a button without
    // them shows its text.
    void setBitmaps(int normal, int hover, int pressed) override;
    static void setBitmapDirectory(const QString& directory);

private:
    QAbstractButton* button() const; // null for a group box
    bool filterEvent(QObject* watched, QEvent* event) override;
    void showBitmap(int id);

    int m_bitmaps[3] = {0, 0, 0};
};

// A static text with optional colours.
class QtStatic final : public WindowImpl<host::ui::StaticText> {
public:
    QtStatic(QWidget* parent, int id, const CString& text);

    void setText(const CString& text) override;
    void setColors(COLORREF text, COLORREF background) override;

private:
    QLabel* label() const;
};

// A single-line edit: EN_UPDATE then EN_CHANGE on every change of its text (also when the
// module sets it, as on the platform), EN_SETFOCUS / EN_KILLFOCUS.
class QtEdit final : public WindowImpl<host::ui::Edit> {
public:
    QtEdit(QWidget* parent, int id, unsigned style);

    void setText(const CString& text) override;
    CString text() const override;
    void setSelection(int start, int end) override;
    void setReadOnly(bool readOnly) override;

private:
    QLineEdit* edit() const;
    bool filterEvent(QObject* watched, QEvent* event) override;
};

// A multi-line edit (ES_MULTILINE): lines end with CR LF in text(), as on the platform;
// EN_UPDATE then EN_CHANGE on every change, EN_SETFOCUS / EN_KILLFOCUS.
class QtMultiLineEdit final : public WindowImpl<host::ui::Edit> {
public:
    QtMultiLineEdit(QWidget* parent, int id, unsigned style);

    void setText(const CString& text) override;
    CString text() const override;
    void setSelection(int start, int end) override;
    void setReadOnly(bool readOnly) override;

private:
    QPlainTextEdit* edit() const;
    QWidget* paintTarget() const override;
    bool filterEvent(QObject* watched, QEvent* event) override;
};

} // namespace qthost
