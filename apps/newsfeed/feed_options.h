#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "embedded_backend/redis_connection.h"

namespace newsfeed {

struct FeedOptions {
    embedded::RedisAddress redis;
    std::string replayPath;       // empty: the generator
    double speed = 1.0;           // replay: 1 real time, 0 as fast as possible
    double rate = 5.0;            // generator: news events per second, 0 as fast as possible
    double quotesPerSecond = 0.0; // trades of the simulated exchange besides the news
    std::uint64_t seed = 1;
    std::uint64_t maxEvents = 0; // 0: until stopped (or the end of the replay file)
    int keepDays = 30;
    std::int64_t maxLength = 0; // > 0: MAXLEN ~ instead of trimming by age
    bool help = false;
};

// Parses the command line (without the program name); nullopt with error set on bad input.
std::optional<FeedOptions> parseFeedOptions(const std::vector<std::string>& args, std::string& error);
const char* feedUsage();

} // namespace newsfeed
