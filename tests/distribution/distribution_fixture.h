#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <hiredis.h>

#include "embedded_backend/catalog.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/news_store.h"
#include "embedded_backend/stream_entry.h"
#include "embedded_backend/stream_publisher.h"
#include "tests/distribution/redis_server.h"
#include "tests/embedded_backend/backend_fixture.h"

namespace distribution::test {

using embedded::test::QueueDispatcher;
using embedded::test::TempFolder;

// The headlines a terminal keeps (or a stream holds): service and number to title, the last
// version of a re-sent headline winning.
using HeadlineMap = std::map<std::pair<unsigned char, std::int32_t>, std::string>;

// One terminal's back end on its own store folder, reading the distribution; its UI queue is
// drained by the test thread.
class Terminal {
public:
    Terminal(const std::filesystem::path& folder, const embedded::RedisAddress& address)
        : m_folder(folder), m_address(address) {}
    ~Terminal() { stop(); }

    void start() {
        embedded::EmbeddedBackendOptions o;
        o.dataFolder = m_folder.string();
        o.daysToKeep = 5;
        o.dispatcher = &dispatcher;
        o.subscriptions = &subscriptions;
        o.startConnected = false; // connected once the streams are read up to date
        o.heldLimit = heldLimit;
        o.onRecovered = [this](std::size_t n) { recoveries.push_back(n); };
        backend = std::make_unique<embedded::EmbeddedBackend>(o);
        const embedded::StoreOpenResult opened = backend->open();
        ASSERT_TRUE(opened.ok()) << opened.message;
        embedded::StreamFeedOptions feed;
        feed.address = m_address;
        feed.block = std::chrono::milliseconds(100);
        feed.firstRetry = std::chrono::milliseconds(50);
        feed.lastRetry = std::chrono::milliseconds(400);
        feed.count = readCount;
        backend->startStreamFeed(feed);
    }
    // A clean stop: what was handed to the ingest reaches the store with its bookmarks.
    void stop() {
        if (backend) {
            // The reader first: nothing more is handed over once its count is taken.
            backend->stopStreamFeed();
            handedOver += backend->streamFeedStats().entries;
            backend->shutdown();
            dispatcher.runPending();
            backend.reset();
        }
    }
    std::uint64_t entries() const { return handedOver + (backend ? backend->streamFeedStats().entries : 0); }

    // The headlines its store holds (after stop()).
    HeadlineMap stored() const {
        embedded::NewsStore store;
        const std::int64_t now =
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        EXPECT_TRUE(store.open((m_folder / "news.db").string(), embedded::OpenMode::KeepExisting, now).ok());
        embedded::LoadedNews loaded;
        EXPECT_TRUE(store.load(30, embedded::localDayOf(now), loaded));
        HeadlineMap out;
        for (const embedded::HeadlineRecord& h : loaded.headlines) {
            EXPECT_TRUE(out.emplace(std::make_pair(h.service, h.seq), h.title).second)
                << "headline " << int(h.service) << "/" << h.seq << " is stored twice";
        }
        return out;
    }

    QueueDispatcher dispatcher;
    NewsSubscriptions subscriptions;
    std::unique_ptr<embedded::EmbeddedBackend> backend;
    std::uint64_t handedOver = 0; // entries of earlier runs
    std::size_t heldLimit = embedded::Ingest::kDefaultHeldLimit;
    std::size_t readCount = 500;         // entries per stream and read
    std::vector<std::size_t> recoveries; // headlines each recovery brought the views

private:
    std::filesystem::path m_folder;
    embedded::RedisAddress m_address;
};

// Drains the terminals' UI queues until done() holds; false after the bound.
inline bool drainUntil(const std::vector<Terminal*>& terminals, const std::function<bool()>& done,
                       std::chrono::seconds bound = std::chrono::seconds(60)) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (std::chrono::steady_clock::now() < deadline) {
        for (Terminal* t : terminals) {
            t->dispatcher.runPending();
        }
        if (done()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

// Everything a service's stream holds, oldest first.
inline std::vector<embedded::stream::Entry> readStream(const embedded::RedisAddress& address, unsigned char service) {
    embedded::RedisConnection c;
    std::string error;
    EXPECT_TRUE(c.connect(address, std::chrono::seconds(2), error)) << error;
    std::vector<embedded::stream::Entry> out;
    std::string from = "-";
    while (true) {
        const embedded::RedisReply page =
            c.command({"XRANGE", embedded::stream::streamKey(service), from, "+", "COUNT", "1000"});
        if (!page || page.get()->type != REDIS_REPLY_ARRAY || page.get()->elements == 0) {
            break;
        }
        for (std::size_t i = 0; i < page.get()->elements; ++i) {
            const auto* entry = page.get()->element[i];
            std::vector<std::pair<std::string_view, std::string_view>> fields;
            const auto* list = entry->element[1];
            for (std::size_t f = 0; f + 1 < list->elements; f += 2) {
                fields.emplace_back(std::string_view(list->element[f]->str, list->element[f]->len),
                                    std::string_view(list->element[f + 1]->str, list->element[f + 1]->len));
            }
            std::string why;
            auto decoded = embedded::stream::decode(fields, why);
            EXPECT_TRUE(decoded) << why;
            if (decoded) {
                out.push_back(std::move(*decoded));
            }
            from = "(" + std::string(entry->element[0]->str, entry->element[0]->len);
        }
    }
    return out;
}

// The services of the built-in catalogue: the streams a terminal reads.
inline std::vector<unsigned char> builtInServices() {
    embedded::Catalog catalog;
    catalog.loadBuiltIn();
    return catalog.serviceIds();
}

// The headlines of every stream, and how many entries they hold in all.
inline HeadlineMap streamHeadlines(const embedded::RedisAddress& address, std::uint64_t* entries = nullptr) {
    HeadlineMap out;
    std::uint64_t count = 0;
    for (const unsigned char service : builtInServices()) {
        for (const embedded::stream::Entry& e : readStream(address, service)) {
            ++count;
            if (e.event.kind == embedded::FeedEventKind::Headline || e.event.kind == embedded::FeedEventKind::Resend) {
                out[{e.event.service, e.event.seq}] = e.event.title;
            }
        }
    }
    if (entries != nullptr) {
        *entries = count;
    }
    return out;
}

} // namespace distribution::test
