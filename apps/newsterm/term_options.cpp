#include "apps/newsterm/term_options.h"

#include <QCommandLineParser>

#include "apps/newsterm/term_settings.h"

namespace newsterm {

ParsedOptions parseTermOptions(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("News terminal on the embedded news back end."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption feed(
        QStringLiteral("feed"), QStringLiteral("Replay recorded news from FILE (JSON Lines)."), QStringLiteral("FILE"));
    const QCommandLineOption speed(QStringLiteral("speed"),
                                   QStringLiteral("Pace of the replay or generator (1 = real time, 0 = at once)."),
                                   QStringLiteral("X"), QStringLiteral("1"));
    const QCommandLineOption data(QStringLiteral("data"), QStringLiteral("Folder of the news store."),
                                  QStringLiteral("DIR"), defaultDataDir());
    const QCommandLineOption lang(QStringLiteral("lang"), QStringLiteral("Language: zh-TW or en."),
                                  QStringLiteral("LANG"), QStringLiteral("zh-TW"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Save the window as FILE.png, then quit (with --quit-after)."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption quitAfter(QStringLiteral("quit-after"), QStringLiteral("Quit after SECONDS of news."),
                                       QStringLiteral("SECONDS"));
    const QCommandLineOption resources(QStringLiteral("resources"),
                                       QStringLiteral("Folder of Application.ini, NewsService.ini and lang/."),
                                       QStringLiteral("DIR"), QStringLiteral(NEWS_RESOURCES_DIR));
    parser.addOptions({feed, speed, data, lang, screenshot, quitAfter, resources});

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
    if (!parser.positionalArguments().isEmpty()) {
        result.failed = true;
        result.message = QStringLiteral("unexpected argument: %1").arg(parser.positionalArguments().front());
        return result;
    }
    TermOptions options;
    options.feedFile = parser.value(feed);
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
        result.failed = true;
        result.message = QStringLiteral("--screenshot needs --quit-after SECONDS");
        return result;
    }
    options.resourcesDir = parser.value(resources);
    result.options = options;
    return result;
}

} // namespace newsterm
