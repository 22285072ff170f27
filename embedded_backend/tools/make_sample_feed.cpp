// Writes a replay file from the generator: resources/feeds/sample.jsonl was made with
//   news_make_sample_feed resources/feeds/sample.jsonl 300
// The offsets start at 0; headlines of one news day, a new day for every service two thirds
// of the way through, and a disconnection with its reconnection in between.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include "embedded_backend/day_math.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/replay_feed.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.jsonl [EVENTS] [SEED]\n", argv[0]);
        return 2;
    }
    const long events = argc > 2 ? std::atol(argv[2]) : 300;
    embedded::GeneratorOptions options;
    options.seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 2024;
    options.startTime = embedded::localMidnightOf(20240102) + 8 * 3600; // a fixed morning: same file every run
    options.headlinesPerSecond = 0.5;
    options.lateStoryShare = 0.2;
    options.resendShare = 0.05;
    options.lateStoryMaxDelay = 60;
    options.firstNewDayAt = options.startTime + static_cast<std::int64_t>(events * 2 * 2 / 3);
    embedded::NewsGenerator generator(options);

    std::ofstream out(argv[1], std::ios::binary);
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", argv[1]);
        return 1;
    }
    const long disconnectAt = events / 3;
    const long reconnectAt = disconnectAt + 12;
    std::set<std::pair<unsigned char, int>> seenToday; // (service, seq) of the current day
    long written = 0;
    while (written < events) {
        embedded::FeedEvent e = generator.next();
        const double at = static_cast<double>(e.time - options.startTime);
        if (e.kind == embedded::FeedEventKind::NewDay) {
            seenToday.clear();
            e.day = 0; // the day after the replay's current day, whatever date it runs on
        } else if (e.kind == embedded::FeedEventKind::Story) {
            // A late story whose headline belongs to the previous day is left out: the replay
            // files stories under the current day.
            if (seenToday.count({e.service, e.seq}) == 0) {
                continue;
            }
            e.day = 0;
        } else {
            seenToday.insert({e.service, e.seq});
        }
        if (written == disconnectAt) {
            embedded::FeedEvent link;
            link.kind = embedded::FeedEventKind::Disconnect;
            out << embedded::replayLine(link, at) << "\n";
            ++written;
        } else if (written == reconnectAt) {
            embedded::FeedEvent link;
            link.kind = embedded::FeedEventKind::Reconnect;
            out << embedded::replayLine(link, at) << "\n";
            ++written;
        }
        out << embedded::replayLine(e, at) << "\n";
        ++written;
    }
    return out ? 0 : 1;
}
