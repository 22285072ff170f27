// The relation test that decides which headlines the relation-search list keeps.
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

class RelationSearchTest : public NewsViewTest {
protected:
    void SetUp() override { createBareView(Options{}); }
    bool check(const CString& title, int category, const CString& symbol = {}) const {
        CHeadline headline;
        headline.m_byService = 16;
        headline.m_strTitle = title;
        headline.m_iCategory = category;
        return m_view->CheckIsRelationSearch(headline, category, symbol);
    }
    void conditions(std::vector<RelationCondition> list) { m_view->SetRelationConditions(std::move(list)); }
};

TEST_F(RelationSearchTest, NoConditionsMatchesNothing) {
    EXPECT_FALSE(check("ANY", 1));
}

TEST_F(RelationSearchTest, EveryCategoryWithoutWordsMatchesAllInModeOneAndNothingOtherwise) {
    conditions({RelationCondition{1, {-999}, {}}});
    EXPECT_TRUE(check("anything", 7));
    conditions({RelationCondition{2, {-999}, {}}});
    EXPECT_FALSE(check("anything", 7));
    // -999 stands for every category only as the sole entry.
    conditions({RelationCondition{1, {-999, 3}, {}}});
    EXPECT_FALSE(check("anything", 7));
    EXPECT_TRUE(check("anything", 3));
}

TEST_F(RelationSearchTest, TitlesAreUpperCasedButWordsAreNot) {
    conditions({RelationCondition{2, {-999}, {"TSMC"}}});
    EXPECT_TRUE(check("tsmc revenue", 1));
    conditions({RelationCondition{2, {-999}, {"tsmc"}}});
    EXPECT_FALSE(check("tsmc revenue", 1)) << "a lower-case word never hits a title";
    EXPECT_TRUE(check("other", 1, "TSMC")) << "but hits an equal symbol text, ignoring case";
    EXPECT_FALSE(check("other", 1, "TSMC2"));
    // The trail byte of a double-byte character is never upper-cased into a letter.
    conditions({RelationCondition{2, {-999}, {"A"}}});
    EXPECT_FALSE(check("\xA6\x61", 1));
}

TEST_F(RelationSearchTest, ModeOneNeedsEveryWordAndAnyConditionSuffices) {
    conditions({RelationCondition{1, {1, 2}, {"EPS", "Q3"}}});
    EXPECT_TRUE(check("q3 eps beat", 2));
    EXPECT_FALSE(check("q3 guidance", 2));
    EXPECT_FALSE(check("q3 eps beat", 5)) << "category not listed";
    conditions({RelationCondition{1, {1}, {"EPS", "Q3"}}, RelationCondition{0, {5}, {"GUIDANCE", "XYZ"}}});
    EXPECT_TRUE(check("q3 guidance", 5)) << "the second condition, one word is enough";
}

TEST_F(RelationSearchTest, RelationListKeepsOnlyMatchingHeadlinesOfToday) {
    addNews(16, taipei(8, 0), 1, "TSMC EPS", 1);
    addNews(16, taipei(8, 5), 2, "weather", 1);
    addNews(22, taipei(8, 10), 3, "HK TSMC", 1);
    m_view.reset();
    Options options;
    options.mask = news::kMaskAllNews | news::kMaskSearch;
    options.showNormalSearch = true;
    createBareView(options);
    conditions({RelationCondition{2, {-999}, {"TSMC"}}});
    m_view->InitialViewInfo(&m_cfg, "Layout", 0, 0, "TRVNewsCtrlView");
    m_view->SwitchFunction(news::kModeRelation);
    ASSERT_EQ(m_view->iGetHeadlineTableSize(news::kModeRelation), 2);
    EXPECT_EQ(m_view->GetTable(news::kModeRelation)->at(0).m_iSeqNo, 3);
    EXPECT_EQ(m_view->GetTable(news::kModeRelation)->at(1).m_iSeqNo, 1);
    EXPECT_EQ(sheet(news::kModeRelation).cszGetCellText(0, 0), "08:10") << "time only";
}

} // namespace
} // namespace newsview_test
