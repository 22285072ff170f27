#include "story/story_text.h"

#include <algorithm>
#include <ctime>

#include "headline_list/entry_equality.h"
#include "host/backend/bk_quote_interface.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "host/ui/controls.h"
#include "news_view/news_ctrl_view.h"
#include "story/story_ids.h"

namespace story {

CString Lang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString(key);
}

CString cszDateLine(std::int64_t time) {
    std::tm tm{};
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = -1;
    int minute = -1;
    int second = -1;
    if (text::localTime(time, tm)) {
        year = tm.tm_year + 1900;
        month = tm.tm_mon + 1;
        day = tm.tm_mday;
        hour = tm.tm_hour;
        minute = tm.tm_min;
        second = tm.tm_sec;
    }
    return text::format("%04d/%02d/%02d %02d:%02d:%02d ", year, month, day, hour, minute, second);
}

CString cszFormatTitle(const CHeadline& headline) {
    return cszDateLine(headline.m_tTime) + "\r\n" + headline.m_strTitle;
}

CString cszFormatStory(std::int64_t storyTime, const CString& body, const CString& closingRemark, BodyBlanks blanks) {
    return cszDateLine(storyTime) + "\r\n" + body + (blanks == BodyBlanks::kTwo ? "  " : " ") + "\r\n\r\n" +
           closingRemark;
}

CString cszFormatNoStory(std::int64_t storyTime, const CString& text) {
    return cszDateLine(storyTime) + "\r\n" + text;
}

void vConvertStoryContent(CString& text) {
    CString joined;
    joined.reserve(text.size());
    for (const std::string& piece : cp950::tokenize(text, "\r\n")) {
        joined += piece;
    }
    text = cp950::replaceAll(joined, "@@@@", "\r\n");
}

CString cszConvertToSimplified(const CString& text) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return text;
    }
    CString converted = text;
    bk->LangConvertToSimplifiedChinese(text, converted);
    const CString term = Lang(kKeyReplaceTerm);
    return term.empty() ? converted : cp950::replaceAll(converted, term, Lang(kKeyReplacement));
}

CString cszConvertForService(unsigned char service, const CString& text) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr && bk->LangIsConvertToSimplified(service) ? cszConvertToSimplified(text) : text;
}

std::vector<CHeadline> vCollectHeadlines(const TRVNewsCtrlView& owner, const CHeadlineTable& entry) {
    std::vector<CHeadline> headlines;
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return headlines;
    }
    std::vector<unsigned char> services;
    owner.vGetNewsActiveService(services);
    const std::vector<CHeadlineTable> entries{entry};
    for (const unsigned char service : services) {
        bk->BKQNEWS_iGetHeadline(service, headlines, entries);
    }
    return headlines;
}

std::optional<CString> cszAnsweredTitle(const TRVNewsCtrlView& owner, EntryEquality& equality,
                                        const CHeadlineTable& entry, const std::vector<CHeadlineTable>& answer) {
    const bool listed =
        std::any_of(answer.begin(), answer.end(), [&](const CHeadlineTable& e) { return equality.equal(e, entry); });
    if (!listed) {
        return std::nullopt;
    }
    const std::vector<CHeadline> headlines = vCollectHeadlines(owner, entry);
    if (headlines.empty()) {
        return std::nullopt;
    }
    return cszConvertForService(headlines.front().m_byService, cszFormatTitle(headlines.front()));
}

ShownTexts shownTexts(const TRVNewsCtrlView& owner, const CHeadlineTable& entry, CStory& held) {
    const CString placeholder = Lang(kKeyRecover);
    ShownTexts texts{placeholder, std::nullopt};
    const std::vector<CHeadline> headlines = vCollectHeadlines(owner, entry);
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (!headlines.empty()) {
        texts.title = cszFormatTitle(headlines.front());
        if (bk != nullptr && bk->LangIsConvertToSimplified(headlines.front().m_byService) &&
            texts.title != placeholder) {
            texts.title = cszConvertToSimplified(texts.title);
        }
    }
    // Kept: a failed fetch goes on with the story held from before when that one has a text.
    const bool fetched = bk != nullptr && bk->BKQNEWS_bGetStory(held, entry);
    if (fetched || !held.m_strText.empty()) {
        CString body = cszConvertForService(entry.m_byService, held.m_strText);
        vConvertStoryContent(body);
        texts.story = cszFormatStory(held.m_tTime, body, Lang(kKeyClosingRemark), BodyBlanks::kTwo);
    }
    return texts;
}

std::optional<CString> cszAnsweredStory(EntryEquality& equality, const CHeadlineTable& shown,
                                        const CHeadlineTable& answered, CStory& held) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (!equality.equal(shown, answered) || bk == nullptr || !bk->BKQNEWS_bGetStory(held, answered)) {
        return std::nullopt;
    }
    if (held.m_strText.empty()) {
        return cszFormatNoStory(held.m_tTime, Lang(kKeyNoStory));
    }
    CString body = cszConvertForService(answered.m_byService, held.m_strText);
    vConvertStoryContent(body);
    return cszFormatStory(held.m_tTime, body, Lang(kKeyClosingRemark), BodyBlanks::kOne);
}

void vMarkKeywords(host::ui::RichEdit& edit, const CSearch& condition) {
    if (!condition.m_bKeywordSearch) {
        return;
    }
    edit.hideSelection(false);
    for (const CString& keyword : condition.m_vKeywords) {
        if (keyword.empty()) {
            continue;
        }
        for (auto match = edit.findText(0, keyword); match.first >= 0;
             match = edit.findText(match.first + 1, keyword)) {
            edit.setSelection(match.first, match.second);
        }
    }
    edit.setReadOnly(true);
}

} // namespace story
