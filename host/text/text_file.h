#pragma once

#include <fstream>
#include <string>
#include <string_view>

// A buffered text file opened for writing in text mode: every "\n" written becomes "\r\n",
// so a file saved here is byte-identical to one saved on Windows. Bytes are written as they
// are (no encoding change, no byte-order mark).
class TextFileWriter {
public:
    // Creates or empties the file; false when it cannot be opened.
    bool open(const std::string& path);
    // false once any write failed.
    bool writeString(std::string_view text);
    // Flushes and closes; false when a write or the flush failed.
    bool close();
    bool isOpen() const { return m_file.is_open(); }

private:
    std::ofstream m_file;
    bool m_ok = true;
};
