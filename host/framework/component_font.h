#pragma once

#include "host/ui/geometry.h"

// The font the host's components (dialogs, their controls) are drawn in.
// Thread: UI thread. Ownership: the host keeps the font for the process's life.
class CComponentComFont {
public:
    static const host::ui::Font* GetComponentComFont();
    static void SetComponentComFont(const host::ui::Font& font);
};
