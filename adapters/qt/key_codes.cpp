#include "adapters/qt/key_codes.h"

#include <array>
#include <utility>

namespace qthost {
namespace {

namespace win = host::ui::win;

constexpr unsigned kVkF1 = win::VK_F1;
constexpr unsigned kVkMenu = 18; // Alt

constexpr std::array<std::pair<int, unsigned>, 22> kNamedKeys{{
    {Qt::Key_Backspace, win::VK_BACK},
    {Qt::Key_Tab, win::VK_TAB},
    {Qt::Key_Backtab, win::VK_TAB},
    {Qt::Key_Return, win::VK_RETURN},
    {Qt::Key_Enter, win::VK_RETURN},
    {Qt::Key_Shift, win::VK_SHIFT},
    {Qt::Key_Control, win::VK_CONTROL},
    {Qt::Key_Alt, kVkMenu},
    {Qt::Key_Escape, win::VK_ESCAPE},
    {Qt::Key_Space, win::VK_SPACE},
    {Qt::Key_PageUp, win::VK_PRIOR},
    {Qt::Key_PageDown, win::VK_NEXT},
    {Qt::Key_End, win::VK_END},
    {Qt::Key_Home, win::VK_HOME},
    {Qt::Key_Left, win::VK_LEFT},
    {Qt::Key_Up, win::VK_UP},
    {Qt::Key_Right, win::VK_RIGHT},
    {Qt::Key_Down, win::VK_DOWN},
    {Qt::Key_Insert, win::VK_INSERT},
    {Qt::Key_Delete, win::VK_DELETE},
    {Qt::Key_Clear, 12},
    {Qt::Key_Pause, 19},
}};

} // namespace

unsigned virtualKeyFromQt(int qtKey) {
    // Letters and digits share their numbers with the virtual-key codes.
    if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)) {
        return static_cast<unsigned>(qtKey);
    }
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F24) {
        return kVkF1 + static_cast<unsigned>(qtKey - Qt::Key_F1);
    }
    for (const auto& [key, vk] : kNamedKeys) {
        if (key == qtKey) {
            return vk;
        }
    }
    return 0;
}

int qtKeyFromVirtualKey(unsigned virtualKey) {
    if ((virtualKey >= 'A' && virtualKey <= 'Z') || (virtualKey >= '0' && virtualKey <= '9')) {
        return static_cast<int>(virtualKey);
    }
    if (virtualKey >= kVkF1 && virtualKey < kVkF1 + 24) {
        return Qt::Key_F1 + static_cast<int>(virtualKey - kVkF1);
    }
    for (const auto& [key, vk] : kNamedKeys) {
        if (vk == virtualKey) {
            return key;
        }
    }
    return Qt::Key_unknown;
}

host::ui::WPARAM mouseKeyFlags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
    host::ui::WPARAM flags = 0;
    if (buttons.testFlag(Qt::LeftButton)) {
        flags |= win::MK_LBUTTON;
    }
    if (buttons.testFlag(Qt::RightButton)) {
        flags |= win::MK_RBUTTON;
    }
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        flags |= win::MK_SHIFT;
    }
    if (modifiers.testFlag(Qt::ControlModifier)) {
        flags |= win::MK_CONTROL;
    }
    return flags;
}

} // namespace qthost
