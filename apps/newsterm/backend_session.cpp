#include "apps/newsterm/backend_session.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

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
    : m_options(options) {
    embedded::EmbeddedBackendOptions backendOptions;
    backendOptions.dataFolder = localPath(options.dataDir);
    backendOptions.systemPath = localPath(QDir::cleanPath(options.resourcesDir));
    backendOptions.languageFile =
        localPath(options.resourcesDir + QStringLiteral("/lang/") + options.language + QStringLiteral(".lang"));
    backendOptions.dispatcher = &dispatcher;
    backendOptions.clock = &clock;
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
        problems << QStringLiteral("The feed file %1 cannot be replayed (%2); showing generated news instead.")
                        .arg(m_options.feedFile, QString::fromStdString(error));
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

void BackendSession::startNewDay() {
    std::vector<unsigned char> services;
    m_backend->BKQNEWS_bGetAllNewsService(services);
    for (const unsigned char service : services) {
        m_backend->startNewDay(service);
    }
}

QString BackendSession::replaySummary() const {
    if (!m_replaying) {
        return {};
    }
    const embedded::ReplayReport report = m_backend->replayReport();
    if (report.errors.empty()) {
        return {};
    }
    const embedded::ReplayLineError& first = report.errors.front();
    return QStringLiteral("%1 line(s) of the feed file were skipped; the first, line %2: %3")
        .arg(report.errors.size())
        .arg(first.line)
        .arg(QString::fromStdString(first.message));
}

} // namespace newsterm
