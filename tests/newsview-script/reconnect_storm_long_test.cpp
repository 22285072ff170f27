// The long reconnection storm: 100,000 headlines with 1,000 link drops and one headline in a
// hundred lost on the link, on the embedded back end and the news view. Labelled benchmark: it
// runs for minutes in a debug build. Afterwards every headline of the day is in the all-news
// list exactly once.
#include <chrono>
#include <cstdio>
#include <sstream>

#include <gtest/gtest.h>

#include "apps/newsview-script/scenario_runner.h"
#include "news_view/news_module.h"

namespace {

TEST(ReconnectStormLong, EveryHeadlineOfTheDayIsListedOnceAfterAThousandReconnections) {
    RegisterNewsModule();
    const char* script = R"(
lang-file lang/zh-TW.lang
ini NewsService.ini from NewsService.ini
backend embedded
view TRVNewsCtrlView size 1000x600 mask 0x0F
feed-generate storm.jsonl headlines 100000 seed 23 services 16,22,122 link-cycles 1000 lost 0.01
feed storm.jsonl
feed-wait 1h
expect feed ~ recovery lost 0
print feed
print all-news-audit
)";
    std::ostringstream out;
    std::ostringstream err;
    scenario::RunnerOptions options;
    options.resourcesDir = std::string(NEWS_SOURCE_DIR) + "/resources";
    scenario::ScenarioRunner runner(options, out, err);
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(runner.runText(script, "reconnect_storm_long.nvs"), 0) << out.str() << err.str();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("%s\nreconnect storm: %.1f s\n", out.str().c_str(), seconds);

    const std::string text = out.str();
    const std::size_t at = text.find("all-news-audit: ");
    ASSERT_NE(at, std::string::npos) << text;
    long entries = -1;
    long duplicates = -1;
    long missing = -1;
    long extra = -1;
    long rows = -1;
    ASSERT_EQ(std::sscanf(text.c_str() + at,
                          "all-news-audit: entries %ld duplicates %ld missing %ld extra %ld rows %ld", &entries,
                          &duplicates, &missing, &extra, &rows),
              5);
    EXPECT_EQ(duplicates, 0);
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(extra, 0);
    EXPECT_EQ(rows, entries);
    EXPECT_EQ(entries, 100000);
}

} // namespace
