// The symbol search over the catalogue: ranks, case, double-byte names and the limit, against
// a literal sort of every match.
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "embedded_backend/catalog.h"
#include "host/text/cp950.h"

namespace embedded {
namespace {

CString big5(const char* utf8) {
    return cp950::fromUtf8(utf8);
}

// Every symbol that matches, ranked and then in catalogue order, cut at limit: the rule spelled
// out the slow way.
std::vector<CString> literalCandidates(const Catalog& catalog, const CString& text, std::size_t limit) {
    const CString typed = cp950::trim(text);
    std::vector<std::pair<int, CString>> all;
    if (typed.empty()) {
        return {};
    }
    for (const unsigned char id : catalog.serviceIds()) {
        const Catalog::Service& s = *catalog.service(id);
        for (const Catalog::Symbol& sym : s.symbols) {
            const CString code = cp950::toUpper(sym.code);
            const CString upper = cp950::toUpper(typed);
            int rank = -1;
            if (code == upper) {
                rank = 0;
            } else if (code.rfind(upper, 0) == 0) {
                rank = 1;
            } else if (cp950::find(sym.name, typed) == 0) {
                rank = 2;
            } else if (cp950::contains(sym.name, typed)) {
                rank = 3;
            }
            if (rank >= 0) {
                all.emplace_back(rank, "[" + s.marketLabel + "] " + sym.code + " " + sym.name);
            }
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<CString> out;
    for (std::size_t i = 0; i < all.size() && i < limit; ++i) {
        out.push_back(all[i].second);
    }
    return out;
}

TEST(CatalogSearchTest, CodesBeforeNamesPrefixesBeforeContainedTextAnyCaseOfCodes) {
    Catalog catalog;
    catalog.loadBuiltIn();
    catalog.addSymbol(16, "9901", big5("概念台積電"));
    catalog.addSymbol(16, "9902", big5("台積電概念"));
    catalog.addSymbol(16, "ab12", big5("小寫代號"));
    const std::vector<CString> found = catalog.findCandidates(big5("台積電"), 10);
    const auto at = [&](const char* text) { return std::find(found.begin(), found.end(), big5(text)) - found.begin(); };
    EXPECT_LT(at("[上市] 9902 台積電概念"), at("[上市] 9901 概念台積電"))
        << "a name starting with the text before one containing it, whatever the catalogue order";
    EXPECT_LT(at("[上市] 9901 概念台積電"), static_cast<std::ptrdiff_t>(found.size()));
    EXPECT_EQ(catalog.findCandidates("AB1", 10), std::vector<CString>{big5("[上市] ab12 小寫代號")});
    EXPECT_TRUE(catalog.findCandidates(" \t", 10).empty());
    EXPECT_TRUE(catalog.findCandidates("2330", 0).empty());
}

TEST(CatalogSearchTest, ADoubleByteNameNeverMatchesOnItsSecondByte) {
    Catalog catalog;
    catalog.addSymbol(16, "1111", big5("許功")); // B3 5C A5 5C: both end in a backslash
    catalog.addSymbol(16, "2222", big5("功課"));
    EXPECT_TRUE(catalog.findCandidates("\\", 10).empty());
    EXPECT_EQ(catalog.findCandidates(big5("功"), 10),
              (std::vector<CString>{"[16] 2222 " + big5("功課"), "[16] 1111 " + big5("許功")}));
}

TEST(CatalogSearchTest, TenThousandSymbolsAgreeWithTheLiteralRanking) {
    Catalog catalog;
    catalog.loadBuiltIn();
    std::mt19937 random(7);
    const char* syllables[] = {"台", "積", "電", "鴻", "海", "聯", "發", "科", "許", "功", "金", "控"};
    for (int i = 0; i < 10000; ++i) {
        CString name;
        for (int k = 0; k < 3; ++k) {
            name += big5(syllables[random() % 12]);
        }
        catalog.addSymbol(i % 2 == 0 ? 16 : 22, std::to_string(100000 + i), name);
    }
    for (const CString& typed : {CString("1"), CString("1000"), CString("129999"), big5("台"), big5("電鴻"),
                                 big5("許功金"), CString("2330"), CString("x")}) {
        for (const std::size_t limit : {1U, 50U, 100000U}) {
            EXPECT_EQ(catalog.findCandidates(typed, limit), literalCandidates(catalog, typed, limit))
                << cp950::toUtf8(typed) << " limit " << limit;
        }
    }
}

} // namespace
} // namespace embedded
