// Quote statements and observations: the scripted back end's quote records, their pushes and
// recoveries, and what the related-symbol quote list of the news view shows.
#include <cmath>

#include "apps/newsview-script/observe_format.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/backend/quote_price.h"
#include "host/backend/subscriptions.h"
#include "news_view/news_ctrl_view.h"
#include "search/news_relate_symbol_quote_view.h"

namespace scenario {

namespace {

// "585.5" -> 58550; a price with more than two decimals or not a number fails the line.
bool parsePrice(const std::string& text, std::int32_t& out) {
    try {
        std::size_t used = 0;
        const double value = std::stod(text, &used);
        const double hundredths = value * 100.0;
        if (used != text.size() || !(value >= 0) || value > 1000000.0 ||
            std::fabs(hundredths - std::round(hundredths)) > 1e-6) {
            return false;
        }
        out = static_cast<std::int32_t>(std::llround(hundredths));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

// quote SYMBOL [name N] ref P [last P] [bid P] [ask P] [volume V]
// quote-push SYMBOL [last P] [bid P] [ask P] [volume V] [to view]
void ScenarioRunner::doQuote(const Statement& s) {
    const bool push = word(s, 0) == "quote-push";
    const CSymbolInfo symbol = symbolRef(s, word(s, 1));
    CMemoryInfo memory;
    if (const CMemoryInfo* stored = m_backend.memory(symbol.m_byMarket, symbol.m_strCode)) {
        memory = *stored;
    } else if (push) {
        scriptError(s, "no quote of " + word(s, 1) + " is declared: 'quote " + word(s, 1) + " ref PRICE' first");
    }
    memory.m_byService = symbol.m_byMarket;
    memory.m_strCode = symbol.m_strCode;
    const auto price = [&](const char* key, std::int32_t& field) {
        if (const auto given = option(s, 2, key)) {
            if (!parsePrice(*given, field)) {
                scriptError(s, std::string("'") + key + "' needs a price with at most two decimals");
            }
            return true;
        }
        return false;
    };
    if (const auto name = option(s, 2, "name")) {
        memory.m_strName = in(*name);
    }
    if (price("ref", memory.m_iRefPrice)) {
        memory.m_iLimitUp = quote_price::limitUp(memory.m_iRefPrice);
        memory.m_iLimitDown = quote_price::limitDown(memory.m_iRefPrice);
    } else if (!push) {
        scriptError(s, "a quote needs its reference price: 'ref PRICE'");
    }
    std::int32_t last = memory.m_iLast;
    if (price("last", last) && last > 0) {
        memory.m_iOpen = memory.m_iOpen == 0 ? last : memory.m_iOpen;
        memory.m_iHigh = std::max(memory.m_iHigh, last);
        memory.m_iLow = memory.m_iLow == 0 ? last : std::min(memory.m_iLow, last);
        memory.m_iLast = last;
    }
    price("bid", memory.m_iBid);
    price("ask", memory.m_iAsk);
    if (const auto volume = option(s, 2, "volume")) {
        const long long lots = std::stoll(*volume);
        if (push) {
            memory.m_iTickVolume = static_cast<std::int32_t>(lots);
            memory.m_llVolume += lots;
        } else {
            memory.m_llVolume = lots;
        }
    }
    memory.m_tTime = m_host->clock().nowMs() / 1000;
    if (!push) {
        m_backend.setMemory(memory);
        return;
    }
    if (const auto target = option(s, 2, "to")) {
        // A host that relays quote data to the top-level view: the news view passes it on.
        if (*target != "view") {
            scriptError(s, "quote pushes go 'to view' or to the views that registered the symbol");
        }
        m_backend.setMemory(memory);
        if (auto* news = dynamic_cast<TRVNewsCtrlView*>(m_view.get())) {
            news->vRecvNewMemory(&memory);
        }
        return;
    }
    m_backend.pushMemory(memory);
}

std::vector<std::string> ScenarioRunner::observeQuoteList(const Statement& s, const std::vector<Word>& words) const {
    const auto* news = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    CNewsRelateSymbolQuoteView* list = news != nullptr ? news->GetRelateQuoteView() : nullptr;
    if (list == nullptr) {
        return {"<no quote list>"};
    }
    const std::string what = words.size() > 1 ? words[1].text : "state";
    if (what == "state") {
        std::string line = list->GetDataState() == TRVQuoteBaseView::kDataNotSupported ? "not-supported" : "normal";
        line += " rows " + std::to_string(list->GetRowCount());
        line += " title \"" + out(list->GetCaptionText()) + "\"";
        line += list->GetWnd() != nullptr && list->GetWnd()->isVisible() ? " visible " : " hidden ";
        line += list->GetWnd() != nullptr ? format::rectText(list->GetWnd()->rect()) : std::string("-");
        return {line};
    }
    if (what == "registered") {
        std::vector<std::string> lines;
        for (const CSymbolInfo& symbol : NewsSubscriptions::instance().symbolsOf(list)) {
            lines.push_back(std::to_string(symbol.m_byMarket) + ":" + out(symbol.m_strCode));
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "current") {
        // The outputs start as a marker, so that an answer that leaves them alone shows it.
        unsigned char service = 255;
        CString code = "untouched";
        const int result = list->GetCurrSymbolInfo(service, code);
        return {"result " + std::to_string(result) + " symbol " + std::to_string(service) + ":" + out(code)};
    }
    scriptError(s, "quote-list observations are state, registered and current");
}

} // namespace scenario
