#pragma once

#include <cstdint>
#include <vector>

#include "host/backend/news_records.h"
#include "host/backend/search.h"

// The host's back-end interface. The news module owns no news data: every headline table,
// headline, story, related-symbol list and search result comes from here, either as a
// synchronous look-up into the back end's cache or as a later answer delivered through the
// view callbacks (NewsReceiver).
//
// Thread: every operation is called on the UI thread and must not block on the network or
// the disk. Ownership: the host owns the instance; GetBKInterface() hands out a non-owning
// pointer. Re-entrancy: no operation calls back into a view synchronously; answers are
// posted through the host's UI dispatcher.
class BKQuoteInterface {
public:
    virtual ~BKQuoteInterface() = default;

    // The instance the host installed (null before installation). Not owned by the caller.
    static BKQuoteInterface* GetBKInterface();
    // Installs the host's instance (null uninstalls). The host keeps ownership.
    static void SetBKInterface(BKQuoteInterface* instance);

    // Table kinds of the key form of BKQNEWS_iGetHeadlineTable / BKNEWS_bReRequestHeadlineTable.
    enum TableKind : int { kByDate = 0, kByCategory = 1, kBySymbol = 2, kSearch = 3, kSecondSearch = 4 };

    // --- Headline tables, headlines, stories ---
    // Cached table of a service for a symbol; returns the count (appended to table).
    virtual int BKQNEWS_iGetHeadlineTable(std::vector<CHeadlineTable>& table, unsigned char service,
                                          const CSymbolInfo& symbol) = 0;
    // Cached table of a service for a date ("%04d%02d%02d"), category id text or the key "SEARCH".
    virtual int BKQNEWS_iGetHeadlineTable(unsigned char service, std::vector<CHeadlineTable>& table, int kind,
                                          const CString& key) = 0;
    // Headlines for the given entries of one service, appended to headlines; returns the count added.
    virtual int BKQNEWS_iGetHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                     const std::vector<CHeadlineTable>& entries) = 0;
    // The cached story of an entry. False when the back end does not hold it (yet); story then
    // holds what the back end has of it: an empty text when it has nothing, never the text of
    // a story fetched before (the story displays show a non-empty text even on false).
    virtual bool BKQNEWS_bGetStory(CStory& story, const CHeadlineTable& entry) = 0;
    virtual bool BKQNews_bReRequestHeadlineStory(const CHeadlineTable& entry) = 0;
    virtual bool BKNEWS_bReRequestHeadlineTable(unsigned char service, const CSymbolInfo& symbol) = 0;
    virtual bool BKNEWS_bReRequestHeadlineTable(unsigned char service, int kind, const CString& key) = 0;
    virtual bool BKQNEWS_bReCoverHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                          const std::vector<CHeadlineTable>& entries) = 0;
    virtual bool BKQNEWS_bSearchNews(unsigned char service, int kind, const CSearch& condition) = 0;
    virtual bool BKNEWS_GetSymbolListBySeqNo(CNewsSymLst& symbols, const CHeadlineTable& entry) = 0;
    // A stamp of the cached table (key form) that changes whenever its content does, so a caller
    // that keeps a copy can tell, without reading the table, that its copy is still the table.
    // 0 means the back end keeps no stamp for that table: read it every time.
    virtual std::uint64_t BKQNEWS_ullGetHeadlineTableStamp(unsigned char /*service*/, int /*kind*/,
                                                           const CString& /*key*/) {
        return 0;
    }

    // --- Services, dates, categories ---
    virtual bool BKQNEWS_bGetAllNewsService(std::vector<unsigned char>& services) = 0;
    virtual bool BKQNEWS_bGetFullNameByService(CString& name, unsigned char service) = 0;
    virtual bool BKQNEWS_bGetShortNameByService(CString& name, unsigned char service) = 0;
    // The service's current news date as "yyyymmdd" (empty when unknown).
    virtual CString BKQNEWS_cszGetCurrDateByService(unsigned char service) = 0;
    // Number of days back the user may page.
    virtual unsigned char BKQbyGetNewsDateRange() = 0;
    virtual bool bNewsAPI_GetNewsCatId(unsigned char service, std::vector<CString>& ids,
                                       std::vector<CString>& names) = 0;
    virtual int bIsConnect() = 0;

    // --- Symbols and authorisation ---
    virtual bool bGetAllServiceID(std::vector<unsigned char>& services) = 0;
    virtual int BKQCheckAuthSupport(unsigned char service) = 0;
    // The delayed service id under which a service may be delivered; false when there is none.
    virtual bool bGetServiceID2Delay(unsigned char service, unsigned char& delayed) = 0;
    virtual bool bGetSymbolID(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names) = 0;
    virtual int bIsSymbolIDExist(unsigned char service, const CString& code) = 0;
    virtual int bIsFromTheSameAuthServiceID(unsigned char service, unsigned char other) = 0;
    virtual bool bGetCategorybySymbolID(int& category, unsigned char service, const CString& code) = 0;
    virtual bool bGetCommodityIDBySymbolID(CString& commodity, unsigned char service, const CString& code) = 0;
    // One item of a symbol's record (1019 display name, 2020 display name with real month).
    virtual bool bGetItemDataByItemNo(CString& value, unsigned char service, const CString& code, int item) = 0;
    virtual bool bSymbolNameIsShowRealMonth() = 0;

    // --- Quote memory ---
    // The back end's current quote record of a symbol (a synchronous cache look-up). False
    // when it holds none; memory is then left as it was.
    virtual bool BKQbGetSymbolMemory(CMemoryInfo& /*memory*/, unsigned char /*service*/, const CString& /*code*/) {
        return false;
    }
    // Asks for a symbol's quote record again: the answer reaches every view registered for
    // the symbol through vRecvMemoryRecovery. False when the request could not be sent.
    virtual bool BKQbReRequestSymbolMemory(unsigned char /*service*/, const CString& /*code*/) { return false; }

    // --- Language and paths ---
    virtual CString LangGetLangString(const CString& key) = 0;
    virtual bool LangIsConvertToSimplified(const unsigned char& service) = 0;
    virtual bool LangConvertToSimplifiedChinese(const CString& in, CString& out) = 0;
    // The host's system folder, where Application.ini and NewsService.ini live (no trailing separator).
    virtual CString PathGetSysPath() = 0;
    virtual int AppInfoGetProductID() = 0;
};
