#include "apps/newsterm/main_window.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <tuple>

#include "adapters/qt/convert.h"
#include "adapters/qt/dialog_service.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/color_scheme.h"
#include "apps/newsterm/flash_line.h"
#include "apps/newsterm/font_size.h"
#include "apps/newsterm/problem_report.h"
#include "apps/newsterm/qt_translation.h"
#include "apps/newsterm/status_panel.h"
#include "apps/newsterm/term_settings.h"
#include "apps/newsterm/view_host.h"
#include "apps/newsterm/window_fit.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"

namespace newsterm {

namespace {
constexpr const char* kViewClass = "TRVNewsCtrlView";
constexpr const char* kViewName = "News";
constexpr int kStatusMessageMs = 5000;
constexpr QSize kFirstSize(1200, 760);
constexpr const char* kFirstStartSymbol = "2330";
// How long the terminal waits for the first headlines before it stops looking for a story to open on.
constexpr int kFirstStoryAttempts = 40;
constexpr int kFirstStoryRetryMs = 250;
constexpr int kSymbolBoxWidth = 120;
// Ctrl+1 ... Ctrl+7 pick the view's tabs by position.
constexpr int kNumberedTabs = 7;

TRVNewsCtrlView* newsView() {
    for (TRVQuoteBaseView* view : TRVQuoteBaseView::AllViews()) {
        if (auto* news = dynamic_cast<TRVNewsCtrlView*>(view)) {
            return news;
        }
    }
    return nullptr;
}
} // namespace

MainWindow::MainWindow(qthost::QtUiHost& ui, BackendSession& session, TermSettings& settings, QString language)
    : m_ui(ui), m_session(session), m_settings(settings), m_language(std::move(language)) {
    // Every font the window and the view make from here on has the chosen size.
    applyFontPercent(validFontPercent(m_settings.fontPercent()));
    // Generated news is never mistaken for the market's.
    setWindowTitle(m_session.isGenerated() ? text("新聞終端機（模擬新聞）", "News terminal (generated news)")
                                           : text("新聞終端機", "News terminal"));
    auto* central = new QWidget(this);
    central->setObjectName(QStringLiteral("newsViewArea"));
    setCentralWidget(central);
    // The view starts with the colours of the chosen scheme.
    setSchemeColors(schemeFromName(m_settings.colorScheme()));
    buildMenus();
    buildToolbar();
    buildShortcuts();
    m_status = new StatusPanel(*statusBar(), m_session, m_language == QStringLiteral("en"));
    // The first window fits the screen it opens on, whatever the scale factor; a saved one comes
    // back as it was.
    if (!restoreGeometry(m_settings.windowGeometry())) {
        fitOnScreen(*this, kFirstSize);
    }
    m_session.setRecoveryListener([this](std::size_t headlines) { showRecovered(headlines); });
    m_view = std::make_unique<ViewHost>(m_ui, central, kViewClass);
    m_view->loadSettings(m_settings.layout(), kViewName);
    // The host hands the view the user's current symbol: the one of the last session, or on a
    // first start the market's most followed stock. The box shows what the view then follows.
    const QString symbol = m_settings.symbol().isEmpty() ? QString::fromLatin1(kFirstStartSymbol) : m_settings.symbol();
    m_view->changeSymbol(qthost::fromQString(symbol));
    m_symbol->setText(m_view->symbolCode().isEmpty() ? symbol : m_view->symbolCode());
    // The link and the source of the news have their permanent place (StatusPanel).
    if (!m_view->hasView()) {
        statusBar()->showMessage(text("新聞檢視尚未加入此版本", "The news view is not in this build"));
    }
    // The flash line takes the status bar's free width, so the count of the last recovery has a
    // place of its own that no flashed headline covers.
    m_recovered = new QLabel(statusBar());
    m_recovered->setObjectName(QStringLiteral("recoveredCount"));
    statusBar()->addPermanentWidget(m_recovered);
    m_flash = std::make_unique<FlashLine>(m_ui, this, statusBar());
    if (TRVNewsCtrlView* news = newsView()) {
        // The story window steps back behind other applications while the terminal is inactive.
        news->SetPopupFollowApp(true);
        connect(qApp, &QGuiApplication::applicationStateChanged, this, [](Qt::ApplicationState state) {
            if (TRVNewsCtrlView* view = newsView()) {
                view->ChangeActiveApp(state == Qt::ApplicationActive ? 1 : 0);
            }
        });
    }
    showFirstStory(kFirstStoryAttempts);
}

void MainWindow::showFirstStory(int attemptsLeft) {
    TRVNewsCtrlView* news = newsView();
    host::ui::CSuperSheetWnd* grid = news != nullptr ? news->pGetCurrSheetView() : nullptr;
    if (grid == nullptr || news->GetStoryShowType() == 0 || grid->cptGetFocusNdx().y >= 0) {
        return; // nothing to read in, no pane to read it in, or the user picked a row already
    }
    if (grid->iGetRowCount() > 0) {
        news->bChangeNewsPos(news->iGetCurrFunction(), 0);
        grid->setFocus();
        return;
    }
    if (attemptsLeft > 0) {
        QTimer::singleShot(kFirstStoryRetryMs, this, [this, attemptsLeft] { showFirstStory(attemptsLeft - 1); });
    }
}

void MainWindow::setStoryWindowOnTop(bool onTop) {
    // The host's pop-up position setting: 1 makes pop-up windows ordinary windows.
    CSyncInfo::Get().setPopupWndPosition(onTop ? 0 : 1);
    if (TRVNewsCtrlView* news = newsView()) {
        news->SetStoryWndStyle();
    }
}

MainWindow::~MainWindow() {
    m_session.setRecoveryListener(nullptr);
    // The viewer's window belongs to this window: it goes first.
    m_flash.reset();
}

QString MainWindow::text(const char* chinese, const char* english) const {
    return m_language == QStringLiteral("en") ? QString::fromUtf8(english) : QString::fromUtf8(chinese);
}

void MainWindow::buildMenus() {
    QMenu* file = menuBar()->addMenu(text("檔案(&F)", "&File"));
    file->addAction(text("列印(&P)...", "&Print..."), QKeySequence::Print, this,
                    [this] { runOutputCommand(news::kCmdPrintNews); });
    file->addAction(text("列印成 PDF...", "Print to P&DF..."), this, [this] { printToPdf(); });
    file->addAction(text("另存新聞(&S)...", "&Save news..."), QKeySequence::Save, this,
                    [this] { runOutputCommand(news::kCmdSaveNews); });
    file->addSeparator();
    file->addAction(text("結束(&X)", "&Quit"), QKeySequence::Quit, this, [this] { close(); });

    // The recovery commands of the view's own context menu, for the row, list and story in focus.
    QMenu* news = menuBar()->addMenu(text("新聞(&N)", "&News"));
    news->addAction(text("重新取得選取的新聞(&H)", "Reload selected &headlines"), this,
                    [this] { m_view->sendCommand(news::kCmdRecoverHeadline); });
    news->addAction(text("重新取得新聞列表(&L)", "Reload headline &list"), QKeySequence(Qt::CTRL | Qt::Key_R), this,
                    [this] { m_view->sendCommand(news::kCmdRecoverHeadlineTable); });
    news->addAction(text("重新取得新聞內容(&S)", "Reload &story"), this,
                    [this] { m_view->sendCommand(news::kCmdRecoverStory); });

    QMenu* viewMenu = menuBar()->addMenu(text("檢視(&V)", "&View"));
    auto* schemes = new QActionGroup(viewMenu);
    const QString current = schemeName(schemeFromName(m_settings.colorScheme()));
    for (const auto& [name, chinese, english] :
         {std::tuple{"dark", "深色配色(&D)", "&Dark colours"}, std::tuple{"light", "淺色配色(&L)", "&Light colours"}}) {
        QAction* action = viewMenu->addAction(text(chinese, english));
        const QString scheme = QString::fromLatin1(name);
        action->setObjectName(QStringLiteral("scheme-") + scheme);
        action->setCheckable(true);
        action->setChecked(scheme == current);
        schemes->addAction(action);
        connect(action, &QAction::triggered, this, [this, scheme] { chooseColorScheme(scheme); });
    }
    viewMenu->addSeparator();
    QAction* onTop = viewMenu->addAction(text("新聞視窗永遠在最上層", "Story window always on top"));
    onTop->setObjectName(QStringLiteral("storyWindowOnTop"));
    onTop->setCheckable(true);
    onTop->setChecked(CSyncInfo::Get().SYS_eGetPopupWndPosition() != 1);
    connect(onTop, &QAction::toggled, this, [this](bool checked) { setStoryWindowOnTop(checked); });

    viewMenu->addSeparator();
    // Ctrl+= is Ctrl+plus without Shift on keyboards where plus shares the key with equals.
    QAction* larger = viewMenu->addAction(text("放大字型", "Larger text"), this, [this] { changeFontSize(1); });
    larger->setObjectName(QStringLiteral("fontLarger"));
    larger->setShortcuts({QKeySequence::ZoomIn, QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    QAction* smaller = viewMenu->addAction(text("縮小字型", "Smaller text"), this, [this] { changeFontSize(-1); });
    smaller->setObjectName(QStringLiteral("fontSmaller"));
    smaller->setShortcuts(QKeySequence::ZoomOut);
    QAction* normal = viewMenu->addAction(text("標準字型大小", "Normal text size"), QKeySequence(Qt::CTRL | Qt::Key_0),
                                          this, [this] { changeFontSize(0); });
    normal->setObjectName(QStringLiteral("fontNormal"));

    QMenu* languages = menuBar()->addMenu(text("語言(&L)", "&Language"));
    auto* group = new QActionGroup(languages);
    for (const auto& [code, label] : {std::pair{"zh-TW", "繁體中文"}, std::pair{"en", "English"}}) {
        QAction* action = languages->addAction(QString::fromUtf8(label));
        action->setCheckable(true);
        action->setChecked(m_language == QString::fromLatin1(code));
        group->addAction(action);
        const QString chosen = QString::fromLatin1(code);
        connect(action, &QAction::triggered, this, [this, chosen] { chooseLanguage(chosen); });
    }
}

void MainWindow::buildToolbar() {
    QToolBar* bar = addToolBar(text("工具列", "Toolbar"));
    bar->setObjectName(QStringLiteral("mainToolbar"));
    bar->setMovable(false);
    bar->addWidget(new QLabel(text(" 商品代碼 ", " Symbol "), bar));
    m_symbol = new QLineEdit(bar);
    m_symbol->setObjectName(QStringLiteral("symbolEntry"));
    m_symbol->setPlaceholderText(QStringLiteral("2330"));
    m_symbol->setMaximumWidth(qthost::scaledLength(kSymbolBoxWidth));
    bar->addWidget(m_symbol);
    connect(m_symbol, &QLineEdit::returnPressed, this, [this] { applySymbol(); });
    bar->addSeparator();
    m_connected = bar->addAction(text("連線中", "Connected"));
    m_connected->setCheckable(true);
    m_connected->setChecked(m_session.isConnected());
    m_connected->setObjectName(QStringLiteral("linkAction"));
    connect(m_connected, &QAction::toggled, this, [this](bool on) {
        m_awaitingRecovery = on;
        m_session.setConnected(on);
        m_status->refresh();
        m_connected->setText(on ? text("連線中", "Connected") : text("已斷線", "Disconnected"));
        // While down the message stays; the recovery after a reconnection replaces it.
        statusBar()->showMessage(on ? text("已重新連線，補回斷線期間的新聞…", "Reconnected; recovering missed news...")
                                    : text("已中斷連線，新聞暫停更新", "Disconnected; news is on hold"),
                                 on ? kStatusMessageMs : 0);
    });
    bar->addAction(text("新的新聞日", "New news day"), this, [this] {
        const int day = m_session.startNewDay();
        statusBar()->showMessage(text("已開始新的新聞日 ", "A new news day has started: ") +
                                     QStringLiteral("%1/%2/%3")
                                         .arg(day / 10000)
                                         .arg(day / 100 % 100, 2, 10, QLatin1Char('0'))
                                         .arg(day % 100, 2, 10, QLatin1Char('0')),
                                 kStatusMessageMs);
    });
}

void MainWindow::showRecovered(std::size_t headlines) {
    const QString count = QString::number(headlines);
    const QString message = m_awaitingRecovery
                                ? text("已重新連線，補回 ", "Reconnected: ") + count +
                                      text(" 則新聞", headlines == 1 ? " headline recovered" : " headlines recovered")
                                : text("已補回遺漏的 ", "Recovered ") + count +
                                      text(" 則新聞", headlines == 1 ? " missed headline" : " missed headlines");
    statusBar()->showMessage(message, kStatusMessageMs);
    m_recovered->setText(message);
    m_awaitingRecovery = false;
}

void MainWindow::chooseColorScheme(const QString& scheme) {
    applyColorScheme(schemeFromName(scheme));
    m_settings.setColorScheme(scheme);
}

void MainWindow::applySymbol() {
    const CString code = qthost::fromQString(m_symbol->text().trimmed().toUpper());
    if (m_view->changeSymbol(code)) {
        m_settings.setSymbol(m_symbol->text().trimmed().toUpper());
        statusBar()->showMessage(text("已切換商品 ", "Symbol changed to ") + m_symbol->text().trimmed(),
                                 kStatusMessageMs);
    } else {
        statusBar()->showMessage(text("找不到商品 ", "Unknown symbol ") + m_symbol->text().trimmed(), kStatusMessageMs);
    }
}

bool MainWindow::checkSelection() {
    if (m_view->hasSelection()) {
        return true;
    }
    statusBar()->showMessage(text("請先在列表中選取新聞", "Select the news in the list first"), kStatusMessageMs);
    return false;
}

void MainWindow::runOutputCommand(int command) {
    if (checkSelection()) {
        m_view->sendCommand(command);
    }
}

void MainWindow::printToPdf() {
    if (!checkSelection()) {
        return;
    }
    const std::optional<QString> path = m_ui.qtDialogs().askSaveFile(
        this, text("列印成 PDF", "Print to PDF"), QStringLiteral("PDF (*.pdf)"), QStringLiteral("pdf"));
    if (!path) {
        return;
    }
    const QFileInfo target(*path);
    const QFileInfo folder(target.absolutePath());
    if (!folder.isDir() || !folder.isWritable() || (target.exists() && !target.isWritable())) {
        reportProblem(this, text("列印成 PDF", "Print to PDF"),
                      text("無法寫入檔案：\n", "The file cannot be written:\n") + QDir::toNativeSeparators(*path));
        return;
    }
    // The view asks for a printer as usual; the dialog service answers with this PDF file.
    m_ui.qtDialogs().printNextToPdf(*path);
    m_view->sendCommand(news::kCmdPrintNews);
    if (m_view->isPrintWaiting()) {
        // The stories are still on their way: the file is written when they arrive.
        statusBar()->showMessage(text("新聞內容到齊後寫入 ", "The PDF is written when the stories arrive: ") + *path,
                                 kStatusMessageMs);
    } else {
        m_ui.qtDialogs().cancelPrintToPdf();
        statusBar()->showMessage(text("已列印成 ", "Printed to ") + *path, kStatusMessageMs);
    }
}

void MainWindow::chooseLanguage(const QString& language) {
    if (language == m_language) {
        return;
    }
    // Everything speaks the new language at once: Qt's own dialogs, the back end's texts, the
    // news view (built again with the settings it had) and the terminal's menus and bars.
    m_language = language;
    m_settings.setLanguage(language);
    useQtTranslation(language);
    m_session.setLanguage(language);
    rebuildView();
    const QString symbol = m_symbol->text();
    menuBar()->clear();
    if (QToolBar* bar = findChild<QToolBar*>(QStringLiteral("mainToolbar"))) {
        removeToolBar(bar);
        delete bar;
    }
    buildMenus();
    buildToolbar();
    m_symbol->setText(symbol);
    setWindowTitle(m_session.isGenerated() ? text("新聞終端機（模擬新聞）", "News terminal (generated news)")
                                           : text("新聞終端機", "News terminal"));
    m_status->setEnglish(language == QStringLiteral("en"));
    if (const QString failure = saveSettings(); !failure.isEmpty()) {
        reportProblem(this, text("設定", "Settings"),
                      text("無法儲存設定：", "The settings could not be saved: ") + failure);
    }
}

void MainWindow::rebuildView() {
    m_view->saveSettings(m_settings.layout());
    m_view.reset();
    m_view = std::make_unique<ViewHost>(m_ui, centralWidget(), kViewClass);
    m_view->loadSettings(m_settings.layout(), kViewName);
    // The new view reads on as the old one did: the newest story, with the keyboard in the list.
    showFirstStory(kFirstStoryAttempts);
}

void MainWindow::buildShortcuts() {
    // Window-wide keys, whichever control has the keyboard: Ctrl+Tab and Ctrl+Shift+Tab step
    // through the view's tabs, Ctrl+1 ... Ctrl+7 pick one, Ctrl+L goes to the symbol box.
    const auto add = [this](const QString& name, const QList<QKeySequence>& keys, auto&& run) {
        auto* action = new QAction(this);
        action->setObjectName(name);
        action->setShortcuts(keys);
        action->setShortcutContext(Qt::WindowShortcut);
        connect(action, &QAction::triggered, this, run);
        addAction(action);
    };
    add(QStringLiteral("nextTab"), {QKeySequence(Qt::CTRL | Qt::Key_Tab)}, [this] { switchTab(-1, 1); });
    add(QStringLiteral("previousTab"),
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab)},
        [this] { switchTab(-1, -1); });
    for (int i = 0; i < kNumberedTabs; ++i) {
        add(QStringLiteral("tab%1").arg(i + 1), {QKeySequence(Qt::CTRL | (Qt::Key_1 + i))},
            [this, i] { switchTab(i, 0); });
    }
    add(QStringLiteral("focusSymbol"), {QKeySequence(Qt::CTRL | Qt::Key_L)}, [this] {
        m_symbol->setFocus(Qt::ShortcutFocusReason);
        m_symbol->selectAll();
    });
}

void MainWindow::switchTab(int index, int step) {
    TRVNewsCtrlView* news = newsView();
    host::ui::Window* strip =
        news != nullptr && news->GetWnd() != nullptr ? news->GetWnd()->child(news::kIdTabStrip) : nullptr;
    auto* tabs = strip != nullptr ? qobject_cast<QTabBar*>(qthost::QtUiHost::widgetOf(strip)) : nullptr;
    if (tabs == nullptr || !tabs->isVisible() || tabs->count() == 0) {
        return;
    }
    const int count = tabs->count();
    const int target = step == 0 ? index : (tabs->currentIndex() + step % count + count) % count;
    if (target < 0 || target >= count || target == tabs->currentIndex()) {
        return;
    }
    // The strip tells the view as it does for a click.
    tabs->setCurrentIndex(target);
}

void MainWindow::changeFontSize(int direction) {
    const int before = validFontPercent(m_settings.fontPercent());
    const int percent = steppedFontPercent(before, direction);
    if (percent == before) {
        return;
    }
    applyFontPercent(percent);
    m_settings.setFontPercent(percent);
    m_symbol->setMaximumWidth(qthost::scaledLength(kSymbolBoxWidth));
    // The view takes the new fonts when it is built again; its layout follows their size.
    rebuildView();
    statusBar()->showMessage(text("字型大小 ", "Text size ") + QString::number(percent) + QLatin1Char('%'),
                             kStatusMessageMs);
    if (const QString failure = saveSettings(); !failure.isEmpty()) {
        reportProblem(this, text("設定", "Settings"),
                      text("無法儲存設定：", "The settings could not be saved: ") + failure);
    }
}

QString MainWindow::saveSettings() {
    m_settings.setWindowGeometry(saveGeometry());
    m_view->saveSettings(m_settings.layout());
    return m_settings.save();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!m_saved) {
        m_saved = true;
        const QString failure = saveSettings();
        if (!failure.isEmpty()) {
            reportProblem(this, text("設定", "Settings"),
                          text("無法儲存設定：", "The settings could not be saved: ") + failure);
        }
    }
    event->accept();
}

} // namespace newsterm
