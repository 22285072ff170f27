#pragma once

#include <cstdint>
#include <string_view>

#include <sqlite3.h>

namespace embedded {

// A prepared SQLite statement owned for the life of a connection. Bound texts are copied
// (SQLITE_TRANSIENT), so callers may pass temporaries.
class Statement {
public:
    Statement() = default;
    ~Statement() { finalize(); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool prepare(sqlite3* db, const char* sql) {
        finalize();
        return sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr) == SQLITE_OK;
    }
    void finalize() {
        sqlite3_finalize(m_statement);
        m_statement = nullptr;
    }
    sqlite3_stmt* get() const { return m_statement; }

    Statement& bind(int index, std::int64_t value) {
        sqlite3_bind_int64(m_statement, index, value);
        return *this;
    }
    Statement& bindText(int index, std::string_view utf8) {
        sqlite3_bind_text(m_statement, index, utf8.data(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bindBlob(int index, std::string_view bytes) {
        // A zero-length blob rather than NULL, so NOT NULL columns accept empty texts.
        sqlite3_bind_blob(m_statement, index, bytes.empty() ? "" : bytes.data(), static_cast<int>(bytes.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }

    int step() { return sqlite3_step(m_statement); }
    void reset() { sqlite3_reset(m_statement); }
    // Steps once and resets: true when the statement completed (or gave a row).
    bool run() {
        const int rc = sqlite3_step(m_statement);
        sqlite3_reset(m_statement);
        return rc == SQLITE_DONE || rc == SQLITE_ROW;
    }

    int columnInt(int column) const { return sqlite3_column_int(m_statement, column); }
    std::int64_t columnInt64(int column) const { return sqlite3_column_int64(m_statement, column); }

private:
    sqlite3_stmt* m_statement = nullptr;
};

// A blob or text column as bytes, valid until the statement moves on.
inline std::string_view blobView(sqlite3_stmt* statement, int column) {
    const void* data = sqlite3_column_blob(statement, column);
    return data == nullptr ? std::string_view{}
                           : std::string_view(static_cast<const char*>(data),
                                              static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

} // namespace embedded
