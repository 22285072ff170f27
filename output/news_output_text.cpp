#include "output/news_output_text.h"

#include <algorithm>

#include "headline_list/local_day_cache.h"
#include "host/text/char_next.h"
#include "host/text/cp950.h"
#include "host/text/format.h"

namespace news_output {

namespace {

constexpr std::string_view kParagraphMark = "@@@@";
constexpr std::string_view kLineEnd = "\r\n";

bool isBreak(char c) {
    return c == '\r' || c == '\n';
}

} // namespace

CString cszStoryDateLine(LocalDayCache& days, std::int64_t time) {
    LocalClock clock;
    if (!days.clock(time, clock)) {
        clock = LocalClock{0, 0, 0, -1, -1, -1};
    }
    return text::format("@@@@%4d/%02d/%2d %02d:%02d:%02d", clock.year, clock.month, clock.day, clock.hour, clock.minute,
                        clock.second);
}

void vCutAtFirstLineBreak(CString& text) {
    // Tokenising in place skips the breaks in front of the first piece and ends that piece at
    // the break after it; measured again from the start, the text ends there.
    std::size_t pos = 0;
    while (pos < text.size() && isBreak(text[pos])) {
        ++pos;
    }
    if (pos < text.size()) {
        while (pos < text.size() && !isBreak(text[pos])) {
            pos = cp950::charNextA(text, pos);
        }
        text.resize(pos);
    }
    text = cp950::replaceAll(text, kParagraphMark, kLineEnd);
}

CString cszWholeStory(const CString& text) {
    CString joined;
    joined.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(joined), [](char c) { return !isBreak(c); });
    return cp950::replaceAll(joined, kParagraphMark, kLineEnd);
}

std::size_t iBodyLineLength(std::string_view text) {
    const std::string_view head = text.substr(0, kClassifiedBytes);
    std::size_t length = std::min(kLineBytes, text.size());
    // Step character by character up to the 80th byte; when a character begins there and
    // takes the 81st byte too, the line stops before it.
    std::size_t pos = 0;
    std::size_t lineFeedEnd = 0;
    while (pos < kLineBytes - 1 && pos < head.size()) {
        if (head[pos] == '\n' && lineFeedEnd == 0) {
            lineFeedEnd = pos + 1;
        }
        pos = cp950::charNextA(head, pos);
    }
    if (pos == kLineBytes - 1 && cp950::charNextA(head, pos) == kLineBytes + 1) {
        length = kLineBytes - 1;
    }
    if (lineFeedEnd != 0 && lineFeedEnd < length) {
        length = lineFeedEnd;
    }
    return length;
}

std::vector<CString> vTitlePieces(const CString& title) {
    if (title.size() <= kLineBytes) {
        return {title};
    }
    std::vector<CString> pieces;
    std::string_view rest = title;
    while (rest.size() > kLineBytes) {
        pieces.emplace_back(rest.substr(0, kLineBytes));
        rest.remove_prefix(kLineBytes);
    }
    return pieces;
}

void vTrimLineEnd(CString& line) {
    while (!line.empty() && isBreak(line.back())) {
        line.pop_back();
    }
}

} // namespace news_output
