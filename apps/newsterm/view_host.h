#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "host/backend/news_records.h"

class QLabel;
class QWidget;
class TRVCfgIO2;
class TRVVirtualBaseView;
namespace qthost {
class QtUiHost;
}

namespace newsterm {

// Hosts one module view, created by run-time class name, inside a widget of the terminal:
// the view's window fills the widget and follows its size. When no class of that name is
// registered, a placeholder says so instead.
// Ownership: owns the view; the widget and the settings store belong to the caller and
// outlive this object. Thread: UI thread.
class ViewHost final : public QObject {
public:
    ViewHost(qthost::QtUiHost& ui, QWidget* container, const char* className);
    ~ViewHost() override;
    ViewHost(const ViewHost&) = delete;
    ViewHost& operator=(const ViewHost&) = delete;

    bool hasView() const { return m_view != nullptr; }
    // Reads and writes the view's settings, section "Main", layout 0/0.
    void loadSettings(TRVCfgIO2& store, const CString& name);
    void saveSettings(TRVCfgIO2& store);
    // A command of the view's own menus (print, save), as if chosen there.
    void sendCommand(int id);
    // Whether the news view has rows selected in the grid it shows (what print and save take).
    bool hasSelection() const;
    // Whether the news view's printer holds requests that wait for titles or stories.
    bool isPrintWaiting() const;
    // Makes code the current symbol of link group 1 and tells every quote view. False when
    // no news service knows the code.
    bool changeSymbol(const CString& code);
    // The symbol the news view follows (restored from its settings or chosen since), as text.
    QString symbolCode() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();

    QWidget* m_container;
    std::unique_ptr<TRVVirtualBaseView> m_view;
    QLabel* m_placeholder = nullptr; // child of m_container
};

} // namespace newsterm
