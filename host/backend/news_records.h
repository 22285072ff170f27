#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Texts inside the module and on the back-end interface are code page 950 bytes.
using CString = std::string;
using COLORREF = std::uint32_t;

// One pushed or cached headline. Service id, time and sequence number form its key.
struct CHeadline {
    unsigned char m_byService = 0;   // news service id
    std::int64_t m_tTime = 0;        // seconds since 1970, shown in local time
    std::int32_t m_iSeqNo = 0;       // number of the headline within its service and day
    CString m_strTitle;              // title text
    std::uint16_t m_wReserved = 0;   // not read by the module
    std::int32_t m_iCategory = 0;    // category id
    std::uint64_t m_ullReserved = 0; // not read by the module

    bool operator==(const CHeadline&) const = default;
};

// One entry of a headline table: the index entry by which a headline, its story and its
// related symbols are fetched. The last two fields are opaque to the module (tie-breakers
// when sorting) and are handed back to the back end unchanged.
struct CHeadlineTable {
    unsigned char m_byService = 0;
    std::int64_t m_tTime = 0;
    std::int32_t m_iSeqNo = 0;
    std::int64_t m_llValue2 = 0; // second 64-bit value (the back end's story reference)
    std::uint64_t m_ullLast = 0; // last 8-byte value (the back end's flags)

    bool operator==(const CHeadlineTable&) const = default;
};

// True when the entry and the headline carry the same three-field key.
inline bool bSameKey(const CHeadlineTable& entry, const CHeadline& headline) {
    return entry.m_byService == headline.m_byService && entry.m_tTime == headline.m_tTime &&
           entry.m_iSeqNo == headline.m_iSeqNo;
}
inline bool bSameKey(const CHeadlineTable& a, const CHeadlineTable& b) {
    return a.m_byService == b.m_byService && a.m_tTime == b.m_tTime && a.m_iSeqNo == b.m_iSeqNo;
}

// Payload of the three table-recovery callbacks.
struct CHeadlineTableInfo {
    unsigned char m_byService = 0;
    signed char m_cStatus = 0; // negative: the back end holds no data for the request
    CString m_strKey;          // "%04d%02d%02d" for date tables, the category id text for category tables

    bool operator==(const CHeadlineTableInfo&) const = default;
};

// The story of one headline.
struct CStory {
    CHeadlineTable m_entry;   // the entry the story belongs to
    std::int64_t m_tTime = 0; // story time, seconds since 1970
    CString m_strText;        // body; "@@@@" marks paragraph breaks, CR/LF are transport wrapping

    bool operator==(const CStory&) const = default;
};

// Host symbol reference: a one-byte market/type code and the symbol code text.
struct CSymbolInfo {
    unsigned char m_byMarket = 0;
    CString m_strCode;
    CString m_strName; // display name where the back end knows it

    bool operator==(const CSymbolInfo&) const = default;
};

// The symbols related to one headline.
struct CNewsSymLst {
    std::vector<CSymbolInfo> m_vSymbols;

    bool operator==(const CNewsSymLst&) const = default;
};

// Payload of vRecvNewsRelateSymbolListRecovery: the headline key and its related symbols.
struct CNewsSymlistInfo {
    unsigned char m_byService = 0;
    std::int64_t m_tTime = 0;
    std::int32_t m_iSeqNo = 0;
    CNewsSymLst m_symbols;

    bool operator==(const CNewsSymlistInfo&) const = default;
};

// A change of the host's symbol catalogue.
struct CSymbolUpdateInfo {
    unsigned char m_byService = 0;
    CString m_strCode;
    std::int32_t m_iKind = 0; // 0 added, 1 changed, 2 removed

    bool operator==(const CSymbolUpdateInfo&) const = default;
};

// The back end's report that a service has started a new news day.
struct CMarketStatus {
    unsigned char m_byService = 0;
    std::int32_t m_iDate = 0; // yyyymmdd

    bool operator==(const CMarketStatus&) const = default;
};

// The quote record ("memory") of one symbol as the back end keeps it. The news module only
// passes it on to its quote list; the host's quote views read it. Prices are in hundredths
// of the currency unit (58550 = 585.50), 0 where there is no price yet; volumes in lots.
struct CMemoryInfo {
    unsigned char m_byService = 0;
    CString m_strCode;
    CString m_strName;
    std::int64_t m_tTime = 0;      // time of the last trade, seconds since 1970 (0: none yet)
    std::int32_t m_iRefPrice = 0;  // reference price (yesterday's close)
    std::int32_t m_iLimitUp = 0;   // highest price allowed today
    std::int32_t m_iLimitDown = 0; // lowest price allowed today
    std::int32_t m_iOpen = 0;
    std::int32_t m_iHigh = 0;
    std::int32_t m_iLow = 0;
    std::int32_t m_iLast = 0;       // last trade price (0: no trade yet)
    std::int32_t m_iBid = 0;        // best bid (0: none)
    std::int32_t m_iAsk = 0;        // best ask (0: none)
    std::int32_t m_iTickVolume = 0; // lots of the last trade
    std::int64_t m_llVolume = 0;    // lots traded today

    bool operator==(const CMemoryInfo&) const = default;
};
