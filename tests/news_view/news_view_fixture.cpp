#include "tests/news_view/news_view_fixture.h"

#include <fstream>

#include "host/backend/subscriptions.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_module.h"

namespace newsview_test {

bool MemoryCfg::GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                            const CString& key, CString& value) const {
    const auto it = m_values.find({section, layout1, layout2, viewKey, key});
    if (it == m_values.end()) {
        return false;
    }
    value = it->second;
    return true;
}

void MemoryCfg::SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                            const CString& key, const CString& value) {
    m_values[{section, layout1, layout2, viewKey, key}] = value;
}

bool MemoryCfg::has(const CString& key) const {
    CString value;
    return GetViewInfo("Layout", 0, 0, news::kViewKey, key, value);
}

CString MemoryCfg::get(const CString& key) const {
    CString value;
    GetViewInfo("Layout", 0, 0, news::kViewKey, key, value);
    return value;
}

std::int64_t taipei(int hour, int minute, int second) {
    constexpr std::int64_t kMidnight = 1704124800; // 2024-01-02 00:00 in Taipei (UTC+8)
    return kMidnight + hour * 3600 + minute * 60 + second;
}

NewsViewTest::NewsViewTest() {
    RegisterNewsModule();
    CSyncInfo::Get().reset();
    NewsSubscriptions::instance().clear();
    m_backend.install();
    m_backend.addService(16, "TWSE News", "TWSE", "20240102");
    m_backend.addService(22, "HK News", "HK", "20240102");
    m_backend.addService(news::kServiceWarrant, "Warrant News", "WRT", "20240102");
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_RECOVER", "LOADING");
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    m_sysDir = std::filesystem::temp_directory_path() /
               ("newsview-" + std::string(info->test_suite_name()) + "-" + info->name());
    std::filesystem::remove_all(m_sysDir);
    std::filesystem::create_directories(m_sysDir);
    m_backend.setSysPath(m_sysDir.string());
}

NewsViewTest::~NewsViewTest() {
    m_view.reset();
    std::filesystem::remove_all(m_sysDir);
}

void NewsViewTest::writeSysFile(const std::string& name, const std::string& bytes) {
    std::ofstream(m_sysDir / name, std::ios::binary) << bytes;
}

TRVNewsCtrlView& NewsViewTest::createBareView(const Options& options) {
    writeSysFile("Application.ini", text::format("[NewsCtrlSearchView]\nShowNormalSearch=%d\nShowWarningSearch=%d\n",
                                                 options.showNormalSearch ? 1 : 0, options.showWarningSearch ? 1 : 0));
    m_view = std::make_unique<TRVNewsCtrlView>();
    EXPECT_TRUE(m_view->Create(nullptr, options.rect, 0));
    m_view->vSetNewsType(options.newsType);
    m_view->SetFunctionMask(options.mask);
    m_view->OnInitialUpdate();
    return *m_view;
}

TRVNewsCtrlView& NewsViewTest::createView(const Options& options) {
    createBareView(options);
    m_view->InitialViewInfo(&m_cfg, "Layout", 0, 0, options.name);
    return *m_view;
}

CHeadlineTable NewsViewTest::addNews(unsigned char service, std::int64_t time, std::int32_t seqNo, const CString& title,
                                     int category) {
    CHeadline headline;
    headline.m_byService = service;
    headline.m_tTime = time;
    headline.m_iSeqNo = seqNo;
    headline.m_strTitle = title;
    headline.m_iCategory = category;
    return m_backend.addHeadline(headline);
}

std::vector<std::int32_t> NewsViewTest::seqs(int list) const {
    std::vector<std::int32_t> out;
    const HeadlineTableList& table = *m_view->GetTable(list);
    for (std::size_t i = 0; i < table.size(); ++i) {
        out.push_back(table[i].m_iSeqNo);
    }
    return out;
}

headless::HeadlessSheet& NewsViewTest::sheet(int list) {
    auto* grid = dynamic_cast<headless::HeadlessSheet*>(m_view->GetSheet(list));
    if (grid == nullptr) {
        throw std::runtime_error("no grid for list " + std::to_string(list));
    }
    return *grid;
}

} // namespace newsview_test
