#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "embedded_backend/news_records.h"

struct sqlite3;
struct sqlite3_stmt;

namespace embedded {

class Statement;

enum class StoreStatus {
    Ok,
    Damaged,     // the file is not a database or its content is corrupt
    Unavailable, // the file or its folder cannot be opened or written
    TooNew,      // written by a later version of this program
};

struct StoreOpenResult {
    StoreStatus status = StoreStatus::Ok;
    std::string message;        // what went wrong, for the user (empty when Ok)
    std::string movedAsidePath; // where a damaged file was moved when a fresh store was started
    bool ok() const { return status == StoreStatus::Ok; }
};

enum class OpenMode {
    KeepExisting,        // a damaged file is reported and left alone
    StartFreshIfDamaged, // a damaged file is moved aside to <name>.corrupt-<time> and a new one created
};

// What a start loads from the store into the cache.
struct LoadedNews {
    std::vector<HeadlineRecord> headlines;
    std::vector<StoryRecord> stories;         // of the days asked for eagerly
    std::map<unsigned char, int> currentDays; // as the start sets them (not yet stored)
    std::map<unsigned char, int> keepFrom;    // first kept day of each service
    std::vector<CategoryRecord> categories;
    std::map<unsigned char, StreamPosition> streamPositions; // how far each stream was read
};

struct SearchRequest {
    unsigned char service = 0;
    std::vector<CString> keywords; // code page 950
    unsigned char scope = 0;       // 0 headlines, 1 stories, 2 both
    bool matchAll = true;          // AND; false: OR
    std::vector<CString> symbols;  // when not empty, only headlines related to one of these codes
    std::size_t limit = 1000;
};

// The SQLite store: headlines, stories, news days and feed-added categories of the kept days,
// and per service full-text indexes over titles and stories (trigram for keywords of three or
// more characters; single characters and pairs for shorter ones) plus a trigram index of the
// titles alone. Indexes per service and per scope keep a search from wading through matches
// it would throw away. Schema versioned through
// PRAGMA user_version; WAL journal. Not thread-safe: one thread at a time (the store worker).
class NewsStore {
public:
    NewsStore();
    ~NewsStore();
    NewsStore(const NewsStore&) = delete;
    NewsStore& operator=(const NewsStore&) = delete;

    // Opens or creates the file; `now` names a damaged file moved aside.
    StoreOpenResult open(const std::string& path, OpenMode mode, std::int64_t now);
    void close();
    bool isOpen() const { return m_db != nullptr; }
    const std::string& path() const { return m_path; }

    // What a start needs: each service's current day (the stored one, or `today` when that is
    // later or none is stored), its headlines of the `daysToKeep` days up to it, the stories
    // of that day (older ones are read on request), and the categories feeds added. False
    // with lastError() on a read failure (a damaged file shows here at the latest).
    bool load(int daysToKeep, int today, LoadedNews& out);

    // Writes: apply() inside begin()/commit(); every change of a batch in order.
    bool begin();
    bool commit();
    void rollback();
    bool apply(const NewsChange& change);
    // begin, apply all, commit (rolled back on failure).
    bool applyBatch(const NewsBatch& batch);
    bool purgeBefore(unsigned char service, int keepFrom);

    // Entries matching a search, newest first, at most request.limit.
    bool search(const SearchRequest& request, std::vector<CHeadlineTable>& out);
    std::optional<StoryRecord> story(unsigned char service, int day, std::int32_t seq);
    std::int64_t headlineCount();

    const std::string& lastError() const { return m_lastError; }
    // True once a read or write met a damaged file (SQLITE_CORRUPT or SQLITE_NOTADB).
    bool damaged() const { return m_damaged; }

private:
    struct Statements;
    struct ServiceIndex;

    bool createSchema();
    bool exec(const char* sql);
    bool fail(const char* what);
    bool putHeadline(const HeadlineRecord& headline);
    bool putStory(const StoryRecord& story);
    bool putDay(const DayChange& change);
    bool putCategory(const CategoryRecord& category);
    bool putStreamPosition(const StreamPosition& position);
    // The service's indexes; created on first use when `create` is set, else null when absent.
    ServiceIndex* index(unsigned char service, bool create);
    // `withTitle`: the title index too (a late story leaves it alone).
    bool indexInsert(std::int64_t sortKey, const CString& title, const CString& story, bool withTitle = true);
    bool indexDelete(std::int64_t sortKey, const CString& title, const CString& story, bool withTitle = true);
    std::optional<CString> storyText(unsigned char service, int day, std::int32_t seq);
    // What the transaction changed in the full-text indexes, written at commit (see flushIndex).
    struct IndexedText {
        CString title;
        CString story;
        bool operator==(const IndexedText&) const = default;
    };
    struct IndexChange {
        std::optional<IndexedText> before; // what the indexes held when the transaction began
        std::optional<IndexedText> after;  // what they must hold at its commit
    };
    // The pending change of a row, begun with `before` when the transaction first touches it.
    IndexChange& touchIndex(std::int64_t sortKey, std::optional<IndexedText> before);
    // Brings the indexes to the transaction's rows: every removal in rowid order, then every
    // addition in rowid order.
    bool flushIndex();
    // Writes the transaction's last bookmark of each stream.
    bool flushStreamPositions();

    // Search helpers (news_store_search.cpp). runMatch hands the matching sort keys (and the
    // related symbols when asked), newest first, to `row` until it returns false or `limit`
    // rows were handed over.
    enum class Table { Trigram, Gram, TitleTrigram };
    bool runMatch(ServiceIndex& index, Table table, const std::string& expression, long long limit, bool withSymbols,
                  const std::function<bool(std::int64_t, std::string_view)>& row);
    bool runStatement(Statement& statement, const std::string& expression, long long limit, bool withSymbols,
                      const std::function<bool(std::int64_t, std::string_view)>& row);
    // Whether the headline's title and/or story (by scope) hold every keyword.
    bool textHolds(std::int64_t sortKey, unsigned char scope, const std::vector<std::string>& keywords, bool& holds);

    sqlite3* m_db = nullptr;
    std::string m_path;
    std::string m_lastError;
    bool m_damaged = false;
    std::unique_ptr<Statements> m_statements;
    std::map<unsigned char, std::unique_ptr<ServiceIndex>> m_indexes;
    std::map<std::int64_t, IndexChange> m_pendingIndex;         // by sort key (the indexes' rowid)
    std::map<unsigned char, StreamPosition> m_pendingPositions; // bookmarks of this transaction
};

// Related symbols as stored: per symbol its market byte, then code and name each preceded by
// a length byte (texts are cut at 255 bytes on a character boundary).
std::string encodeSymbols(const std::vector<CSymbolInfo>& symbols);
std::vector<CSymbolInfo> decodeSymbols(const void* data, std::size_t size);

} // namespace embedded
