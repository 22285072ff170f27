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

// The keyword mixes that the search benchmarks run, by length: one, two, three and six
// characters, and pairs of keywords.
using Keywords = std::vector<const char*>;

inline const std::vector<Keywords> kOneChar = {{"營"}, {"台"}, {"息"}, {"權"}, {"科"}, {"鴻"}, {"龜"}, {"業"}};
inline const std::vector<Keywords> kTwoChars = {{"營收"}, {"法說"}, {"董事"}, {"台積"},
                                                {"鴻海"}, {"權證"}, {"澄清"}, {"伺服"}};
inline const std::vector<Keywords> kThreeChars = {{"台積電"}, {"法說會"}, {"董事會"}, {"聯發科"},
                                                  {"伺服器"}, {"除權息"}, {"電動車"}, {"庫藏股"}};
inline const std::vector<Keywords> kSixChars = {{"董事會決議買"}, {"澄清財經媒體"}, {"履約價格重設"}, {"訂單能見度提"},
                                                {"營運可望維持"}, {"投資前應審慎"}, {"今日掛牌上市"}, {"每股配發現金"}};
inline const std::vector<Keywords> kPairs = {{"台積電", "營收"}, {"董事會", "現金增資"}, {"鴻海", "法說"},
                                             {"權證", "到期"},   {"伺服器", "布局"},     {"營收", "年增"},
                                             {"除息", "台"},     {"外資", "目標價"}};

// The value below which percent per cent of values lie (sorts values).
double percentile(std::vector<double>& values, std::size_t percent);

} // namespace embedded::bench
