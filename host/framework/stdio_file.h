#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "host/backend/news_records.h"
#include "host/text/text_file.h"

namespace host {

// Why a file could not be written.
struct FileError {
    enum class Cause { kCreate, kWrite, kReplace };
    Cause cause = Cause::kCreate;
    std::string path;    // file-system path (UTF-8)
    int errorNumber = 0; // the C library's error number; 0 when none was reported
};

// The host's buffered text-mode file for writing, the class the module saves news through.
// Opening creates the file or replaces an existing one without asking; every "\n" written
// becomes "\r\n" and all other bytes go out as they are.
//
// A failure is raised the way the platform raises its file errors: the host tells the user once
// (a message box through the host's dialogs, owned by the active window) and every later call
// on the file does nothing. Callers therefore need no error handling of their own.
//
// The text goes to a temporary file beside the target, which replaces the target only when
// closing succeeds: a save that fails half-way, or a crash, leaves an existing file as it was.
// Ownership: owns the open file; destroying an open file closes it. Thread: UI thread.
class CStdioFile {
public:
    CStdioFile() = default;
    ~CStdioFile();
    CStdioFile(const CStdioFile&) = delete;
    CStdioFile& operator=(const CStdioFile&) = delete;

    // Creates or empties path for writing; false (and the error raised) when it cannot.
    bool Open(const std::string& path);
    // Writes text; false once the file has failed.
    bool WriteString(std::string_view text);
    // Flushes and puts the text in place; false when any step failed.
    bool Close();

    bool IsOpen() const { return m_bOpen; }
    bool HasFailed() const { return m_bFailed; }

    // How the host reports a file error. The default shows the host's message box; a host
    // or test may replace it (an empty function restores the default).
    using ErrorReporter = void (*)(const FileError& error);
    static void SetErrorReporter(ErrorReporter reporter);
    // The message the default reporter shows, in the host's language (code page 950).
    static CString FormatErrorMessage(const FileError& error);

private:
    void Fail(FileError::Cause cause, int errorNumber);
    void Discard();

    TextFileWriter m_writer;
    std::filesystem::path m_target;
    std::filesystem::path m_temporary; // empty when writing the target directly
    bool m_bOpen = false;
    bool m_bFailed = false;
};

} // namespace host
