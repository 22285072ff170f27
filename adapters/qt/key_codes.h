#pragma once

#include <Qt>

#include "host/ui/messages.h"

// Qt keys and mouse state <-> Windows virtual-key codes and mouse key flags, which the
// module reads by number.
namespace qthost {

// 0 when the key has no virtual-key code the module could use.
unsigned virtualKeyFromQt(int qtKey);
// Qt::Key_unknown when the code has no Qt key.
int qtKeyFromVirtualKey(unsigned virtualKey);
// MK_LBUTTON, MK_RBUTTON, MK_SHIFT and MK_CONTROL for the buttons held and the modifiers.
host::ui::WPARAM mouseKeyFlags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);

} // namespace qthost
