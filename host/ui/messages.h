#pragma once

#include <cstdint>

#include "host/ui/geometry.h"

namespace host::ui {

class Window;
class DeviceContext;

using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

// A window message with Windows numbering. target is the window the message is for (the
// view itself or one of its controls); null for messages sent to a handler directly.
struct Message {
    unsigned message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    Window* target = nullptr;
};

constexpr WPARAM MAKEWPARAM(unsigned lo, unsigned hi) {
    return (lo & 0xFFFFu) | ((hi & 0xFFFFu) << 16);
}
constexpr LPARAM MAKELPARAM(int lo, int hi) {
    return static_cast<LPARAM>((static_cast<unsigned>(lo) & 0xFFFFu) | ((static_cast<unsigned>(hi) & 0xFFFFu) << 16));
}
constexpr unsigned LOWORD(std::uintptr_t v) {
    return static_cast<unsigned>(v & 0xFFFFu);
}
constexpr unsigned HIWORD(std::uintptr_t v) {
    return static_cast<unsigned>((v >> 16) & 0xFFFFu);
}
constexpr int GET_X_LPARAM(LPARAM l) {
    return static_cast<short>(static_cast<std::uintptr_t>(l) & 0xFFFFu);
}
constexpr int GET_Y_LPARAM(LPARAM l) {
    return static_cast<short>((static_cast<std::uintptr_t>(l) >> 16) & 0xFFFFu);
}

namespace win {
// Window messages.
constexpr unsigned WM_CREATE = 0x0001;
constexpr unsigned WM_DESTROY = 0x0002;
constexpr unsigned WM_SIZE = 0x0005;
constexpr unsigned WM_SETFOCUS = 0x0007;
constexpr unsigned WM_KILLFOCUS = 0x0008;
constexpr unsigned WM_PAINT = 0x000F;
constexpr unsigned WM_CLOSE = 0x0010;
constexpr unsigned WM_SHOWWINDOW = 0x0018;
constexpr unsigned WM_ERASEBKGND = 0x0014;
constexpr unsigned WM_SETFONT = 0x0030;
constexpr unsigned WM_NOTIFY = 0x004E;
constexpr unsigned WM_CONTEXTMENU = 0x007B;
constexpr unsigned WM_KEYDOWN = 0x0100;
constexpr unsigned WM_KEYUP = 0x0101;
constexpr unsigned WM_CHAR = 0x0102;
constexpr unsigned WM_INITDIALOG = 0x0110;
constexpr unsigned WM_COMMAND = 0x0111;
constexpr unsigned WM_TIMER = 0x0113;
constexpr unsigned WM_HSCROLL = 0x0114;
constexpr unsigned WM_VSCROLL = 0x0115;
constexpr unsigned WM_CTLCOLOR = 0x0019;
constexpr unsigned WM_MOUSEMOVE = 0x0200;
constexpr unsigned WM_LBUTTONDOWN = 0x0201;
constexpr unsigned WM_LBUTTONUP = 0x0202;
constexpr unsigned WM_LBUTTONDBLCLK = 0x0203;
constexpr unsigned WM_RBUTTONDOWN = 0x0204;
constexpr unsigned WM_RBUTTONUP = 0x0205;
constexpr unsigned WM_MOUSEWHEEL = 0x020A;
constexpr unsigned WM_USER = 0x0400;
constexpr unsigned kFirstRegisteredMessage = 0xC000;

// Mouse key flags (wParam of mouse messages). kGridForwarded marks a message that a grid
// passed on to its parent view.
constexpr unsigned MK_LBUTTON = 0x0001;
constexpr unsigned MK_RBUTTON = 0x0002;
constexpr unsigned MK_SHIFT = 0x0004;
constexpr unsigned MK_CONTROL = 0x0008;
constexpr unsigned kGridForwarded = 0x0080;

// Virtual-key codes.
constexpr unsigned VK_BACK = 8;
constexpr unsigned VK_TAB = 9;
constexpr unsigned VK_RETURN = 13;
constexpr unsigned VK_SHIFT = 16;
constexpr unsigned VK_CONTROL = 17;
constexpr unsigned VK_ESCAPE = 27;
constexpr unsigned VK_SPACE = 32;
constexpr unsigned VK_PRIOR = 33; // Page Up
constexpr unsigned VK_NEXT = 34;  // Page Down
constexpr unsigned VK_END = 35;
constexpr unsigned VK_HOME = 36;
constexpr unsigned VK_LEFT = 37;
constexpr unsigned VK_UP = 38;
constexpr unsigned VK_RIGHT = 39;
constexpr unsigned VK_DOWN = 40;
constexpr unsigned VK_INSERT = 45;
constexpr unsigned VK_DELETE = 46;
constexpr unsigned VK_F1 = 112;
constexpr unsigned VK_PROCESSKEY = 229; // input-method processing

// Notification codes: WM_COMMAND (HIWORD of wParam) and WM_NOTIFY (NotifyInfo::code).
constexpr unsigned BN_CLICKED = 0;
constexpr unsigned BN_DOUBLECLICKED = 5;
constexpr unsigned CBN_SELCHANGE = 1;
constexpr unsigned CBN_DROPDOWN = 7;
constexpr unsigned CBN_CLOSEUP = 8;
constexpr unsigned EN_SETFOCUS = 0x0100;
constexpr unsigned EN_KILLFOCUS = 0x0200;
constexpr unsigned EN_CHANGE = 0x0300;
constexpr unsigned EN_UPDATE = 0x0400;
constexpr unsigned LBN_SELCHANGE = 1;
constexpr unsigned LBN_DBLCLK = 2;
constexpr unsigned LBN_SETFOCUS = 4;
constexpr unsigned LBN_KILLFOCUS = 5;
constexpr int DTN_DATETIMECHANGE = -759;
constexpr int DTN_DROPDOWN = -754;
constexpr int DTN_CLOSEUP = -753;
constexpr int TCN_SELCHANGE = -551;
constexpr int NM_CLICK = -2;
constexpr int NM_DBLCLK = -3;
constexpr int NM_RCLICK = -5;
constexpr int NM_SETFOCUS = -7;
constexpr int NM_KILLFOCUS = -8;
constexpr int TVN_SELCHANGED = -402;

// WM_CTLCOLOR control types.
constexpr int CTLCOLOR_MSGBOX = 0;
constexpr int CTLCOLOR_EDIT = 1;
constexpr int CTLCOLOR_LISTBOX = 2;
constexpr int CTLCOLOR_BTN = 3;
constexpr int CTLCOLOR_DLG = 4;
constexpr int CTLCOLOR_SCROLLBAR = 5;
constexpr int CTLCOLOR_STATIC = 6;

// WM_SIZE / WM_VSCROLL codes.
constexpr unsigned SB_LINEUP = 0;
constexpr unsigned SB_LINEDOWN = 1;
constexpr unsigned SB_PAGEUP = 2;
constexpr unsigned SB_PAGEDOWN = 3;
constexpr unsigned SB_THUMBPOSITION = 4;
constexpr unsigned SB_THUMBTRACK = 5;
constexpr unsigned SB_LEFT = 6;
constexpr unsigned SB_RIGHT = 7;
constexpr unsigned SB_ENDSCROLL = 8;
// WM_HSCROLL names the first four codes for the horizontal direction.
constexpr unsigned SB_LINELEFT = 0;
constexpr unsigned SB_LINERIGHT = 1;
constexpr unsigned SB_PAGELEFT = 2;
constexpr unsigned SB_PAGERIGHT = 3;

// Message box flags and results.
constexpr unsigned MB_OK = 0x0;
constexpr unsigned MB_OKCANCEL = 0x1;
constexpr unsigned MB_YESNO = 0x4;
constexpr unsigned MB_ICONQUESTION = 0x20;
constexpr unsigned MB_ICONEXCLAMATION = 0x30;
constexpr unsigned MB_ICONINFORMATION = 0x40;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

// Window styles used by the module.
constexpr unsigned WS_CHILD = 0x40000000u;
constexpr unsigned WS_VISIBLE = 0x10000000u;
constexpr unsigned WS_BORDER = 0x00800000u;
constexpr unsigned WS_VSCROLL = 0x00200000u;
constexpr unsigned ES_MULTILINE = 0x0004u;
constexpr unsigned ES_AUTOVSCROLL = 0x0040u;
constexpr unsigned ES_READONLY = 0x0800u;
constexpr unsigned WS_GROUP = 0x00020000u;
constexpr unsigned WS_TABSTOP = 0x00010000u;
constexpr unsigned ES_PASSWORD = 0x0020u;
constexpr unsigned CBS_DROPDOWNLIST = 0x0003u;
constexpr unsigned CBS_OWNERDRAWFIXED = 0x0010u;

// Button styles (the low four bits select the kind).
constexpr unsigned BS_PUSHBUTTON = 0x0u;
constexpr unsigned BS_DEFPUSHBUTTON = 0x1u;
constexpr unsigned BS_CHECKBOX = 0x2u;
constexpr unsigned BS_AUTOCHECKBOX = 0x3u;
constexpr unsigned BS_RADIOBUTTON = 0x4u;
constexpr unsigned BS_GROUPBOX = 0x7u;
constexpr unsigned BS_AUTORADIOBUTTON = 0x9u;
constexpr unsigned BS_OWNERDRAW = 0xBu;
constexpr unsigned BS_TYPEMASK = 0xFu;

// Device capabilities.
constexpr int HORZSIZE = 4;
constexpr int VERTSIZE = 6;
constexpr int HORZRES = 8;
constexpr int VERTRES = 10;
constexpr int LOGPIXELSY = 90;

// DrawText flags.
constexpr unsigned DT_LEFT = 0x0;
constexpr unsigned DT_CENTER = 0x1;
constexpr unsigned DT_RIGHT = 0x2;
constexpr unsigned DT_VCENTER = 0x4;
constexpr unsigned DT_SINGLELINE = 0x20;

// Print and file dialog flags.
constexpr unsigned PD_NOPAGENUMS = 0x00000008;
constexpr unsigned PD_COLLATE = 0x00000010;
constexpr unsigned PD_HIDEPRINTTOFILE = 0x00100000;
constexpr unsigned OFN_HIDEREADONLY = 0x00000004;
constexpr unsigned OFN_NOCHANGEDIR = 0x00000008;
constexpr unsigned OFN_EXTENSIONDIFFERENT = 0x00000400;
} // namespace win

// Payload of WM_NOTIFY (lParam points at it while the message is handled).
struct NotifyInfo {
    int idFrom = 0;
    int code = 0;
    Date* date = nullptr; // DTN_DATETIMECHANGE: the new date; null otherwise
    int item = -1;        // list and tab notifications: the item concerned
    Point point{};        // click notifications: the point in client coordinates
};

} // namespace host::ui
