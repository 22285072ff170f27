// The search state in the view's settings: the keyword pool, the recent searches, the key
// sets of the relation search and the warning items with the chosen item's number.
//
// Values: every list is one text in the form of EncodeTextList ("<count>:" and the escaped
// elements separated by commas). The keyword pool's elements are the keywords; the recent
// searches' and the warning items' are each search's CSearch::GetString text, oldest first;
// the key sets' are each CNewsKey string form ("C:1 T:3,7 K:A,B"). The chosen warning item is
// a decimal number.
#include "host/framework/cfg_io.h"
#include "news_view/news_ctrl_view.h"
#include "search/setting_text.h"

namespace {

constexpr const char* kKeyWarningItems = "WarningSearchItems";
constexpr const char* kKeyWarningItemOrder = "WarningSearchItemOrder";
constexpr const char* kKeyKeywordPool = "!RVNEWS_NEWSSEARCH_KEYWORD";
constexpr const char* kKeyRecentSearches = "!RVNEWS_NEWSSEARCH_NEARTENSEARCHINFO";
constexpr const char* kKeyKeySets = "!RVNEWS_NEWSKEY_KEYWORDSETTING";
// The recent-search list never holds more.
constexpr std::size_t kRecentSearchMax = 10;

// Reads one list of records, each from its own text; false (out unchanged) when the value or
// any record in it is malformed.
template <class Record, class Load> bool readRecords(const CString& value, std::vector<Record>& out, Load load) {
    const std::optional<std::vector<CString>> texts = news::DecodeTextList(value);
    if (!texts) {
        return false;
    }
    std::vector<Record> records;
    records.reserve(texts->size());
    for (const CString& text : *texts) {
        Record record;
        if (!load(record, text)) {
            return false;
        }
        records.push_back(std::move(record));
    }
    out = std::move(records);
    return true;
}

template <class Record> CString writeRecords(const std::vector<Record>& records) {
    std::vector<CString> texts;
    texts.reserve(records.size());
    for (const Record& record : records) {
        texts.push_back(record.GetString());
    }
    return news::EncodeTextList(texts);
}

bool loadSearch(CSearch& search, const CString& text) {
    return search.LoadStringA(text);
}

bool loadKeySet(CNewsKey& keySet, const CString& text) {
    return keySet.LoadString(text);
}

} // namespace

bool TRVNewsCtrlView::bInitialSearchCtrl(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    if (cfg == nullptr) {
        return false;
    }
    m_bSearchSettingsRead = true;
    m_mapUnreadSearchSetting.clear();
    bool clean = true;
    // Each key on its own: a damaged value keeps its list empty and is remembered as it was.
    const auto read = [&](const char* key, const auto& parse) {
        CString value;
        if (!cfg->GetViewInfo(section, layout1, layout2, news::kViewKey, key, value)) {
            return;
        }
        if (!parse(value)) {
            m_mapUnreadSearchSetting[key] = value;
            clean = false;
        }
    };
    read(kKeyKeywordPool, [this](const CString& value) {
        const std::optional<std::vector<CString>> pool = news::DecodeTextList(value);
        if (pool) {
            m_vKeywordPool = *pool;
        }
        return pool.has_value();
    });
    read(kKeyRecentSearches, [this](const CString& value) {
        if (!readRecords(value, m_vRecentSearch, loadSearch)) {
            return false;
        }
        // Oldest first: a longer list (edited by hand) keeps its newest ten.
        if (m_vRecentSearch.size() > kRecentSearchMax) {
            m_vRecentSearch.erase(m_vRecentSearch.begin(),
                                  m_vRecentSearch.end() - static_cast<std::ptrdiff_t>(kRecentSearchMax));
        }
        return true;
    });
    read(kKeyKeySets, [this](const CString& value) { return readRecords(value, m_vNewsKey, loadKeySet); });
    read(kKeyWarningItems, [this](const CString& value) { return readRecords(value, m_vWarningItems, loadSearch); });
    read(kKeyWarningItemOrder, [this](const CString& value) {
        const std::optional<int> order = news::ParseStrictInt(value);
        if (order) {
            m_iWarningItemOrder = *order;
        }
        return order.has_value();
    });
    return clean;
}

void TRVNewsCtrlView::vSaveSearchSettings(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    if (cfg == nullptr || !m_bSearchSettingsRead) {
        return;
    }
    const auto write = [&](const char* key, bool empty, const CString& value) {
        const auto unread = m_mapUnreadSearchSetting.find(key);
        const bool keepUnread = empty && unread != m_mapUnreadSearchSetting.end();
        cfg->SetViewInfo(section, layout1, layout2, news::kViewKey, key, keepUnread ? unread->second : value);
    };
    write(kKeyWarningItems, m_vWarningItems.empty(), writeRecords(m_vWarningItems));
    write(kKeyWarningItemOrder, m_iWarningItemOrder == 0, std::to_string(m_iWarningItemOrder));
    write(kKeyKeywordPool, m_vKeywordPool.empty(), news::EncodeTextList(m_vKeywordPool));
    write(kKeyRecentSearches, m_vRecentSearch.empty(), writeRecords(m_vRecentSearch));
    write(kKeyKeySets, m_vNewsKey.empty(), writeRecords(m_vNewsKey));
}
