// The search state and the category in the view's settings: a saved layout read by a new
// view gives the same state, hostile texts included; unreadable values are kept, not lost.
#include "host/framework/cfg_store.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

class SearchSettingsTest : public NewsViewTest {
protected:
    static CSearch search(std::vector<CString> keywords, unsigned char scope, unsigned char method) {
        CSearch s;
        s.m_vKeywords = std::move(keywords);
        s.m_byScope = scope;
        s.m_byMethod = method;
        return s;
    }
    // Saves the view, closes it and opens a new one on what the store holds after a round
    // trip through the settings file's text.
    void reopen() {
        m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
        CfgFileStore file;
        for (const char* key : {"!RVNEWS_NEWSSEARCH_KEYWORD", "!RVNEWS_NEWSSEARCH_NEARTENSEARCHINFO",
                                "!RVNEWS_NEWSKEY_KEYWORDSETTING", "WarningSearchItems", "WarningSearchItemOrder"}) {
            if (m_cfg.has(key)) {
                file.SetViewInfo("Layout", 0, 0, news::kViewKey, key, m_cfg.get(key));
            }
        }
        CfgFileStore reread;
        ASSERT_TRUE(reread.parse(file.serialize()).ok());
        for (const CfgFileStore::Entry& e : reread.entries()) {
            m_cfg.set(e.key, e.value);
        }
        m_view.reset();
        createView();
    }
};

TEST_F(SearchSettingsTest, TheSearchStateSurvivesASaveAndANewViewHostileTextsIncluded) {
    createView();
    const std::vector<CString> pool = {"台積電",           "AI,5G",     "100%",        " lead", "",
                                       "\xB3\x5C\xA5\x5C", "lone \xA1", "C:1 T:3 K:A", "2:x,y"};
    std::vector<CSearch> recent;
    for (int i = 0; i < 10; ++i) {
        recent.push_back(search({"k" + std::to_string(i), "a;b=c", "\r\n"}, static_cast<unsigned char>(i % 3), 1));
    }
    const std::vector<CNewsKey> keySets = {CNewsKey(1, {3, 7}, {"A", "B"}), CNewsKey(2, {-999}, {"x y", ",", ""})};
    const std::vector<CSearch> warnings = {search({"警示", "%"}, 2, 2), search({}, 0, 0)};
    m_view->KeywordPool() = pool;
    m_view->RecentSearches() = recent;
    m_view->NewsKeys() = keySets;
    m_view->WarningItems() = warnings;
    m_view->SetWarningItemOrder(-3);

    reopen();
    EXPECT_TRUE(m_view->bInitialSearchCtrl(&m_cfg, "Layout", 0, 0)) << "every value read cleanly";
    EXPECT_EQ(m_view->KeywordPool(), pool);
    EXPECT_EQ(m_view->RecentSearches(), recent);
    EXPECT_EQ(m_view->NewsKeys(), keySets);
    EXPECT_EQ(m_view->WarningItems(), warnings);
    EXPECT_EQ(m_view->GetWarningItemOrder(), -3);
    EXPECT_EQ(m_cfg.get("!RVNEWS_NEWSKEY_KEYWORDSETTING"),
              "2:C:1%20T:3%2C7%20K:A%2CB,C:2%20T:-999%20K:x%2520y%2C%252C%2C%25-")
        << "each key set in its string form, as an element of the list";
}

TEST_F(SearchSettingsTest, UnreadableValuesKeepTheirListsEmptyAndAreSavedBackUnchanged) {
    m_cfg.set("!RVNEWS_NEWSSEARCH_KEYWORD", "3:a,b");
    m_cfg.set("!RVNEWS_NEWSSEARCH_NEARTENSEARCHINFO", "1:not a search");
    // A well-formed list holding one bad key set: the whole value stays unread, not half of it.
    m_cfg.set("!RVNEWS_NEWSKEY_KEYWORDSETTING", "2:C:1%20T:3%20K:A,C:1%20T:x%20K:B");
    m_cfg.set("WarningSearchItems", "1:" + search({"ok"}, 0, 1).GetString());
    m_cfg.set("WarningSearchItemOrder", "2x");
    createView();
    EXPECT_TRUE(m_view->KeywordPool().empty());
    EXPECT_TRUE(m_view->RecentSearches().empty());
    EXPECT_TRUE(m_view->NewsKeys().empty());
    EXPECT_EQ(m_view->WarningItems().size(), 1u) << "a readable value is read";
    EXPECT_EQ(m_view->GetWarningItemOrder(), 0);
    EXPECT_FALSE(m_view->bInitialSearchCtrl(&m_cfg, "Layout", 0, 0)) << "some values could not be read";
    EXPECT_FALSE(m_view->bInitialSearchCtrl(nullptr, "Layout", 0, 0));

    m_view->RecentSearches().push_back(search({"new"}, 0, 1));
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    EXPECT_EQ(m_cfg.get("!RVNEWS_NEWSSEARCH_KEYWORD"), "3:a,b") << "never lost by a save";
    EXPECT_EQ(m_cfg.get("!RVNEWS_NEWSKEY_KEYWORDSETTING"), "2:C:1%20T:3%20K:A,C:1%20T:x%20K:B");
    EXPECT_EQ(m_cfg.get("WarningSearchItemOrder"), "2x");
    EXPECT_EQ(m_cfg.get("!RVNEWS_NEWSSEARCH_NEARTENSEARCHINFO"), "1:" + search({"new"}, 0, 1).GetString())
        << "replaced once the user has a list of their own";
}

TEST_F(SearchSettingsTest, TheCategoryIsWrittenEveryTimeAndAViewWithoutSearchLeavesTheSearchKeys) {
    m_backend.setCategories(16, {{"5", "Revenue"}, {"9", "Meeting"}});
    Options options;
    options.mask = news::kMaskAllNews | news::kMaskCategory;
    createView(options);
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    EXPECT_TRUE(m_cfg.has("CategoryID")) << "written even with nothing to write";
    EXPECT_EQ(m_cfg.get("CategoryID"), "");

    m_cfg.set("CategoryID", "9");
    m_cfg.set("!RVNEWS_NEWSSEARCH_KEYWORD", "1:kept");
    m_view.reset();
    createView(options);
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    EXPECT_EQ(m_cfg.get("CategoryID"), "9") << "the category list was never opened";
    EXPECT_EQ(m_cfg.get("!RVNEWS_NEWSSEARCH_KEYWORD"), "1:kept");
    EXPECT_FALSE(m_cfg.has("WarningSearchItems"));

    m_view->SwitchFunction(news::kModeCategory);
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    EXPECT_EQ(m_cfg.get("CategoryID"), "9") << "the saved category is selected again";

    m_cfg.set("CategoryID", "77");
    m_view.reset();
    m_backend.setCategories(16, {});
    createView(options);
    m_view->SwitchFunction(news::kModeCategory);
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    EXPECT_EQ(m_cfg.get("CategoryID"), "77") << "no category to select: the saved one is written again";
}

} // namespace
} // namespace newsview_test
