// Quote records of the scripted back end: look-ups, re-requests and the deliveries a test
// triggers. Quote pushes go to the receivers that registered the symbol, not the service.
#include <algorithm>

#include "adapters/headless/scripted_backend.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"

namespace headless {

namespace {

std::string describeSymbol(unsigned char service, const CString& code) {
    return std::to_string(service) + ":" + code;
}

// Calls deliver on each receiver registered for the symbol, checked again right before its call.
template <class Deliver> int deliverToSymbol(unsigned char service, const CString& code, Deliver deliver) {
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    int reached = 0;
    for (NewsReceiver* receiver : subscriptions.receiversFor(service, code)) {
        const std::vector<NewsReceiver*> now = subscriptions.receiversFor(service, code);
        if (std::find(now.begin(), now.end(), receiver) != now.end()) {
            deliver(*receiver);
            ++reached;
        }
    }
    return reached;
}

} // namespace

void ScriptedBackend::setMemory(const CMemoryInfo& memory) {
    m_memory[{memory.m_byService, memory.m_strCode}] = memory;
}

void ScriptedBackend::removeMemory(unsigned char service, const CString& code) {
    m_memory.erase({service, code});
}

const CMemoryInfo* ScriptedBackend::memory(unsigned char service, const CString& code) const {
    const auto it = m_memory.find({service, code});
    return it == m_memory.end() ? nullptr : &it->second;
}

int ScriptedBackend::pushMemory(const CMemoryInfo& memory) {
    if (!m_connected) {
        return -1;
    }
    setMemory(memory);
    return deliverToSymbol(memory.m_byService, memory.m_strCode, [&](NewsReceiver& r) {
        const CMemoryInfo copy = memory;
        r.vRecvNewMemory(&copy);
    });
}

int ScriptedBackend::recoverMemory(unsigned char service, const CString& code) {
    const CMemoryInfo* stored = memory(service, code);
    if (stored == nullptr) {
        return -1;
    }
    settle(Request::Kind::kMemory, service, 0, code);
    const CMemoryInfo copy = *stored;
    return deliverToSymbol(service, code, [&](NewsReceiver& r) { r.vRecvMemoryRecovery(&copy); });
}

int ScriptedBackend::recoverAllMemory() {
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    int reached = 0;
    for (NewsReceiver* receiver : subscriptions.allReceivers()) {
        if (!subscriptions.isRegistered(receiver)) {
            continue;
        }
        std::vector<CMemoryInfo> records;
        for (const CSymbolInfo& s : subscriptions.symbolsOf(receiver)) {
            if (const CMemoryInfo* stored = memory(s.m_byMarket, s.m_strCode)) {
                records.push_back(*stored);
            }
        }
        if (!records.empty()) {
            receiver->vRecvMultiSymbolMemoryRecovery(&records);
            ++reached;
        }
    }
    return reached;
}

bool ScriptedBackend::BKQbGetSymbolMemory(CMemoryInfo& memory, unsigned char service, const CString& code) {
    const CMemoryInfo* stored = this->memory(service, code);
    if (stored != nullptr) {
        memory = *stored;
    }
    log([&] {
        return std::string("BKQbGetSymbolMemory(" + describeSymbol(service, code) + ") -> " +
                           (stored != nullptr ? "true" : "false"));
    });
    return stored != nullptr;
}

bool ScriptedBackend::BKQbReRequestSymbolMemory(unsigned char service, const CString& code) {
    Request r;
    r.kind = Request::Kind::kMemory;
    r.service = service;
    r.key = code;
    r.description = "BKQbReRequestSymbolMemory(" + describeSymbol(service, code) + ")";
    return request(std::move(r));
}

} // namespace headless
