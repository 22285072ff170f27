#include "apps/newsterm/alert_watch.h"

#include <algorithm>

#include "embedded_backend/search_text.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/subscriptions.h"
#include "host/ui/controls.h"
#include "news_view/news_ctrl_view.h"

namespace newsterm {

namespace {
// The tab is looked at this often, so its count goes as soon as the user shows it.
constexpr int kPollMs = 200;
} // namespace

bool alertMatches(const CSearch& condition, const CString& title, const CString& story) {
    if (condition.m_vKeywords.empty()) {
        return false;
    }
    std::string text;
    if (condition.m_byScope != CSearch::kScopeStory) {
        text = embedded::indexText(title);
    }
    if (condition.m_byScope != CSearch::kScopeHeadline) {
        text += '\n';
        text += embedded::indexText(story);
    }
    const auto found = [&text](const CString& keyword) {
        const std::string indexed = embedded::indexText(keyword);
        return !indexed.empty() && text.find(indexed) != std::string::npos;
    };
    return condition.m_byMethod == CSearch::kMethodOr
               ? std::any_of(condition.m_vKeywords.begin(), condition.m_vKeywords.end(), found)
               : std::all_of(condition.m_vKeywords.begin(), condition.m_vKeywords.end(), found);
}

AlertWatch::AlertWatch(QObject* parent, std::function<TRVNewsCtrlView*()> findView, std::function<void()> beep)
    : QObject(parent), m_findView(std::move(findView)), m_beep(std::move(beep)) {
    subscribe();
    m_poll.setInterval(kPollMs);
    connect(&m_poll, &QTimer::timeout, this, [this] { refreshTab(); });
    m_poll.start();
}

AlertWatch::~AlertWatch() {
    NewsSubscriptions::instance().removeReceiver(this);
}

void AlertWatch::subscribe() {
    NewsSubscriptions::instance().subscribeToEveryService(this);
}

void AlertWatch::RecvNewHeadLine(const CHeadline* headline, const CString& /*categoryId*/,
                                 const CString& /*symbolCode*/) {
    TRVNewsCtrlView* view = m_findView ? m_findView() : nullptr;
    if (headline == nullptr || view == nullptr || view->GetSheet(news::kModeWarningSearch) == nullptr) {
        return;
    }
    const std::vector<NewsServiceEntry>& services = view->GetServiceList();
    const bool selected = std::any_of(services.begin(), services.end(), [&](const NewsServiceEntry& e) {
        return e.m_byService == headline->m_byService && e.m_bySelected != 0;
    });
    const CSearch& condition = view->GetWarningCondition();
    if (!selected || condition.m_vKeywords.empty()) {
        return;
    }
    CString story;
    if (condition.m_byScope != CSearch::kScopeHeadline) {
        // Only a story the back end holds already can be looked into; the list itself finds
        // the rest when the search answers.
        if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
            CStory held;
            if (bk->BKQNEWS_bGetStory(
                    held, CHeadlineTable{headline->m_byService, headline->m_tTime, headline->m_iSeqNo, 0, 0})) {
                story = held.m_strText;
            }
        }
    }
    if (!alertMatches(condition, headline->m_strTitle, story)) {
        return;
    }
    if (view->iGetCurrFunction() != news::kModeWarningSearch) {
        ++m_unseen;
    }
    if (m_beepOn && m_beep) {
        m_beep();
    }
    refreshTab();
}

void AlertWatch::refreshTab() {
    TRVNewsCtrlView* view = m_findView ? m_findView() : nullptr;
    host::ui::Window* window = view != nullptr ? view->GetWnd() : nullptr;
    auto* tabs = window != nullptr ? dynamic_cast<host::ui::TabStrip*>(window->child(news::kIdTabStrip)) : nullptr;
    if (tabs == nullptr) {
        return;
    }
    if (view->iGetCurrFunction() == news::kModeWarningSearch) {
        m_unseen = 0;
    }
    for (int i = 0; i < tabs->itemCount(); ++i) {
        if (tabs->itemData(i) != news::kModeWarningSearch) {
            continue;
        }
        BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
        CString caption = bk != nullptr ? bk->LangGetLangString("IDS_NEWSCTRLVIEW_STRING_WARNINGSEARCH_NEWS")
                                        : CString("IDS_NEWSCTRLVIEW_STRING_WARNINGSEARCH_NEWS");
        if (m_unseen > 0) {
            caption += " (" + std::to_string(m_unseen) + ")";
        }
        if (tabs->itemCaption(i) != caption) {
            tabs->setItemCaption(i, caption);
        }
    }
}

} // namespace newsterm
