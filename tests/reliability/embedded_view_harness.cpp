#include "tests/reliability/embedded_view_harness.h"

#include <atomic>
#include <fstream>

#include <malloc.h>
#include <unistd.h>

#include "adapters/headless/headless_sheet.h"
#include "embedded_backend/day_math.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/backend/subscriptions.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ids.h"
#include "news_view/news_module.h"

namespace reliability {

std::int64_t midnightOf(int yyyymmdd) {
    return embedded::localMidnightOf(yyyymmdd);
}

namespace {

std::filesystem::path freshFolder() {
    static std::atomic<int> counter{0};
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("news-reliability-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "sys");
    return folder;
}

} // namespace

EmbeddedViewHarness::EmbeddedViewHarness(Options options)
    : m_folder(freshFolder()),
      m_host((options.startSeconds != 0 ? options.startSeconds : midnightOf(20240305) + 9 * 3600) * 1000) {
    RegisterNewsModule();
    CSyncInfo::Get().reset();
    NewsSubscriptions::instance().clear();
    std::ofstream(m_folder / "sys" / "Application.ini", std::ios::binary)
        << "[NewsCtrlSearchView]\r\nShowNormalSearch=0\r\nShowWarningSearch=0\r\n";

    embedded::EmbeddedBackendOptions backendOptions;
    backendOptions.dataFolder = (m_folder / "store").string();
    backendOptions.daysToKeep = options.daysToKeep;
    backendOptions.systemPath = (m_folder / "sys").string();
    backendOptions.dispatcher = &m_host.dispatcher();
    backendOptions.clock = &m_host.clock();
    m_backend = std::make_unique<embedded::EmbeddedBackend>(std::move(backendOptions));
    BKQuoteInterface::SetBKInterface(m_backend.get());
    SearchControl::SetSearchObjInterface(m_backend.get());
    const embedded::StoreOpenResult opened = m_backend->open();
    if (!opened.ok()) {
        throw std::runtime_error("the news store did not open: " + opened.message);
    }
    drain();

    m_view = std::make_unique<TRVNewsCtrlView>();
    if (!m_view->Create(nullptr, host::ui::Rect{0, 0, 1000, 600}, 0)) {
        throw std::runtime_error("the view's window was not created");
    }
    m_view->OnInitialUpdate();
    m_view->InitialViewInfo(&m_settings, "NewsView", 0, 0, "TRVNewsCtrlView");
    drain();
}

EmbeddedViewHarness::~EmbeddedViewHarness() {
    m_view.reset();
    if (BKQuoteInterface::GetBKInterface() == m_backend.get()) {
        BKQuoteInterface::SetBKInterface(nullptr);
    }
    if (SearchControl::GetSearchObjInterface() == m_backend.get()) {
        SearchControl::SetSearchObjInterface(nullptr);
    }
    m_backend->shutdown();
    m_backend.reset();
    std::error_code ec;
    std::filesystem::remove_all(m_folder, ec);
}

void EmbeddedViewHarness::ingest(std::vector<embedded::FeedEvent> events) {
    m_backend->ingest(std::move(events));
    drain();
}

bool EmbeddedViewHarness::drain() {
    for (int round = 0; round < 1000; ++round) {
        m_backend->flushStore();
        const std::size_t ran = m_host.dispatcher().drain();
        const int delivered = m_host.ui().pumpMessages();
        if (ran == 0 && delivered == 0) {
            return true;
        }
    }
    return false;
}

void EmbeddedViewHarness::refresh() {
    m_host.advanceBy(news::kRefreshDelayMs);
    drain();
}

std::vector<CHeadlineTable> EmbeddedViewHarness::list(int mode) const {
    const HeadlineTableList* table = m_view->GetTable(mode);
    return table != nullptr ? table->toVector() : std::vector<CHeadlineTable>{};
}

CString EmbeddedViewHarness::cell(int mode, std::size_t row, int column) {
    auto* grid = dynamic_cast<headless::HeadlessSheet*>(m_view->GetSheet(mode));
    return grid != nullptr ? grid->cszGetCellText(row, column) : CString{};
}

std::size_t EmbeddedViewHarness::rows(int mode) {
    auto* grid = dynamic_cast<headless::HeadlessSheet*>(m_view->GetSheet(mode));
    return grid != nullptr ? grid->iGetRowCount() : 0;
}

std::size_t residentBytes() {
#if defined(__GLIBC__)
    // Free pages the allocator still holds would hide or fake growth: hand them back first, so
    // what is resident is what the process uses (fragmentation included).
    ::malloc_trim(0);
#endif
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    if (!(statm >> pages >> resident)) {
        return 0;
    }
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace reliability
