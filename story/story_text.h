#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/backend/news_records.h"
#include "host/backend/search.h"

class EntryEquality;
class TRVNewsCtrlView;
namespace host::ui {
class RichEdit;
}

// The texts the story pane and the story window show, built the same way for both.
namespace story {

// The language text of a key (the key itself without a back end).
CString Lang(const char* key);

// "yyyy/mm/dd hh:mm:ss " of a calendar time in local time. A time that cannot be broken down
// prints second, minute and hour as -1 and day, month and year as 0 (kept: hosts compare
// saved texts that carry these fallbacks).
CString cszDateLine(std::int64_t time);

// Title: "%04d/%02d/%02d %02d:%02d:%02d \r\n%s" with the headline's time and title.
CString cszFormatTitle(const CHeadline& headline);

// Story: date line, body, closing remark. vShowData writes two blanks after the body, the
// answer to a story request one; the two paths differ on purpose and stay so.
enum class BodyBlanks { kOne, kTwo };
CString cszFormatStory(std::int64_t storyTime, const CString& body, const CString& closingRemark, BodyBlanks blanks);
// Date line and a text in place of the body (the no-story text).
CString cszFormatNoStory(std::int64_t storyTime, const CString& text);

// Line breaks of a story: CR and LF are transport wrapping, "@@@@" marks a real paragraph
// break. Splits at every run of CR/LF (never inside a double-byte character), joins the
// pieces and turns each "@@@@" into "\r\n".
void vConvertStoryContent(CString& text);

// A text for a service that reads simplified characters: converted, with the news term
// replaced. Unchanged when the service does not ask for it.
CString cszConvertForService(unsigned char service, const CString& text);
// The conversion and replacement alone.
CString cszConvertToSimplified(const CString& text);

// The headlines of an entry in every active service of the owner, in service order.
std::vector<CHeadline> vCollectHeadlines(const TRVNewsCtrlView& owner, const CHeadlineTable& entry);

// The title of the shown entry after a headline answer: none when the answer does not hold
// the entry or no active service of the owner has its headline.
std::optional<CString> cszAnsweredTitle(const TRVNewsCtrlView& owner, EntryEquality& equality,
                                        const CHeadlineTable& entry, const std::vector<CHeadlineTable>& answer);

// The texts vShowData shows for an entry: the title (the loading text when no active service of
// the owner has its headline) and the story with two blanks after the body, or no story text
// when the back end has none and the held story is empty. `held` is the story shown before;
// the fetch writes into it.
struct ShownTexts {
    CString title;
    std::optional<CString> story;
};
ShownTexts shownTexts(const TRVNewsCtrlView& owner, const CHeadlineTable& entry, CStory& held);

// The story text after a story answer for `answered` while `shown` is on screen: none when the
// answer concerns another entry or the back end has no story for it; the no-story text for an
// empty story; else the story with one blank after the body.
std::optional<CString> cszAnsweredStory(EntryEquality& equality, const CHeadlineTable& shown,
                                        const CHeadlineTable& answered, CStory& held);

// Marks the condition's keywords in a story control by selecting them: only with the
// keyword-search flag; each non-empty keyword in turn, every match (overlapping ones too,
// searching again from match start + 1), so that the last match of the last keyword stays
// selected; then read-only again. Case-insensitive, not whole-word.
void vMarkKeywords(host::ui::RichEdit& edit, const CSearch& condition);

} // namespace story
