#include "host/framework/stdio_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"

namespace host {

namespace fs = std::filesystem;

namespace {

CStdioFile::ErrorReporter g_reporter = nullptr;

CString hostText(const char* key, const char* fallback) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    const CString text = bk != nullptr ? bk->LangGetLangString(key) : CString{};
    // A language table without the key answers with the key itself.
    return text.empty() || text == key ? CString(fallback) : text;
}

void showFileError(const FileError& error) {
    ui::UiHost* uiHost = HostContext::current().ui;
    if (uiHost == nullptr) {
        return;
    }
    uiHost->dialogs().messageBox(uiHost->activeWindow(), CStdioFile::FormatErrorMessage(error),
                                 hostText("IDS_FILEERROR_CAPTION", "File error"),
                                 ui::win::MB_OK | ui::win::MB_ICONEXCLAMATION);
}

// The temporary file the text is written to before it replaces the target.
fs::path temporaryFor(const fs::path& target) {
    fs::path temporary = target;
    temporary.replace_filename("." + target.filename().string() + ".saving");
    return temporary;
}

// Whether an existing target may be replaced: the platform refuses to overwrite a file the
// user may not write, so that is checked before anything changes (appending nothing).
bool targetWritable(const fs::path& target, int& errorNumber) {
    std::error_code ec;
    const fs::file_status status = fs::status(target, ec);
    if (!fs::exists(status)) {
        return true;
    }
    if (fs::is_directory(status)) {
        errorNumber = EISDIR;
        return false;
    }
    if (!fs::is_regular_file(status)) {
        return true; // a device or pipe is written in place, never replaced
    }
    errno = 0;
    std::ofstream probe(target, std::ios::out | std::ios::app | std::ios::binary);
    if (!probe.is_open()) {
        errorNumber = errno != 0 ? errno : EACCES;
        return false;
    }
    return true;
}

} // namespace

CStdioFile::~CStdioFile() {
    if (m_bOpen) {
        Close();
    }
}

void CStdioFile::SetErrorReporter(ErrorReporter reporter) {
    g_reporter = reporter;
}

CString CStdioFile::FormatErrorMessage(const FileError& error) {
    const char* key = "IDS_FILEERROR_WRITE";
    const char* fallback = "The file could not be written:";
    if (error.cause == FileError::Cause::kCreate) {
        key = "IDS_FILEERROR_CREATE";
        fallback = "The file could not be created:";
    }
    CString message = hostText(key, fallback) + "\n" + cp950::fromUtf8(error.path);
    if (error.errorNumber != 0) {
        message += "\n(" + cp950::fromUtf8(std::strerror(error.errorNumber)) + ")";
    }
    return message;
}

void CStdioFile::Fail(FileError::Cause cause, int errorNumber) {
    if (m_bFailed) {
        return;
    }
    m_bFailed = true;
    Discard();
    const FileError error{cause, m_target.string(), errorNumber};
    if (g_reporter != nullptr) {
        g_reporter(error);
    } else {
        showFileError(error);
    }
}

void CStdioFile::Discard() {
    if (m_writer.isOpen()) {
        m_writer.close();
    }
    if (!m_temporary.empty()) {
        std::error_code ec;
        fs::remove(m_temporary, ec);
    }
    m_bOpen = false;
}

bool CStdioFile::Open(const std::string& path) {
    if (m_bOpen) {
        Close();
    }
    m_bFailed = false;
    m_target = fs::path(path);
    m_temporary.clear();
    int errorNumber = 0;
    if (path.empty()) {
        Fail(FileError::Cause::kCreate, ENOENT);
        return false;
    }
    if (!targetWritable(m_target, errorNumber)) {
        Fail(FileError::Cause::kCreate, errorNumber);
        return false;
    }
    errno = 0;
    std::error_code ec;
    const bool special = fs::exists(m_target, ec) && !fs::is_regular_file(m_target, ec);
    const fs::path temporary = temporaryFor(m_target);
    if (!special && m_writer.open(temporary.string())) {
        m_temporary = temporary;
    } else {
        // A folder that takes no new file may still hold a target the user can write.
        errno = 0;
        if (!m_writer.open(m_target.string())) {
            Fail(FileError::Cause::kCreate, errno);
            return false;
        }
    }
    m_bOpen = true;
    return true;
}

bool CStdioFile::WriteString(std::string_view text) {
    if (!m_bOpen || m_bFailed) {
        return false;
    }
    errno = 0;
    if (!m_writer.writeString(text)) {
        Fail(FileError::Cause::kWrite, errno);
        return false;
    }
    return true;
}

bool CStdioFile::Close() {
    if (!m_bOpen) {
        return false;
    }
    errno = 0;
    if (!m_writer.close()) {
        Fail(FileError::Cause::kWrite, errno);
        return false;
    }
    m_bOpen = false;
    if (m_temporary.empty()) {
        return true;
    }
    std::error_code ec;
    const auto permissions = fs::status(m_target, ec).permissions();
    if (!ec && permissions != fs::perms::unknown) {
        // The replaced file keeps the access rights the user gave it.
        fs::permissions(m_temporary, permissions, ec);
    }
    fs::rename(m_temporary, m_target, ec);
    if (ec) {
        Fail(FileError::Cause::kReplace, ec.value());
        return false;
    }
    m_temporary.clear();
    return true;
}

} // namespace host
