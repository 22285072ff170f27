#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"
#include "host/framework/clock.h"
#include "host/text/cp950.h"

namespace embedded::test {

// A UI queue the test thread drains: posted work runs only inside drainUntil / runPending.
class QueueDispatcher final : public UiDispatcher {
public:
    void post(std::function<void()> work) override {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(work));
        m_posted.notify_all();
    }

    // Runs what is queued (and what that posts) until nothing is left.
    std::size_t runPending() {
        std::size_t ran = 0;
        while (true) {
            std::function<void()> work;
            {
                std::lock_guard lock(m_mutex);
                if (m_queue.empty()) {
                    return ran;
                }
                work = std::move(m_queue.front());
                m_queue.pop_front();
            }
            work();
            ++ran;
        }
    }

    // Runs posted work until done() holds; false when the bound passes first.
    bool drainUntil(const std::function<bool()>& done, std::chrono::milliseconds bound = std::chrono::seconds(20)) {
        const auto deadline = std::chrono::steady_clock::now() + bound;
        while (true) {
            runPending();
            if (done()) {
                return true;
            }
            std::unique_lock lock(m_mutex);
            if (!m_posted.wait_until(lock, deadline, [&] { return !m_queue.empty(); })) {
                lock.unlock();
                runPending();
                return done();
            }
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<std::function<void()>> m_queue;
};

class FixedClock final : public host::Clock {
public:
    explicit FixedClock(std::int64_t seconds) : m_ms(seconds * 1000) {}
    std::int64_t nowMs() const override { return m_ms.load(); }
    void set(std::int64_t seconds) { m_ms = seconds * 1000; }

private:
    std::atomic<std::int64_t> m_ms;
};

// Records every callback as one line of text, in order, plus the payloads tests look at.
class RecordingReceiver final : public NewsReceiver {
public:
    std::vector<std::string> log;
    std::vector<CHeadline> pushes;
    std::vector<std::string> pushCategories;
    std::vector<std::string> pushSymbols;
    std::vector<std::pair<CSearch, unsigned char>> searches;
    std::vector<CHeadlineTableInfo> dateRecoveries;
    std::vector<CHeadlineTableInfo> categoryRecoveries;
    std::vector<CHeadlineTableInfo> symbolRecoveries;
    std::vector<std::vector<CHeadlineTable>> headlineAnswers;
    std::vector<CHeadlineTable> stories;
    std::vector<CNewsSymlistInfo> symbolLists;
    std::vector<CMarketStatus> marketStatus;
    std::function<void()> onPush; // runs inside RecvNewHeadLine

    void RecvNewHeadLine(const CHeadline* h, const CString& category, const CString& symbol) override {
        log.push_back("push " + std::to_string(h->m_byService) + "/" + std::to_string(h->m_iSeqNo));
        pushes.push_back(*h);
        pushCategories.push_back(category);
        pushSymbols.push_back(symbol);
        if (onPush) {
            onPush();
        }
    }
    void RespHeadLine(const std::vector<CHeadlineTable>& entries) override {
        log.push_back("headlines " + std::to_string(entries.size()));
        headlineAnswers.push_back(entries);
    }
    void RespStory(const CHeadlineTable& e) override {
        log.push_back("story " + std::to_string(e.m_byService) + "/" + std::to_string(e.m_iSeqNo));
        stories.push_back(e);
    }
    void StoryUpdateNotify(const CHeadlineTable* e) override {
        log.push_back("story-update " + std::to_string(e->m_byService) + "/" + std::to_string(e->m_iSeqNo));
    }
    void RespSearchHeadLineTable(const CSearch& c, unsigned char service) override {
        log.push_back("search " + std::to_string(service));
        searches.emplace_back(c, service);
    }
    void vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* i) override {
        log.push_back("date-table " + std::to_string(i->m_byService) + " " + i->m_strKey + " " +
                      std::to_string(i->m_cStatus));
        dateRecoveries.push_back(*i);
    }
    void vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* i) override {
        log.push_back("category-table " + std::to_string(i->m_byService) + " " + i->m_strKey + " " +
                      std::to_string(i->m_cStatus));
        categoryRecoveries.push_back(*i);
    }
    void vRecvSymHeadlineTableRecovery(const CHeadlineTableInfo* i) override {
        log.push_back("symbol-table " + std::to_string(i->m_byService) + " " + i->m_strKey + " " +
                      std::to_string(i->m_cStatus));
        symbolRecoveries.push_back(*i);
    }
    void vRecvNewsRelateSymbolListRecovery(const CNewsSymlistInfo* i) override {
        log.push_back("symbols " + std::to_string(i->m_byService) + "/" + std::to_string(i->m_iSeqNo));
        symbolLists.push_back(*i);
    }
    void vRecvNewMarketStatus(const CMarketStatus* s) override {
        log.push_back("new-day " + std::to_string(s->m_byService) + " " + std::to_string(s->m_iDate));
        marketStatus.push_back(*s);
    }
};

inline CString big5(const char* utf8) {
    return cp950::fromUtf8(utf8);
}

// 2024-03-05 09:00 in Taipei, the tests' time zone.
inline std::int64_t morning() {
    return localMidnightOf(20240305) + 9 * 3600;
}

inline FeedEvent headlineEvent(unsigned char service, std::int32_t seq, std::int64_t time, const char* titleUtf8,
                               std::int32_t category = 1, const char* symbol = "2330",
                               const char* storyUtf8 = nullptr) {
    FeedEvent e;
    e.kind = FeedEventKind::Headline;
    e.service = service;
    e.seq = seq;
    e.time = time;
    e.title = big5(titleUtf8);
    e.category = category;
    if (symbol != nullptr) {
        e.symbols.push_back(CSymbolInfo{service, symbol, {}});
    }
    if (storyUtf8 != nullptr) {
        e.story = big5(storyUtf8);
    }
    return e;
}

inline FeedEvent storyEvent(unsigned char service, std::int32_t seq, std::int64_t time, const char* textUtf8) {
    FeedEvent e;
    e.kind = FeedEventKind::Story;
    e.service = service;
    e.seq = seq;
    e.time = time;
    e.story = big5(textUtf8);
    return e;
}

inline FeedEvent linkEvent(FeedEventKind kind, unsigned char service = 0) {
    FeedEvent e;
    e.kind = kind;
    e.service = service;
    e.time = morning();
    return e;
}

// A temporary folder removed with the fixture.
class TempFolder {
public:
    TempFolder() {
        static std::atomic<int> counter{0};
        m_path = std::filesystem::temp_directory_path() /
                 ("news-backend-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// A back end on a temporary store, a fixed clock and a drained queue, with one registered view.
class BackendTest : public ::testing::Test {
protected:
    FixedClock clock{morning()};
    TempFolder folder;
    QueueDispatcher dispatcher;
    NewsSubscriptions subscriptions;
    RecordingReceiver view;
    std::unique_ptr<EmbeddedBackend> backend;

    EmbeddedBackendOptions options() {
        EmbeddedBackendOptions o;
        o.dataFolder = folder.path().string();
        o.daysToKeep = 5;
        o.dispatcher = &dispatcher;
        o.clock = &clock;
        o.subscriptions = &subscriptions;
        return o;
    }
    void start(EmbeddedBackendOptions o) {
        backend = std::make_unique<EmbeddedBackend>(std::move(o));
        const StoreOpenResult opened = backend->open();
        ASSERT_TRUE(opened.ok()) << opened.message;
    }
    void SetUp() override { start(options()); }
    void TearDown() override {
        if (backend) {
            backend->shutdown();
        }
    }
    void registerFor(NewsReceiver* receiver, unsigned char service) {
        subscriptions.change(receiver, {CSymbolInfo{service, {}, {}}}, {});
    }
    // Ingest posts its batch to the UI queue before it returns: running the queue applies it.
    void ingestNow(std::vector<FeedEvent> events) {
        backend->ingest(std::move(events));
        dispatcher.runPending();
    }
    std::vector<CHeadlineTable> dateTable(unsigned char service, int day) {
        std::vector<CHeadlineTable> table;
        backend->BKQNEWS_iGetHeadlineTable(service, table, BKQuoteInterface::kByDate, dayText(day));
        return table;
    }
    // Runs a search and waits for its answer; returns the sequence numbers, newest first.
    std::vector<std::int32_t> search(unsigned char service, std::vector<const char*> keywords, unsigned char scope,
                                     unsigned char method) {
        CSearch c;
        for (const char* k : keywords) {
            c.m_vKeywords.push_back(big5(k));
        }
        c.m_byScope = scope;
        c.m_byMethod = method;
        const std::size_t before = view.searches.size();
        EXPECT_TRUE(backend->BKQNEWS_bSearchNews(service, BKQuoteInterface::kSearch, c));
        EXPECT_TRUE(dispatcher.drainUntil([&] { return view.searches.size() > before; }));
        std::vector<CHeadlineTable> table;
        backend->BKQNEWS_iGetHeadlineTable(service, table, BKQuoteInterface::kSearch, "SEARCH");
        std::vector<std::int32_t> seqs;
        for (const CHeadlineTable& e : table) {
            seqs.push_back(e.m_iSeqNo);
        }
        return seqs;
    }
};

} // namespace embedded::test
