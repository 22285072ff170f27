#pragma once

#include <QMainWindow>
#include <memory>

class QAction;
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
// link to the news server and a new news day, and the File and Language menus. Closing it
// stores the window geometry and the view's settings.
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
    void applySymbol();
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
    QAction* m_connected = nullptr;  // owned by the toolbar
    StatusPanel* m_status = nullptr; // owned by the status bar
    bool m_saved = false;
};

} // namespace newsterm
