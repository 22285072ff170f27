#include "embedded_backend/search_text.h"

#include <algorithm>

#include <sqlite3.h>

#include "host/text/cp950.h"

namespace embedded {

std::string indexText(std::string_view cp950Text) {
    // Transport wrapping may fall anywhere, even inside a "@@@@" mark: drop it first.
    std::string cleaned;
    cleaned.reserve(cp950Text.size());
    std::size_t pos = 0;
    while (pos < cp950Text.size()) {
        const std::size_t len = cp950::charLength(cp950Text, pos);
        if (len != 1 || (cp950Text[pos] != '\r' && cp950Text[pos] != '\n')) {
            cleaned.append(cp950Text.substr(pos, len));
        }
        pos += len;
    }
    if (cleaned.find("@@@@") != std::string::npos) {
        cleaned = cp950::replaceAll(cleaned, "@@@@", "\n");
    }
    std::string utf8 = cp950::toUtf8(cleaned);
    for (char& c : utf8) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return utf8;
}

namespace {

// Length of the UTF-8 character starting with byte b (1 for stray continuation bytes, so a
// malformed text still advances).
std::size_t utf8CharLength(unsigned char b) {
    if (b >= 0xF0) {
        return 4;
    }
    if (b >= 0xE0) {
        return 3;
    }
    if (b >= 0xC0) {
        return 2;
    }
    return 1;
}

} // namespace

std::size_t utf8Length(std::string_view utf8) {
    std::size_t count = 0;
    for (std::size_t pos = 0; pos < utf8.size(); ++count) {
        pos += utf8CharLength(static_cast<unsigned char>(utf8[pos]));
    }
    return count;
}

std::string ftsQuote(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size() + 2);
    out += '"';
    for (const char c : utf8) {
        out += c;
        if (c == '"') {
            out += '"';
        }
    }
    out += '"';
    return out;
}

namespace {

// FTS5 wants a tokenizer instance; this one keeps no state, so every table shares one object.
struct GramTokenizerInstance {
    int unused = 0;
};
GramTokenizerInstance g_gramInstance;

int gramCreate(void*, const char**, int, Fts5Tokenizer** out) {
    *out = reinterpret_cast<Fts5Tokenizer*>(&g_gramInstance);
    return SQLITE_OK;
}

void gramDelete(Fts5Tokenizer*) {}

int gramTokenize(Fts5Tokenizer*, void* context, int flags, const char* text, int length,
                 int (*token)(void*, int, const char*, int, int, int)) {
    if (length <= 0) {
        return SQLITE_OK;
    }
    if ((flags & FTS5_TOKENIZE_QUERY) != 0) {
        // Queries reach this index only for one or two characters: the string is the token.
        return token(context, 0, text, length, 0, length);
    }
    const auto size = static_cast<std::size_t>(length);
    std::size_t pos = 0;
    while (pos < size) {
        const std::size_t first = std::min(utf8CharLength(static_cast<unsigned char>(text[pos])), size - pos);
        const auto start = static_cast<int>(pos);
        int rc = token(context, 0, text + pos, static_cast<int>(first), start, static_cast<int>(pos + first));
        if (rc != SQLITE_OK) {
            return rc;
        }
        const std::size_t next = pos + first;
        if (next < size) {
            const std::size_t second = std::min(utf8CharLength(static_cast<unsigned char>(text[next])), size - next);
            rc = token(context, FTS5_TOKEN_COLOCATED, text + pos, static_cast<int>(first + second), start,
                       static_cast<int>(next + second));
            if (rc != SQLITE_OK) {
                return rc;
            }
        }
        pos = next;
    }
    return SQLITE_OK;
}

fts5_api* fts5Api(sqlite3* db) {
    fts5_api* api = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT fts5(?1)", -1, &statement, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    sqlite3_bind_pointer(statement, 1, &api, "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
    sqlite3_finalize(statement);
    return api;
}

} // namespace

int registerGramTokenizer(sqlite3* db) {
    fts5_api* api = fts5Api(db);
    if (api == nullptr) {
        return SQLITE_ERROR;
    }
    static fts5_tokenizer tokenizer{gramCreate, gramDelete, gramTokenize};
    return api->xCreateTokenizer(api, "newsgram", nullptr, &tokenizer, nullptr);
}

} // namespace embedded
