#pragma once

#include <QString>
#include <QStringList>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "apps/newsterm/term_options.h"

class UiDispatcher;
namespace host {
class Clock;
}
namespace embedded {
class EmbeddedBackend;
}

namespace newsterm {

class TermClock;

// A line of the replayed file that could not be used.
struct FeedLineProblem {
    std::size_t line = 0;
    QString reason;
};

// The embedded back end as the terminal runs it: the store in the data folder, the system
// folder and language table from the resources, a replay or the generator as the feed. It is
// installed as the process's back end for as long as the session lives.
// Thread: UI thread (the back end's feeds run on their own threads).
class BackendSession {
public:
    BackendSession(const TermOptions& options, UiDispatcher& dispatcher, const host::Clock& clock);
    ~BackendSession();
    BackendSession(const BackendSession&) = delete;
    BackendSession& operator=(const BackendSession&) = delete;

    // Makes the terminal's clock follow the back end's news day (from the store at start, then
    // every new day). Call before start(); the clock outlives the session.
    void followNewsDays(TermClock& clock) { m_termClock = &clock; }
    // Opens the store and starts the feed. What went wrong but still lets the terminal run
    // (an unusable data folder or store: live news only) comes back as messages for the
    // user. A feed file that cannot be replayed is a message too, and feedFailed() is then
    // true: the terminal must not pass generated news off as the file's.
    QStringList start();
    bool feedFailed() const { return m_feedFailed; }
    // Generated news (no feed file, no distribution); the replayed file's name otherwise.
    bool isGenerated() const { return !m_replaying && !isDistributed(); }
    // Reading the news distribution on a Redis server (--redis); its address.
    bool isDistributed() const { return !m_options.redis.isEmpty(); }
    QString distributionAddress() const { return m_options.redis; }
    // Why the distribution cannot be read right now (the last connection error); empty when fine.
    QString distributionProblem() const;
    QString feedName() const;
    // Lines of the replay file found unusable since the last call, in file order.
    std::vector<FeedLineProblem> takeFeedProblems();
    // Characters of the replayed file shown as the replacement mark (no code page 950 form).
    std::size_t replacedCharacters() const;

    embedded::EmbeddedBackend& backend() { return *m_backend; }
    // Switches the back end's language texts (zh-TW or en); false when the table is missing.
    bool setLanguage(const QString& language);
    bool isConnected() const;
    void setConnected(bool connected);
    // Starts a new news day on every service: the day after the latest one, or today when that
    // is later. Returns that day (yyyymmdd).
    int startNewDay();
    // The latest current news day of all services (yyyymmdd), 0 when none.
    int latestNewsDay();
    // Lines of the replay file that could not be read, once the replay got past them.
    QString replaySummary() const;
    // Called on the UI thread after every recovery the views were told of (a reconnection, or
    // headlines fetched again for a gap in their numbers), with the number of headlines it
    // brought; empty: nobody listens. The listener must outlive the session or be cleared.
    void setRecoveryListener(std::function<void(std::size_t)> listener) { m_onRecovered = std::move(listener); }

private:
    void startGenerator();

    TermOptions m_options;
    const host::Clock& m_clock;
    TermClock* m_termClock = nullptr;
    std::unique_ptr<embedded::EmbeddedBackend> m_backend;
    bool m_replaying = false;
    bool m_feedFailed = false;
    std::size_t m_feedProblemsTaken = 0;
    std::function<void(std::size_t)> m_onRecovered;
};

} // namespace newsterm
