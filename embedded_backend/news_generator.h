#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/feed_thread.h"
#include "embedded_backend/generator_data.h"

namespace embedded {

struct GeneratorOptions {
    std::uint64_t seed = 1;
    std::int64_t startTime = 0;          // virtual time of the start, seconds since 1970
    int startDay = 0;                    // news day at the start (0: the local date of startTime)
    double headlinesPerSecond = 2.0;     // mean rate in virtual time
    std::vector<unsigned char> services; // empty: every built-in service
    double lateStoryShare = 0.15;        // stories sent some seconds after their headline
    double noStoryShare = 0.03;          // headlines that never get a story
    double resendShare = 0.03;           // headlines sent again later, corrected
    double storyCorrectionShare = 0.02;  // stories sent again later, corrected
    double lossShare = 0.0;              // headlines the link loses (found again by their numbers)
    int lateStoryMaxDelay = 90;          // seconds
    std::int64_t firstNewDayAt = 0;      // virtual time of the first new news day; 0: never
    std::int64_t dayLength = 86400;      // virtual seconds between later new news days
    int minSentences = 2;                // story length in sentences
    int maxSentences = 6;
    std::size_t wrapBytes = 70; // transport wrapping of stories (0: none)
};

// Deterministic Traditional Chinese market news for the built-in services: the same options
// give the same events on every platform (own random generator, no library distributions).
// Events come in time order: headlines (most with their story), late stories, corrected
// stories, corrected re-sent headlines (same service, day and number), headlines the link loses
// (when asked for) and new news days of every service.
class NewsGenerator {
public:
    explicit NewsGenerator(GeneratorOptions options);

    FeedEvent next();
    std::int64_t time() const { return m_lastTime; } // virtual time of the last event
    int day() const { return m_day; }                // current news day

private:
    struct Pending {
        std::int64_t time = 0;
        std::uint64_t order = 0;
        FeedEvent event;
    };
    using Values = std::map<std::string, CString, std::less<>>;

    std::uint64_t random();
    double unit();
    std::size_t pick(std::size_t count);
    CString word(const char* slot);
    FeedEvent headline(std::int64_t time);
    CString story(bool warrant, const Values& values);
    Values values(const BuiltinSymbol& symbol, bool warrant);
    void schedule(std::int64_t time, FeedEvent event);
    FeedEvent startNewDay(std::int64_t time);

    GeneratorOptions m_options;
    std::uint64_t m_state;
    double m_clock;
    std::int64_t m_lastTime;
    int m_day;
    std::int64_t m_nextNewDay;
    std::vector<unsigned char> m_services;
    std::vector<int> m_weights;
    int m_totalWeight = 0;
    std::map<unsigned char, std::int32_t> m_seq;
    std::vector<Pending> m_pending; // min-heap by time, then order
    std::uint64_t m_order = 0;
    std::vector<FeedEvent> m_ready; // new-day events of the other services
};

// Inserts CR LF after every `width` bytes of text, never inside a double-byte character, the
// way stories arrive from the transport.
CString wrapForTransport(std::string_view text, std::size_t width);
// Fills in a template's slots; unknown slots stay empty.
CString renderTemplate(const TextTemplate& text, const std::map<std::string, CString, std::less<>>& values);

struct GeneratorFeedOptions {
    GeneratorOptions generator;
    double eventsPerSecond = 2.0; // real-time pacing; 0: as fast as possible
    std::uint64_t maxEvents = 0;  // 0: until stopped
    std::size_t batchSize = 256;  // events per hand-over when running as fast as possible
};

// Runs a generator on its own thread and hands its events to a sink in order.
// Thread: the sink is called on the feed thread. Ownership: the feed owns its thread; the
// sink's target must outlive stop(). Re-entrancy: the sink must not stop the feed.
class GeneratorFeed {
public:
    using Sink = std::function<void(std::vector<FeedEvent>)>;

    void start(GeneratorFeedOptions options, Sink sink);
    void stop() { m_thread.stop(); }
    bool waitFinished(std::chrono::milliseconds timeout) { return m_thread.waitFinished(timeout); }
    bool running() const { return m_thread.running(); }

private:
    FeedThread m_thread;
};

} // namespace embedded
