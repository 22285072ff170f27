#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/text/language_table.h"

class NewsReceiver;

namespace headless {

class ScriptedBackend;

// Symbol search over the symbols declared on a scripted back end. Candidates read
// "[market] code name": exact code matches first, then code prefixes, then names containing
// the text, each in declaration order. Ownership: owned by its back end. Thread: UI thread.
class ScriptedSymbolSearch final : public SearchObjInterface {
public:
    explicit ScriptedSymbolSearch(ScriptedBackend& backend) : m_backend(backend) {}
    bool GetSymbolsByService(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names,
                             int flag) override;
    bool FindSearchList(const CString& text, std::vector<CString>& candidates) override;

private:
    ScriptedBackend& m_backend;
};

// A back end whose content a test declares in code, which logs every call made to it and
// which answers requests only when the test says so.
//
// Content: news services (names, current dates), the date range, connection state and
// authorisation, categories, symbols, headlines with their table entries, stories, related
// symbols, tables by date, category, symbol and search, language texts, the simplified-Chinese
// switch and conversion table, the system path. Headlines added with addHeadline also join
// the date table of their local day, the table of their category and the tables of their
// related symbols, in the order they were added.
//
// Log: one readable line per call, "Operation(arguments) -> result", with table entries as
// service#sequence@HH:MM:SS in local time and texts in quotes (code page 950 bytes).
//
// Requests (re-requested tables and stories, recoveries, searches) return true while
// connected and wait in pendingRequests() until a delivery helper answers them; the helpers
// call the receivers registered in NewsSubscriptions for the service concerned, on the
// calling thread. Pushes reach only receivers registered for the headline's service, and
// only while connected.
//
// Ownership: the test owns it; install() makes it the process's back end and symbol search
// until uninstall() or destruction. Thread: UI thread. Re-entrancy: receivers may call back
// into the back end, and may register or unregister receivers, while a delivery runs.
class ScriptedBackend : public BKQuoteInterface {
public:
    using TableKind = BKQuoteInterface::TableKind;

    ScriptedBackend();
    ~ScriptedBackend() override;
    ScriptedBackend(const ScriptedBackend&) = delete;
    ScriptedBackend& operator=(const ScriptedBackend&) = delete;

    void install();
    void uninstall();
    SearchObjInterface& symbolSearch() { return m_symbolSearch; }

    // --- Content ---
    void addService(unsigned char service, const CString& fullName, const CString& shortName,
                    const CString& currentDate);
    void setCurrentDate(unsigned char service, const CString& date);
    // The declared current date of a service (empty when unknown), without a log line.
    CString serviceDate(unsigned char service) const;
    // Declared news services in order, without a log line.
    std::vector<unsigned char> serviceIds() const;
    // A quote service (symbols only) listed by bGetAllServiceID; news services are listed too.
    void addQuoteService(unsigned char service, const CString& name);
    void setDateRange(unsigned char days) { m_dateRange = days; }
    void setConnected(bool connected) { m_connected = connected; }
    bool isConnected() const { return m_connected; }
    void setAuthorized(unsigned char service, bool authorized);
    void setDelayedService(unsigned char service, unsigned char delayed) { m_delayed[service] = delayed; }
    void setSameAuthGroup(unsigned char a, unsigned char b);
    void setCategories(unsigned char service, const std::vector<std::pair<CString, CString>>& idsAndNames);
    void addCategory(unsigned char service, const CString& id, const CString& name);
    void addSymbol(unsigned char service, const CString& code, const CString& name, int category = 0,
                   const CString& commodity = {});
    // bGetItemDataByItemNo; items 1019 and 2020 default to the symbol's name.
    void setSymbolItem(unsigned char service, const CString& code, int item, const CString& value);
    void setShowRealMonth(bool show) { m_showRealMonth = show; }

    // Stores a headline; returns its table entry (second value: the sequence number).
    CHeadlineTable addHeadline(const CHeadline& headline, const std::vector<CSymbolInfo>& related = {});
    void setStory(const CHeadlineTable& entry, const CString& text, std::int64_t storyTime = 0);
    // A story the back end holds only in part: BKQNEWS_bGetStory hands its text over but
    // answers false, as for a story still being completed.
    void setPartialStory(const CHeadlineTable& entry, const CString& text);
    void removeStory(const CHeadlineTable& entry);
    void setRelatedSymbols(const CHeadlineTable& entry, const std::vector<CSymbolInfo>& symbols);
    // Replaces one table: kind kByDate (key yyyymmdd), kByCategory (id text), kBySymbol (code),
    // kSearch / kSecondSearch (key "SEARCH").
    void setTable(unsigned char service, int kind, const CString& key, const std::vector<CHeadlineTable>& entries);
    const std::vector<CHeadlineTable>* table(unsigned char service, int kind, const CString& key) const;
    // The stored headline with this key, or null.
    const CHeadline* headline(const CHeadlineTable& entry) const;
    // The newest stored headline of a service with this sequence number, or null.
    const CHeadline* headlineBySeq(unsigned char service, std::int32_t seqNo) const;

    LanguageTable& language() { return m_language; }
    void setSimplified(unsigned char service, bool convert) { m_simplified[service] = convert; }
    // One character (or longer text) and what it becomes in simplified-Chinese conversion.
    void addConversion(const CString& from, const CString& to) { m_conversion[from] = to; }
    void setSysPath(const CString& path) { m_sysPath = path; }
    void setProductId(int id) { m_productId = id; }

    static CHeadlineTable entryOf(const CHeadline& headline);
    // "%04d%02d%02d" of the local day of a time.
    static CString dateKey(std::int64_t time);

    // --- Call log ---
    const std::vector<std::string>& calls() const { return m_calls; }
    // A position in the log for callsSince.
    std::size_t mark() const { return m_calls.size(); }
    std::vector<std::string> callsSince(std::size_t mark) const;
    // Calls of one operation (the text before '(') since a mark.
    std::size_t countCalls(std::string_view operation, std::size_t since = 0) const;
    void clearCalls() { m_calls.clear(); }
    // The log is on from the start; a benchmark turns it off so that it measures the view, not
    // the bookkeeping of this test back end.
    void setCallLogging(bool on) { m_logging = on; }
    // Every call since the start, logged or not.
    std::size_t callCount() const { return m_callCount; }

    // --- Requests waiting for an answer ---
    struct Request {
        enum class Kind { kStory, kTable, kSymbolTable, kRecover, kSearch, kMemory };
        Kind kind = Kind::kStory;
        unsigned char service = 0;
        int tableKind = 0;
        CString key;
        CHeadlineTable entry;
        std::vector<CHeadlineTable> entries;
        CSearch condition;
        std::string description; // the call's log line
    };
    const std::vector<Request>& pendingRequests() const { return m_pending; }

    // --- Deliveries; each returns how many receivers were called ---
    // Stores the headline (and its entry in the date, category and symbol tables) and calls
    // RecvNewHeadLine; while disconnected nothing is stored or delivered and -1 is returned.
    int pushHeadline(const CHeadline& headline, const CString& categoryId, const CString& symbolCode);
    // RespHeadLine for entries (of one service) whose headlines are stored.
    int answerHeadlines(const std::vector<CHeadlineTable>& entries);
    // RespStory for an entry whose story was set.
    int answerStory(const CHeadlineTable& entry);
    int storyUpdated(const CHeadlineTable& entry);
    // Sets the search table (service, kind, "SEARCH") and calls RespSearchHeadLineTable.
    int answerSearch(const CSearch& condition, unsigned char service, int kind,
                     const std::vector<CHeadlineTable>& entries);
    // Sets a table and calls the matching recovery callback; a negative status tells the view
    // that the back end holds no data (the table is then left as it was).
    int recoverDateTable(unsigned char service, const CString& date, const std::vector<CHeadlineTable>& entries,
                         signed char status = 0);
    int recoverCategoryTable(unsigned char service, const CString& categoryId,
                             const std::vector<CHeadlineTable>& entries, signed char status = 0);
    int recoverSymbolTable(unsigned char service, const CString& code, const std::vector<CHeadlineTable>& entries,
                           signed char status = 0);
    int recoverRelatedSymbols(const CHeadlineTable& entry, const std::vector<CSymbolInfo>& symbols);
    // Starts a new news day for a service: sets its current date and calls vRecvNewMarketStatus.
    int marketStatus(unsigned char service, std::int32_t date);

    // --- Quote memory ---
    // Sets the record BKQbGetSymbolMemory answers for its symbol (no call made on any view).
    void setMemory(const CMemoryInfo& memory);
    // Removes a symbol's record: look-ups then fail and re-requests wait.
    void removeMemory(unsigned char service, const CString& code);
    const CMemoryInfo* memory(unsigned char service, const CString& code) const;
    // Stores the record and calls vRecvNewMemory on the receivers registered for its symbol;
    // -1 (nothing stored or delivered) while disconnected.
    int pushMemory(const CMemoryInfo& memory);
    // vRecvMemoryRecovery with the stored record to the receivers registered for the symbol;
    // settles a waiting re-request. -1 when no record is stored.
    int recoverMemory(unsigned char service, const CString& code);
    // vRecvMultiSymbolMemoryRecovery to every receiver with the stored records of all the
    // symbols it registered (as after a reconnection).
    int recoverAllMemory();

    // --- BKQuoteInterface ---
    int BKQNEWS_iGetHeadlineTable(std::vector<CHeadlineTable>& table, unsigned char service,
                                  const CSymbolInfo& symbol) override;
    int BKQNEWS_iGetHeadlineTable(unsigned char service, std::vector<CHeadlineTable>& table, int kind,
                                  const CString& key) override;
    int BKQNEWS_iGetHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                             const std::vector<CHeadlineTable>& entries) override;
    bool BKQNEWS_bGetStory(CStory& story, const CHeadlineTable& entry) override;
    bool BKQNews_bReRequestHeadlineStory(const CHeadlineTable& entry) override;
    bool BKNEWS_bReRequestHeadlineTable(unsigned char service, const CSymbolInfo& symbol) override;
    bool BKNEWS_bReRequestHeadlineTable(unsigned char service, int kind, const CString& key) override;
    bool BKQNEWS_bReCoverHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                  const std::vector<CHeadlineTable>& entries) override;
    bool BKQNEWS_bSearchNews(unsigned char service, int kind, const CSearch& condition) override;
    std::uint64_t BKQNEWS_ullGetHeadlineTableStamp(unsigned char service, int kind, const CString& key) override;
    bool BKNEWS_GetSymbolListBySeqNo(CNewsSymLst& symbols, const CHeadlineTable& entry) override;
    bool BKQbGetSymbolMemory(CMemoryInfo& memory, unsigned char service, const CString& code) override;
    bool BKQbReRequestSymbolMemory(unsigned char service, const CString& code) override;
    bool BKQNEWS_bGetAllNewsService(std::vector<unsigned char>& services) override;
    bool BKQNEWS_bGetFullNameByService(CString& name, unsigned char service) override;
    bool BKQNEWS_bGetShortNameByService(CString& name, unsigned char service) override;
    CString BKQNEWS_cszGetCurrDateByService(unsigned char service) override;
    unsigned char BKQbyGetNewsDateRange() override;
    bool bNewsAPI_GetNewsCatId(unsigned char service, std::vector<CString>& ids, std::vector<CString>& names) override;
    int bIsConnect() override;
    bool bGetAllServiceID(std::vector<unsigned char>& services) override;
    int BKQCheckAuthSupport(unsigned char service) override;
    bool bGetServiceID2Delay(unsigned char service, unsigned char& delayed) override;
    bool bGetSymbolID(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names) override;
    int bIsSymbolIDExist(unsigned char service, const CString& code) override;
    int bIsFromTheSameAuthServiceID(unsigned char service, unsigned char other) override;
    bool bGetCategorybySymbolID(int& category, unsigned char service, const CString& code) override;
    bool bGetCommodityIDBySymbolID(CString& commodity, unsigned char service, const CString& code) override;
    bool bGetItemDataByItemNo(CString& value, unsigned char service, const CString& code, int item) override;
    bool bSymbolNameIsShowRealMonth() override;
    CString LangGetLangString(const CString& key) override;
    bool LangIsConvertToSimplified(const unsigned char& service) override;
    bool LangConvertToSimplifiedChinese(const CString& in, CString& out) override;
    CString PathGetSysPath() override;
    int AppInfoGetProductID() override;

private:
    friend class ScriptedSymbolSearch;

    using Key = std::tuple<unsigned char, std::int64_t, std::int32_t>;
    static Key keyOf(const CHeadlineTable& entry) { return {entry.m_byService, entry.m_tTime, entry.m_iSeqNo}; }
    using TableKey = std::tuple<unsigned char, int, CString>;

    struct Service {
        unsigned char id = 0;
        CString fullName;
        CString shortName;
        CString currentDate;
    };
    struct Symbol {
        CString code;
        CString name;
        int category = 0;
        CString commodity;
        std::map<int, CString> items;
    };

    // Records a call when the log is on; the line is only built then.
    template <class MakeLine> void log(MakeLine&& makeLine) {
        ++m_callCount;
        if (m_logging) {
            m_calls.push_back(makeLine());
        }
    }
    void appendUnique(unsigned char service, int kind, const CString& key, const CHeadlineTable& entry);
    Service* findService(unsigned char service);
    const Symbol* findSymbol(unsigned char service, const CString& code) const;
    CString marketLabel(unsigned char service) const;
    bool request(Request request);
    void settle(Request::Kind kind, unsigned char service, int tableKind, const CString& key);
    // Calls deliver on every receiver registered for the service, re-checking each one's
    // registration just before its call.
    template <class Deliver> int deliverTo(unsigned char service, Deliver deliver);

    ScriptedSymbolSearch m_symbolSearch{*this};
    bool m_installed = false;
    std::vector<Service> m_services;
    std::vector<std::pair<unsigned char, CString>> m_quoteServices;
    unsigned char m_dateRange = 7;
    bool m_connected = true;
    std::map<unsigned char, bool> m_authorized;
    std::map<unsigned char, unsigned char> m_delayed;
    std::vector<std::pair<unsigned char, unsigned char>> m_sameAuth;
    std::map<unsigned char, std::vector<std::pair<CString, CString>>> m_categories;
    std::map<unsigned char, std::vector<Symbol>> m_symbols;
    std::map<std::pair<unsigned char, CString>, CMemoryInfo> m_memory;
    std::vector<unsigned char> m_symbolServiceOrder;
    bool m_showRealMonth = false;
    std::map<Key, CHeadline> m_headlines;
    std::map<Key, CStory> m_stories;
    std::map<Key, CStory> m_partialStories;
    std::map<Key, CNewsSymLst> m_related;
    std::map<TableKey, std::vector<CHeadlineTable>> m_tables;
    std::map<TableKey, std::uint64_t> m_tableStamps; // bumped on every change of a table
    std::uint64_t m_lastStamp = 1;                   // 1: the stamp of a table never set
    LanguageTable m_language;
    std::map<unsigned char, bool> m_simplified;
    std::map<CString, CString> m_conversion;
    CString m_sysPath;
    int m_productId = 0;
    std::vector<std::string> m_calls;
    bool m_logging = true;
    std::size_t m_callCount = 0;
    std::vector<Request> m_pending;
};

// Readable forms used in the call log.
std::string describeEntry(const CHeadlineTable& entry);
std::string describeEntries(const std::vector<CHeadlineTable>& entries);
std::string describeSearch(const CSearch& condition);

} // namespace headless
