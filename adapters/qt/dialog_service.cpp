#include "adapters/qt/dialog_service.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QPrintDialog>
#include <QPrinter>
#include <QStringList>
#include <QWidget>

#include "adapters/qt/printer_dc.h"
#include "adapters/qt/text_codec.h"
#include "adapters/qt/window_core.h"

namespace qthost {

namespace win = host::ui::win;

namespace {

QWidget* ownerWidget(host::ui::Window* owner) {
    WindowCore* window = WindowCore::fromWindow(owner);
    if (window != nullptr && window->isAlive()) {
        return window->widget()->window();
    }
    return QApplication::activeWindow();
}

QMessageBox::StandardButton askUser(const QtDialogService::MessageQuestion& question) {
    QMessageBox box(question.icon, question.caption, question.text, question.buttons, question.owner);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

std::optional<QString> askPath(const QtDialogService::SaveQuestion& question) {
    QFileDialog dialog(question.owner);
    if (!question.caption.isEmpty()) {
        dialog.setWindowTitle(question.caption);
    }
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilter(question.filter);
    dialog.setDefaultSuffix(question.defaultSuffix);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return dialog.selectedFiles().front();
}

std::unique_ptr<QPrinter> askPrinter(QWidget* owner) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    QPrintDialog dialog(printer.get(), owner);
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
    if (dialog.exec() != QDialog::Accepted) {
        return nullptr;
    }
    return printer;
}

} // namespace

QtDialogService::QtDialogService() : m_message(askUser), m_save(askPath), m_print(askPrinter) {}
QtDialogService::~QtDialogService() = default;

int QtDialogService::messageBox(host::ui::Window* owner, const CString& text, const CString& caption, unsigned flags) {
    MessageQuestion question;
    question.owner = ownerWidget(owner);
    question.text = toQString(text);
    question.caption = toQString(caption);
    switch (flags & 0xFu) {
    case win::MB_OKCANCEL:
        question.buttons = QMessageBox::Ok | QMessageBox::Cancel;
        break;
    case win::MB_YESNO:
        question.buttons = QMessageBox::Yes | QMessageBox::No;
        break;
    default:
        question.buttons = QMessageBox::Ok;
        break;
    }
    switch (flags & 0xF0u) {
    case win::MB_ICONQUESTION:
        question.icon = QMessageBox::Question;
        break;
    case win::MB_ICONEXCLAMATION:
        question.icon = QMessageBox::Warning;
        break;
    case win::MB_ICONINFORMATION:
        question.icon = QMessageBox::Information;
        break;
    default:
        break;
    }
    switch (m_message(question)) {
    case QMessageBox::Yes:
        return win::IDYES;
    case QMessageBox::No:
        return win::IDNO;
    case QMessageBox::Ok:
        return win::IDOK;
    default:
        // Closing the box answers Cancel, or No when there is no Cancel button.
        return question.buttons.testFlag(QMessageBox::No)       ? win::IDNO
               : question.buttons.testFlag(QMessageBox::Cancel) ? win::IDCANCEL
                                                                : win::IDOK;
    }
}

QString QtDialogService::toQtFilter(const QString& platformFilter) {
    const QStringList parts = platformFilter.split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString& description = parts[i];
        if (description.isEmpty()) {
            break; // the "||" that ends the list
        }
        QString patterns = parts[i + 1];
        patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
        // Qt reads the patterns from the last parentheses of each entry.
        const QString suffix = QStringLiteral("(%1)").arg(patterns);
        filters.push_back(description.endsWith(suffix) ? description
                                                       : QStringLiteral("%1 %2").arg(description, suffix));
    }
    return filters.join(QStringLiteral(";;"));
}

std::optional<QString> QtDialogService::askSaveFile(QWidget* owner, const QString& caption, const QString& qtFilter,
                                                    const QString& suffix) {
    SaveQuestion question;
    question.owner = owner;
    question.filter = qtFilter;
    question.defaultSuffix = suffix.startsWith(QLatin1Char('.')) ? suffix.mid(1) : suffix;
    question.caption = caption;
    const std::optional<QString> chosen = m_save(question);
    if (!chosen || chosen->isEmpty()) {
        return std::nullopt;
    }
    QString result = *chosen;
    // A name typed without an extension gets the default one, as the platform's dialog does.
    if (!question.defaultSuffix.isEmpty() && QFileInfo(result).suffix().isEmpty()) {
        result += QLatin1Char('.') + question.defaultSuffix;
    }
    return result;
}

bool QtDialogService::saveFileDialog(host::ui::Window* owner, const CString& filter, const CString& defaultExtension,
                                     unsigned /*flags*/, std::string& path) {
    const std::optional<QString> chosen =
        askSaveFile(ownerWidget(owner), QString(), toQtFilter(toQString(filter)), toQString(defaultExtension));
    if (!chosen) {
        return false;
    }
    // The file-system path in the local 8-bit encoding (UTF-8), as the C++ file streams take it.
    path = QFile::encodeName(*chosen).toStdString();
    return true;
}

std::unique_ptr<host::ui::DeviceContext> QtDialogService::printDialog(host::ui::Window* owner, unsigned /*flags*/) {
    std::unique_ptr<QPrinter> printer;
    if (m_pdfPath) {
        printer = makePdfPrinter(*m_pdfPath);
        m_pdfPath.reset();
    } else {
        printer = m_print(ownerWidget(owner));
    }
    if (!printer) {
        return nullptr;
    }
    return std::make_unique<PrinterDeviceContext>(std::move(printer));
}

std::unique_ptr<QPrinter> QtDialogService::makePdfPrinter(const QString& path) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(path);
    printer->setPageSize(QPageSize(QPageSize::A4));
    return printer;
}

} // namespace qthost
