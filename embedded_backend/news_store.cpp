#include "embedded_backend/news_store.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "embedded_backend/day_math.h"
#include "embedded_backend/search_text.h"
#include "embedded_backend/news_store_statements.h"
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
bool isDamageCode(int rc) {
    const int primary = rc & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

std::string_view blobView(sqlite3_stmt* statement, int column) {
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    return data == nullptr ? std::string_view{} : std::string_view(static_cast<const char*>(data), size);
}

} // namespace


NewsStore::NewsStore() = default;

NewsStore::~NewsStore() { close(); }

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
        const int rc = sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                       nullptr);
        if (rc == SQLITE_OK) {
            sqlite3_extended_result_codes(m_db, 1);
            sqlite3_busy_timeout(m_db, 5000);
        }
        auto failed = [&](const char* what) {
            fail(what);
            const int code = m_db != nullptr ? sqlite3_extended_errcode(m_db) : rc;
            result.status = isDamageCode(code) ? StoreStatus::Damaged : StoreStatus::Unavailable;
            result.message = (result.status == StoreStatus::Damaged ? "The news store " + path + " is damaged (" :
                                                                      "The news store " + path + " cannot be used (") +
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
            result.message = "The news store " + path + " was written by a newer version (schema " +
                             std::to_string(found) + ").";
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
        if (found == 0 && !createSchema()) {
            return failed("create schema");
        }
        m_statements = std::make_unique<Statements>();
        Statements& s = *m_statements;
        const bool prepared =
            s.insertHeadline.prepare(m_db, "INSERT INTO headline(sort_key, service, day, seq, time, category, title, "
                                           "symbols) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)") &&
            s.headlineByKey.prepare(m_db,
                                    "SELECT sort_key, title FROM headline WHERE service = ?1 AND day = ?2 AND seq = ?3") &&
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
                                   "AND s.day = h.day AND s.seq = h.seq WHERE h.sort_key = ?1");
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
    return exec("BEGIN") && exec(kSchema) &&
           exec(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str()) && exec("COMMIT");
}

bool NewsStore::begin() {
    if (m_statements == nullptr) {
        m_lastError = "the news store is not open";
        return false;
    }
    return m_statements->begin.run() || fail("begin");
}

bool NewsStore::commit() { return flushReindex() && (m_statements->commit.run() || fail("commit")); }

bool NewsStore::flushReindex() {
    if (m_reindex.empty()) {
        return true;
    }
    // FTS5 flushes its pending in-memory index whenever a row at or below the last written
    // rowid is touched. One late story at a time that is a flush per story; sorted, all the
    // deletes cost one flush and all the inserts another.
    std::vector<Reindex> work = std::move(m_reindex);
    m_reindex.clear();
    std::sort(work.begin(), work.end(), [](const Reindex& a, const Reindex& b) { return a.sortKey < b.sortKey; });
    for (const Reindex& r : work) {
        if (!indexDelete(r.sortKey, r.title, r.oldStory)) {
            return false;
        }
    }
    for (const Reindex& r : work) {
        if (!indexInsert(r.sortKey, r.title, r.newStory)) {
            return false;
        }
    }
    return true;
}

void NewsStore::rollback() {
    if (m_statements != nullptr && sqlite3_get_autocommit(m_db) == 0) {
        m_statements->rollback.run();
        m_indexes.clear(); // an index created in the transaction is gone again
        m_reindex.clear();
    }
}

bool NewsStore::apply(const NewsChange& change) {
    return std::visit(
        [this](const auto& c) -> bool {
            using T = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<T, HeadlineRecord>) {
                return putHeadline(c);
            } else if constexpr (std::is_same_v<T, StoryRecord>) {
                return putStory(c);
            } else if constexpr (std::is_same_v<T, DayChange>) {
                return putDay(c);
            } else if constexpr (std::is_same_v<T, CategoryRecord>) {
                return putCategory(c);
            } else {
                return true; // the connection state is not stored
            }
        },
        change);
}

bool NewsStore::applyBatch(const NewsBatch& batch) {
    if (!begin()) {
        return false;
    }
    for (const NewsChange& change : batch.changes) {
        if (!apply(change)) {
            rollback();
            return false;
        }
    }
    if (!commit()) {
        rollback();
        return false;
    }
    return true;
}

std::optional<CString> NewsStore::storyText(unsigned char service, int day, std::int32_t seq) {
    Statement& q = m_statements->storyByKey;
    q.bind(1, service).bind(2, day).bind(3, seq);
    std::optional<CString> text;
    if (q.step() == SQLITE_ROW) {
        text = CString(blobView(q.get(), 1));
    }
    q.reset();
    return text;
}

NewsStore::ServiceIndex* NewsStore::index(unsigned char service, bool create) {
    if (const auto it = m_indexes.find(service); it != m_indexes.end()) {
        return it->second.get();
    }
    const std::string id = std::to_string(service);
    const std::string trigram = "fts_trigram_" + id;
    const std::string gram = "fts_gram_" + id;
    Statement exists;
    if (!exists.prepare(m_db, "SELECT count(*) FROM sqlite_master WHERE name = ?1")) {
        fail("find index");
        return nullptr;
    }
    exists.bindText(1, trigram);
    const bool present = exists.step() == SQLITE_ROW && exists.columnInt(0) > 0;
    exists.finalize();
    if (!present) {
        if (!create) {
            return nullptr;
        }
        // A larger hash lets a big transaction build its index in memory before it writes
        // segments (several times faster for a replay at full speed); a commit flushes anyway.
        const std::string ddl =
            "CREATE VIRTUAL TABLE " + trigram +
            " USING fts5(title, story, content='', tokenize='trigram case_sensitive 1');"
            "CREATE VIRTUAL TABLE " + gram +
            " USING fts5(title, story, content='', tokenize='newsgram', detail='column');"
            "INSERT INTO " + trigram + "(" + trigram + ", rank) VALUES('hashsize', 33554432);"
            "INSERT INTO " + gram + "(" + gram + ", rank) VALUES('hashsize', 33554432);";
        if (!exec(ddl.c_str())) {
            return nullptr;
        }
    }
    auto made = std::make_unique<ServiceIndex>();
    ServiceIndex& x = *made;
    auto prepare = [&](Statement& statement, const std::string& sql) { return statement.prepare(m_db, sql.c_str()); };
    auto match = [](const std::string& table, bool symbols) {
        return symbols ? "SELECT f.rowid, h.symbols FROM " + table + " f JOIN headline h ON h.sort_key = f.rowid WHERE " +
                             table + " MATCH ?1 ORDER BY f.rowid DESC"
                       : "SELECT rowid FROM " + table + " WHERE " + table + " MATCH ?1 ORDER BY rowid DESC LIMIT ?2";
    };
    const bool prepared =
        prepare(x.trigramInsert, "INSERT INTO " + trigram + "(rowid, title, story) VALUES(?1, ?2, ?3)") &&
        prepare(x.trigramDelete,
                "INSERT INTO " + trigram + "(" + trigram + ", rowid, title, story) VALUES('delete', ?1, ?2, ?3)") &&
        prepare(x.gramInsert, "INSERT INTO " + gram + "(rowid, title, story) VALUES(?1, ?2, ?3)") &&
        prepare(x.gramDelete, "INSERT INTO " + gram + "(" + gram + ", rowid, title, story) VALUES('delete', ?1, ?2, ?3)") &&
        prepare(x.trigramMatch, match(trigram, false)) && prepare(x.gramMatch, match(gram, false)) &&
        prepare(x.trigramMatchSymbols, match(trigram, true)) && prepare(x.gramMatchSymbols, match(gram, true));
    if (!prepared) {
        fail("prepare index statements");
        return nullptr;
    }
    return m_indexes.emplace(service, std::move(made)).first->second.get();
}

bool NewsStore::indexInsert(std::int64_t sortKey, const CString& title, const CString& story) {
    ServiceIndex* x = index(entryOfSortKey(sortKey).m_byService, true);
    if (x == nullptr) {
        return false;
    }
    const std::string t = indexText(title);
    const std::string s = indexText(story);
    return (x->trigramInsert.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("index headline")) &&
           (x->gramInsert.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("index headline"));
}

bool NewsStore::indexDelete(std::int64_t sortKey, const CString& title, const CString& story) {
    ServiceIndex* x = index(entryOfSortKey(sortKey).m_byService, true);
    if (x == nullptr) {
        return false;
    }
    // The index keeps no text of its own: a row is removed by handing it the text it indexed.
    const std::string t = indexText(title);
    const std::string s = indexText(story);
    return (x->trigramDelete.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("unindex headline")) &&
           (x->gramDelete.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("unindex headline"));
}

bool NewsStore::putHeadline(const HeadlineRecord& h) {
    Statements& st = *m_statements;
    Statement& find = st.headlineByKey;
    find.bind(1, h.service).bind(2, h.day).bind(3, h.seq);
    const int rc = find.step();
    std::optional<std::int64_t> oldKey;
    CString oldTitle;
    if (rc == SQLITE_ROW) {
        oldKey = find.columnInt64(0);
        oldTitle = CString(blobView(find.get(), 1));
    }
    find.reset();
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        return fail("find headline");
    }
    if (oldKey && !flushReindex()) { // a re-sent headline is unindexed with the story the index holds
        return false;
    }
    const CString story = storyText(h.service, h.day, h.seq).value_or(CString{});
    const std::string symbols = encodeSymbols(h.symbols);
    Statement& write = oldKey ? st.updateHeadline : st.insertHeadline;
    write.bind(1, h.sortKey).bind(2, h.service).bind(3, h.day).bind(4, h.seq).bind(5, h.time).bind(6, h.category);
    write.bindBlob(7, h.title).bindBlob(8, symbols);
    if (!write.run()) {
        return fail(oldKey ? "update headline" : "insert headline");
    }
    if (oldKey && !indexDelete(*oldKey, oldTitle, story)) {
        return false;
    }
    return indexInsert(h.sortKey, h.title, story);
}

bool NewsStore::putStory(const StoryRecord& story) {
    Statements& st = *m_statements;
    const std::optional<CString> old = storyText(story.service, story.day, story.seq);
    if (!st.putStory.bind(1, story.service)
             .bind(2, story.day)
             .bind(3, story.seq)
             .bind(4, story.time)
             .bindBlob(5, story.text)
             .run()) {
        return fail("store story");
    }
    Statement& find = st.headlineByKey;
    find.bind(1, story.service).bind(2, story.day).bind(3, story.seq);
    if (find.step() != SQLITE_ROW) {
        find.reset();
        return true; // the headline comes later and is indexed with its story then
    }
    const std::int64_t sortKey = find.columnInt64(0);
    CString title(blobView(find.get(), 1));
    find.reset();
    // Re-indexed at commit, together with the transaction's other late stories.
    for (Reindex& pending : m_reindex) {
        if (pending.sortKey == sortKey) {
            pending.newStory = story.text;
            return true;
        }
    }
    m_reindex.push_back(Reindex{sortKey, std::move(title), old.value_or(CString{}), story.text});
    return true;
}

bool NewsStore::putDay(const DayChange& change) {
    if (!m_statements->putDay.bind(1, change.service).bind(2, change.day).run()) {
        return fail("store news day");
    }
    return purgeBefore(change.service, change.keepFrom);
}

bool NewsStore::putCategory(const CategoryRecord& category) {
    return m_statements->putCategory.bind(1, category.service).bind(2, category.id).bindBlob(3, category.name).run() ||
           fail("store category");
}

bool NewsStore::purgeBefore(unsigned char service, int keepFrom) {
    Statements& st = *m_statements;
    if (!flushReindex()) {
        return false;
    }
    Statement& q = st.purgeSelect;
    q.bind(1, service).bind(2, keepFrom);
    struct Old {
        std::int64_t sortKey;
        CString title;
        CString story;
    };
    std::vector<Old> old;
    int rc = 0;
    while ((rc = q.step()) == SQLITE_ROW) {
        old.push_back(Old{q.columnInt64(0), CString(blobView(q.get(), 1)), CString(blobView(q.get(), 2))});
    }
    q.reset();
    if (rc != SQLITE_DONE) {
        return fail("find old headlines");
    }
    for (const Old& o : old) {
        if (!indexDelete(o.sortKey, o.title, o.story)) {
            return false;
        }
    }
    return (st.purgeHeadlines.bind(1, service).bind(2, keepFrom).run() || fail("drop old headlines")) &&
           (st.purgeStories.bind(1, service).bind(2, keepFrom).run() || fail("drop old stories"));
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
