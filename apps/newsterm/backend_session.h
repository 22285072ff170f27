#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "apps/newsterm/term_options.h"

class UiDispatcher;
namespace host {
class Clock;
}
namespace embedded {
class EmbeddedBackend;
}

namespace newsterm {

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

    // Opens the store and starts the feed. What went wrong but still lets the terminal run
    // (an unusable data folder or store: live news only; a bad feed file: generated news)
    // comes back as messages for the user.
    QStringList start();

    embedded::EmbeddedBackend& backend() { return *m_backend; }
    bool isConnected() const;
    void setConnected(bool connected);
    // Starts a new news day on every service.
    void startNewDay();
    // Lines of the replay file that could not be read, once the replay got past them.
    QString replaySummary() const;
    // Called on the UI thread after every recovery the views were told of (a reconnection, or
    // headlines fetched again for a gap in their numbers), with the number of headlines it
    // brought; empty: nobody listens. The listener must outlive the session or be cleared.
    void setRecoveryListener(std::function<void(std::size_t)> listener) { m_onRecovered = std::move(listener); }

private:
    void startGenerator();

    TermOptions m_options;
    std::unique_ptr<embedded::EmbeddedBackend> m_backend;
    bool m_replaying = false;
    std::function<void(std::size_t)> m_onRecovered;
};

} // namespace newsterm
