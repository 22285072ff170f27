#include "bench_data.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>

#include <unistd.h>

#include "embedded_backend/day_math.h"
#include "embedded_backend/ingest.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/news_store.h"

namespace embedded::bench {

namespace {

GeneratorOptions benchOptions(std::uint64_t seed) {
    GeneratorOptions o;
    o.seed = seed;
    o.startTime = localMidnightOf(kFirstDay) + 60;
    o.startDay = kFirstDay;
    o.headlinesPerSecond = kHeadlinesPerDay / 86400.0;
    o.firstNewDayAt = localMidnightOf(addDays(kFirstDay, 1));
    o.dayLength = 86400;
    o.minSentences = 1;
    o.maxSentences = 1; // short stories keep the million-row store quick to build
    o.resendShare = 0;
    return o;
}

struct Folder {
    std::filesystem::path path;
    Folder() {
        path = std::filesystem::temp_directory_path() / ("news-backend-bench-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
    }
    ~Folder() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
};

} // namespace

std::filesystem::path benchFolder() {
    static Folder folder;
    return folder.path;
}

GeneratedNews generateNews(std::size_t count, std::uint64_t seed) {
    GeneratedNews news;
    news.headlines.reserve(count);
    news.stories.reserve(count);
    NewsGenerator generator(benchOptions(seed));
    std::map<unsigned char, int> days;
    while (news.headlines.size() < count) {
        const FeedEvent e = generator.next();
        if (e.kind == FeedEventKind::NewDay) {
            days[e.service] = e.day;
            continue;
        }
        const int day = days.count(e.service) != 0 ? days[e.service] : kFirstDay;
        if (e.kind == FeedEventKind::Story) {
            news.stories.push_back(StoryRecord{e.service, e.day != 0 ? e.day : day, e.seq, e.time, *e.story, false});
            continue;
        }
        news.headlines.push_back(headlineRecordOf(e, day));
        if (e.story) {
            news.stories.push_back(StoryRecord{e.service, day, e.seq, e.time, *e.story, true});
        }
        news.currentDays[e.service] = day;
    }
    return news;
}

std::vector<FeedEvent> generateEvents(std::size_t count, std::uint64_t seed) {
    GeneratorOptions o = benchOptions(seed);
    o.firstNewDayAt = 0; // one day: the ingest benchmark measures intake, not purging
    o.resendShare = 0.03;
    NewsGenerator generator(o);
    std::vector<FeedEvent> events;
    events.reserve(count);
    while (events.size() < count) {
        events.push_back(generator.next());
    }
    return events;
}

const std::string& millionHeadlineStore() {
    static const std::string path = [] {
        const std::string file = (benchFolder() / "million.db").string();
        const auto begin = std::chrono::steady_clock::now();
        const GeneratedNews news = generateNews(1'000'000);
        NewsStore store;
        const StoreOpenResult opened = store.open(file, OpenMode::KeepExisting, 0);
        if (!opened.ok()) {
            std::fprintf(stderr, "%s\n", opened.message.c_str());
            std::abort();
        }
        NewsBatch batch;
        std::size_t story = 0;
        for (std::size_t i = 0; i < news.headlines.size(); ++i) {
            // In feed order: a story that came with its headline just before it (as ingest
            // hands it over), a late one after it.
            while (story < news.stories.size() && news.stories[story].time <= news.headlines[i].time) {
                batch.changes.emplace_back(news.stories[story++]);
            }
            batch.changes.emplace_back(news.headlines[i]);
            if (batch.changes.size() >= 100000) {
                store.applyBatch(batch);
                batch.changes.clear();
            }
        }
        while (story < news.stories.size()) {
            batch.changes.emplace_back(news.stories[story++]);
        }
        for (const auto& [service, day] : news.currentDays) {
            batch.changes.emplace_back(DayChange{service, day, kFirstDay});
        }
        store.applyBatch(batch);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        std::fprintf(stderr, "built %lld headlines, %zu stories in %.1f s (%.0f MB)\n",
                     static_cast<long long>(store.headlineCount()), news.stories.size(), seconds,
                     static_cast<double>(std::filesystem::file_size(file)) / 1e6);
        return file;
    }();
    return path;
}

double percentile(std::vector<double>& values, std::size_t percent) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, values.size() * percent / 100)];
}

} // namespace embedded::bench
