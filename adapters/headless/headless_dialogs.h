#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "adapters/headless/recording_dc.h"
#include "host/ui/ui_host.h"

namespace headless {

enum class DialogKind { kMessageBox, kSaveFile, kPrint };
const char* dialogKindName(DialogKind kind);

// One common dialog the module opened, with the answer it got.
struct DialogRecord {
    DialogKind kind = DialogKind::kMessageBox;
    int ownerId = 0; // id of the owner window, 0 without one
    CString text;    // message box text
    CString caption; // message box caption
    unsigned flags = 0;
    CString filter;                       // save dialog
    CString defaultExtension;             // save dialog
    bool scripted = false;                // answered from the script (false: the default answer)
    bool expected = true;                 // false when no answer was queued and the dialog needed a decision
    int result = 0;                       // message box result
    bool accepted = false;                // save / print: OK pressed
    std::string path;                     // save dialog answer
    std::shared_ptr<DrawingLog> printJob; // print dialog answer: what was printed
};

// Common dialogs answered by a script: each dialog takes the oldest queued answer of its kind
// at the front of the queue. Without one it gets the cautious default (Cancel, No; an OK-only
// message box is simply acknowledged) and the record says it was not expected.
// Ownership: the service owns its records; print logs are shared with the returned context.
// Thread: UI thread.
class ScriptedDialogService : public host::ui::DialogService {
public:
    // --- Answers, consumed in order ---
    void answerMessageBox(int result);
    void answerSaveFile(std::string path); // OK with this path
    void cancelSaveFile();
    void answerPrint(); // OK: a recording printer context
    void cancelPrint();
    std::size_t pendingAnswers() const { return m_answers.size(); }
    void clearAnswers() { m_answers.clear(); }
    void setPrinterCaps(DeviceCaps caps) { m_printerCaps = caps; }

    // --- Records ---
    const std::vector<DialogRecord>& records() const { return m_records; }
    // Dialogs that needed a decision but found no queued answer.
    std::size_t unexpectedCount() const;

    // --- DialogService ---
    int messageBox(host::ui::Window* owner, const CString& text, const CString& caption, unsigned flags) override;
    bool saveFileDialog(host::ui::Window* owner, const CString& filter, const CString& defaultExtension, unsigned flags,
                        std::string& path) override;
    std::unique_ptr<host::ui::DeviceContext> printDialog(host::ui::Window* owner, unsigned flags) override;

private:
    struct Answer {
        DialogKind kind;
        bool accept = true;
        int result = 0;
        std::string path;
    };
    // The queued answer for a dialog of this kind, when the front of the queue is one.
    bool takeAnswer(DialogKind kind, Answer& answer);

    std::deque<Answer> m_answers;
    std::vector<DialogRecord> m_records;
    DeviceCaps m_printerCaps = DeviceCaps::a4Printer();
};

} // namespace headless
