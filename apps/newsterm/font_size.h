#pragma once

namespace newsterm {

// The terminal's font size, in percent of the normal size. Ctrl+plus and Ctrl+minus step
// through a short ladder of sizes, Ctrl+0 goes back to 100. The whole window follows: the
// application's font (menus, toolbar, status bar) and every font of the news view, and with
// them the view's layout, grid rows, column widths and combo lists.
constexpr int kNormalFontPercent = 100;

// The size one step up (direction > 0) or down (< 0) from percent, or the normal size (0);
// at either end of the ladder the size stays.
int steppedFontPercent(int percent, int direction);
// A stored size as a size of the ladder: the nearest step, the normal size for anything that
// is not a percentage the ladder covers (a hand-edited or damaged setting).
int validFontPercent(int stored);
// Makes percent the size of every font made from now on (existing module windows keep theirs
// until they are built again) and sets the application's font. UI thread.
void applyFontPercent(int percent);

} // namespace newsterm
