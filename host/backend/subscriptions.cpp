#include "host/backend/subscriptions.h"

#include <algorithm>

#include "host/backend/bk_quote_interface.h"

NewsSubscriptions& NewsSubscriptions::instance() {
    static NewsSubscriptions subscriptions;
    return subscriptions;
}

void NewsSubscriptions::change(NewsReceiver* receiver, const std::vector<CSymbolInfo>& added,
                               const std::vector<CSymbolInfo>& removed) {
    auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.receiver == receiver; });
    if (it == m_entries.end()) {
        if (added.empty()) {
            return;
        }
        m_entries.push_back(Entry{receiver, {}});
        it = std::prev(m_entries.end());
    }
    for (const CSymbolInfo& s : added) {
        it->symbols.emplace(s.m_byMarket, s.m_strCode);
    }
    for (const CSymbolInfo& s : removed) {
        const auto found = it->symbols.find({s.m_byMarket, s.m_strCode});
        if (found != it->symbols.end()) {
            it->symbols.erase(found);
        }
    }
}

void NewsSubscriptions::removeReceiver(NewsReceiver* receiver) {
    std::erase_if(m_entries, [&](const Entry& e) { return e.receiver == receiver; });
}

std::vector<NewsReceiver*> NewsSubscriptions::receiversFor(unsigned char service) const {
    std::vector<NewsReceiver*> result;
    for (const Entry& e : m_entries) {
        if (e.symbols.count({service, CString{}}) > 0) {
            result.push_back(e.receiver);
        }
    }
    return result;
}

std::vector<NewsReceiver*> NewsSubscriptions::receiversFor(unsigned char service, const CString& code) const {
    std::vector<NewsReceiver*> result;
    if (code.empty()) {
        return result;
    }
    for (const Entry& e : m_entries) {
        if (e.symbols.count({service, code}) > 0) {
            result.push_back(e.receiver);
        }
    }
    return result;
}

std::vector<CSymbolInfo> NewsSubscriptions::symbolsOf(const NewsReceiver* receiver) const {
    std::vector<CSymbolInfo> result;
    for (const Entry& e : m_entries) {
        if (e.receiver != receiver) {
            continue;
        }
        for (const auto& [service, code] : e.symbols) {
            if (!code.empty() &&
                (result.empty() || result.back().m_byMarket != service || result.back().m_strCode != code)) {
                result.push_back(CSymbolInfo{service, code, {}});
            }
        }
    }
    return result;
}

std::vector<NewsReceiver*> NewsSubscriptions::allReceivers() const {
    std::vector<NewsReceiver*> result;
    for (const Entry& e : m_entries) {
        if (!e.symbols.empty()) {
            result.push_back(e.receiver);
        }
    }
    return result;
}

bool NewsSubscriptions::isRegistered(const NewsReceiver* receiver) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const Entry& e) { return e.receiver == receiver && !e.symbols.empty(); });
}

bool NewsSubscriptions::isRegistered(const NewsReceiver* receiver, unsigned char service) const {
    return std::any_of(m_entries.begin(), m_entries.end(), [&](const Entry& e) {
        return e.receiver == receiver && e.symbols.count({service, CString{}}) > 0;
    });
}

void NewsSubscriptions::clear() {
    m_entries.clear();
}

void NewsSubscriptions::subscribeToEveryService(NewsReceiver* receiver) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    std::vector<unsigned char> services;
    if (bk == nullptr || !bk->BKQNEWS_bGetAllNewsService(services)) {
        return;
    }
    std::vector<CSymbolInfo> added;
    added.reserve(services.size());
    for (const unsigned char service : services) {
        added.push_back(CSymbolInfo{service, {}, {}});
    }
    change(receiver, added, {});
}
