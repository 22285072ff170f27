#pragma once

#include <QObject>
#include <memory>

#include "host/backend/news_receiver.h"
#include "host/framework/main_frame.h"

class QPushButton;
class QStatusBar;
class TRVNewsStory;
namespace qthost {
class QtUiHost;
}

namespace newsterm {

// The newest headline of any news service, flashed in the status bar as it arrives; a click
// opens its story in the story window of the main frame (the bare viewer: no paging, no
// buttons), which fills in when the story arrives.
// Ownership: the button belongs to the status bar; the viewer to this object. It listens to
// every news service of the back end for as long as it lives. Thread: UI thread.
class FlashLine final : public QObject, public NewsReceiver, public CMainFrame {
public:
    FlashLine(qthost::QtUiHost& ui, QWidget* mainWindow, QStatusBar* bar);
    ~FlashLine() override;
    FlashLine(const FlashLine&) = delete;
    FlashLine& operator=(const FlashLine&) = delete;

    // CMainFrame: the terminal's window.
    host::ui::Window* GetFrameWnd() const override { return m_frame; }
    // The headline the line shows (no service 0 before the first one).
    const CHeadline& headline() const { return m_headline; }
    QPushButton* button() const { return m_button; }
    TRVNewsStory* viewer() const { return m_viewer.get(); }
    // Opens the flashed headline's story in the viewer.
    void openStory();

    // NewsReceiver
    void RecvNewHeadLine(const CHeadline* headline, const CString& categoryId, const CString& symbolCode) override;
    void RespStory(const CHeadlineTable& entry) override;

private:
    void subscribe();
    bool isShownEntry(const CHeadlineTable& entry) const;

    host::ui::Window* m_frame; // the main window as a host window; lives as long as it
    QPushButton* m_button;     // owned by the status bar
    CHeadline m_headline;
    std::unique_ptr<TRVNewsStory> m_viewer;
    CHeadline m_shown; // the headline whose story the viewer shows
};

} // namespace newsterm
