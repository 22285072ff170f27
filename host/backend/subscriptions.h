#pragma once

#include <map>
#include <set>
#include <vector>

#include "host/backend/news_records.h"

class NewsReceiver;

// Which receivers registered which symbols (a symbol with an empty code stands for a whole
// news service). Views register through C_RegisterSymbol; back ends read it to route pushes.
// Thread: UI thread only. Ownership: receivers are not owned; a receiver must remove itself
// (removeReceiver) before it dies. Re-entrancy: callbacks may change registrations while a
// back end walks a copy returned by receiversFor.
class NewsSubscriptions {
public:
    static NewsSubscriptions& instance();

    void change(NewsReceiver* receiver, const std::vector<CSymbolInfo>& added, const std::vector<CSymbolInfo>& removed);
    void removeReceiver(NewsReceiver* receiver);
    // Registers the receiver for every news service the back end offers (nothing when there is
    // no back end or it names no service).
    void subscribeToEveryService(NewsReceiver* receiver);

    // Receivers that registered the whole service, in registration order.
    std::vector<NewsReceiver*> receiversFor(unsigned char service) const;
    // Receivers that registered one symbol (a non-empty code), in registration order.
    std::vector<NewsReceiver*> receiversFor(unsigned char service, const CString& code) const;
    // The symbols (non-empty codes) a receiver registered, each once, in (service, code) order.
    std::vector<CSymbolInfo> symbolsOf(const NewsReceiver* receiver) const;
    // Every receiver that holds at least one registration, in registration order.
    std::vector<NewsReceiver*> allReceivers() const;
    bool isRegistered(const NewsReceiver* receiver) const;
    bool isRegistered(const NewsReceiver* receiver, unsigned char service) const;
    void clear();

private:
    struct Entry {
        NewsReceiver* receiver = nullptr;
        std::multiset<std::pair<unsigned char, CString>> symbols;
    };
    std::vector<Entry> m_entries;
};
