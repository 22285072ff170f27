// The quote side of the embedded back end: the quote book of the day, the simulated exchange
// that moves it, and the quote look-ups and recovery requests of the views.
#include <memory>

#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/ui_state.h"
#include "host/backend/ui_dispatcher.h"

namespace embedded {

namespace {

// The services whose symbols trade on the simulated exchange: listed and emerging-board stocks.
constexpr unsigned char kQuotedServices[] = {16, 122};

void postQuotes(UiDispatcher* dispatcher, const std::weak_ptr<UiState>& ui, std::function<void(UiState&)> work) {
    if (dispatcher == nullptr) {
        return;
    }
    dispatcher->post([ui, work = std::move(work)] {
        if (const std::shared_ptr<UiState> state = ui.lock()) {
            work(*state);
        }
    });
}

} // namespace

void EmbeddedBackend::openQuoteBook() {
    for (const unsigned char id : kQuotedServices) {
        const Catalog::Service* service = m_ui->catalog.service(id);
        if (service == nullptr) {
            continue;
        }
        for (const Catalog::Symbol& symbol : service->symbols) {
            m_ui->quotes.open(id, symbol.code, symbol.name, demoReferencePrice(symbol.code));
        }
    }
}

void EmbeddedBackend::startQuoteFeed(QuoteFeedOptions options) {
    if (m_shutDown) {
        return;
    }
    if (options.startTime == 0) {
        options.startTime = now();
    }
    std::vector<QuoteSimulator::Symbol> symbols;
    for (const unsigned char id : kQuotedServices) {
        const Catalog::Service* service = m_ui->catalog.service(id);
        if (service == nullptr) {
            continue;
        }
        for (const Catalog::Symbol& symbol : service->symbols) {
            if (const CMemoryInfo* record = m_ui->quotes.find(id, symbol.code)) {
                symbols.push_back({id, symbol.code, record->m_strName, record->m_iRefPrice});
            }
        }
    }
    m_quoteFeed.start(options, std::move(symbols),
                      [this](std::vector<QuoteTick> ticks) { ingestQuotes(std::move(ticks)); });
}

void EmbeddedBackend::stopQuoteFeed() {
    m_quoteFeed.stop();
}

bool EmbeddedBackend::waitQuoteFeedFinished(std::chrono::milliseconds timeout) {
    return m_quoteFeed.waitFinished(timeout);
}

void EmbeddedBackend::ingestQuotes(std::vector<QuoteTick> ticks) {
    if (m_shutDown || ticks.empty()) {
        return;
    }
    auto shared = std::make_shared<const std::vector<QuoteTick>>(std::move(ticks));
    postQuotes(m_options.dispatcher, m_ui, [shared](UiState& state) { state.applyQuotes(*shared); });
}

std::uint64_t EmbeddedBackend::rejectedQuotes() const {
    return m_ui->quotesRejected;
}

bool EmbeddedBackend::BKQbGetSymbolMemory(CMemoryInfo& memory, unsigned char service, const CString& code) {
    const CMemoryInfo* record = m_ui->quotes.find(service, code);
    if (record == nullptr) {
        return false;
    }
    memory = *record;
    return true;
}

bool EmbeddedBackend::BKQbReRequestSymbolMemory(unsigned char service, const CString& code) {
    if (m_shutDown || m_ui->quotes.find(service, code) == nullptr || !m_ui->connected) {
        return false;
    }
    // Answered later, like every request: the record as it is when the answer is delivered.
    postQuotes(m_options.dispatcher, m_ui, [service, code](UiState& state) { state.recoverQuote(service, code); });
    return true;
}

} // namespace embedded
