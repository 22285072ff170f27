// Keyword search over the full-text indexes of one service.
#include <algorithm>
#include <set>
#include <string_view>

#include <sqlite3.h>

#include "embedded_backend/news_store.h"
#include "embedded_backend/news_store_statements.h"
#include "embedded_backend/search_text.h"

namespace embedded {

namespace {

const char* columnFilter(unsigned char scope) {
    switch (scope) {
    case 0:
        return "{title}:";
    case 1:
        return "{story}:";
    default:
        return "";
    }
}

std::string joinPhrases(const std::vector<std::string>& phrases, unsigned char scope, const char* op) {
    std::string out;
    for (const std::string& phrase : phrases) {
        if (!out.empty()) {
            out += op;
        }
        out += columnFilter(scope);
        out += ftsQuote(phrase);
    }
    return out;
}

// Every pair of adjacent characters of a keyword: a text holding the keyword holds them all,
// so the gram index narrows a mixed AND search to near-certain candidates.
void appendPairs(const std::string& utf8, std::vector<std::string>& out) {
    std::vector<std::size_t> starts;
    for (std::size_t pos = 0; pos < utf8.size(); ++pos) {
        if ((static_cast<unsigned char>(utf8[pos]) & 0xC0) != 0x80) {
            starts.push_back(pos);
        }
    }
    starts.push_back(utf8.size());
    for (std::size_t i = 0; i + 2 < starts.size(); ++i) {
        out.push_back(utf8.substr(starts[i], starts[i + 2] - starts[i]));
    }
}

bool relatesTo(std::string_view encodedSymbols, const std::vector<CString>& codes) {
    for (const CSymbolInfo& s : decodeSymbols(encodedSymbols.data(), encodedSymbols.size())) {
        if (std::find(codes.begin(), codes.end(), s.m_strCode) != codes.end()) {
            return true;
        }
    }
    return false;
}

} // namespace

bool NewsStore::runMatch(ServiceIndex& x, Table table, const std::string& expression, long long limit, bool withSymbols,
                         const std::function<bool(std::int64_t, std::string_view)>& row) {
    Statement* q = nullptr;
    switch (table) {
    case Table::Trigram:
        q = withSymbols ? &x.trigramMatchSymbols : &x.trigramMatch;
        break;
    case Table::Gram:
        q = withSymbols ? &x.gramMatchSymbols : &x.gramMatch;
        break;
    case Table::TitleTrigram:
        q = withSymbols ? &x.titleMatchSymbols : &x.titleMatch;
        break;
    }
    return runStatement(*q, expression, limit, withSymbols, row);
}

bool NewsStore::runStatement(Statement& q, const std::string& expression, long long limit, bool withSymbols,
                             const std::function<bool(std::int64_t, std::string_view)>& row) {
    q.bindText(1, expression);
    if (!withSymbols) {
        q.bind(2, limit);
    }
    int rc = 0;
    while ((rc = q.step()) == SQLITE_ROW) {
        if (!row(q.columnInt64(0), withSymbols ? blobView(q.get(), 1) : std::string_view{})) {
            rc = SQLITE_DONE;
            break;
        }
    }
    q.reset();
    return rc == SQLITE_DONE || fail("search");
}

bool NewsStore::textHolds(std::int64_t sortKey, unsigned char scope, const std::vector<std::string>& keywords,
                          bool& holds) {
    // Headline searches read the title alone, without the story's row.
    Statement& q = scope == 0 ? m_statements->titleOf : m_statements->textOf;
    q.bind(1, sortKey);
    const int rc = q.step();
    holds = false;
    if (rc == SQLITE_ROW) {
        const std::string title = scope != 1 ? indexText(blobView(q.get(), 0)) : std::string{};
        const std::string story = scope != 0 ? indexText(blobView(q.get(), 1)) : std::string{};
        // UTF-8 is self-synchronising: a byte match is a character match.
        holds = std::all_of(keywords.begin(), keywords.end(), [&](const std::string& k) {
            return title.find(k) != std::string::npos || story.find(k) != std::string::npos;
        });
    }
    q.reset();
    return rc == SQLITE_ROW || rc == SQLITE_DONE || fail("search");
}

bool NewsStore::search(const SearchRequest& request, std::vector<CHeadlineTable>& out) {
    out.clear();
    if (m_statements == nullptr) {
        m_lastError = "the news store is not open";
        return false;
    }
    m_lastError.clear();
    // Inside a write transaction the indexes lag its rows until commit; bring them level.
    if (!flushIndex()) {
        return false;
    }
    std::vector<std::string> longWords;
    std::vector<std::string> shortWords;
    std::set<std::string> seen;
    for (const CString& raw : request.keywords) {
        std::string k = indexText(raw);
        const std::size_t chars = utf8Length(k);
        if (chars == 0 || !seen.insert(k).second) {
            continue;
        }
        (chars >= kTrigramMinChars ? longWords : shortWords).push_back(std::move(k));
    }
    if ((longWords.empty() && shortWords.empty()) || request.limit == 0) {
        return true;
    }
    ServiceIndex* x = index(request.service, false);
    if (x == nullptr) {
        return m_lastError.empty(); // no headline of the service was ever indexed
    }
    const bool withSymbols = !request.symbols.empty();
    // Without a symbol filter every row counts, so SQLite can stop at the limit itself.
    const long long limit = static_cast<long long>(request.limit);
    const char* op = request.matchAll ? " AND " : " OR ";
    // Headline searches of three or more characters use the index of titles alone.
    const Table trigramTable = request.scope == 0 ? Table::TitleTrigram : Table::Trigram;
    std::vector<std::int64_t> keys;
    auto collect = [&](std::vector<std::int64_t>& into) {
        return [&request, withSymbols, &into](std::int64_t key, std::string_view symbols) {
            if (!withSymbols || relatesTo(symbols, request.symbols)) {
                into.push_back(key);
            }
            return into.size() < request.limit;
        };
    };

    if (shortWords.empty() || longWords.empty()) {
        // One index serves every keyword.
        const bool trigram = shortWords.empty();
        const std::string expression = joinPhrases(trigram ? longWords : shortWords, request.scope, op);
        if (!runMatch(*x, trigram ? trigramTable : Table::Gram, expression, limit, withSymbols, collect(keys))) {
            return false;
        }
    } else if (request.matchAll) {
        // Mixed AND: the gram index narrows by the short keywords and the character pairs of
        // the long ones, newest first; each candidate's own text confirms the long keywords
        // (one row read, cheaper than a trigram query per candidate).
        std::vector<std::string> grams = shortWords;
        for (const std::string& k : longWords) {
            appendPairs(k, grams);
        }
        std::sort(grams.begin(), grams.end());
        grams.erase(std::unique(grams.begin(), grams.end()), grams.end());
        bool ok = true;
        const bool ran = runMatch(*x, Table::Gram, joinPhrases(grams, request.scope, " AND "), -1, withSymbols,
                                  [&](std::int64_t key, std::string_view symbols) {
                                      if (withSymbols && !relatesTo(symbols, request.symbols)) {
                                          return true;
                                      }
                                      bool holds = false;
                                      if (!textHolds(key, request.scope, longWords, holds)) {
                                          ok = false;
                                          return false;
                                      }
                                      if (holds) {
                                          keys.push_back(key);
                                      }
                                      return keys.size() < request.limit;
                                  });
        if (!ran || !ok) {
            return false;
        }
    } else {
        // Mixed OR: the newest rows of each index, merged; the union's newest `limit` rows are
        // among each side's newest `limit`.
        std::vector<std::int64_t> other;
        if (!runMatch(*x, trigramTable, joinPhrases(longWords, request.scope, op), limit, withSymbols, collect(keys)) ||
            !runMatch(*x, Table::Gram, joinPhrases(shortWords, request.scope, op), limit, withSymbols,
                      collect(other))) {
            return false;
        }
        std::vector<std::int64_t> merged;
        std::merge(keys.begin(), keys.end(), other.begin(), other.end(), std::back_inserter(merged), std::greater<>());
        merged.erase(std::unique(merged.begin(), merged.end()), merged.end());
        merged.resize(std::min(merged.size(), request.limit));
        keys = std::move(merged);
    }
    out.reserve(keys.size());
    for (const std::int64_t key : keys) {
        out.push_back(entryOfSortKey(key));
    }
    return true;
}

} // namespace embedded
