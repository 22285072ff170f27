#pragma once

#include <vector>

#include "host/backend/news_records.h"
#include "host/framework/base_views.h"
#include "host/framework/message_map.h"

namespace host::ui {
class ComboBox;
class CSuperSheetWnd;
class DatePicker;
class Edit;
class StaticText;
class TabStrip;
class TipWindow;
} // namespace host::ui

// A small quote view for checking the scenario runner itself (option --self-test): a service
// combo, a refresh button, a search edit, a date picker, two tabs, a headline grid, a status
// line with a clock, a tip with the story on double-click, a context menu that saves, prints
// or clears the list, and the layout settings "Service" and "TitleWidth".
// Ownership: created and owned by the runner. Thread: UI thread.
class CScenarioProbeView : public TRVQuoteBaseView {
    NEWS_DECLARE_DYNCREATE(CScenarioProbeView)
public:
    enum : int {
        kIdService = 1001,
        kIdRefresh = 1002,
        kIdSearch = 1003,
        kIdDate = 1004,
        kIdTabs = 1005,
        kIdGrid = 1006,
        kIdStatus = 1007,
        kIdMenuSave = 2001,
        kIdMenuPrint = 2002,
        kIdMenuClear = 2003,
    };
    static constexpr unsigned kClockTimer = 1;

    void OnInitialUpdate() override;
    void InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                         const CString& name) override;
    void SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) override;
    void GetCaption(CString& caption) override;

    bool preTranslateMessage(const host::ui::Message& message) override;
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;

    void RecvNewHeadLine(const CHeadline* headline, const CString& categoryId, const CString& symbolCode) override;
    void RespStory(const CHeadlineTable& entry) override;
    void RespSearchHeadLineTable(const CSearch& condition, unsigned char service) override;
    void vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* info) override;
    void vRecvNewMarketStatus(const CMarketStatus* status) override;

private:
    static const host::MessageMap<CScenarioProbeView>& messageMap();

    host::ui::LRESULT OnSize(const host::ui::Message& message);
    host::ui::LRESULT OnClockTimer(const host::ui::Message& message);
    host::ui::LRESULT OnGridMouse(const host::ui::Message& message);
    host::ui::LRESULT OnContextMenu(const host::ui::Message& message);
    void OnServiceChange();
    void OnRefresh();
    void OnDateCloseUp(const host::ui::NotifyInfo& info);
    void OnTabChange(const host::ui::NotifyInfo& info);
    void OnSave();
    void OnPrint();
    void OnClear();

    unsigned char currentService() const;
    void loadDate(const CString& date);
    void fill(std::vector<CHeadlineTable> entries);
    void showStory(const CHeadlineTable& entry);
    void setStatus(const CString& text);

    host::ui::ComboBox* m_service = nullptr; // controls are owned by the view's window
    host::ui::Edit* m_search = nullptr;
    host::ui::DatePicker* m_date = nullptr;
    host::ui::TabStrip* m_tabs = nullptr;
    host::ui::CSuperSheetWnd* m_grid = nullptr;
    host::ui::StaticText* m_status = nullptr;
    host::ui::TipWindow* m_tip = nullptr;
    std::vector<CHeadlineTable> m_entries; // row i shows entry i, newest first
    CString m_shownDate;
    CString m_statusText;
};
