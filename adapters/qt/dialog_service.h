#pragma once

#include <QMessageBox>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "host/ui/ui_host.h"

class QPrinter;
class QWidget;

namespace qthost {

// The common dialogs on Qt: QMessageBox, QFileDialog, QPrintDialog. Each question goes
// through a replaceable prompter, so tests (and a terminal without a display) answer it
// without a nested event loop; the defaults ask the user. A pending PDF destination makes
// the next print dialog answer with a PDF printer at once ("Print to PDF").
// Thread: UI thread.
class QtDialogService final : public host::ui::DialogService {
public:
    struct MessageQuestion {
        QWidget* owner = nullptr;
        QString text;
        QString caption;
        QMessageBox::StandardButtons buttons;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
    };
    struct SaveQuestion {
        QWidget* owner = nullptr;
        QString filter;        // Qt's form: "Text (*.txt);;All files (*)"
        QString defaultSuffix; // without the dot
        QString caption;       // the dialog's title; empty: the toolkit's own
    };
    // Answers: the button pressed; the chosen path or nothing on Cancel; a printer or null.
    using MessagePrompter = std::function<QMessageBox::StandardButton(const MessageQuestion&)>;
    using SavePrompter = std::function<std::optional<QString>(const SaveQuestion&)>;
    using PrintPrompter = std::function<std::unique_ptr<QPrinter>(QWidget* owner)>;

    QtDialogService();
    ~QtDialogService() override;
    QtDialogService(const QtDialogService&) = delete;
    QtDialogService& operator=(const QtDialogService&) = delete;

    void setMessagePrompter(MessagePrompter prompter) { m_message = std::move(prompter); }
    void setSavePrompter(SavePrompter prompter) { m_save = std::move(prompter); }
    void setPrintPrompter(PrintPrompter prompter) { m_print = std::move(prompter); }
    // The next print dialog prints to this PDF file without asking.
    void printNextToPdf(const QString& path) { m_pdfPath = path; }
    // Forgets a PDF file no print dialog has taken.
    void cancelPrintToPdf() { m_pdfPath.reset(); }
    bool isPrintToPdfPending() const { return m_pdfPath.has_value(); }
    // Asks for a file to write, for the terminal's own commands; nothing on Cancel. A name
    // given without an extension gets the suffix.
    std::optional<QString> askSaveFile(QWidget* owner, const QString& caption, const QString& qtFilter,
                                       const QString& suffix);

    int messageBox(host::ui::Window* owner, const CString& text, const CString& caption, unsigned flags) override;
    bool saveFileDialog(host::ui::Window* owner, const CString& filter, const CString& defaultExtension, unsigned flags,
                        std::string& path) override;
    std::unique_ptr<host::ui::DeviceContext> printDialog(host::ui::Window* owner, unsigned flags) override;

    // "Text (*.txt)|*.txt|All (*.*)|*.*||" -> "Text (*.txt);;All (*.*)".
    static QString toQtFilter(const QString& platformFilter);
    // A printer that writes a PDF file (A4, high resolution).
    static std::unique_ptr<QPrinter> makePdfPrinter(const QString& path);

private:
    MessagePrompter m_message;
    SavePrompter m_save;
    PrintPrompter m_print;
    std::optional<QString> m_pdfPath;
};

} // namespace qthost
