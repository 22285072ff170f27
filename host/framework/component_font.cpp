#include "host/framework/component_font.h"

namespace {
host::ui::Font& componentFont() {
    static host::ui::Font font;
    return font;
}
} // namespace

const host::ui::Font* CComponentComFont::GetComponentComFont() {
    return &componentFont();
}

void CComponentComFont::SetComponentComFont(const host::ui::Font& font) {
    componentFont() = font;
}
