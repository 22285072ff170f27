// The write half of the store: headlines, stories, days and categories, and keeping the
// full-text indexes in step with them.
#include <algorithm>

#include <sqlite3.h>

#include "embedded_backend/news_store.h"
#include "embedded_backend/news_store_statements.h"
#include "embedded_backend/search_text.h"

namespace embedded {

bool NewsStore::begin() {
    if (m_statements == nullptr) {
        m_lastError = "the news store is not open";
        return false;
    }
    return m_statements->begin.run() || fail("begin");
}

bool NewsStore::commit() {
    return flushIndex() && flushStreamPositions() && (m_statements->commit.run() || fail("commit"));
}

bool NewsStore::flushStreamPositions() {
    // Only the last bookmark of each stream in a transaction matters: one row each.
    for (const auto& [service, position] : m_pendingPositions) {
        if (!m_statements->putStreamPosition.bind(1, position.service)
                 .bindText(2, position.entryId)
                 .bind(3, position.entryNo)
                 .run()) {
            return fail("store stream position");
        }
    }
    m_pendingPositions.clear();
    return true;
}

NewsStore::IndexChange& NewsStore::touchIndex(std::int64_t sortKey, std::optional<IndexedText> before) {
    const auto [it, fresh] = m_pendingIndex.try_emplace(sortKey);
    if (fresh) {
        it->second.after = before;
        it->second.before = std::move(before);
    }
    return it->second;
}

bool NewsStore::flushIndex() {
    if (m_pendingIndex.empty()) {
        return true;
    }
    // FTS5 keeps a transaction's additions in memory and flushes them to a new segment
    // whenever a row at or below the last one added is touched. Changing rows as they come
    // (a re-sent headline, a late story) flushed once per change; collected per row and
    // written here, the removals cost at most one flush and the additions one more. A row
    // changed many times in the transaction is removed and added once.
    const std::map<std::int64_t, IndexChange> work = std::move(m_pendingIndex);
    m_pendingIndex.clear();
    for (const auto& [key, change] : work) {
        if (change.before && change.before != change.after) {
            // The title index holds titles alone: a new story leaves it as it is.
            const bool title = !change.after || change.after->title != change.before->title;
            if (!indexDelete(key, change.before->title, change.before->story, title)) {
                return false;
            }
        }
    }
    for (const auto& [key, change] : work) {
        if (change.after && change.after != change.before) {
            const bool title = !change.before || change.after->title != change.before->title;
            if (!indexInsert(key, change.after->title, change.after->story, title)) {
                return false;
            }
        }
    }
    return true;
}

void NewsStore::rollback() {
    if (m_statements != nullptr && sqlite3_get_autocommit(m_db) == 0) {
        m_statements->rollback.run();
        m_indexes.clear(); // an index created in the transaction is gone again
        m_pendingIndex.clear();
        m_pendingPositions.clear();
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
            } else if constexpr (std::is_same_v<T, StreamPosition>) {
                return putStreamPosition(c);
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
    const std::string titles = "fts_title_" + id;
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
        // columnsize=0: the searches order by rowid and never rank, so the per-row token counts
        // would only cost a page write per table and commit.
        const std::string ddl =
            "CREATE VIRTUAL TABLE " + trigram +
            " USING fts5(title, story, content='', tokenize='trigram case_sensitive 1', columnsize=0);"
            "CREATE VIRTUAL TABLE " +
            gram +
            " USING fts5(title, story, content='', tokenize='newsgram', detail='column', columnsize=0);"
            "CREATE VIRTUAL TABLE " +
            titles +
            " USING fts5(title, content='', tokenize='trigram case_sensitive 1', columnsize=0);"
            "INSERT INTO " +
            trigram + "(" + trigram +
            ", rank) VALUES('hashsize', 33554432);"
            "INSERT INTO " +
            gram + "(" + gram + ", rank) VALUES('hashsize', 33554432);";
        if (!exec(ddl.c_str())) {
            return nullptr;
        }
    }
    auto made = std::make_unique<ServiceIndex>();
    ServiceIndex& x = *made;
    auto prepare = [&](Statement& statement, const std::string& sql) { return statement.prepare(m_db, sql.c_str()); };
    auto match = [](const std::string& table, bool symbols) {
        return symbols
                   ? "SELECT f.rowid, h.symbols FROM " + table + " f JOIN headline h ON h.sort_key = f.rowid WHERE " +
                         table + " MATCH ?1 ORDER BY f.rowid DESC"
                   : "SELECT rowid FROM " + table + " WHERE " + table + " MATCH ?1 ORDER BY rowid DESC LIMIT ?2";
    };
    const bool prepared =
        prepare(x.trigramInsert, "INSERT INTO " + trigram + "(rowid, title, story) VALUES(?1, ?2, ?3)") &&
        prepare(x.trigramDelete,
                "INSERT INTO " + trigram + "(" + trigram + ", rowid, title, story) VALUES('delete', ?1, ?2, ?3)") &&
        prepare(x.gramInsert, "INSERT INTO " + gram + "(rowid, title, story) VALUES(?1, ?2, ?3)") &&
        prepare(x.gramDelete,
                "INSERT INTO " + gram + "(" + gram + ", rowid, title, story) VALUES('delete', ?1, ?2, ?3)") &&
        prepare(x.trigramMatch, match(trigram, false)) && prepare(x.gramMatch, match(gram, false)) &&
        prepare(x.trigramMatchSymbols, match(trigram, true)) && prepare(x.gramMatchSymbols, match(gram, true)) &&
        prepare(x.titleInsert, "INSERT INTO " + titles + "(rowid, title) VALUES(?1, ?2)") &&
        prepare(x.titleDelete, "INSERT INTO " + titles + "(" + titles + ", rowid, title) VALUES('delete', ?1, ?2)") &&
        prepare(x.titleMatch, match(titles, false)) && prepare(x.titleMatchSymbols, match(titles, true));
    if (!prepared) {
        fail("prepare index statements");
        return nullptr;
    }
    return m_indexes.emplace(service, std::move(made)).first->second.get();
}

bool NewsStore::indexInsert(std::int64_t sortKey, const CString& title, const CString& story, bool withTitle) {
    ServiceIndex* x = index(entryOfSortKey(sortKey).m_byService, true);
    if (x == nullptr) {
        return false;
    }
    const std::string t = indexText(title);
    const std::string s = indexText(story);
    return (x->trigramInsert.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("index headline")) &&
           (x->gramInsert.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("index headline")) &&
           (!withTitle || x->titleInsert.bind(1, sortKey).bindText(2, t).run() || fail("index headline"));
}

bool NewsStore::indexDelete(std::int64_t sortKey, const CString& title, const CString& story, bool withTitle) {
    ServiceIndex* x = index(entryOfSortKey(sortKey).m_byService, true);
    if (x == nullptr) {
        return false;
    }
    // The index keeps no text of its own: a row is removed by handing it the text it indexed.
    const std::string t = indexText(title);
    const std::string s = indexText(story);
    return (x->trigramDelete.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("unindex headline")) &&
           (x->gramDelete.bind(1, sortKey).bindText(2, t).bindText(3, s).run() || fail("unindex headline")) &&
           (!withTitle || x->titleDelete.bind(1, sortKey).bindText(2, t).run() || fail("unindex headline"));
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
    const CString story = storyText(h.service, h.day, h.seq).value_or(CString{});
    const std::string symbols = encodeSymbols(h.symbols);
    Statement& write = oldKey ? st.updateHeadline : st.insertHeadline;
    write.bind(1, h.sortKey).bind(2, h.service).bind(3, h.day).bind(4, h.seq).bind(5, h.time).bind(6, h.category);
    write.bindBlob(7, h.title).bindBlob(8, symbols);
    if (!write.run()) {
        return fail(oldKey ? "update headline" : "insert headline");
    }
    // A re-sent headline leaves its old row in the indexes (under its old sort key when its
    // time moved); the story table holds the story they indexed with it unless this
    // transaction touched the row already, and then its change knows what they hold.
    if (oldKey && *oldKey != h.sortKey) {
        touchIndex(*oldKey, IndexedText{oldTitle, story}).after.reset();
    }
    std::optional<IndexedText> before;
    if (oldKey && *oldKey == h.sortKey) {
        before = IndexedText{oldTitle, story};
    }
    touchIndex(h.sortKey, std::move(before)).after = IndexedText{h.title, story};
    return true;
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
    // A late story: its headline is indexed again with it at commit.
    IndexChange& change = touchIndex(sortKey, IndexedText{title, old.value_or(CString{})});
    change.after = IndexedText{std::move(title), story.text};
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

bool NewsStore::putStreamPosition(const StreamPosition& position) {
    // Written at commit, with the news of the transaction (see flushStreamPositions).
    m_pendingPositions[position.service] = position;
    return true;
}

bool NewsStore::purgeBefore(unsigned char service, int keepFrom) {
    Statements& st = *m_statements;
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
    for (Old& o : old) {
        touchIndex(o.sortKey, IndexedText{std::move(o.title), std::move(o.story)}).after.reset();
    }
    // Outside a transaction nothing commits later: the indexes follow at once.
    const bool standalone = sqlite3_get_autocommit(m_db) != 0;
    return (st.purgeHeadlines.bind(1, service).bind(2, keepFrom).run() || fail("drop old headlines")) &&
           (st.purgeStories.bind(1, service).bind(2, keepFrom).run() || fail("drop old stories")) &&
           (!standalone || flushIndex());
}

} // namespace embedded
