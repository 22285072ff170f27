// The terminal's command line and its settings file.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "apps/newsterm/term_options.h"
#include "apps/newsterm/term_settings.h"

namespace {

using newsterm::parseTermOptions;

QStringList args(std::initializer_list<const char*> list) {
    QStringList result{QStringLiteral("newsterm")};
    for (const char* a : list) {
        result << QString::fromUtf8(a);
    }
    return result;
}

TEST(NewstermOptionsTest, DefaultsAndEveryOption) {
    QTemporaryDir home;
    qputenv("XDG_DATA_HOME", home.path().toLocal8Bit());
    const auto defaults = parseTermOptions(args({}));
    ASSERT_TRUE(defaults.options) << qPrintable(defaults.message);
    EXPECT_EQ(defaults.options->language, QStringLiteral("zh-TW"));
    EXPECT_FALSE(defaults.options->languageGiven);
    EXPECT_EQ(defaults.options->speed, 1.0);
    EXPECT_EQ(defaults.options->dataDir, home.path() + QStringLiteral("/newsterm"));
    EXPECT_TRUE(defaults.options->feedFile.isEmpty());
    EXPECT_EQ(defaults.options->quitAfterSeconds, 0);

    QFile day(home.filePath(QStringLiteral("day.jsonl")));
    ASSERT_TRUE(day.open(QIODevice::WriteOnly));
    day.close();
    const QByteArray dayPath = day.fileName().toUtf8();
    const auto all =
        parseTermOptions(args({"--feed", dayPath.constData(), "--speed", "0", "--data", "/srv/news", "--lang", "en",
                               "--screenshot", "s.png", "--quit-after", "2.5", "--resources", "/opt/res"}));
    ASSERT_TRUE(all.options) << qPrintable(all.message);
    EXPECT_EQ(all.options->feedFile, day.fileName());
    EXPECT_EQ(all.options->speed, 0.0) << "0 replays as fast as possible";
    EXPECT_EQ(all.options->dataDir, QStringLiteral("/srv/news"));
    EXPECT_EQ(all.options->language, QStringLiteral("en"));
    EXPECT_TRUE(all.options->languageGiven);
    EXPECT_EQ(all.options->screenshot, QStringLiteral("s.png"));
    EXPECT_EQ(all.options->quitAfterSeconds, 2.5);
    EXPECT_EQ(all.options->resourcesDir, QStringLiteral("/opt/res"));
}

TEST(NewstermOptionsTest, BadArgumentsAreRefusedWithAReason) {
    for (const QStringList& bad :
         {args({"--lang", "fr"}), args({"--speed", "-1"}), args({"--speed", "fast"}),
          args({"--feed", "/no/such/feed.jsonl"}), args({"--feed", "/"}), args({"--quit-after", "0"}), args({"extra"}),
          args({"--no-such-option"}), args({"--redis", "news:0"}), args({"--redis", "news:65536"}),
          args({"--redis", ":6379"}), args({"--redis", "news:63a"}), args({"--redis", ""})}) {
        const auto parsed = parseTermOptions(bad);
        EXPECT_FALSE(parsed.options) << qPrintable(bad.join(QLatin1Char(' ')));
        EXPECT_TRUE(parsed.failed);
        EXPECT_FALSE(parsed.message.isEmpty());
    }
    // One source of news: a distribution and a replay file exclude each other.
    QTemporaryDir home;
    QFile feed(home.filePath(QStringLiteral("f.jsonl")));
    ASSERT_TRUE(feed.open(QIODevice::WriteOnly));
    feed.close();
    const QByteArray feedPath = feed.fileName().toUtf8();
    EXPECT_FALSE(parseTermOptions(args({"--redis", "news:6379", "--feed", feedPath.constData()})).options);
    const auto redis = parseTermOptions(args({"--redis", "news.example:6390"}));
    ASSERT_TRUE(redis.options) << qPrintable(redis.message);
    EXPECT_EQ(redis.options->redis, QStringLiteral("news.example:6390"));
    EXPECT_TRUE(parseTermOptions(args({"--redis", "news.example"})).options) << "the port defaults to 6379";
    const auto alone = parseTermOptions(args({"--screenshot", "s.png"}));
    ASSERT_TRUE(alone.options) << "--screenshot works on its own";
    EXPECT_EQ(alone.options->quitAfterSeconds, 3);
    const auto version = parseTermOptions(args({"--version"}));
    EXPECT_FALSE(version.options);
    EXPECT_FALSE(version.failed);
    EXPECT_TRUE(version.message.startsWith(QStringLiteral("newsterm ")));
    const auto help = parseTermOptions(args({"--help"}));
    EXPECT_FALSE(help.options);
    EXPECT_FALSE(help.failed);
    EXPECT_TRUE(help.message.contains(QStringLiteral("--feed")));
}

TEST(NewstermSettingsTest, GeometryLanguageAndViewSettingsSurviveARestart) {
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    const QString path = newsterm::TermSettings::defaultPath();
    EXPECT_EQ(path, home.path() + QStringLiteral("/newsterm/layout.cfg"));
    {
        newsterm::TermSettings settings(path);
        EXPECT_TRUE(settings.load().isEmpty()) << "a first start has no file";
        EXPECT_TRUE(settings.windowGeometry().isEmpty());
        settings.setWindowGeometry(QByteArray("\x01\x02|=\n\xFF", 6));
        settings.setLanguage(QStringLiteral("en"));
        settings.setRedis(QStringLiteral("10.0.0.5:6379"));
        settings.layout().SetViewInfo("Main", 0, 0, "TRVNewsCtrlView", "SymbolID", "\xA5\x78\xBF\x6E");
        ASSERT_TRUE(settings.save().isEmpty());
    }
    newsterm::TermSettings again(path);
    ASSERT_TRUE(again.load().isEmpty());
    EXPECT_EQ(again.windowGeometry(), QByteArray("\x01\x02|=\n\xFF", 6));
    EXPECT_EQ(again.language(), QStringLiteral("en"));
    EXPECT_EQ(again.redis(), QStringLiteral("10.0.0.5:6379"));
    CString symbol;
    ASSERT_TRUE(again.layout().GetViewInfo("Main", 0, 0, "TRVNewsCtrlView", "SymbolID", symbol));
    EXPECT_EQ(symbol, "\xA5\x78\xBF\x6E");
    EXPECT_TRUE(QDir(home.path() + QStringLiteral("/newsterm")).entryList(QDir::Files) ==
                QStringList{QStringLiteral("layout.cfg")})
        << "no temporary file is left behind";
}

// Writes bytes to a file, replacing it.
void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TEST(NewstermSettingsTest, AnUnusableFileIsKeptAsideAndTheTerminalStartsWithDefaults) {
    QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("layout.cfg"));
    QByteArray good;
    {
        newsterm::TermSettings settings(path);
        settings.setLanguage(QStringLiteral("en"));
        settings.setColorScheme(QStringLiteral("light"));
        for (int i = 0; i < 20; ++i) {
            settings.layout().SetViewInfo("Main", 0, 0, "TRVNewsCtrlView", "Key" + std::to_string(i), "value");
        }
        ASSERT_TRUE(settings.save().isEmpty());
        good = readFile(path);
    }
    struct Case {
        const char* why;
        QByteArray bytes;
        const char* keptAs;
    };
    const std::vector<Case> cases = {
        {"damaged", QByteArray("not a layout file\n"), ".damaged-"},
        {"cut short in the middle", good.left(good.size() / 2), ".damaged-"},
        {"cut short after a whole line", good.left(good.lastIndexOf('\n', good.size() - 2) + 1), ".damaged-"},
        {"written by a newer version", QByteArray("# news layout store 9\nnewsterm|0|0|MainWindow|language = en\n"),
         ".newer-"},
    };
    for (const Case& c : cases) {
        writeFile(path, c.bytes);
        newsterm::TermSettings settings(path);
        const QString message = settings.load();
        ASSERT_FALSE(settings.keptAside().isEmpty()) << c.why;
        EXPECT_TRUE(settings.keptAside().startsWith(path + QString::fromLatin1(c.keptAs)))
            << c.why << ": " << qPrintable(settings.keptAside());
        EXPECT_TRUE(message.contains(settings.keptAside())) << c.why << ": the message names the kept file";
        EXPECT_TRUE(message.contains(QStringLiteral("default settings"))) << qPrintable(message);
        EXPECT_EQ(readFile(settings.keptAside()), c.bytes) << c.why << ": kept byte for byte";
        EXPECT_FALSE(QFile::exists(path)) << c.why;
        EXPECT_TRUE(settings.language().isEmpty()) << c.why << ": nothing half-applied";
        EXPECT_TRUE(settings.colorScheme().isEmpty()) << c.why;

        // The session's settings go to a new file; the kept one stays as it was.
        settings.setLanguage(QStringLiteral("zh-TW"));
        ASSERT_TRUE(settings.save().isEmpty()) << c.why;
        EXPECT_EQ(readFile(settings.keptAside()), c.bytes) << c.why;
        newsterm::TermSettings again(path);
        EXPECT_TRUE(again.load().isEmpty()) << c.why;
        EXPECT_EQ(again.language(), QStringLiteral("zh-TW")) << c.why;
        QFile::remove(settings.keptAside());
    }

    // Two damaged files in the same second are both kept.
    writeFile(path, "first\n");
    newsterm::TermSettings first(path);
    first.load();
    writeFile(path, "second\n");
    newsterm::TermSettings second(path);
    second.load();
    EXPECT_NE(first.keptAside(), second.keptAside());
    EXPECT_EQ(readFile(first.keptAside()), QByteArray("first\n"));
    EXPECT_EQ(readFile(second.keptAside()), QByteArray("second\n"));
}

} // namespace
