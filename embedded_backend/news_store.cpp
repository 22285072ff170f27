#include "embedded_backend/news_store.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include <sqlite3.h>

#include "embedded_backend/day_math.h"
#include "embedded_backend/news_store_statements.h"
#include "embedded_backend/search_text.h"
#include "host/text/cp950.h"
#include "host/text/format.h"

namespace embedded {

namespace {

constexpr int kSchemaVersion = 1;

constexpr const char* kSchema = R"sql(
CREATE TABLE headline(
  sort_key INTEGER PRIMARY KEY,
  service INTEGER NOT NULL,
  day INTEGER NOT NULL,
  seq INTEGER NOT NULL,
  time INTEGER NOT NULL,
  category INTEGER NOT NULL,
  title BLOB NOT NULL,
  symbols BLOB NOT NULL);
CREATE UNIQUE INDEX headline_by_key ON headline(service, day, seq);
CREATE TABLE story(
  service INTEGER NOT NULL,
  day INTEGER NOT NULL,
  seq INTEGER NOT NULL,
  time INTEGER NOT NULL,
  text BLOB NOT NULL,
  PRIMARY KEY(service, day, seq)) WITHOUT ROWID;
CREATE TABLE service_day(service INTEGER PRIMARY KEY, day INTEGER NOT NULL);
CREATE TABLE category(
  service INTEGER NOT NULL,
  id INTEGER NOT NULL,
  name BLOB NOT NULL,
  PRIMARY KEY(service, id)) WITHOUT ROWID;
)sql";

// How far each stream of the distribution was read. Created on every open: a store written
// before the distribution existed gains the table, and older builds simply ignore it.
constexpr const char* kStreamSchema = R"sql(
CREATE TABLE IF NOT EXISTS stream_position(
  service INTEGER PRIMARY KEY,
  entry_id TEXT NOT NULL,
  entry_no INTEGER NOT NULL);
)sql";

// Settings of the connection that keep the bytes written per stored headline down; none of
// them changes what a commit makes durable (the WAL frames of a commit are written before
// COMMIT returns, as before).
// - secure_delete off: the system library zeroes every freed page and deleted cell by
//   default, and the full-text indexes free segment pages on every merge; zeroing them put
//   those pages into the WAL a second time. News is not secret.
// - A WAL of 8192 pages (32 MiB) before a checkpoint: each commit appends every page it
//   touched, and a checkpoint copies each page once however often it was committed. The hot
//   pages (index roots, the full-text structure records) are written back to the database
//   file once per 8192 WAL pages instead of once per 1000.
// - journal_size_limit: after a checkpoint the WAL file is cut back to that size, so one large
//   transaction (a replay at full speed) does not leave a WAL of hundreds of megabytes behind.
// - A 16 MiB page cache: a transaction that dirties more pages than the cache holds (2 MiB by
//   default) spills them into the WAL and writes them again at commit.
constexpr const char* kWriteVolumeSettings = "PRAGMA secure_delete=OFF;"
                                             "PRAGMA wal_autocheckpoint=8192;"
                                             "PRAGMA journal_size_limit=33554432;"
                                             "PRAGMA cache_size=-16384;";

bool isDamageCode(int rc) {
    const int primary = rc & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

} // namespace

NewsStore::NewsStore() = default;

NewsStore::~NewsStore() {
    close();
}

void NewsStore::close() {
    m_indexes.clear();
    m_statements.reset();
    if (m_db != nullptr) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

bool NewsStore::fail(const char* what) {
    const int rc = m_db != nullptr ? sqlite3_extended_errcode(m_db) : SQLITE_ERROR;
    m_lastError = std::string(what) + ": " + (m_db != nullptr ? sqlite3_errmsg(m_db) : "no database");
    if (isDamageCode(rc)) {
        m_damaged = true;
    }
    return false;
}

bool NewsStore::exec(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &message) != SQLITE_OK) {
        sqlite3_free(message);
        return fail(sql);
    }
    return true;
}

namespace {

// Where a damaged file goes: <name>.corrupt-<yyyymmdd-hhmmss>, with -2, -3... when taken.
std::string asideName(const std::string& path, std::int64_t now) {
    const std::string base = path + ".corrupt-" + text::formatLocalTime("%Y%m%d-%H%M%S", now);
    std::string name = base;
    std::error_code ec;
    for (int n = 2; std::filesystem::exists(name, ec) || std::filesystem::exists(name + "-wal", ec); ++n) {
        name = base + "-" + std::to_string(n);
    }
    return name;
}

} // namespace

StoreOpenResult NewsStore::open(const std::string& path, OpenMode mode, std::int64_t now) {
    close();
    m_path = path;
    m_damaged = false;
    m_lastError.clear();

    auto attempt = [&]() -> StoreOpenResult {
        StoreOpenResult result;
        std::error_code ec;
        const std::filesystem::path parent = std::filesystem::path(path).parent_path();
        if (!parent.empty()) {
            std::filesystem::create_directories(parent, ec);
        }
        if (std::filesystem::is_directory(path, ec)) {
            result.status = StoreStatus::Unavailable;
            result.message = "The news store " + path + " is a folder, not a file.";
            return result;
        }
        const int rc = sqlite3_open_v2(path.c_str(), &m_db,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
        if (rc == SQLITE_OK) {
            sqlite3_extended_result_codes(m_db, 1);
            sqlite3_busy_timeout(m_db, 5000);
        }
        auto failed = [&](const char* what) {
            fail(what);
            const int code = m_db != nullptr ? sqlite3_extended_errcode(m_db) : rc;
            result.status = isDamageCode(code) ? StoreStatus::Damaged : StoreStatus::Unavailable;
            result.message = (result.status == StoreStatus::Damaged ? "The news store " + path + " is damaged ("
                                                                    : "The news store " + path + " cannot be used (") +
                             m_lastError + ").";
            close();
            return result;
        };
        if (rc != SQLITE_OK) {
            return failed("open");
        }
        if (registerGramTokenizer(m_db) != SQLITE_OK) {
            return failed("register tokenizer");
        }
        Statement version;
        if (!version.prepare(m_db, "PRAGMA user_version") || version.step() != SQLITE_ROW) {
            return failed("read schema version");
        }
        const int found = version.columnInt(0);
        version.finalize();
        if (found > kSchemaVersion) {
            result.status = StoreStatus::TooNew;
            result.message =
                "The news store " + path + " was written by a newer version (schema " + std::to_string(found) + ").";
            close();
            return result;
        }
        if (found == 0) {
            Statement tables;
            if (!tables.prepare(m_db, "SELECT count(*) FROM sqlite_master") || tables.step() != SQLITE_ROW) {
                return failed("read schema");
            }
            if (tables.columnInt(0) != 0) {
                // Some other program's database: treat it like a damaged file rather than mix data into it.
                result.status = StoreStatus::Damaged;
                result.message = "The news store " + path + " holds a database of another kind.";
                close();
                return result;
            }
        }
        if (!exec("PRAGMA journal_mode=WAL") || !exec("PRAGMA synchronous=NORMAL")) {
            return failed("set journal mode");
        }
        if (!exec(kWriteVolumeSettings)) {
            return failed("set write settings");
        }
        if (found == 0 && !createSchema()) {
            return failed("create schema");
        }
        if (!exec(kStreamSchema)) {
            return failed("create schema");
        }
        m_statements = std::make_unique<Statements>();
        Statements& s = *m_statements;
        const bool prepared =
            s.insertHeadline.prepare(m_db, "INSERT INTO headline(sort_key, service, day, seq, time, category, title, "
                                           "symbols) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)") &&
            s.headlineByKey.prepare(
                m_db, "SELECT sort_key, title FROM headline WHERE service = ?1 AND day = ?2 AND seq = ?3") &&
            s.updateHeadline.prepare(m_db, "UPDATE headline SET sort_key = ?1, time = ?5, category = ?6, title = ?7, "
                                           "symbols = ?8 WHERE service = ?2 AND day = ?3 AND seq = ?4") &&
            s.storyByKey.prepare(m_db, "SELECT time, text FROM story WHERE service = ?1 AND day = ?2 AND seq = ?3") &&
            s.putStory.prepare(m_db, "INSERT OR REPLACE INTO story(service, day, seq, time, text) "
                                     "VALUES(?1, ?2, ?3, ?4, ?5)") &&
            s.putDay.prepare(m_db, "INSERT OR REPLACE INTO service_day(service, day) VALUES(?1, ?2)") &&
            s.putCategory.prepare(m_db, "INSERT OR IGNORE INTO category(service, id, name) VALUES(?1, ?2, ?3)") &&
            s.purgeSelect.prepare(m_db, "SELECT h.sort_key, h.title, s.text FROM headline h LEFT JOIN story s "
                                        "ON s.service = h.service AND s.day = h.day AND s.seq = h.seq "
                                        "WHERE h.service = ?1 AND h.day < ?2") &&
            s.purgeHeadlines.prepare(m_db, "DELETE FROM headline WHERE service = ?1 AND day < ?2") &&
            s.purgeStories.prepare(m_db, "DELETE FROM story WHERE service = ?1 AND day < ?2") &&
            s.begin.prepare(m_db, "BEGIN IMMEDIATE") && s.commit.prepare(m_db, "COMMIT") &&
            s.rollback.prepare(m_db, "ROLLBACK") &&
            s.textOf.prepare(m_db, "SELECT h.title, s.text FROM headline h LEFT JOIN story s ON s.service = h.service "
                                   "AND s.day = h.day AND s.seq = h.seq WHERE h.sort_key = ?1") &&
            s.titleOf.prepare(m_db, "SELECT title FROM headline WHERE sort_key = ?1") &&
            s.putStreamPosition.prepare(m_db, "INSERT OR REPLACE INTO stream_position(service, entry_id, entry_no) "
                                              "VALUES(?1, ?2, ?3)");
        if (!prepared) {
            return failed("prepare statements");
        }
        return result;
    };

    StoreOpenResult result = attempt();
    if (result.status == StoreStatus::Damaged && mode == OpenMode::StartFreshIfDamaged) {
        const std::string aside = asideName(path, now);
        std::error_code ec;
        std::filesystem::rename(path, aside, ec);
        if (ec) {
            result.status = StoreStatus::Unavailable;
            result.message = "The damaged news store " + path + " cannot be moved aside: " + ec.message() + ".";
            return result;
        }
        // A journal left beside the damaged file would be replayed into the new one.
        for (const char* suffix : {"-wal", "-shm", "-journal"}) {
            if (std::filesystem::exists(path + suffix, ec)) {
                std::filesystem::rename(path + suffix, aside + suffix, ec);
            }
        }
        m_damaged = false;
        result = attempt();
        result.movedAsidePath = aside;
    }
    return result;
}

bool NewsStore::createSchema() {
    return exec("BEGIN") && exec(kSchema) && exec(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str()) &&
           exec("COMMIT");
}

bool NewsStore::load(int daysToKeep, int today, LoadedNews& out) {
    if (m_db == nullptr) {
        m_lastError = "the news store is not open";
        return false;
    }
    out = LoadedNews{};
    std::set<unsigned char> services;
    std::map<unsigned char, int> stored;
    Statement days;
    if (!days.prepare(m_db, "SELECT service, day FROM service_day")) {
        return fail("read news days");
    }
    int rc = 0;
    while ((rc = days.step()) == SQLITE_ROW) {
        stored[static_cast<unsigned char>(days.columnInt(0))] = days.columnInt(1);
        services.insert(static_cast<unsigned char>(days.columnInt(0)));
    }
    if (rc != SQLITE_DONE) {
        return fail("read news days");
    }
    Statement categories;
    if (!categories.prepare(m_db, "SELECT service, id, name FROM category")) {
        return fail("read categories");
    }
    while ((rc = categories.step()) == SQLITE_ROW) {
        out.categories.push_back(CategoryRecord{static_cast<unsigned char>(categories.columnInt(0)),
                                                categories.columnInt(1), CString(blobView(categories.get(), 2))});
    }
    if (rc != SQLITE_DONE) {
        return fail("read categories");
    }
    Statement positions;
    if (!positions.prepare(m_db, "SELECT service, entry_id, entry_no FROM stream_position")) {
        return fail("read stream positions");
    }
    while ((rc = positions.step()) == SQLITE_ROW) {
        const auto service = static_cast<unsigned char>(positions.columnInt(0));
        out.streamPositions[service] =
            StreamPosition{service, std::string(blobView(positions.get(), 1)), positions.columnInt64(2)};
    }
    if (rc != SQLITE_DONE) {
        return fail("read stream positions");
    }
    Statement distinct;
    if (!distinct.prepare(m_db, "SELECT DISTINCT service FROM headline")) {
        return fail("read services");
    }
    while ((rc = distinct.step()) == SQLITE_ROW) {
        services.insert(static_cast<unsigned char>(distinct.columnInt(0)));
    }
    if (rc != SQLITE_DONE) {
        return fail("read services");
    }
    Statement headlines;
    Statement stories;
    if (!headlines.prepare(m_db, "SELECT sort_key, day, seq, time, category, title, symbols FROM headline "
                                 "WHERE service = ?1 AND day >= ?2") ||
        !stories.prepare(m_db, "SELECT day, seq, time, text FROM story WHERE service = ?1 AND day = ?2")) {
        return fail("read headlines");
    }
    for (const unsigned char service : services) {
        const auto s = stored.find(service);
        const int current = s == stored.end() ? today : std::max(s->second, today);
        const int keepFrom = addDays(current, 1 - std::max(1, daysToKeep));
        out.currentDays[service] = current;
        out.keepFrom[service] = keepFrom;
        headlines.bind(1, service).bind(2, keepFrom);
        while ((rc = headlines.step()) == SQLITE_ROW) {
            HeadlineRecord h;
            h.service = service;
            h.sortKey = headlines.columnInt64(0);
            h.day = headlines.columnInt(1);
            h.seq = headlines.columnInt(2);
            h.time = headlines.columnInt64(3);
            h.category = headlines.columnInt(4);
            h.title = CString(blobView(headlines.get(), 5));
            const std::string_view symbols = blobView(headlines.get(), 6);
            h.symbols = decodeSymbols(symbols.data(), symbols.size());
            out.headlines.push_back(std::move(h));
        }
        headlines.reset();
        if (rc != SQLITE_DONE) {
            return fail("read headlines");
        }
        stories.bind(1, service).bind(2, current);
        while ((rc = stories.step()) == SQLITE_ROW) {
            out.stories.push_back(StoryRecord{service, stories.columnInt(0), stories.columnInt(1),
                                              stories.columnInt64(2), CString(blobView(stories.get(), 3))});
        }
        stories.reset();
        if (rc != SQLITE_DONE) {
            return fail("read stories");
        }
    }
    return true;
}

std::optional<StoryRecord> NewsStore::story(unsigned char service, int day, std::int32_t seq) {
    if (m_statements == nullptr) {
        return std::nullopt;
    }
    Statement& q = m_statements->storyByKey;
    q.bind(1, service).bind(2, day).bind(3, seq);
    std::optional<StoryRecord> found;
    const int rc = q.step();
    if (rc == SQLITE_ROW) {
        found = StoryRecord{service, day, seq, q.columnInt64(0), CString(blobView(q.get(), 1))};
    }
    q.reset();
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        fail("read story");
    }
    return found;
}

std::int64_t NewsStore::headlineCount() {
    Statement q;
    if (m_db == nullptr || !q.prepare(m_db, "SELECT count(*) FROM headline") || q.step() != SQLITE_ROW) {
        return -1;
    }
    return q.columnInt64(0);
}

std::string encodeSymbols(const std::vector<CSymbolInfo>& symbols) {
    std::string out;
    for (const CSymbolInfo& s : symbols) {
        const std::size_t codeLength = cp950::cutLength(s.m_strCode, 255);
        const std::size_t nameLength = cp950::cutLength(s.m_strName, 255);
        out += static_cast<char>(s.m_byMarket);
        out += static_cast<char>(codeLength);
        out.append(s.m_strCode, 0, codeLength);
        out += static_cast<char>(nameLength);
        out.append(s.m_strName, 0, nameLength);
    }
    return out;
}

std::vector<CSymbolInfo> decodeSymbols(const void* data, std::size_t size) {
    std::vector<CSymbolInfo> out;
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::size_t pos = 0;
    while (pos + 2 <= size) {
        CSymbolInfo s;
        s.m_byMarket = bytes[pos++];
        const std::size_t codeLength = bytes[pos++];
        if (pos + codeLength + 1 > size) {
            break;
        }
        s.m_strCode.assign(reinterpret_cast<const char*>(bytes + pos), codeLength);
        pos += codeLength;
        const std::size_t nameLength = bytes[pos++];
        if (pos + nameLength > size) {
            break;
        }
        s.m_strName.assign(reinterpret_cast<const char*>(bytes + pos), nameLength);
        pos += nameLength;
        out.push_back(std::move(s));
    }
    return out;
}

} // namespace embedded
