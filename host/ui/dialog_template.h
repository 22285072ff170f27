#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "host/ui/geometry.h"

namespace host::ui {

// The kinds of control a dialog template can hold.
enum class ControlKind {
    kButton,      // push button
    kCheckBox,    // check box that ticks itself when clicked
    kRadio,       // radio button; a group runs from a button marked "group" to the next one
    kGroupBox,    // a frame with a caption
    kEdit,        // single- or multi-line edit
    kStatic,      // static text
    kListBox,     // list box, optionally multi-select and with check boxes (a check list)
    kListCtrl,    // report-view list with columns, optionally with check boxes
    kTabs,        // tab strip
    kRichEdit,    // multi-line rich text
    kHoverButton, // push button drawn from bitmaps (normal, hover, pressed) by id
    kTree,        // tree of items
};
const char* controlKindName(ControlKind kind);

// One column of a report-view list.
struct ColumnTemplate {
    CString header; // code page 950; a language key ("IDS_...") is resolved when the dialog is made
    int width = 0;
    enum class Align { kLeft, kCenter, kRight } align = Align::kLeft;
    bool operator==(const ColumnTemplate&) const = default;
};

// One control of a dialog template. Texts are code page 950; a text that is a language key
// ("IDS_...") is replaced by its language text when the dialog is made.
struct ControlTemplate {
    ControlKind kind = ControlKind::kButton;
    int id = -1; // -1: a control the dialog never addresses (a label)
    Rect rect{}; // dialog client coordinates, pixels
    CString text;
    bool isDefault = false; // the button Enter presses
    bool hidden = false;
    bool disabled = false;
    bool group = false; // the first radio button of a group
    bool multiline = false;
    bool readOnly = false;
    bool password = false;
    bool vscroll = false;
    bool multiSelect = false;
    bool checkBoxes = false;
    std::vector<ColumnTemplate> columns; // report-view lists
    std::vector<CString> tabs;           // tab strips
    std::array<int, 3> bitmaps{};        // hover buttons: normal, hover, pressed
    int line = 0;                        // where it was declared, for messages
    bool operator==(const ControlTemplate&) const = default;
};

// A dialog as data: its id, caption, client size, frame and controls in creation (tab) order.
struct DialogTemplate {
    enum class Frame {
        kTitled,     // caption bar with a close button
        kBorderless, // no caption, no border: a pop-up such as a tip
    };
    int id = 0;
    CString caption;
    Size size{};
    Frame frame = Frame::kTitled;
    bool resizable = false;
    Font font{};
    std::vector<ControlTemplate> controls;

    const ControlTemplate* control(int controlId) const;
    bool operator==(const DialogTemplate&) const = default;
};

// Reads the text form of a dialog template (UTF-8; see docs/dialog-templates.md). On failure
// returns false, leaves out unchanged and sets error to "line N: what is wrong". Any input,
// however malformed or large, gives one of the two outcomes; nothing else happens.
bool parseDialogTemplate(std::string_view utf8Text, DialogTemplate& out, std::string& error);

// Limits the parser enforces, so that a damaged file cannot make a dialog of absurd size.
inline constexpr std::size_t kMaxTemplateBytes = 256 * 1024;
inline constexpr std::size_t kMaxTemplateControls = 512;
inline constexpr std::size_t kMaxTemplateTextBytes = 1024;
inline constexpr std::size_t kMaxTemplateItems = 64; // columns or tabs of one control
inline constexpr int kMaxTemplateCoordinate = 10000;

} // namespace host::ui
