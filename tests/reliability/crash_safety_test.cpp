// Crash safety: a child process is killed (SIGKILL) at a random moment while it saves the layout
// file, and while the embedded back end ingests news into its store. Afterwards the layout file is
// the old or the new one, never a mix, and the store opens and holds every headline whose
// transaction had committed.
//
// How the parent knows what committed: the child reports a batch over a pipe only after the store
// worker has run it (EmbeddedBackend::flushStore returns after the commit) and reported no error.
// What the pipe carries is therefore a lower bound; what the store holds beyond it must be whole
// batches, in order. NEWS_CRASH_TRIALS (default 100) and NEWS_CRASH_SEED make a run repeatable.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "adapters/headless/queued_dispatcher.h"
#include "adapters/headless/virtual_clock.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/subscriptions.h"
#include "host/framework/cfg_store.h"
#include "host/text/cp950.h"

namespace reliability {
namespace {

namespace fs = std::filesystem;

int trials() {
    const char* value = std::getenv("NEWS_CRASH_TRIALS");
    return value != nullptr && *value != '\0' ? std::atoi(value) : 100;
}

std::mt19937_64 seeded(const char* what) {
    const char* value = std::getenv("NEWS_CRASH_SEED");
    const std::uint64_t seed =
        value != nullptr && *value != '\0' ? std::strtoull(value, nullptr, 10) : std::random_device{}();
    std::printf("%s: seed %llu (NEWS_CRASH_SEED repeats a run)\n", what, static_cast<unsigned long long>(seed));
    return std::mt19937_64(seed);
}

fs::path freshFolder(const std::string& name) {
    const fs::path folder = fs::temp_directory_path() / ("news-crash-" + std::to_string(::getpid()) + "-" + name);
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// A child process that reports over a pipe; killed, then reaped.
class Child {
public:
    // Runs body in a child process that ends with _exit (it never returns into the test).
    template <class Body> explicit Child(Body body) {
        int fds[2];
        if (::pipe(fds) != 0) {
            throw std::runtime_error("pipe failed");
        }
        m_pid = ::fork();
        if (m_pid < 0) {
            throw std::runtime_error("fork failed");
        }
        if (m_pid == 0) {
            ::close(fds[0]);
            body(fds[1]);
            ::_exit(0);
        }
        ::close(fds[1]);
        m_read = fds[0];
    }
    ~Child() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
        ::close(m_read);
    }
    // Blocks for the next report; false at the end of the pipe.
    bool next(std::int64_t& value) {
        std::size_t got = 0;
        auto* bytes = reinterpret_cast<char*>(&value);
        while (got < sizeof value) {
            const ssize_t n = ::read(m_read, bytes + got, sizeof value - got);
            if (n <= 0) {
                return false;
            }
            got += static_cast<std::size_t>(n);
        }
        return true;
    }
    enum class End { Killed, Finished, Failed };
    // Waits for the child to end and says how.
    End wait() {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
            return End::Killed;
        }
        return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? End::Finished : End::Failed;
    }

private:
    pid_t m_pid = -1;
    int m_read = -1;
};

// The CPU time this process has used (all threads).
std::chrono::nanoseconds cpuTime() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Arms a timer that sends this process SIGKILL once it has used `after` more CPU time. Counting
// the process's own work rather than wall time puts the kill at a random point of what it
// does, however busy the machine is.
void killSelfAfter(std::chrono::nanoseconds after) {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer{};
    if (::timer_create(CLOCK_PROCESS_CPUTIME_ID, &event, &timer) != 0) {
        ::_exit(6);
    }
    const auto ns = std::max<std::int64_t>(1, after.count());
    itimerspec when{};
    when.it_value.tv_sec = static_cast<time_t>(ns / 1'000'000'000);
    when.it_value.tv_nsec = static_cast<long>(ns % 1'000'000'000);
    if (::timer_settime(timer, 0, &when, nullptr) != 0) {
        ::_exit(6);
    }
}

void report(int fd, std::int64_t value) {
    if (::write(fd, &value, sizeof value) != static_cast<ssize_t>(sizeof value)) {
        ::_exit(3);
    }
}

// --- The layout file ---

CfgFileStore layout(int generation, int settings) {
    CfgFileStore store;
    for (int i = 0; i < settings; ++i) {
        store.SetViewInfo("NewsView", i % 7, generation, "TRVNewsCtrlView", "Key" + std::to_string(i),
                          cp950::fromUtf8("版本") + std::to_string(generation) + " | " + std::string(40, 'x'));
    }
    return store;
}

TEST(CrashSafety, AKilledLayoutSaveLeavesTheOldOrTheNewFileWhole) {
    const fs::path folder = freshFolder("layout");
    const fs::path path = folder / "layout.cfg";
    // Large enough that a save takes a while and a kill lands inside it.
    const CfgFileStore older = layout(1, 2000);
    const CfgFileStore newer = layout(2, 2000);
    const std::string olderText = older.serialize();
    const std::string newerText = newer.serialize();
    ASSERT_NE(olderText, newerText);

    // The CPU time of one save in a child (copy-on-write pages make it slower than in the
    // parent): the kills are spread over it and a little beyond.
    std::int64_t saveNs = 0;
    {
        Child timing([&](int fd) {
            const auto before = cpuTime();
            newer.save((folder / "timing.cfg").string());
            report(fd, (cpuTime() - before).count());
        });
        ASSERT_TRUE(timing.next(saveNs));
        ASSERT_EQ(timing.wait(), Child::End::Finished);
        fs::remove(folder / "timing.cfg");
    }

    std::mt19937_64 random = seeded("layout");
    int keptOld = 0;
    int tookNew = 0;
    int leftTemporary = 0;
    int killed = 0;
    for (int trial = 0; trial < trials(); ++trial) {
        std::string error;
        ASSERT_TRUE(older.save(path.string(), &error)) << error;
        const std::int64_t killAt = std::uniform_int_distribution<std::int64_t>(0, saveNs * 3 / 2)(random);
        Child child([&](int) {
            killSelfAfter(std::chrono::nanoseconds(killAt));
            newer.save(path.string());
        });
        const Child::End end = child.wait();
        ASSERT_NE(end, Child::End::Failed) << "trial " << trial;
        killed += end == Child::End::Killed ? 1 : 0;

        const std::string text = readFile(path);
        ASSERT_TRUE(text == olderText || text == newerText)
            << "trial " << trial << ": the layout file is neither the old nor the new one (" << text.size()
            << " bytes)";
        (text == olderText ? keptOld : tookNew) += 1;
        // A save killed after it created its temporary file leaves that file; age it, so the
        // next save (the parent's, above) must sweep it away.
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().filename() != "layout.cfg") {
                ++leftTemporary;
                fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
            }
        }
        CfgFileStore loaded;
        ASSERT_TRUE(loaded.load(path.string()).ok()) << "trial " << trial;
    }
    ASSERT_TRUE(older.save(path.string()));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator{}), 1)
        << "temporary files of killed saves were not swept";
    std::printf("layout: %d trials, %d killed during a save of %.1f ms CPU time (the rest finished first): %d left "
                "the old file, %d the new one; %d left a temporary file, swept by the next save\n",
                trials(), killed, static_cast<double>(saveNs) / 1e6, keptOld, tookNew, leftTemporary);
    EXPECT_GT(keptOld, 0) << "no kill landed before the rename: the test did not test";
    EXPECT_GT(leftTemporary, 0) << "no kill landed inside the write: the test did not test";
    fs::remove_all(folder);
}

// --- The store ---

constexpr unsigned char kService = 16;
constexpr std::int32_t kPerBatch = 8;
constexpr int kDay = 20240305;

std::vector<embedded::FeedEvent> batchOf(std::int64_t batch, std::int64_t time) {
    std::vector<embedded::FeedEvent> events;
    for (std::int32_t i = 0; i < kPerBatch; ++i) {
        embedded::FeedEvent e;
        e.kind = embedded::FeedEventKind::Headline;
        e.service = kService;
        e.seq = static_cast<std::int32_t>(batch * kPerBatch + i);
        e.time = time + batch;
        e.category = 1 + i;
        e.title = cp950::fromUtf8("台積電營收 ") + std::to_string(e.seq);
        e.story = cp950::fromUtf8("本公司今日公告營收，較去年同期成長。@@@@") + std::string(200 + i * 50, 'z');
        events.push_back(std::move(e));
    }
    return events;
}

embedded::EmbeddedBackendOptions storeOptions(const fs::path& folder, headless::QueuedDispatcher& dispatcher,
                                              const host::Clock& clock, NewsSubscriptions& subscriptions) {
    embedded::EmbeddedBackendOptions options;
    options.dataFolder = folder.string();
    options.daysToKeep = 5;
    options.dispatcher = &dispatcher;
    options.clock = &clock;
    options.subscriptions = &subscriptions;
    return options;
}

// The child ingests batches of headlines with stories as fast as the store takes them, a few
// batches per flush (so one transaction may hold several), and reports -1 once its store is
// open, then the number of batches committed so far.
TEST(CrashSafety, AStoreKilledWhileIngestingOpensWithEveryCommittedHeadline) {
    const fs::path folder = freshFolder("store");
    const std::int64_t morning = embedded::localMidnightOf(kDay) + 9 * 3600;
    headless::VirtualClock clock(morning * 1000);
    std::mt19937_64 random = seeded("store");
    std::int64_t committedAll = 0;
    std::int64_t beyondReport = 0;
    for (int trial = 0; trial < trials(); ++trial) {
        const std::uint64_t childSeed = random();
        // The store grows over the trials: every trial continues where the killed one left it.
        std::int64_t first = 0;
        {
            embedded::NewsStore store;
            ASSERT_TRUE(store.open((folder / "news.db").string(), embedded::OpenMode::KeepExisting, morning).ok());
            first = store.headlineCount() / kPerBatch;
        }
        Child child([&](int fd) {
            headless::QueuedDispatcher dispatcher;
            NewsSubscriptions subscriptions;
            embedded::EmbeddedBackend backend(storeOptions(folder, dispatcher, clock, subscriptions));
            if (!backend.open().ok()) {
                ::_exit(4);
            }
            dispatcher.drain();
            report(fd, -1);
            std::mt19937_64 childRandom(childSeed);
            // Killed within its first 40 ms of CPU time after opening: ingest, index, commit and
            // checkpoint all take their turn at being cut.
            killSelfAfter(std::chrono::microseconds(childRandom() % 40000));
            for (std::int64_t batch = first;;) {
                const std::int64_t group = 1 + static_cast<std::int64_t>(childRandom() % 4);
                for (std::int64_t i = 0; i < group; ++i, ++batch) {
                    backend.ingest(batchOf(batch, morning));
                }
                backend.flushStore();
                dispatcher.drain();
                if (!backend.storeError().empty()) {
                    ::_exit(5);
                }
                report(fd, batch);
            }
        });
        std::int64_t value = 0;
        ASSERT_TRUE(child.next(value) && value == -1) << "trial " << trial << ": the child's store did not open";
        std::int64_t committed = first;
        while (child.next(value)) {
            committed = value;
        }
        ASSERT_EQ(child.wait(), Child::End::Killed) << "trial " << trial;

        embedded::NewsStore store;
        const embedded::StoreOpenResult opened =
            store.open((folder / "news.db").string(), embedded::OpenMode::KeepExisting, morning);
        ASSERT_TRUE(opened.ok()) << "trial " << trial << ": " << opened.message;
        embedded::LoadedNews loaded;
        ASSERT_TRUE(store.load(5, kDay, loaded)) << store.lastError();
        std::set<std::int32_t> seqs;
        for (const embedded::HeadlineRecord& h : loaded.headlines) {
            seqs.insert(h.seq);
        }
        // Whole batches, from the first one on, and at least every one reported.
        const auto held = static_cast<std::int64_t>(seqs.size());
        ASSERT_EQ(held % kPerBatch, 0) << "trial " << trial << ": half a batch was stored";
        ASSERT_EQ(seqs.empty() ? 0 : *seqs.rbegin() + 1, held) << "trial " << trial << ": a gap in the batches";
        ASSERT_GE(held / kPerBatch, committed) << "trial " << trial << ": batches that had committed are missing ("
                                               << held / kPerBatch << " of " << committed << ")";
        std::set<std::int32_t> withStory;
        for (const embedded::StoryRecord& s : loaded.stories) {
            withStory.insert(s.seq);
        }
        ASSERT_EQ(withStory, seqs) << "trial " << trial << ": a headline without its story or the other way round";
        beyondReport += held / kPerBatch - committed;
        committedAll = held / kPerBatch;
    }
    std::printf("store: %d kills while ingesting: %lld batches of %d headlines with stories held at the end, "
                "%lld committed beyond the last report, every reported one present\n",
                trials(), static_cast<long long>(committedAll), kPerBatch, static_cast<long long>(beyondReport));
    fs::remove_all(folder);
}

} // namespace
} // namespace reliability
