#include "apps/newsfeed/feed_options.h"

#include <charconv>
#include <cmath>

namespace newsfeed {

namespace {

template <typename T> bool number(const std::string& text, T low, T high, T& out) {
    T value{};
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || !(value >= low && value <= high)) {
        return false;
    }
    out = value;
    return true;
}

} // namespace

const char* feedUsage() {
    return "usage: newsfeed [--redis HOST:PORT] [--replay FILE [--speed X]] [--rate EVENTS_PER_SECOND]\n"
           "                [--quotes TRADES_PER_SECOND] [--seed N] [--events N] [--keep-days N] [--max-len N]\n"
           "Publishes news (the generator, or a replay file) to one Redis stream per service.\n"
           "  --redis HOST:PORT  the server (default 127.0.0.1:6379)\n"
           "  --replay FILE      a recorded feed (JSON Lines) instead of the generator\n"
           "  --speed X          replay speed: 1 real time, 0 as fast as possible (default 1)\n"
           "  --rate N           generated news events per second, 0 as fast as possible (default 5)\n"
           "  --quotes N         trades per second of the simulated exchange (default 0)\n"
           "  --seed N           the generator's seed (default 1)\n"
           "  --events N         stop after N events of the source (default: never)\n"
           "  --keep-days N      keep at least N days in each stream (default 30)\n"
           "  --max-len N        cap each stream near N entries instead (may keep fewer days)\n";
}

std::optional<FeedOptions> parseFeedOptions(const std::vector<std::string>& args, std::string& error) {
    FeedOptions o;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            o.help = true;
            continue;
        }
        if (i + 1 >= args.size()) {
            error = "unknown option or missing value: " + a;
            return std::nullopt;
        }
        const std::string& v = args[++i];
        bool ok = true;
        if (a == "--redis") {
            const auto address = embedded::parseRedisAddress(v);
            ok = address.has_value();
            if (ok) {
                o.redis = *address;
            }
        } else if (a == "--replay") {
            o.replayPath = v;
            ok = !v.empty();
        } else if (a == "--speed") {
            ok = number(v, 0.0, 1e6, o.speed);
        } else if (a == "--rate") {
            ok = number(v, 0.0, 1e7, o.rate);
        } else if (a == "--quotes") {
            ok = number(v, 0.0, 1e7, o.quotesPerSecond);
        } else if (a == "--seed") {
            ok = number<std::uint64_t>(v, 0, UINT64_MAX, o.seed);
        } else if (a == "--events") {
            ok = number<std::uint64_t>(v, 0, UINT64_MAX, o.maxEvents);
        } else if (a == "--keep-days") {
            ok = number(v, 1, 3650, o.keepDays);
        } else if (a == "--max-len") {
            ok = number<std::int64_t>(v, 1, INT64_MAX, o.maxLength);
        } else {
            error = "unknown option: " + a;
            return std::nullopt;
        }
        if (!ok) {
            error = "bad value for " + a + ": \"" + v + "\"";
            return std::nullopt;
        }
    }
    return o;
}

} // namespace newsfeed
