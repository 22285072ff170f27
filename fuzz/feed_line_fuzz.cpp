// One line of a recorded JSON Lines feed: a line that gives an event is written back by
// replayLine as a line that reads as the same event at the same offset, and that written line is
// a fixed point; a line that gives no event says why.
#include <cstdint>
#include <string>

#include "embedded_backend/replay_feed.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::int64_t kBase = 1'700'000'000;
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    embedded::FeedEvent event;
    double at = -1;
    std::string error;
    const embedded::LineStatus status = embedded::parseReplayLine(line, kBase, event, at, error);
    if (status == embedded::LineStatus::Bad) {
        NEWS_FUZZ_CHECK(!error.empty(), "a bad line without a reason");
        return 0;
    }
    if (status == embedded::LineStatus::Blank) {
        return 0;
    }
    NEWS_FUZZ_CHECK(at >= 0 && event.time >= kBase, std::to_string(at));
    const std::string written = embedded::replayLine(event, at);
    embedded::FeedEvent back;
    double backAt = -1;
    NEWS_FUZZ_CHECK(embedded::parseReplayLine(written, kBase, back, backAt, error) == embedded::LineStatus::Event,
                    error + " in " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(back == event, "read back as another event: " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(backAt == at, std::to_string(at) + " became " + std::to_string(backAt));
    NEWS_FUZZ_CHECK(embedded::replayLine(back, backAt) == written, fuzz::printable(written));
    return 0;
}
