// The soak: the news view on the headless host over the embedded back end, fed by replayed
// recordings (JSON Lines files) of several news days with disconnections of the link between
// them. At the end every headline the back end took for the current day is in the all-news list
// exactly once, and resident memory after the warm-up (the first day and the first new day, when
// the back end first drops a day) has grown by less than 10 %.
//
// Size from the environment: NEWS_SOAK_HEADLINES (default 20,000), NEWS_SOAK_CYCLES
// (disconnect/reconnect cycles, default 100), NEWS_SOAK_NEW_DAYS (default 3). The benchmark
// test runs a million headlines; the unit test the default size.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "embedded_backend/day_math.h"
#include "embedded_backend/replay_feed.h"
#include "host/text/cp950.h"
#include "news_view/news_ids.h"
#include "tests/reliability/embedded_view_harness.h"

namespace reliability {
namespace {

using embedded::FeedEvent;
using embedded::FeedEventKind;

std::size_t setting(const char* name, std::size_t fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? static_cast<std::size_t>(std::strtoull(value, nullptr, 10)) : fallback;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

constexpr std::size_t kJudgedHeadlines = 100000;                                // runs this long judge memory growth
constexpr unsigned char kServices[] = {16, 16, 16, 16, 16, 16, 16, 22, 22, 52}; // 70 % / 20 % / 10 %
constexpr int kFirstDay = 20240304;

// A deterministic recording: per day a file that opens with the new news day of every service
// (from the second day on), then headlines 0.1 s apart from 09:00, some with stories, some sent
// again corrected, and the link dropped and restored `cycles` times over the whole run.
class Recording {
public:
    Recording(std::size_t headlines, std::size_t cycles, std::size_t days)
        : m_perDay(headlines / days), m_days(days),
          m_cycleEvery(cycles > 0 ? std::max<std::size_t>(2, headlines / cycles) : 0) {}

    // Writes day `d`'s file; counts what the back end should file under that day.
    void write(const std::filesystem::path& path, std::size_t d) {
        std::ofstream out(path, std::ios::binary);
        std::map<unsigned char, std::int32_t> seq;
        m_current.clear();
        const int day = embedded::addDays(kFirstDay, static_cast<int>(d));
        double at = 0;
        if (d > 0) {
            for (const unsigned char service : {16, 22, 52}) {
                FeedEvent e;
                e.kind = FeedEventKind::NewDay;
                e.service = service;
                e.day = day;
                out << embedded::replayLine(e, at) << '\n';
            }
        }
        for (std::size_t i = 0; i < m_perDay; ++i, ++m_sent) {
            at = 0.1 * static_cast<double>(i);
            if (m_cycleEvery > 0 && m_sent % m_cycleEvery == m_cycleEvery / 2) {
                out << embedded::replayLine(link(FeedEventKind::Disconnect), at) << '\n';
                m_disconnected = true;
            } else if (m_disconnected && m_sent % m_cycleEvery == m_cycleEvery - 1) {
                out << embedded::replayLine(link(FeedEventKind::Reconnect), at) << '\n';
                m_disconnected = false;
                ++m_cycles;
            }
            const unsigned char service = kServices[m_sent % std::size(kServices)];
            FeedEvent e;
            e.kind = FeedEventKind::Headline;
            e.service = service;
            // One in 25 is a corrected headline sent again (of service 16 or 22, by the mix
            // above): the number of one sent earlier.
            const bool resend = m_sent % 25 == 12 && seq[service] > 10;
            e.seq = resend ? seq[service] - 7 : ++seq[service];
            if (resend) {
                e.kind = FeedEventKind::Resend;
            }
            e.category = static_cast<std::int32_t>(1 + m_sent % 12);
            e.title = cp950::fromUtf8(m_titles[m_sent % std::size(m_titles)]) + " " + std::to_string(d) + "-" +
                      std::to_string(e.seq) + (resend ? cp950::fromUtf8("(更正)") : CString{});
            e.symbols.push_back(CSymbolInfo{service, std::to_string(2300 + m_sent % 97), {}});
            if (m_sent % 20 == 0) {
                e.story = cp950::fromUtf8("本公司今日公告營收，較去年同期成長。@@@@本資料僅供參考。");
            }
            m_current.insert({service, e.seq});
            out << embedded::replayLine(e, at) << '\n';
        }
        // A day never ends with the link down: the next day's file starts connected.
        if (m_disconnected) {
            out << embedded::replayLine(link(FeedEventKind::Reconnect), at) << '\n';
            m_disconnected = false;
            ++m_cycles;
        }
    }

    std::size_t perDay() const { return m_perDay; }
    std::size_t days() const { return m_days; }
    std::size_t cycles() const { return m_cycles; }
    // Service and number of every headline of the day written last.
    const std::set<std::pair<unsigned char, std::int32_t>>& current() const { return m_current; }

private:
    static FeedEvent link(FeedEventKind kind) {
        FeedEvent e;
        e.kind = kind;
        return e;
    }

    static constexpr const char* m_titles[] = {"台積電(2330)營收創新高", "鴻海(2317)董事會決議配息",
                                               "聯發科(2454)法說會釋出樂觀展望", "外資買超半導體類股",
                                               "央行理監事會維持利率不變"};
    std::size_t m_perDay;
    std::size_t m_days;
    std::size_t m_cycleEvery;
    std::size_t m_sent = 0;
    std::size_t m_cycles = 0;
    bool m_disconnected = false;
    std::set<std::pair<unsigned char, std::int32_t>> m_current;
};

// Replays one file at full speed while the test thread plays the UI thread: it delivers what
// the back end posts and lets the view's refresh timer run, as a message loop would.
void replay(EmbeddedViewHarness& h, const std::filesystem::path& file, std::int64_t baseTime) {
    embedded::ReplayOptions options;
    options.path = file.string();
    options.speed = 0;
    options.baseTime = baseTime;
    std::string error;
    ASSERT_TRUE(h.backend().startReplay(options, &error)) << error;
    while (!h.backend().waitReplayFinished(std::chrono::milliseconds(1))) {
        h.drain();
        h.host().advanceBy(news::kRefreshDelayMs);
    }
    ASSERT_TRUE(h.drain()) << "the back end and the view kept each other busy";
    h.refresh();
    const embedded::ReplayReport report = h.backend().replayReport();
    ASSERT_TRUE(report.finished);
    ASSERT_TRUE(report.errors.empty()) << report.errors.front().line << ": " << report.errors.front().message;
}

TEST(Soak, ReplayedDaysWithDisconnectionsLeaveEveryHeadlineInTheListOnceAndMemoryFlat) {
    const std::size_t headlines = setting("NEWS_SOAK_HEADLINES", 20000);
    const std::size_t cycles = setting("NEWS_SOAK_CYCLES", 100);
    const std::size_t newDays = setting("NEWS_SOAK_NEW_DAYS", 3);
    Recording recording(headlines, cycles, newDays + 1);

    // One kept day: from the first new day on, the back end drops the day before, so it holds
    // the same amount of news each day and memory has no reason to grow.
    EmbeddedViewHarness h(EmbeddedViewHarness::Options{1, midnightOf(kFirstDay) + 9 * 3600});
    const auto started = std::chrono::steady_clock::now();
    std::size_t warmRss = 0;
    std::size_t peakRss = 0;
    for (std::size_t d = 0; d < recording.days(); ++d) {
        const std::filesystem::path file = h.folder() / ("day-" + std::to_string(d) + ".jsonl");
        recording.write(file, d);
        const std::int64_t morning = midnightOf(embedded::addDays(kFirstDay, static_cast<int>(d))) + 9 * 3600;
        h.host().clock().advanceTo(morning * 1000);
        replay(h, file, morning);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
        std::filesystem::remove(file);
        const std::size_t rss = residentBytes();
        peakRss = std::max(peakRss, rss);
        if (d == 1) {
            warmRss = rss; // the warm-up: the first day and the first new day
        }
        std::printf("soak: day %zu done, %zu headlines in list 0, resident %.1f MB\n", d,
                    h.list(news::kModeAllNews).size(), static_cast<double>(rss) / 1e6);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    const std::size_t finalRss = residentBytes();

    // Every headline the back end took for the current day of the services list 0 shows (the
    // selected ones but the warrant service, which has a list of its own), exactly once.
    std::set<unsigned char> listed;
    for (const NewsServiceEntry& entry : h.view().GetServiceList()) {
        if (entry.m_bySelected != 0 && entry.m_byService != news::kServiceWarrant) {
            listed.insert(entry.m_byService);
        }
    }
    std::set<std::pair<unsigned char, std::int32_t>> expected;
    for (const auto& key : recording.current()) {
        if (listed.count(key.first) > 0) {
            expected.insert(key);
        }
    }
    std::map<std::pair<unsigned char, std::int32_t>, int> seen;
    for (const CHeadlineTable& e : h.list(news::kModeAllNews)) {
        ++seen[{e.m_byService, e.m_iSeqNo}];
    }
    std::size_t twice = 0;
    std::size_t missing = 0;
    std::size_t unexpected = 0;
    for (const auto& [key, count] : seen) {
        twice += count > 1 ? 1 : 0;
        unexpected += expected.count(key) == 0 ? 1 : 0;
    }
    for (const auto& key : expected) {
        missing += seen.count(key) == 0 ? 1 : 0;
    }
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(twice, 0u) << "headlines listed more than once";
    EXPECT_EQ(missing, 0u) << "headlines of the day missing from list 0 (of " << expected.size() << ")";
    EXPECT_EQ(unexpected, 0u) << "headlines in list 0 that are not of the day's listed services";
    EXPECT_EQ(h.rows(news::kModeAllNews), h.list(news::kModeAllNews).size()) << "grid and table out of step";
    EXPECT_EQ(recording.cycles(), cycles);

    const double growth = warmRss > 0 ? static_cast<double>(finalRss) / static_cast<double>(warmRss) - 1 : 0;
    std::printf("soak: %zu headlines over %zu days, %zu disconnect/reconnect cycles in %.1f s (%.0f headlines/s)\n",
                headlines, recording.days(), recording.cycles(), seconds, static_cast<double>(headlines) / seconds);
    std::printf("soak: resident memory after warm-up %.1f MB, at the end %.1f MB (%+.1f %%), peak %.1f MB%s\n",
                static_cast<double>(warmRss) / 1e6, static_cast<double>(finalRss) / 1e6, growth * 100,
                static_cast<double>(peakRss) / 1e6,
                kSanitized                     ? " (sanitizer build: quarantined memory, growth not judged)"
                : headlines < kJudgedHeadlines ? " (short run: growth not judged)"
                                               : "");
    // Judged where the news dominates the process: in a short run a few MB of fixed caches
    // (SQLite's page cache, the view's day cache) are more than 10 % of what is resident.
    if (!kSanitized && newDays >= 2 && headlines >= kJudgedHeadlines) {
        EXPECT_LT(growth, 0.10) << "resident memory grew after the warm-up";
    }
}

} // namespace
} // namespace reliability
