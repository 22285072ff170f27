#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/scripted_backend.h"
#include "host/framework/cfg_io.h"
#include "news_view/news_ctrl_view.h"

namespace newsview_test {

// A layout store in memory.
class MemoryCfg : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     CString& value) const override;
    void SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     const CString& value) override;
    // Values under the view key "TRVNewsCtrlView" of section "Layout", layouts 0 and 0.
    void set(const CString& key, const CString& value) { SetViewInfo("Layout", 0, 0, news::kViewKey, key, value); }
    bool has(const CString& key) const;
    CString get(const CString& key) const;

private:
    std::map<std::tuple<CString, int, int, CString, CString>, CString> m_values;
};

// Seconds since 1970 of a time on 2024-01-02 in Taipei (the headless clock starts at 09:00).
std::int64_t taipei(int hour, int minute, int second = 0);

// The headless host, a scripted back end with three news services (16, 22 and the warrant
// service 52), a folder for the host's INI files, and the view under test.
class NewsViewTest : public ::testing::Test {
protected:
    NewsViewTest();
    ~NewsViewTest() override;

    struct Options {
        unsigned mask = news::kMaskAllNews | news::kMaskCategory | news::kMaskSymbol | news::kMaskSearch |
                        news::kMaskWarrant | news::kMaskWarningSearch;
        int newsType = 0;
        CString name = "TRVNewsCtrlView";
        host::ui::Rect rect{0, 0, 1000, 600};
        bool showNormalSearch = false;
        bool showWarningSearch = false;
    };
    // Creates the view as a host does: window, initial update, saved settings.
    TRVNewsCtrlView& createView(const Options& options);
    TRVNewsCtrlView& createView() { return createView(Options{}); }
    // Window and initial update only (no settings yet).
    TRVNewsCtrlView& createBareView(const Options& options);

    void writeSysFile(const std::string& name, const std::string& bytes);
    CHeadlineTable addNews(unsigned char service, std::int64_t time, std::int32_t seqNo, const CString& title,
                           int category = 1);
    headless::HeadlessSheet& sheet(int list);
    host::ui::Window* control(int id) const { return m_view->GetWnd()->child(id); }
    // Sequence numbers of a list's entries, top first.
    std::vector<std::int32_t> seqs(int list) const;
    // Lets the deferred refresh run.
    void refresh() { m_host.advanceBy(news::kRefreshDelayMs); }

    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    MemoryCfg m_cfg;
    std::filesystem::path m_sysDir;
    std::unique_ptr<TRVNewsCtrlView> m_view;
};

} // namespace newsview_test
