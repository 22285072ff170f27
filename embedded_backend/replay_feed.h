#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/feed_thread.h"

namespace embedded {

struct ReplayOptions {
    std::string path;
    double speed = 1.0;          // 1: real time, 2: twice as fast, 0: as fast as possible
    std::int64_t baseTime = 0;   // time of offset 0, seconds since 1970 (the caller's "now")
    std::size_t batchSize = 256; // events per hand-over when not waiting
};

struct ReplayLineError {
    std::size_t line = 0; // 1-based
    std::string message;
};

struct ReplayReport {
    std::size_t lines = 0;  // lines read, blank ones included
    std::size_t events = 0; // events handed over
    std::vector<ReplayLineError> errors;
    std::size_t replacedCharacters = 0; // characters of used lines without a code page 950 form
    bool finished = false;              // the whole file was read
};

enum class LineStatus { Event, Blank, Bad };

// Parses one line of a replay file (see docs/feed-format.md). `at` receives the offset in
// seconds; times in the event are baseTime + offset. Texts are converted from UTF-8 to code
// page 950 (Simplified Chinese to Traditional first, see toBig5); `replaced` receives how many
// characters had no code page 950 form. On Bad, error says why and event is unspecified.
LineStatus parseReplayLine(std::string_view line, std::int64_t baseTime, FeedEvent& event, double& at,
                           std::string& error, std::size_t* replaced = nullptr);

// Replays a recorded JSON Lines file on its own thread at a chosen speed. A bad line is
// reported with its number and skipped; every other event is handed over in file order.
// Thread: the sink is called on the feed thread. Ownership: the feed owns its thread; the
// sink's target must outlive stop(). Re-entrancy: the sink must not stop the feed.
class ReplayFeed {
public:
    using Sink = std::function<void(std::vector<FeedEvent>)>;

    ~ReplayFeed() { stop(); }
    // False (and error set) when the file cannot be opened.
    bool start(ReplayOptions options, Sink sink, std::string* error);
    void stop() { m_thread.stop(); }
    bool waitFinished(std::chrono::milliseconds timeout) { return m_thread.waitFinished(timeout); }
    bool running() const { return m_thread.running(); }
    ReplayReport report() const;

private:
    void run(const ReplayOptions& options, const Sink& sink, std::string content);

    FeedThread m_thread;
    mutable std::mutex m_mutex;
    ReplayReport m_report;
};

// The JSON line of an event, the inverse of parseReplayLine (texts converted to UTF-8).
std::string replayLine(const FeedEvent& event, double at);

} // namespace embedded
