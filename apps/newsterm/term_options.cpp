#include "apps/newsterm/term_options.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "apps/newsterm/term_settings.h"

namespace newsterm {

namespace {
// Seconds of news before --screenshot takes its picture when --quit-after is not given.
constexpr double kScreenshotAfterSeconds = 3;
} // namespace

QString versionText() {
    return QStringLiteral("newsterm %1").arg(QStringLiteral(NEWSTERM_VERSION));
}

bool isRedisAddress(const QString& text) {
    const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
    if (text.trimmed() != text || text.isEmpty() || colon == 0) {
        return false;
    }
    if (colon < 0) {
        return true;
    }
    bool ok = false;
    const int port = text.mid(colon + 1).toInt(&ok);
    return ok && port >= 1 && port <= 65535 && !text.mid(colon + 1).startsWith(QLatin1Char('+'));
}

ParsedOptions parseTermOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("News terminal on the embedded news back end."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and quit."));
    const QCommandLineOption feed(
        QStringLiteral("feed"),
        QStringLiteral("Replay recorded news from FILE (JSON Lines). Without it the terminal shows generated news, "
                       "marked as such."),
        QStringLiteral("FILE"));
    const QCommandLineOption speed(QStringLiteral("speed"),
                                   QStringLiteral("Pace of the replay or generator (1 = real time, 0 = at once)."),
                                   QStringLiteral("X"), QStringLiteral("1"));
    const QCommandLineOption data(QStringLiteral("data"), QStringLiteral("Folder of the news store."),
                                  QStringLiteral("DIR"), defaultDataDir());
    const QCommandLineOption lang(QStringLiteral("lang"), QStringLiteral("Language: zh-TW or en."),
                                  QStringLiteral("LANG"), QStringLiteral("zh-TW"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("After --quit-after SECONDS (3 when not given) save the window "
                                                       "as a PNG image in FILE, then quit."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption quitAfter(QStringLiteral("quit-after"), QStringLiteral("Quit after SECONDS of news."),
                                       QStringLiteral("SECONDS"));
    const QCommandLineOption resources(QStringLiteral("resources"),
                                       QStringLiteral("Folder of Application.ini, NewsService.ini and lang/."),
                                       QStringLiteral("DIR"), QStringLiteral(NEWS_RESOURCES_DIR));
    const QCommandLineOption redis(QStringLiteral("redis"),
                                   QStringLiteral("Read the news distribution on the Redis server at HOST:PORT "
                                                  "instead of generating or replaying news."),
                                   QStringLiteral("HOST:PORT"));
    parser.addOptions({version, feed, speed, data, lang, screenshot, quitAfter, resources, redis});

    ParsedOptions result;
    if (!parser.parse(arguments)) {
        result.failed = true;
        result.message = parser.errorText();
        return result;
    }
    if (parser.isSet(help)) {
        result.message = parser.helpText();
        return result;
    }
    if (parser.isSet(version)) {
        result.message = versionText();
        return result;
    }
    if (!parser.positionalArguments().isEmpty()) {
        result.failed = true;
        result.message = QStringLiteral("unexpected argument: %1").arg(parser.positionalArguments().front());
        return result;
    }
    TermOptions options;
    options.feedFile = parser.value(feed);
    if (parser.isSet(feed)) {
        // A file that is not there must not quietly become generated news.
        const QFileInfo file(options.feedFile);
        if (options.feedFile.isEmpty() || !file.exists()) {
            result.failed = true;
            result.message = QStringLiteral("--feed: the file '%1' does not exist").arg(options.feedFile);
            return result;
        }
        if (!file.isFile() || !file.isReadable()) {
            result.failed = true;
            result.message = QStringLiteral("--feed: '%1' is not a readable file").arg(options.feedFile);
            return result;
        }
    }
    bool ok = false;
    options.speed = parser.value(speed).toDouble(&ok);
    if (!ok || options.speed < 0) {
        result.failed = true;
        result.message = QStringLiteral("--speed needs a number of at least 0, not '%1'").arg(parser.value(speed));
        return result;
    }
    options.dataDir = parser.value(data);
    options.language = parser.value(lang);
    options.languageGiven = parser.isSet(lang);
    if (options.language != QStringLiteral("zh-TW") && options.language != QStringLiteral("en")) {
        result.failed = true;
        result.message = QStringLiteral("--lang is zh-TW or en, not '%1'").arg(options.language);
        return result;
    }
    options.screenshot = parser.value(screenshot);
    if (parser.isSet(quitAfter)) {
        options.quitAfterSeconds = parser.value(quitAfter).toDouble(&ok);
        if (!ok || options.quitAfterSeconds <= 0) {
            result.failed = true;
            result.message = QStringLiteral("--quit-after needs a positive number of seconds");
            return result;
        }
    }
    if (!options.screenshot.isEmpty() && options.quitAfterSeconds <= 0) {
        options.quitAfterSeconds = kScreenshotAfterSeconds;
    }
    options.resourcesDir = parser.value(resources);
    if (parser.isSet(redis)) {
        options.redis = parser.value(redis);
        if (!isRedisAddress(options.redis)) {
            result.failed = true;
            result.message = QStringLiteral("--redis needs HOST:PORT, not '%1'").arg(options.redis);
            return result;
        }
        if (parser.isSet(feed)) {
            result.failed = true;
            result.message = QStringLiteral("--redis and --feed are two sources of news: choose one");
            return result;
        }
    }
    result.options = options;
    return result;
}

} // namespace newsterm
