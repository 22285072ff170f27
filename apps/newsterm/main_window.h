#pragma once

#include <QMainWindow>
#include <cstddef>
#include <memory>

class QAction;
class QLabel;
class QLineEdit;

namespace qthost {
class QtUiHost;
}

namespace newsterm {

class BackendSession;
class FlashLine;
class StatusPanel;
class TermSettings;
class ViewHost;

// The terminal's window: the news view in the middle, a toolbar with the symbol entry, the
// link to the news server and a new news day, and the File, News, View and Language menus.
// The status bar tells how many headlines a recovery brought. Closing it stores the window
// geometry, the colour scheme and the view's settings.
// Ownership: owns the view host; the UI host, the session and the settings outlive it.
class MainWindow final : public QMainWindow {
public:
    MainWindow(qthost::QtUiHost& ui, BackendSession& session, TermSettings& settings, QString language);
    ~MainWindow() override;
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    // Stores geometry and view settings now (also done on close); the reason on failure.
    QString saveSettings();
    StatusPanel& statusPanel() const { return *m_status; }
    FlashLine& flashLine() { return *m_flash; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // The text of a piece of the terminal's own interface in the chosen language.
    QString text(const char* chinese, const char* english) const;
    void buildMenus();
    void buildToolbar();
    // Print and save: they take the selected rows; without one the status bar says so.
    bool checkSelection();
    void runOutputCommand(int command);
    void printToPdf();
    void chooseLanguage(const QString& language);
    // Builds the news view again with the settings it had, for a new language or font size.
    void rebuildView();
    // The keys of the whole window: tabs, the symbol box (see buildShortcuts in the .cpp).
    void buildShortcuts();
    // Shows the tab at index, or the one step tabs away from the current (wrapping round).
    void switchTab(int index, int step);
    // One font size step up (> 0) or down (< 0), or back to the normal size (0).
    void changeFontSize(int direction);
    void chooseColorScheme(const QString& scheme);
    void applySymbol();
    void showRecovered(std::size_t headlines);
    // Shows the newest story once the list has rows, so that the terminal opens on reading.
    void showFirstStory(int attemptsLeft);
    void setStoryWindowOnTop(bool onTop);

    qthost::QtUiHost& m_ui;
    BackendSession& m_session;
    TermSettings& m_settings;
    QString m_language;
    std::unique_ptr<ViewHost> m_view;
    std::unique_ptr<FlashLine> m_flash;
    QLineEdit* m_symbol = nullptr;   // owned by the toolbar
    QLabel* m_recovered = nullptr;   // owned by the status bar
    QAction* m_connected = nullptr;  // owned by the toolbar
    StatusPanel* m_status = nullptr; // owned by the status bar
    bool m_saved = false;
    bool m_awaitingRecovery = false; // reconnected, the recovery has not come yet
};

} // namespace newsterm
