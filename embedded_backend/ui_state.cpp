#include "embedded_backend/ui_state.h"

#include <algorithm>
#include <utility>

#include "embedded_backend/day_math.h"

namespace embedded {

void UiState::toAll(const std::function<void(NewsReceiver&)>& call) {
    for (NewsReceiver* receiver : subscriptions->allReceivers()) {
        if (subscriptions->isRegistered(receiver)) {
            call(*receiver);
        }
    }
}

void UiState::toService(unsigned char service, const std::function<void(NewsReceiver&)>& call) {
    for (NewsReceiver* receiver : subscriptions->receiversFor(service)) {
        if (subscriptions->isRegistered(receiver, service)) {
            call(*receiver);
        }
    }
}

void UiState::apply(const NewsBatch& batch) {
    const bool wasConnected = connected;
    // The parts of a recovery gather here until the batch that completes it.
    Recovery fresh;
    Recovery& recovery = batch.recovery ? m_recovery : fresh;
    for (const NewsChange& change : batch.changes) {
        if (const auto* h = std::get_if<HeadlineRecord>(&change)) {
            applyHeadline(*h, batch.recovery, recovery);
        } else if (const auto* s = std::get_if<StoryRecord>(&change)) {
            applyStory(*s, batch.recovery, recovery);
        } else if (const auto* d = std::get_if<DayChange>(&change)) {
            applyDay(*d, batch.recovery, recovery);
        } else if (const auto* c = std::get_if<CategoryRecord>(&change)) {
            catalog.addCategory(c->service, c->id, c->name);
        } else if (const auto* link = std::get_if<ConnectionChange>(&change)) {
            connected = link->connected;
        }
    }
    if (batch.recovery && !batch.partial) {
        // Taken out first: a view's callback may run the UI queue and so the next batch.
        const Recovery done = std::exchange(m_recovery, Recovery{});
        announce(done);
    }
    if (!wasConnected && connected) {
        recoverAllQuotes();
    }
}

void UiState::applyQuotes(const std::vector<QuoteTick>& ticks) {
    for (const QuoteTick& tick : ticks) {
        if (quotes.apply(tick) != QuoteBook::ApplyResult::Applied) {
            ++quotesRejected;
            continue;
        }
        if (!connected) {
            continue; // the book moves on; the views get it back with the reconnection
        }
        const std::vector<NewsReceiver*> receivers = subscriptions->receiversFor(tick.service, tick.code);
        if (receivers.empty()) {
            continue;
        }
        const CMemoryInfo record = *quotes.find(tick.service, tick.code);
        for (NewsReceiver* receiver : receivers) {
            // An earlier call may have unregistered this view (or destroyed it).
            const std::vector<NewsReceiver*> now = subscriptions->receiversFor(tick.service, tick.code);
            if (std::find(now.begin(), now.end(), receiver) != now.end()) {
                receiver->vRecvNewMemory(&record);
            }
        }
    }
}

bool UiState::recoverQuote(unsigned char service, const CString& code) {
    const CMemoryInfo* found = quotes.find(service, code);
    if (found == nullptr) {
        return false;
    }
    const CMemoryInfo record = *found;
    for (NewsReceiver* receiver : subscriptions->receiversFor(service, code)) {
        const std::vector<NewsReceiver*> now = subscriptions->receiversFor(service, code);
        if (std::find(now.begin(), now.end(), receiver) != now.end()) {
            receiver->vRecvMemoryRecovery(&record);
        }
    }
    return true;
}

void UiState::recoverAllQuotes() {
    for (NewsReceiver* receiver : subscriptions->allReceivers()) {
        if (!subscriptions->isRegistered(receiver)) {
            continue;
        }
        std::vector<CMemoryInfo> records;
        for (const CSymbolInfo& s : subscriptions->symbolsOf(receiver)) {
            if (const CMemoryInfo* found = quotes.find(s.m_byMarket, s.m_strCode)) {
                records.push_back(*found);
            }
        }
        if (!records.empty()) {
            receiver->vRecvMultiSymbolMemoryRecovery(&records);
        }
    }
}

void UiState::applyHeadline(const HeadlineRecord& h, bool recovering, Recovery& recovery) {
    catalog.addService(h.service);
    for (const CSymbolInfo& s : h.symbols) {
        catalog.addSymbol(h.service, s.m_strCode, s.m_strName);
    }
    const NewsCache::PutResult put = cache.putHeadline(h);
    if (recovering) {
        recovery.dateTables.insert({h.service, h.day});
        recovery.categoryTables.insert({h.service, h.category});
        for (const CSymbolInfo& s : h.symbols) {
            recovery.symbolTables.insert({h.service, s.m_strCode});
        }
        if (put.replaced) {
            recovery.categoryTables.insert({h.service, put.previousCategory});
            for (const CString& code : put.previousSymbols) {
                recovery.symbolTables.insert({h.service, code});
            }
        }
        recovery.headlines.push_back(put.entry);
        recovery.fresh.insert({put.entry.m_byService, put.entry.m_tTime, put.entry.m_iSeqNo});
        return;
    }
    if (!connected) {
        return;
    }
    // The view copies what it keeps; a local copy stays valid whatever a callback does.
    const CHeadline* cached = cache.headline(put.entry);
    if (cached == nullptr) {
        return;
    }
    const CHeadline headline = *cached;
    const CString category = std::to_string(h.category);
    const CString symbol = h.symbols.empty() ? CString{} : h.symbols.front().m_strCode;
    toService(h.service, [&](NewsReceiver& r) {
        if (connected) {
            r.RecvNewHeadLine(&headline, category, symbol);
        }
    });
}

void UiState::applyStory(const StoryRecord& s, bool recovering, Recovery& recovery) {
    bool replaced = false;
    const std::optional<CHeadlineTable> entry = cache.putStory(s, &replaced);
    if (!entry || s.withHeadline) {
        return; // the headline's own push (or recovery) covers a story that came with it or before it
    }
    // A first story is now available; a second one is a correction of the story shown.
    if (recovering) {
        if (recovery.fresh.count({entry->m_byService, entry->m_tTime, entry->m_iSeqNo}) == 0) {
            (replaced ? recovery.storyUpdates : recovery.stories).push_back(*entry);
        }
        return;
    }
    const CHeadlineTable e = *entry;
    if (replaced) {
        toAll([&](NewsReceiver& r) { r.StoryUpdateNotify(&e); });
    } else {
        toAll([&](NewsReceiver& r) { r.RespStory(e); });
    }
}

void UiState::applyDay(const DayChange& d, bool recovering, Recovery& recovery) {
    catalog.addService(d.service);
    cache.setCurrentDay(d.service, d.day);
    cache.dropBefore(d.service, d.keepFrom);
    if (onNewsDay) {
        onNewsDay(d.service, d.day);
    }
    const CMarketStatus status{d.service, d.day};
    if (recovering) {
        recovery.days.push_back(status);
        return;
    }
    toAll([&](NewsReceiver& r) { r.vRecvNewMarketStatus(&status); });
}

void UiState::announce(const Recovery& recovery) {
    for (const CMarketStatus& status : recovery.days) {
        toAll([&](NewsReceiver& r) { r.vRecvNewMarketStatus(&status); });
    }
    std::vector<CHeadlineTable> scratch;
    for (const auto& [service, day] : recovery.dateTables) {
        scratch.clear();
        const CHeadlineTableInfo info{
            service, static_cast<signed char>(cache.dateTable(service, day, scratch) > 0 ? 0 : -1), dayText(day)};
        toAll([&](NewsReceiver& r) { r.vRecvAllHeadlineTableRecovery(&info); });
    }
    for (const auto& [service, category] : recovery.categoryTables) {
        scratch.clear();
        const CHeadlineTableInfo info{
            service, static_cast<signed char>(cache.categoryTable(service, category, scratch) > 0 ? 0 : -1),
            std::to_string(category)};
        toAll([&](NewsReceiver& r) { r.vRecvCatHeadlineTableRecovery(&info); });
    }
    for (const auto& [service, code] : recovery.symbolTables) {
        scratch.clear();
        const CHeadlineTableInfo info{
            service, static_cast<signed char>(cache.symbolTable(service, code, scratch) > 0 ? 0 : -1), code};
        toAll([&](NewsReceiver& r) { r.vRecvSymHeadlineTableRecovery(&info); });
    }
    // Only what is still held: a later day in the same recovery may have dropped some.
    std::vector<CHeadlineTable> held;
    for (const CHeadlineTable& e : recovery.headlines) {
        if (cache.holds(e)) {
            held.push_back(e);
        }
    }
    if (!held.empty()) {
        toAll([&](NewsReceiver& r) { r.RespHeadLine(held); });
    }
    for (const CHeadlineTable& e : held) {
        const std::vector<CSymbolInfo>* symbols = cache.symbols(e);
        if (symbols == nullptr || symbols->empty()) {
            continue;
        }
        CNewsSymlistInfo info;
        info.m_byService = e.m_byService;
        info.m_tTime = e.m_tTime;
        info.m_iSeqNo = e.m_iSeqNo;
        info.m_symbols.m_vSymbols = *symbols;
        toAll([&](NewsReceiver& r) { r.vRecvNewsRelateSymbolListRecovery(&info); });
    }
    for (const CHeadlineTable& e : recovery.stories) {
        if (cache.holds(e)) {
            toAll([&](NewsReceiver& r) { r.RespStory(e); });
        }
    }
    for (const CHeadlineTable& e : recovery.storyUpdates) {
        if (cache.holds(e)) {
            toAll([&](NewsReceiver& r) { r.StoryUpdateNotify(&e); });
        }
    }
    if (onRecovered) {
        onRecovered(held.size());
    }
}

void UiState::answerSearch(unsigned char service, int kind, const CSearch& condition,
                           std::vector<CHeadlineTable> entries) {
    // A headline re-sent or dropped since the search ran is left out rather than shown blank.
    std::erase_if(entries, [&](const CHeadlineTable& e) { return !cache.holds(e); });
    cache.setSearchResults(service, kind, std::move(entries));
    toAll([&](NewsReceiver& r) { r.RespSearchHeadLineTable(condition, service); });
}

} // namespace embedded
