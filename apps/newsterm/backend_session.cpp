#include "apps/newsterm/backend_session.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "apps/newsterm/term_clock.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"

namespace newsterm {

namespace {

// Generated news arrives at about two headlines a second at speed 1.
constexpr double kGeneratedEventsPerSecond = 2.0;
// Trades of the simulated exchange, across all its symbols.
constexpr double kSimulatedTradesPerSecond = 60.0;
// The generated link loses one headline in two hundred, which the back end then finds by the
// gap in the service's numbers: recovery shows in ordinary use.
constexpr double kGeneratedLossShare = 0.005;

std::string localPath(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

} // namespace

BackendSession::BackendSession(const TermOptions& options, UiDispatcher& dispatcher, const host::Clock& clock)
    : m_options(options), m_clock(clock) {
    embedded::EmbeddedBackendOptions backendOptions;
    backendOptions.dataFolder = localPath(options.dataDir);
    backendOptions.systemPath = localPath(QDir::cleanPath(options.resourcesDir));
    backendOptions.languageFile =
        localPath(options.resourcesDir + QStringLiteral("/lang/") + options.language + QStringLiteral(".lang"));
    backendOptions.dispatcher = &dispatcher;
    backendOptions.clock = &clock;
    // Reading the distribution, the link is down until the streams have been read up to date.
    backendOptions.startConnected = options.redis.isEmpty();
    backendOptions.onNewsDay = [this](unsigned char, int day) {
        if (m_termClock != nullptr) {
            m_termClock->followNewsDay(day);
        }
    };
    backendOptions.onRecovered = [this](std::size_t headlines) {
        if (m_onRecovered) {
            m_onRecovered(headlines);
        }
    };
    m_backend = std::make_unique<embedded::EmbeddedBackend>(std::move(backendOptions));
    BKQuoteInterface::SetBKInterface(m_backend.get());
    SearchControl::SetSearchObjInterface(m_backend.get());
}

BackendSession::~BackendSession() {
    m_backend->shutdown();
    if (BKQuoteInterface::GetBKInterface() == m_backend.get()) {
        BKQuoteInterface::SetBKInterface(nullptr);
    }
    if (SearchControl::GetSearchObjInterface() == m_backend.get()) {
        SearchControl::SetSearchObjInterface(nullptr);
    }
}

QStringList BackendSession::start() {
    QStringList problems;
    const QFileInfo folder(m_options.dataDir);
    if (!QDir().mkpath(m_options.dataDir) || !folder.isDir() || !folder.isWritable() || !folder.isReadable()) {
        problems << QStringLiteral("The data folder %1 cannot be used; news of this session will not be kept.")
                        .arg(m_options.dataDir);
    } else {
        const embedded::StoreOpenResult opened = m_backend->open();
        if (!opened.ok()) {
            problems << QStringLiteral("The news store in %1 cannot be used (%2); news of this session will not be "
                                       "kept.")
                            .arg(m_options.dataDir, QString::fromStdString(opened.message));
        }
    }
    // A news day stored by an earlier session (a simulated new day) sets the clock again.
    if (m_termClock != nullptr) {
        m_termClock->followNewsDay(latestNewsDay());
    }
    if (isDistributed()) {
        // News and trades both come from the distribution; what this terminal missed since it
        // last ran arrives first, as a recovery.
        embedded::StreamFeedOptions feed;
        if (const std::optional<embedded::RedisAddress> address =
                embedded::parseRedisAddress(m_options.redis.toStdString())) {
            feed.address = *address;
        }
        m_backend->startStreamFeed(feed);
        return problems;
    }
    // The simulated exchange runs beside any news feed: the quotes beside a story are live.
    embedded::QuoteFeedOptions quotes;
    quotes.seed = static_cast<std::uint64_t>(QDateTime::currentSecsSinceEpoch());
    quotes.ticksPerSecond = kSimulatedTradesPerSecond;
    m_backend->startQuoteFeed(quotes);
    if (!m_options.feedFile.isEmpty()) {
        embedded::ReplayOptions replay;
        replay.path = localPath(m_options.feedFile);
        replay.speed = m_options.speed;
        std::string error;
        if (m_backend->startReplay(replay, &error)) {
            m_replaying = true;
            return problems;
        }
        m_feedFailed = true;
        problems << QStringLiteral("The feed file %1 cannot be replayed: %2")
                        .arg(m_options.feedFile, QString::fromStdString(error));
        return problems;
    }
    startGenerator();
    return problems;
}

void BackendSession::startGenerator() {
    embedded::GeneratorFeedOptions generator;
    generator.generator.seed = static_cast<std::uint64_t>(QDateTime::currentSecsSinceEpoch());
    generator.generator.lossShare = kGeneratedLossShare;
    generator.eventsPerSecond = m_options.speed * kGeneratedEventsPerSecond;
    m_backend->startGenerator(generator);
}

bool BackendSession::setLanguage(const QString& language) {
    return m_backend->setLanguageFile(
        localPath(m_options.resourcesDir + QStringLiteral("/lang/") + language + QStringLiteral(".lang")));
}

QString BackendSession::distributionProblem() const {
    if (!isDistributed()) {
        return {};
    }
    const embedded::StreamFeed::Stats stats = m_backend->streamFeedStats();
    return stats.connected ? QString() : QString::fromStdString(stats.lastError);
}

bool BackendSession::isConnected() const {
    return m_backend->bIsConnect() != 0;
}

void BackendSession::setConnected(bool connected) {
    if (connected) {
        m_backend->connect();
    } else {
        m_backend->disconnect();
    }
}

int BackendSession::latestNewsDay() {
    std::vector<unsigned char> services;
    m_backend->BKQNEWS_bGetAllNewsService(services);
    int latest = 0;
    for (const unsigned char service : services) {
        latest =
            std::max(latest, embedded::parseDayText(m_backend->BKQNEWS_cszGetCurrDateByService(service)).value_or(0));
    }
    return latest;
}

int BackendSession::startNewDay() {
    // Every service moves to the same day, so that one date shows all of the day's news.
    const int today = embedded::localDayOf(m_clock.now());
    const int latest = latestNewsDay();
    const int day = latest == 0 ? today : std::max(embedded::addDays(latest, 1), today);
    std::vector<unsigned char> services;
    m_backend->BKQNEWS_bGetAllNewsService(services);
    for (const unsigned char service : services) {
        m_backend->startNewDay(service, day);
    }
    return day;
}

std::size_t BackendSession::replacedCharacters() const {
    return m_replaying ? m_backend->replayReport().replacedCharacters : 0;
}

QString BackendSession::feedName() const {
    return m_replaying ? QFileInfo(m_options.feedFile).fileName() : QString();
}

std::vector<FeedLineProblem> BackendSession::takeFeedProblems() {
    std::vector<FeedLineProblem> out;
    if (!m_replaying) {
        return out;
    }
    const embedded::ReplayReport report = m_backend->replayReport();
    for (std::size_t i = m_feedProblemsTaken; i < report.errors.size(); ++i) {
        out.push_back(FeedLineProblem{report.errors[i].line, QString::fromStdString(report.errors[i].message)});
    }
    m_feedProblemsTaken = report.errors.size();
    return out;
}

QString BackendSession::replaySummary() const {
    if (!m_replaying) {
        return {};
    }
    const embedded::ReplayReport report = m_backend->replayReport();
    QStringList parts;
    if (!report.errors.empty()) {
        const embedded::ReplayLineError& first = report.errors.front();
        parts << QStringLiteral("%1 line(s) of the feed file were skipped; the first, line %2: %3")
                     .arg(report.errors.size())
                     .arg(first.line)
                     .arg(QString::fromStdString(first.message));
    }
    if (report.replacedCharacters > 0) {
        parts << QStringLiteral("%1 character(s) of the feed file have no Big5 form and show as \u25A1")
                     .arg(report.replacedCharacters);
    }
    return parts.join(QStringLiteral("; "));
}

} // namespace newsterm
