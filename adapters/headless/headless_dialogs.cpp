#include "adapters/headless/headless_dialogs.h"

#include <algorithm>

#include "host/ui/window.h"

namespace headless {

using namespace host::ui::win;

const char* dialogKindName(DialogKind kind) {
    switch (kind) {
    case DialogKind::kMessageBox:
        return "messagebox";
    case DialogKind::kSaveFile:
        return "save";
    case DialogKind::kPrint:
        return "print";
    }
    return "?";
}

void ScriptedDialogService::answerMessageBox(int result) {
    m_answers.push_back(Answer{DialogKind::kMessageBox, true, result, {}});
}

void ScriptedDialogService::answerSaveFile(std::string path) {
    m_answers.push_back(Answer{DialogKind::kSaveFile, true, IDOK, std::move(path)});
}

void ScriptedDialogService::cancelSaveFile() {
    m_answers.push_back(Answer{DialogKind::kSaveFile, false, IDCANCEL, {}});
}

void ScriptedDialogService::answerPrint() {
    m_answers.push_back(Answer{DialogKind::kPrint, true, IDOK, {}});
}

void ScriptedDialogService::cancelPrint() {
    m_answers.push_back(Answer{DialogKind::kPrint, false, IDCANCEL, {}});
}

std::size_t ScriptedDialogService::unexpectedCount() const {
    return static_cast<std::size_t>(
        std::count_if(m_records.begin(), m_records.end(), [](const DialogRecord& r) { return !r.expected; }));
}

bool ScriptedDialogService::takeAnswer(DialogKind kind, Answer& answer) {
    if (m_answers.empty() || m_answers.front().kind != kind) {
        return false;
    }
    answer = std::move(m_answers.front());
    m_answers.pop_front();
    return true;
}

int ScriptedDialogService::messageBox(host::ui::Window* owner, const CString& text, const CString& caption,
                                      unsigned flags) {
    DialogRecord record;
    record.kind = DialogKind::kMessageBox;
    record.ownerId = owner != nullptr ? owner->id() : 0;
    record.text = text;
    record.caption = caption;
    record.flags = flags;
    Answer answer{};
    if (takeAnswer(DialogKind::kMessageBox, answer)) {
        record.scripted = true;
        record.result = answer.result;
    } else {
        const unsigned buttons = flags & 0xFu;
        // An OK-only box asks nothing; any other box gets the answer that changes nothing.
        record.expected = buttons == MB_OK;
        record.result = buttons == MB_OK ? IDOK : buttons == MB_YESNO ? IDNO : IDCANCEL;
    }
    record.accepted = record.result == IDOK || record.result == IDYES;
    m_records.push_back(record);
    return record.result;
}

bool ScriptedDialogService::saveFileDialog(host::ui::Window* owner, const CString& filter,
                                           const CString& defaultExtension, unsigned flags, std::string& path) {
    DialogRecord record;
    record.kind = DialogKind::kSaveFile;
    record.ownerId = owner != nullptr ? owner->id() : 0;
    record.filter = filter;
    record.defaultExtension = defaultExtension;
    record.flags = flags;
    Answer answer{};
    if (takeAnswer(DialogKind::kSaveFile, answer)) {
        record.scripted = true;
        record.accepted = answer.accept;
        record.path = answer.path;
    } else {
        record.expected = false;
    }
    record.result = record.accepted ? IDOK : IDCANCEL;
    m_records.push_back(record);
    if (record.accepted) {
        path = record.path;
    }
    return record.accepted;
}

std::unique_ptr<host::ui::DeviceContext> ScriptedDialogService::printDialog(host::ui::Window* owner, unsigned flags) {
    DialogRecord record;
    record.kind = DialogKind::kPrint;
    record.ownerId = owner != nullptr ? owner->id() : 0;
    record.flags = flags;
    Answer answer{};
    if (takeAnswer(DialogKind::kPrint, answer)) {
        record.scripted = true;
        record.accepted = answer.accept;
    } else {
        record.expected = false;
    }
    record.result = record.accepted ? IDOK : IDCANCEL;
    std::unique_ptr<host::ui::DeviceContext> context;
    if (record.accepted) {
        auto printer = std::make_unique<RecordingDeviceContext>(m_printerCaps);
        record.printJob = printer->log();
        context = std::move(printer);
    }
    m_records.push_back(std::move(record));
    return context;
}

} // namespace headless
