#pragma once

#include <vector>

#include "output/news_print_item.h"

class TRVNewsCtrlView;

namespace news_output {

// Which printable form a story at hand takes: for printing, with its date line in front; for
// saving, the story text alone. Both are cut at the first line break.
enum class StoryForm : unsigned char { kPrint, kSave };

// One item per selected row of the current mode's grid, in row order: its entry, its story
// when the back end holds it, and the title from the headlines the active services hold for
// these entries. False (and no item) when no grid or no row is selected.
bool bGatherItems(const TRVNewsCtrlView& view, StoryForm form, NewsPrintList& items);

// Every item equal to a headline takes its title and its has-title flag; when several
// headlines equal an item, the last one's title stays.
void vTakeTitles(NewsPrintList& items, const std::vector<CHeadline>& headlines);

} // namespace news_output
