#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "adapters/headless/headless_host.h"
#include "embedded_backend/embedded_backend.h"
#include "host/framework/cfg_store.h"
#include "news_view/news_ctrl_view.h"

namespace reliability {

// Local midnight of a yyyymmdd day in the tests' time zone, in seconds since 1970.
std::int64_t midnightOf(int yyyymmdd);

// The news view on the headless host over the embedded back end, as newsterm runs it: a real
// SQLite store in a temporary folder, the headless dispatcher and virtual clock, and the view
// created by run-time class with its settings in a layout store.
// Ownership: owns the host, back end, view and folder (removed on destruction). Thread: the
// test thread is the UI thread.
class EmbeddedViewHarness {
public:
    struct Options {
        int daysToKeep = 5;
        std::int64_t startSeconds = 0; // the clock's start; 0: 2024-03-05 09:00 in Taipei
    };
    explicit EmbeddedViewHarness(Options options);
    EmbeddedViewHarness() : EmbeddedViewHarness(Options{}) {}
    ~EmbeddedViewHarness();
    EmbeddedViewHarness(const EmbeddedViewHarness&) = delete;
    EmbeddedViewHarness& operator=(const EmbeddedViewHarness&) = delete;

    headless::HeadlessHost& host() { return m_host; }
    embedded::EmbeddedBackend& backend() { return *m_backend; }
    TRVNewsCtrlView& view() { return *m_view; }
    const std::filesystem::path& folder() const { return m_folder; }

    // Hands events to the back end (as a feed thread would) and delivers everything.
    void ingest(std::vector<embedded::FeedEvent> events);
    // Runs the store worker, the dispatcher and posted window messages until all are quiet;
    // false when they were still busy after a bounded number of rounds.
    bool drain();
    // Lets the view's deferred refresh of the visible rows run, then drains.
    void refresh();
    // The entries of a headline list, newest first.
    std::vector<CHeadlineTable> list(int mode) const;
    // A cell of the grid of a list, as the user sees it (code page 950).
    CString cell(int mode, std::size_t row, int column);
    std::size_t rows(int mode);

private:
    std::filesystem::path m_folder;
    headless::HeadlessHost m_host;
    std::unique_ptr<embedded::EmbeddedBackend> m_backend;
    CfgFileStore m_settings;
    std::unique_ptr<TRVNewsCtrlView> m_view;
};

// Resident memory of this process in bytes, after the allocator returned its free pages (0 where
// it cannot be read).
std::size_t residentBytes();

} // namespace reliability
