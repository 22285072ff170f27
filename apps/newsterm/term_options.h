#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace newsterm {

// The command line of the terminal.
struct TermOptions {
    QString feedFile;            // --feed: a recorded JSON Lines file to replay; empty: the generator
    double speed = 1.0;          // --speed: replay / generator pace (0 replays as fast as possible)
    QString dataDir;             // --data: the news store folder
    QString language;            // --lang: zh-TW or en
    bool languageGiven = false;  // false: the language saved last time wins over the default
    QString screenshot;          // --screenshot: PNG written after quitAfterSeconds (3 when not given)
    double quitAfterSeconds = 0; // --quit-after: 0 runs until closed
    QString resourcesDir;        // --resources: Application.ini, NewsService.ini, lang/
    QString redis;               // --redis HOST:PORT: read the news distribution; empty: own feeds
};

// "HOST:PORT" (or just HOST, port 6379) with a port from 1 to 65535; false otherwise.
bool isRedisAddress(const QString& text);

struct ParsedOptions {
    std::optional<TermOptions> options; // empty on an error or after --help / --version
    QString message;                    // the error, the help or the version text
    bool failed = false;
};

// "newsterm <version>".
QString versionText();

// Parses the arguments (the program name first). Defaults: the data folder under the user's
// data location, zh-TW, the resources the program was built with.
ParsedOptions parseTermOptions(const QStringList& arguments);

} // namespace newsterm
