// The scenario statements that act for the back end and the rest of the host: pushes,
// answers, recoveries, story updates, market status, link groups, connection state.
#include <map>

#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/scenario_runner.h"
#include "embedded_backend/embedded_backend.h"
#include "host/framework/base_views.h"
#include "host/text/format.h"

namespace scenario {

namespace win = host::ui::win;

// --- Back end ---

void ScenarioRunner::doPush(const Statement& s) {
    int service = 0;
    int seq = 0;
    if (!parseHeadlineRef(word(s, 1), service, seq)) {
        scriptError(s, "'" + word(s, 1) + "' is not a headline reference (service#number, e.g. 1#12)");
    }
    const auto svc = static_cast<unsigned char>(service);
    CHeadline h;
    h.m_byService = svc;
    h.m_iSeqNo = seq;
    const std::string date = option(s, 4, "date") ? dateArg(s, *option(s, 4, "date")) : currentDate(svc);
    h.m_tTime = localTime(s, date, word(s, 2));
    h.m_strTitle = in(word(s, 3));
    if (const auto cat = option(s, 4, "cat")) {
        h.m_iCategory = std::stoi(*cat);
    }
    const CString categoryId = in(option(s, 4, "category-id").value_or(std::to_string(h.m_iCategory)));
    m_backend.pushHeadline(h, categoryId, in(option(s, 4, "symbol").value_or("")));
}

void ScenarioRunner::doAnswer(const Statement& s) {
    const std::string& what = word(s, 1);
    auto& dialogs = m_host->dialogs();
    if (what == "story") {
        const CHeadlineTable entry = entryRef(s, word(s, 2));
        if (hasWord(s, 3)) {
            m_backend.setStory(entry, in(word(s, 3)));
        }
        m_backend.answerStory(entry);
    } else if (what == "headlines") {
        m_backend.answerHeadlines(entryRefs(s, 2));
    } else if (what == "search") {
        const unsigned char service = serviceId(s, 2);
        const int kind = static_cast<int>(number(s, 3));
        CSearch condition;
        for (const auto& r : m_backend.pendingRequests()) {
            if (r.kind == headless::ScriptedBackend::Request::Kind::kSearch && r.service == service &&
                r.tableKind == kind) {
                condition = r.condition; // answered with the condition the view asked for
                break;
            }
        }
        m_backend.answerSearch(condition, service, kind, entryRefs(s, 4));
    } else if (what == "messagebox") {
        static const std::map<std::string, int> kResults = {
            {"ok", win::IDOK}, {"cancel", win::IDCANCEL}, {"yes", win::IDYES}, {"no", win::IDNO}};
        const auto it = kResults.find(word(s, 2));
        if (it == kResults.end()) {
            scriptError(s, "message boxes are answered ok, cancel, yes or no");
        }
        dialogs.answerMessageBox(it->second);
    } else if (what == "save") {
        if (word(s, 2) == "cancel") {
            dialogs.cancelSaveFile();
        } else {
            dialogs.answerSaveFile(outputPath(word(s, 2)).string());
        }
    } else if (what == "print") {
        if (word(s, 2) == "ok") {
            dialogs.answerPrint();
        } else if (word(s, 2) == "cancel") {
            dialogs.cancelPrint();
        } else {
            scriptError(s, "print dialogs are answered ok or cancel");
        }
    } else {
        scriptError(s, "answers are story, headlines, search, messagebox, save and print");
    }
}

void ScenarioRunner::doRecover(const Statement& s) {
    const std::string& what = word(s, 1);
    if (what == "related") {
        const CHeadlineTable entry = entryRef(s, word(s, 2));
        std::vector<CSymbolInfo> symbols;
        for (std::size_t i = 3; i < s.words.size(); ++i) {
            if (s.words[i].text != "=") {
                symbols.push_back(symbolRef(s, s.words[i].text));
            }
        }
        m_backend.recoverRelatedSymbols(entry, symbols);
        return;
    }
    if (what == "memory") {
        const CSymbolInfo symbol = symbolRef(s, word(s, 2));
        if (m_backend.recoverMemory(symbol.m_byMarket, symbol.m_strCode) < 0) {
            scriptError(s, "no quote of " + word(s, 2) + " is declared");
        }
        return;
    }
    if (what == "memories") {
        m_backend.recoverAllMemory();
        return;
    }
    const unsigned char service = serviceId(s, 2);
    std::size_t first = 4;
    signed char status = 0;
    if (hasWord(s, 4) && word(s, 4) == "status") {
        status = static_cast<signed char>(number(s, 5));
        first = 6;
    }
    const std::vector<CHeadlineTable> entries = entryRefs(s, first);
    if (what == "date") {
        m_backend.recoverDateTable(service, dateArg(s, word(s, 3)), entries, status);
    } else if (what == "category") {
        m_backend.recoverCategoryTable(service, in(word(s, 3)), entries, status);
    } else if (what == "symbol") {
        m_backend.recoverSymbolTable(service, in(word(s, 3)), entries, status);
    } else {
        scriptError(s, "recoveries are date, category, symbol, related, memory and memories");
    }
}

void ScenarioRunner::doStoryUpdate(const Statement& s) {
    m_backend.storyUpdated(entryRef(s, word(s, 1)));
}

void ScenarioRunner::doMarketStatus(const Statement& s) {
    m_backend.marketStatus(serviceId(s, 1), std::stoi(dateArg(s, word(s, 2))));
}

// --- Link groups ---

namespace {

// Another quote view of the host, alive only while it announces a symbol to its link group.
class LinkedQuoteView final : public TRVQuoteBaseView {
public:
    const CRuntimeClass* GetRuntimeClass() const override { return nullptr; }
};

TRVQuoteBaseView& quoteView(const std::unique_ptr<TRVVirtualBaseView>& view) {
    auto* quote = dynamic_cast<TRVQuoteBaseView*>(view.get());
    if (quote == nullptr) {
        throw ActionFailure("there is no quote view");
    }
    return *quote;
}

} // namespace

void ScenarioRunner::doLinkGroup(const Statement& s) {
    quoteView(m_view).SetLinkGroup(static_cast<unsigned char>(number(s, 1)));
}

void ScenarioRunner::doSymbolChange(const Statement& s) {
    const auto group = static_cast<unsigned char>(number(s, 1));
    const CSymbolInfo symbol = symbolRef(s, word(s, 2));
    TRVQuoteBaseView& view = quoteView(m_view);
    if (hasWord(s, 3)) {
        if (word(s, 3) != "from" || word(s, 4) != "view") {
            scriptError(s, "expected 'from view' after the symbol");
        }
        view.ChangeSymbol(&view, group, symbol.m_byMarket, symbol.m_strCode, CString{});
        return;
    }
    LinkedQuoteView other;
    other.SetSymbol(symbol.m_byMarket, symbol.m_strCode);
    other.SendChangeSymbol(&other, group);
}

void ScenarioRunner::doConnect(const Statement& /*s*/) {
    if (m_embedded) {
        m_embedded->connect();
        drainEmbedded();
        return;
    }
    m_backend.setConnected(true);
}

void ScenarioRunner::doDisconnect(const Statement& /*s*/) {
    if (m_embedded) {
        m_embedded->disconnect();
        drainEmbedded();
        return;
    }
    m_backend.setConnected(false);
}

} // namespace scenario
