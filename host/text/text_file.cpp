#include "host/text/text_file.h"

bool TextFileWriter::open(const std::string& path) {
    if (m_file.is_open())
        m_file.close();
    m_file.clear();
    // Binary mode, with the "\n" -> "\r\n" translation done here, so the bytes are the same on every platform.
    m_file.open(path, std::ios::out | std::ios::binary | std::ios::trunc);
    m_ok = m_file.is_open();
    return m_ok;
}

bool TextFileWriter::writeString(std::string_view text) {
    if (!m_file.is_open())
        return false;
    // A "\r\n" already in the text becomes "\r\r\n", exactly as a Windows text-mode stream writes it.
    // 0x0A is never a trail byte, so splitting at it cannot cut a double-byte character.
    while (!text.empty()) {
        const std::size_t eol = text.find('\n');
        const std::size_t chunk = eol == std::string_view::npos ? text.size() : eol;
        m_file.write(text.data(), static_cast<std::streamsize>(chunk));
        if (eol != std::string_view::npos) {
            m_file.write("\r\n", 2);
            text.remove_prefix(eol + 1);
        } else {
            text.remove_prefix(chunk);
        }
    }
    if (!m_file)
        m_ok = false;
    return m_ok;
}

bool TextFileWriter::close() {
    if (!m_file.is_open())
        return false; // nothing was opened, or it is already closed
    m_file.flush();
    bool ok = m_ok && static_cast<bool>(m_file);
    m_file.close();
    ok = ok && !m_file.fail();
    m_ok = true;
    return ok;
}
