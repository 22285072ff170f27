#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/news_records.h"

namespace embedded::bench {

// Generated news as the store and the cache keep it: ten thousand headlines a day over the
// four services, stories of one sentence.
struct GeneratedNews {
    std::vector<HeadlineRecord> headlines;
    std::vector<StoryRecord> stories;
    std::map<unsigned char, int> currentDays;
};

constexpr int kHeadlinesPerDay = 10000;
constexpr int kFirstDay = 20240101;

GeneratedNews generateNews(std::size_t headlines, std::uint64_t seed = 1);
std::vector<FeedEvent> generateEvents(std::size_t count, std::uint64_t seed = 1);

// A store of one million headlines over 100 days, built once per run in a temporary folder
// and removed at exit.
const std::string& millionHeadlineStore();

std::filesystem::path benchFolder();

} // namespace embedded::bench
