// The back end as the news view meets it: pushes, look-ups, answers and the catalogue.
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "backend_fixture.h"

namespace embedded::test {
namespace {

constexpr int kToday = 20240305;

TEST_F(BackendTest, PushesReachOnlyViewsRegisteredForTheService) {
    RecordingReceiver other;
    RecordingReceiver symbolOnly;
    registerFor(&view, 16);
    registerFor(&other, 22);
    subscriptions.change(&symbolOnly, {CSymbolInfo{16, "2330", {}}}, {}); // a symbol, not the service
    ingestNow({headlineEvent(16, 1, morning(), "台積電營收", 7, "2330"),
               headlineEvent(22, 1, morning(), "騰訊業績", 1, "00700"),
               headlineEvent(52, 1, morning(), "權證發行", 51, nullptr)});
    ASSERT_EQ(view.pushes.size(), 1u);
    EXPECT_EQ(view.pushes[0].m_strTitle, big5("台積電營收"));
    EXPECT_EQ(view.pushes[0].m_iCategory, 7);
    EXPECT_EQ(view.pushCategories[0], "7") << "the category id as decimal text";
    EXPECT_EQ(view.pushSymbols[0], "2330");
    ASSERT_EQ(other.pushes.size(), 1u);
    EXPECT_EQ(other.pushes[0].m_byService, 22);
    EXPECT_TRUE(symbolOnly.pushes.empty());
    EXPECT_EQ(backend->cachedHeadlines(), 3u) << "unheard headlines are cached all the same";
}

TEST_F(BackendTest, RegistrationIsCheckedAgainAtEachDelivery) {
    RecordingReceiver second;
    registerFor(&view, 16);
    registerFor(&second, 16);
    backend->ingest({headlineEvent(16, 1, morning(), "一")});
    subscriptions.removeReceiver(&second); // after the push was queued, before it runs
    dispatcher.runPending();
    EXPECT_EQ(view.pushes.size(), 1u);
    EXPECT_TRUE(second.pushes.empty());

    registerFor(&second, 16);
    view.onPush = [&] { subscriptions.removeReceiver(&second); }; // a view closing another from a callback
    ingestNow({headlineEvent(16, 2, morning(), "二")});
    EXPECT_EQ(view.pushes.size(), 2u);
    EXPECT_TRUE(second.pushes.empty());
}

TEST_F(BackendTest, NothingIsPushedWhileDisconnected) {
    registerFor(&view, 16);
    EXPECT_EQ(backend->bIsConnect(), 1);
    backend->disconnect();
    EXPECT_EQ(backend->bIsConnect(), 1) << "the link state changes in order with the news";
    dispatcher.runPending();
    EXPECT_EQ(backend->bIsConnect(), 0);
    ingestNow({headlineEvent(16, 1, morning(), "斷線期間")});
    EXPECT_TRUE(view.pushes.empty());
    EXPECT_EQ(backend->ingestStats().held, 1u);
    backend->connect();
    dispatcher.runPending();
    EXPECT_EQ(backend->bIsConnect(), 1);
    EXPECT_TRUE(view.pushes.empty()) << "held news comes back as a recovery, not as pushes";
    EXPECT_EQ(backend->cachedHeadlines(), 1u);
}

TEST_F(BackendTest, TwoStepReadsStoriesAndRelatedSymbols) {
    FeedEvent withSymbols = headlineEvent(16, 2, morning() + 60, "鴻海與台積電合作", 8, "2317", "內文@@@@第二段");
    withSymbols.symbols.push_back(CSymbolInfo{16, "2330", big5("台積電")});
    ingestNow({headlineEvent(16, 1, morning(), "台積電營收", 1, "2330"), withSymbols,
               headlineEvent(22, 1, morning(), "騰訊業績", 1, "00700")});

    std::vector<CHeadlineTable> table = dateTable(16, kToday);
    ASSERT_EQ(table.size(), 2u);
    for (const CHeadlineTable& e : table) {
        EXPECT_EQ(e.m_llValue2, 0) << "entries carry the key only";
        EXPECT_EQ(e.m_ullLast, 0u);
    }
    table.push_back(CHeadlineTable{22, morning(), 1, 0, 0});     // another service's entry
    table.push_back(CHeadlineTable{16, morning() + 5, 9, 0, 0}); // not held
    std::vector<CHeadline> headlines;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadline(16, headlines, table), 2);
    ASSERT_EQ(headlines.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_TRUE(bSameKey(table[i], headlines[i])) << "headlines come in entry order";
    }

    const CHeadlineTable entry{16, morning() + 60, 2, 0, 0};
    CStory story;
    ASSERT_TRUE(backend->BKQNEWS_bGetStory(story, entry));
    EXPECT_EQ(story.m_entry, entry);
    EXPECT_EQ(story.m_tTime, morning() + 60);
    EXPECT_EQ(story.m_strText, big5("內文@@@@第二段"));
    EXPECT_FALSE(backend->BKQNEWS_bGetStory(story, CHeadlineTable{16, morning(), 1, 0, 0})) << "no story yet";

    CNewsSymLst symbols;
    ASSERT_TRUE(backend->BKNEWS_GetSymbolListBySeqNo(symbols, entry));
    ASSERT_EQ(symbols.m_vSymbols.size(), 2u);
    EXPECT_EQ(symbols.m_vSymbols[1].m_strName, big5("台積電"));

    std::vector<CHeadlineTable> byCategory;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, byCategory, BKQuoteInterface::kByCategory, "8"), 1);
    std::vector<CHeadlineTable> bySymbol;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(bySymbol, 16, CSymbolInfo{16, "2330", {}}), 2)
        << "every related symbol lists the headline";
    std::vector<CHeadlineTable> none;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, none, BKQuoteInterface::kByDate, "2024035"), 0);
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, none, BKQuoteInterface::kByCategory, "8x"), 0);
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, none, BKQuoteInterface::kSearch, "OTHER"), 0);
    EXPECT_TRUE(none.empty());
}

TEST_F(BackendTest, ALateStoryIsSentAndACorrectedOneAnnouncedAsAChange) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "先發標題")});
    ingestNow({storyEvent(16, 1, morning() + 30, "晚到的內文")});
    EXPECT_EQ(view.log, (std::vector<std::string>{"push 16/1", "story 16/1"})) << "a first story is available";
    CStory story;
    ASSERT_TRUE(backend->BKQNEWS_bGetStory(story, CHeadlineTable{16, morning(), 1, 0, 0}));
    EXPECT_EQ(story.m_tTime, morning() + 30);

    ingestNow({storyEvent(16, 1, morning() + 90, "(更正)內文")});
    EXPECT_EQ(view.log.back(), "story-update 16/1") << "a second story changes the one shown";
    ASSERT_TRUE(backend->BKQNEWS_bGetStory(story, CHeadlineTable{16, morning(), 1, 0, 0}));
    EXPECT_EQ(story.m_strText, big5("(更正)內文"));

    ingestNow({headlineEvent(16, 2, morning() + 100, "附內文", 1, "2330", "原內文")});
    ingestNow({storyEvent(16, 2, morning() + 120, "(更正)附內文")});
    EXPECT_EQ(view.log.back(), "story-update 16/2") << "correcting a story that came with its headline";
}

TEST_F(BackendTest, AResentHeadlineReplacesTheEarlierOne) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "初版標題", 1, "2330", "內文")});
    FeedEvent again = headlineEvent(16, 1, morning() + 300, "(更正)新版標題", 4, "2317");
    again.kind = FeedEventKind::Resend;
    ingestNow({again});
    ASSERT_EQ(view.pushes.size(), 2u);
    EXPECT_EQ(view.pushes[1].m_tTime, morning() + 300);
    const std::vector<CHeadlineTable> table = dateTable(16, kToday);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0].m_tTime, morning() + 300);
    std::vector<CHeadline> headlines;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadline(16, headlines, {CHeadlineTable{16, morning(), 1, 0, 0}}), 0)
        << "the old key is gone";
    std::vector<CHeadlineTable> t;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, t, BKQuoteInterface::kByCategory, "1"), 0);
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, t, BKQuoteInterface::kByCategory, "4"), 1);
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(t, 16, CSymbolInfo{16, "2330", {}}), 0);
    CStory story;
    EXPECT_TRUE(backend->BKQNEWS_bGetStory(story, table[0])) << "the story stays with the headline";
    EXPECT_EQ(backend->cachedHeadlines(), 1u);
}

TEST_F(BackendTest, ANewDayIsAnnouncedAndOldDaysFallOut) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "第一天")});
    for (int i = 1; i <= 5; ++i) {
        backend->startNewDay(16);
        dispatcher.runPending();
        EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(addDays(kToday, i)));
    }
    ASSERT_EQ(view.marketStatus.size(), 5u);
    EXPECT_EQ(view.marketStatus[0], (CMarketStatus{16, addDays(kToday, 1)}));
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(22), dayText(kToday)) << "days are per service";
    EXPECT_TRUE(dateTable(16, kToday).empty()) << "five kept days end on the fifth new day";
    EXPECT_EQ(backend->cachedHeadlines(), 0u);
    // Seq 1 is new on the new day.
    ingestNow({headlineEvent(16, 1, morning() + 5 * 86400, "第六天")});
    EXPECT_EQ(dateTable(16, addDays(kToday, 5)).size(), 1u);
}

TEST_F(BackendTest, AnswersArriveThroughTheDispatcherInRequestOrder) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "台積電法說會", 2, "2330", "內文")});
    view.log.clear();
    const CHeadlineTable entry{16, morning(), 1, 0, 0};
    CSearch condition;
    condition.m_vKeywords = {big5("法說")};
    std::vector<CHeadline> recovered;
    ASSERT_TRUE(backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kSearch, condition));
    ASSERT_TRUE(backend->BKNEWS_bReRequestHeadlineTable(16, BKQuoteInterface::kByDate, dayText(kToday)));
    ASSERT_TRUE(backend->BKQNews_bReRequestHeadlineStory(entry));
    ASSERT_TRUE(backend->BKNEWS_bReRequestHeadlineTable(16, BKQuoteInterface::kByCategory, "9"));
    ASSERT_TRUE(backend->BKQNEWS_bReCoverHeadline(16, recovered, {entry}));
    ASSERT_TRUE(backend->BKNEWS_bReRequestHeadlineTable(16, CSymbolInfo{16, "2330", {}}));
    ASSERT_TRUE(backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kSecondSearch, condition));
    EXPECT_EQ(recovered.size(), 1u) << "re-covered headlines are also handed back at once";
    EXPECT_TRUE(view.log.empty()) << "nothing is called back synchronously";
    ASSERT_TRUE(dispatcher.drainUntil([&] { return view.searches.size() == 2; }));
    EXPECT_EQ(view.log, (std::vector<std::string>{"search 16", "date-table 16 20240305 0", "headlines 1", "story 16/1",
                                                  "category-table 16 9 -1", "headlines 1", "symbol-table 16 2330 0",
                                                  "headlines 1", "search 16"}));
    EXPECT_EQ(view.searches[0].first, condition) << "the condition comes back as it was sent";

    // Requests that cannot be answered are refused at once.
    EXPECT_FALSE(backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kByDate, condition));
    EXPECT_FALSE(backend->BKQNEWS_bSearchNews(99, BKQuoteInterface::kSearch, condition));
    EXPECT_FALSE(backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kSearch, CSearch{}));
    EXPECT_FALSE(backend->BKNEWS_bReRequestHeadlineTable(16, BKQuoteInterface::kByDate, "20240230"));
    EXPECT_FALSE(backend->BKQNews_bReRequestHeadlineStory(CHeadlineTable{16, morning(), 7, 0, 0}));
    EXPECT_FALSE(backend->BKQNEWS_bReCoverHeadline(22, recovered, {entry}));
}

TEST_F(BackendTest, SearchResultsAreStoredPerServiceAndKindNewestFirst) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "台積電營收"), headlineEvent(16, 2, morning() + 9, "台積電法說"),
               headlineEvent(22, 1, morning(), "台積電ADR")});
    EXPECT_EQ(search(16, {"台積電"}, 0, 0), (std::vector<std::int32_t>{2, 1}));
    EXPECT_EQ(search(16, {"台積電", "法說"}, 0, 1), (std::vector<std::int32_t>{2}));
    EXPECT_EQ(search(16, {"adr", "營收"}, 0, 2), (std::vector<std::int32_t>{1}));
    EXPECT_EQ(search(22, {"adr"}, 0, 1), (std::vector<std::int32_t>{1}));
    std::vector<CHeadlineTable> table;
    backend->BKQNEWS_iGetHeadlineTable(16, table, BKQuoteInterface::kSearch, "SEARCH");
    EXPECT_EQ(table.size(), 1u) << "service 16 keeps its own results";

    CSearch bound;
    bound.m_vKeywords = {big5("台積電")};
    bound.m_vSymbols = {"9999"};
    ASSERT_TRUE(backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kSearch, bound));
    table.clear();
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, table, BKQuoteInterface::kSearch, "SEARCH"), 0)
        << "a new search clears the old results at once";
    ASSERT_TRUE(dispatcher.drainUntil([&] { return view.searches.size() == 5; }));
    EXPECT_EQ(backend->BKQNEWS_iGetHeadlineTable(16, table, BKQuoteInterface::kSearch, "SEARCH"), 0)
        << "bound to a symbol none of them relates to";
}

TEST_F(BackendTest, ServicesSymbolsCategoriesAndLanguage) {
    const std::filesystem::path system = folder.path() / "system";
    std::filesystem::create_directories(system);
    {
        std::ofstream ini(system / "NewsService.ini", std::ios::binary);
        ini << "[CONFIG]\r\nCatId=1,2 3\r\nSHORTNAME=" << big5("公告,營收 法說") << "\r\n"
            << "[SERVICE52]\r\nCatId=51\r\nSHORTNAME=" << big5("新發行") << "\r\nFullName=" << big5("權證快訊")
            << "\r\n";
        std::ofstream lang(system / "zh-TW.lang", std::ios::binary);
        lang << "IDS_NEWSCTRLVIEW_STRING_TIME=時間\n";
    }
    EmbeddedBackendOptions o = options();
    o.systemPath = system.string() + "/";
    o.languageFile = (system / "zh-TW.lang").string();
    backend->shutdown();
    start(o);

    std::vector<unsigned char> services;
    ASSERT_TRUE(backend->BKQNEWS_bGetAllNewsService(services));
    EXPECT_EQ(services, (std::vector<unsigned char>{16, 122, 22, 52}));
    for (const unsigned char s : services) {
        EXPECT_EQ(backend->BKQCheckAuthSupport(s), 1);
        EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(s), "20240305");
    }
    EXPECT_EQ(backend->BKQCheckAuthSupport(99), 0);
    EXPECT_EQ(backend->BKQbyGetNewsDateRange(), 4);
    CString name;
    ASSERT_TRUE(backend->BKQNEWS_bGetShortNameByService(name, 16));
    EXPECT_EQ(name, big5("台股"));
    ASSERT_TRUE(backend->BKQNEWS_bGetFullNameByService(name, 52));
    EXPECT_EQ(name, big5("權證快訊"));
    EXPECT_FALSE(backend->BKQNEWS_bGetFullNameByService(name, 99));

    std::vector<CString> ids;
    std::vector<CString> names;
    ASSERT_TRUE(backend->bNewsAPI_GetNewsCatId(16, ids, names));
    ASSERT_GE(ids.size(), 3u);
    EXPECT_EQ((std::vector<CString>(ids.begin(), ids.begin() + 3)), (std::vector<CString>{"1", "2", "3"}));
    EXPECT_EQ(names[1], big5("營收")) << "the configured names lead";
    EXPECT_EQ(ids.size(), names.size());
    ASSERT_TRUE(backend->bNewsAPI_GetNewsCatId(52, ids, names));
    EXPECT_EQ(ids[0], "51");
    EXPECT_EQ(names[0], big5("新發行"));
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "51"), 1) << "no id twice";

    EXPECT_EQ(backend->bIsSymbolIDExist(16, "2330"), 1);
    EXPECT_EQ(backend->bIsSymbolIDExist(22, "2330"), 0);
    CString value;
    ASSERT_TRUE(backend->bGetItemDataByItemNo(value, 16, "2330", 1019));
    EXPECT_EQ(value, big5("台積電"));
    EXPECT_TRUE(backend->bGetItemDataByItemNo(value, 22, "00700", 2020));
    EXPECT_FALSE(backend->bGetItemDataByItemNo(value, 16, "2330", 1000));
    int category = 0;
    ASSERT_TRUE(backend->bGetCategorybySymbolID(category, 16, "2330"));
    EXPECT_EQ(category, 24);
    std::vector<CString> codes;
    ASSERT_TRUE(backend->GetSymbolsByService(52, codes, names, 1));
    EXPECT_GE(codes.size(), 24u);
    EXPECT_EQ(codes.size(), names.size());
    std::vector<CString> candidates;
    ASSERT_TRUE(backend->FindSearchList("2330", candidates));
    EXPECT_EQ(candidates[0], big5("[上市] 2330 台積電")) << "the exact code first";
    ASSERT_TRUE(backend->FindSearchList(big5("騰訊"), candidates));
    EXPECT_EQ(candidates[0], big5("[港股] 00700 騰訊控股"));
    EXPECT_FALSE(backend->FindSearchList("   ", candidates));

    unsigned char delayed = 0;
    EXPECT_FALSE(backend->bGetServiceID2Delay(22, delayed));
    EXPECT_EQ(backend->bIsFromTheSameAuthServiceID(22, 22), 1);
    EXPECT_EQ(backend->bIsFromTheSameAuthServiceID(1, 22), 0);
    EXPECT_EQ(backend->LangGetLangString("IDS_NEWSCTRLVIEW_STRING_TIME"), big5("時間"));
    EXPECT_EQ(backend->LangGetLangString("IDS_MISSING"), "IDS_MISSING");
    EXPECT_FALSE(backend->LangIsConvertToSimplified(16));
    EXPECT_EQ(backend->PathGetSysPath(), system.string());
}

TEST_F(BackendTest, FeedsOnTheirOwnThreadsWhileTheUiReadsAndSearches) {
    registerFor(&view, 16);
    registerFor(&view, 22);
    GeneratorFeedOptions feed;
    feed.generator.seed = 11;
    feed.generator.headlinesPerSecond = 50;
    feed.generator.firstNewDayAt = morning() + 40;
    feed.generator.dayLength = 40;
    feed.eventsPerSecond = 0;
    feed.maxEvents = 6000;
    feed.batchSize = 64;
    backend->startGenerator(feed);
    std::size_t searches = 0;
    // Read and search on the UI thread while the feed writes.
    ASSERT_TRUE(dispatcher.drainUntil([&] {
        for (const unsigned char s : {16, 22}) {
            std::vector<CHeadlineTable> table;
            backend->BKQNEWS_iGetHeadlineTable(s, table, BKQuoteInterface::kByDate,
                                               backend->BKQNEWS_cszGetCurrDateByService(s));
            std::vector<CHeadline> headlines;
            EXPECT_EQ(backend->BKQNEWS_iGetHeadline(s, headlines, table), static_cast<int>(table.size()))
                << "every entry of a table has its headline";
        }
        if (view.searches.size() == searches && searches < 20) {
            CSearch c;
            c.m_vKeywords = {big5(searches % 2 == 0 ? "營" : "營收")};
            backend->BKQNEWS_bSearchNews(16, BKQuoteInterface::kSearch, c);
            ++searches;
        }
        return backend->waitGeneratorFinished(std::chrono::milliseconds(0)) && view.searches.size() == searches;
    }));
    backend->flushStore();
    dispatcher.runPending();
    const Ingest::Stats stats = backend->ingestStats();
    EXPECT_EQ(stats.accepted, 6000u);
    EXPECT_EQ(stats.rejected, 0u);
    EXPECT_FALSE(view.pushes.empty());
    EXPECT_GT(backend->cachedHeadlines(), 100u);
    EXPECT_TRUE(backend->storeError().empty()) << backend->storeError();
}

} // namespace
} // namespace embedded::test
