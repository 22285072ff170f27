// newsterm: the news view on the Qt host, fed by the embedded back end.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

#include "adapters/qt/controls_basic.h"
#include "adapters/qt/convert.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/services.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/main_window.h"
#include "apps/newsterm/problem_report.h"
#include "apps/newsterm/qt_translation.h"
#include "apps/newsterm/quit_signals.h"
#include "apps/newsterm/term_clock.h"
#include "apps/newsterm/term_options.h"
#include "apps/newsterm/term_settings.h"
#include "host/framework/host_context.h"
#include "host/ui/dialog_templates.h"
#include "news_view/news_module.h"

namespace {

// Qt wants a private runtime folder; without a session (CI, a screenshot run) there is none.
void ensureRuntimeDir(QTemporaryDir& fallback) {
    const QString current = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!current.isEmpty() && QFileInfo(current).isDir()) {
        return;
    }
    if (fallback.isValid()) {
        QFile::setPermissions(fallback.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(fallback.path()));
    }
}

// Grabs the window into a PNG and ends the program; a screenshot that cannot be written
// makes the exit status 1.
void screenshotAndQuit(QWidget& window, const QString& path) {
    int status = 0;
    if (!path.isEmpty()) {
        if (window.grab().save(path, "PNG")) {
            std::fprintf(stderr, "newsterm: screenshot saved to %s\n", qUtf8Printable(path));
        } else {
            std::fprintf(stderr, "newsterm: cannot write the screenshot %s\n", qUtf8Printable(path));
            status = 1;
        }
    }
    window.close();
    QApplication::exit(status);
}

// The command line is read before any window system is needed, so that --help, --version
// and a bad option work without a display.
newsterm::ParsedOptions readCommandLine(int argc, char** argv) {
    QCoreApplication core(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("newsterm"));
    return newsterm::parseTermOptions(QCoreApplication::arguments());
}

} // namespace

int main(int argc, char** argv) {
    const newsterm::ParsedOptions parsed = readCommandLine(argc, argv);
    if (!parsed.options) {
        std::fprintf(parsed.failed ? stderr : stdout, parsed.failed ? "newsterm: %s\n" : "%s\n",
                     qUtf8Printable(parsed.message));
        return parsed.failed ? 2 : 0;
    }
    newsterm::TermOptions options = *parsed.options;

    QTemporaryDir runtimeDir(QDir::tempPath() + QStringLiteral("/newsterm-runtime-XXXXXX"));
    ensureRuntimeDir(runtimeDir);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("newsterm"));

    newsterm::TermSettings settings(newsterm::TermSettings::defaultPath());
    if (const QString problem = settings.load(); !problem.isEmpty()) {
        newsterm::reportProblem(nullptr, QStringLiteral("Settings"), problem);
    }
    if (!options.languageGiven && !settings.language().isEmpty()) {
        options.language = settings.language();
    }
    // The distribution named in the settings, unless the command line chose a source.
    if (options.redis.isEmpty() && options.feedFile.isEmpty() && !settings.redis().isEmpty()) {
        if (newsterm::isRedisAddress(settings.redis())) {
            options.redis = settings.redis();
        } else {
            newsterm::reportProblem(nullptr, QStringLiteral("Settings"),
                                    QStringLiteral("The setting redis=%1 is not HOST:PORT; the terminal generates "
                                                   "its own news.")
                                        .arg(settings.redis()));
        }
    }
    if (!newsterm::useQtTranslation(options.language)) {
        newsterm::reportProblem(nullptr, QStringLiteral("Language"),
                                QStringLiteral("Qt's own texts are not translated (package qt6-translations-l10n)."));
    }

    const QString family = QString::fromLatin1(qthost::kDefaultFontFamily);
    if (!QFontDatabase::families().contains(family)) {
        newsterm::reportProblem(nullptr, QStringLiteral("Font"),
                                QStringLiteral("The font \"%1\" is not installed (package fonts-noto-cjk); Chinese "
                                               "text may show as boxes.")
                                    .arg(family));
    } else {
        QApplication::setFont(QFont(family, 10));
    }
    if (!QFileInfo(options.resourcesDir + QStringLiteral("/NewsService.ini")).isFile()) {
        newsterm::reportProblem(
            nullptr, QStringLiteral("Resources"),
            QStringLiteral("%1 holds no NewsService.ini; use --resources DIR.").arg(options.resourcesDir));
    }

    // Dialog templates and button bitmaps as shipped in the resources (an edited template
    // takes effect without a rebuild; the built-in copies serve otherwise).
    host::ui::DialogTemplateStore::instance().setDirectory(
        QFile::encodeName(options.resourcesDir + QStringLiteral("/dialogs")).toStdString());
    qthost::QtButton::setBitmapDirectory(options.resourcesDir + QStringLiteral("/bitmaps"));

    // The host services every view reaches through the host context.
    qthost::QtUiDispatcher dispatcher;
    qthost::WallClock wallClock;
    // "Today" follows the news day, also a simulated one (see TermClock).
    newsterm::TermClock clock(wallClock);
    qthost::QtUiHost ui;
    host::HostContext::current() = host::HostContext{&ui, &clock, &dispatcher};

    int status = 0;
    {
        newsterm::BackendSession session(options, dispatcher, clock);
        session.followNewsDays(clock);
        const QStringList problems = session.start();
        if (session.feedFailed()) {
            for (const QString& problem : problems) {
                std::fprintf(stderr, "newsterm: %s\n", qUtf8Printable(problem));
            }
            host::HostContext::current() = host::HostContext{};
            return 1;
        }
        RegisterNewsModule();
        newsterm::MainWindow window(ui, session, settings, options.language);
        // Stopped by the system or with Ctrl+C, the terminal closes like a closed window.
        const newsterm::QuitSignals quitSignals([&window](int) { window.close(); });
        window.show();
        for (const QString& problem : problems) {
            newsterm::reportProblem(&window, QStringLiteral("News"), problem);
        }
        if (options.quitAfterSeconds > 0) {
            QTimer::singleShot(static_cast<int>(options.quitAfterSeconds * 1000), &window,
                               [&window, &options] { screenshotAndQuit(window, options.screenshot); });
        }
        status = QApplication::exec();
        window.close();
        if (const QString summary = session.replaySummary(); !summary.isEmpty()) {
            std::fprintf(stderr, "newsterm: %s\n", qUtf8Printable(summary));
        }
    }
    host::HostContext::current() = host::HostContext{};
    return status;
}
