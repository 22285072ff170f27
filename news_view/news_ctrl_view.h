#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "headline_list/headline_table_list.h"
#include "headline_list/relation_matcher.h"
#include "host/backend/search.h"
#include "host/framework/base_views.h"
#include "host/framework/message_map.h"
#include "host/ui/controls.h"
#include "host/ui/menu.h"
#include "host/ui/sheet.h"
#include "news_view/late_owned.h"
#include "news_view/news_ids.h"
#include "search/news_key.h"
#include "search/search_edit2.h"

class NewsStoryView;
class TRVNewsStory;
class CQuoteDlgTipMsg;
class TRVNewsPrint;
class TRVSaveToFile;
class CNewsRelateSymbolQuoteView;
namespace news_output {
enum class StoryForm : unsigned char;
}

// The view's record of one news service, in the order the back end lists the services.
struct NewsServiceEntry {
    unsigned char m_byService = 0;
    unsigned char m_bySelected = 0; // 1: the user has the service checked
    std::int32_t m_iDate = 0;       // the service's news date, yyyymmdd
    unsigned char m_bySearchPending = 0;
};

// One entry of the symbol combo: service and code.
struct NewsSymbolRecord {
    unsigned char m_byService = 0;
    CString m_strCode;
};

// The news view the host places in its frames: a tab strip of function modes, one headline
// grid per mode, the mode controls, the story displays and the tip window.
// Ownership: the view owns its controls (through its window), its grids, the story dialog,
// the tip window and the print and save jobs. Thread: UI thread only.
class TRVNewsCtrlView : public TRVQuoteBaseView {
    NEWS_DECLARE_DYNCREATE(TRVNewsCtrlView)

public:
    TRVNewsCtrlView();
    ~TRVNewsCtrlView() override;

    // ---- Host overrides ----
    void OnInitialUpdate() override;
    void InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                         const CString& name) override;
    void SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) override;
    void GetCaption(CString& caption) override;
    void ChangeActiveApp(int active) override;
    void ChangeSymbol(const TRVQuoteBaseView* sender, unsigned char group, unsigned char service, const CString& code,
                      const CString& name) override;
    int GetCurrSymbolInfo(unsigned char& service, CString& code) override;
    // The code of the symbol the view follows, whatever the mode (for the host's symbol box):
    // the one it was given or chose, else the symbol combo's restored selection.
    CString newsSymbolCode() const { return m_strNewsSymbolCode.empty() ? selectedSymbolCode() : m_strNewsSymbolCode; }
    void vDoSymbolUpdate(const std::vector<CSymbolUpdateInfo>& updates) override;
    void vReRegisterSymbols() override;
    void vUnregisterViewSymbol() override;
    void vChangeCast() override;
    void vNotSupportSymbol(host::ui::DeviceContext& dc) override;

    // ---- Back-end callbacks ----
    void RecvNewHeadLine(const CHeadline* headline, const CString& categoryId, const CString& symbolCode) override;
    void RespHeadLine(const std::vector<CHeadlineTable>& entries) override;
    void RespSearchHeadLineTable(const CSearch& condition, unsigned char service) override;
    void RespStory(const CHeadlineTable& entry) override;
    void StoryUpdateNotify(const CHeadlineTable* entry) override;
    void vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* info) override;
    void vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* info) override;
    void vRecvSymHeadlineTableRecovery(const CHeadlineTableInfo* info) override;
    void vRecvNewsRelateSymbolListRecovery(const CNewsSymlistInfo* info) override;
    void vRecvNewMarketStatus(const CMarketStatus* status) override;
    void vRecvNewMemory(const CMemoryInfo* info) override;
    void vRecvMemoryRecovery(const CMemoryInfo* info) override;
    void vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* infos) override;

    // ---- Window events ----
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;
    bool preTranslateMessage(const host::ui::Message& message) override;
    host::ui::LRESULT eraseBackground(host::ui::DeviceContext& dc) override;

    // ---- Shell, creation and lifecycle ----
    void vViewCreate();
    void CreateControls(int mode, const host::ui::Rect& rect, const host::ui::Font& font);
    void CreateFunctionBtn();
    void CreateTypeBtn();
    TRVQuoteBaseView* CreateView(const CRuntimeClass* runtimeClass, const CString& name, int id,
                                 const host::ui::Rect& rect);
    void DrawTitile(host::ui::DeviceContext& dc);
    void CheckInitialView(int& mode) const;
    void vUpdateView();
    void vRealUpdateView();
    host::ui::LRESULT OnChangeSize(host::ui::WPARAM wParam, host::ui::LPARAM lParam);
    host::ui::LRESULT OnTimerMessage(const host::ui::Message& message);
    host::ui::LRESULT OnCtlColor(host::ui::DeviceContext& dc, host::ui::Window* control, int type);

    // ---- Function modes and layout ----
    void SwitchFunction(int mode);
    void ShowHideCtrObject(int mode);
    void vSetComponentPos();
    int iGetFunctionID(int stored) const;
    int iGetFunctionID(const CString& name) const;
    int iGetTabIndex(int mode) const;
    void OnSelchangeTabMode(const host::ui::NotifyInfo& info);
    void OnBtnChangeShowType();
    void SetStoryShowType(unsigned short showType);
    unsigned short GetStoryShowType() const { return m_wStoryShowType; }
    void SetStoryWndStyle();
    void vSetNewsType(int newsType) { m_iNewsType = newsType; }
    int GetNewsType() const { return m_iNewsType; }
    bool IsStoryDlgOnTop() const;

    // ---- Settings ----
    void GetConfigFromIni();
    void vInitialNewsService(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2);
    bool bInitialSymbolInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2);
    bool bInitialSearchCtrl(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2);
    void InitialNewsRelateQuoteView();

    // ---- Services and symbol binding ----
    bool RegisterService(unsigned char service);
    bool UnRegisterService(unsigned char service);
    bool RegisterService();
    bool UnRegisterService();
    void CheckRegisterService();
    void OnSelectService();
    void OnSelectCheckService(unsigned id);
    void vGetNewsActiveService(std::vector<unsigned char>& services) const;
    int iInitServiceComboBox(unsigned char& selected);
    int iInitSymbolComboBox(unsigned char service);
    void OnSelchangeComboService();
    void OnSelchangeComboSymbol();
    void vOnChangeServiceCombobox(unsigned char service);
    void vOnChangeSymbolCombobox();
    void vDoNormalChangeSymbol(unsigned char service, const CString& code);
    int IsSupportNews(unsigned char service, const CString& code) const;
    bool bUpdateSymbolVec();
    void GetSymbolNews(const CString& code);
    void OnSelSymbol(const CString& code);
    void ChangeNewsSymbolList();
    // Empties the related-symbol quote list when it exists.
    void vClearRelateQuoteList();

    // ---- Categories and colours ----
    bool bInitialTransferCatObject();
    bool bInitialTransferWarrantCatObject();
    bool bInitialCategoryInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2);
    CString cszTransferCatIDToCatName(int id) const;
    int GetCategoryIDbyName(const CString& name) const;
    int GetCategoryColor(const CString& name, COLORREF& text, COLORREF& background) const;
    void vRefreshCategoryCombo(const CString& select);
    void OnSelchangeComboIndex();
    void ChangeCurrViewCategoryState(bool show);
    void OnChangeCategoryState();

    // ---- Input, keys and context menu ----
    host::ui::LRESULT OnKeyDownMessage(const host::ui::Message& message);
    host::ui::LRESULT OnKeyUpMessage(const host::ui::Message& message);
    host::ui::LRESULT OnLButtonDblClkMessage(const host::ui::Message& message);
    host::ui::LRESULT OnLButtonUpMessage(const host::ui::Message& message);
    host::ui::LRESULT OnMouseWheelMessage(const host::ui::Message& message);
    host::ui::LRESULT OnVScrollMessage(const host::ui::Message& message);
    host::ui::LRESULT OnHScrollMessage(const host::ui::Message& message);
    host::ui::LRESULT OnContextMenuMessage(const host::ui::Message& message);
    host::ui::LRESULT OnSizeMessage(const host::ui::Message& message);
    void OnBtnPageUp();
    void OnBtnPageDown();
    void OnShowStory();
    void vShowTip(const host::ui::Rect& rect, const CString& text);
    void vOnEnterDown();
    void OnUpdateEdit();

    // ---- Headline lists and grids ----
    void vInitialSheetWnd(host::ui::CSuperSheetWnd*& grid, const host::ui::Rect& rect, int gridId);
    bool InitialHeadlineTable(int list);
    void vFillHeadlineTable(host::ui::CSuperSheetWnd* grid, const HeadlineTableList& table, bool flag);
    void vFillHeadline(int list, host::ui::CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate);
    void vFillTempHeadline(host::ui::CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate);
    void vFillSheet(host::ui::CSuperSheetWnd* grid, std::size_t row, const CString& time, const CString& category,
                    const CString& title, int categoryId);
    void vUpdateHeadline(host::ui::CSuperSheetWnd* grid, std::size_t row, const CHeadline& headline, bool showDate);
    void vGetTimeString(CString& out, const CHeadline& headline, bool showDate) const;
    void vGetTimeString(CString& out, const CHeadlineTable& entry, bool showDate) const;
    void vGetShowedHeadlineTable(std::vector<CHeadlineTable>& out, host::ui::CSuperSheetWnd* grid,
                                 const HeadlineTableList& table) const;
    CHeadlineTable GetHeadlineTable(int row) const;
    bool bGetHeadlineTable(CHeadlineTable& entry, int list, int row) const;
    int iGetHeadlineTableSize(int list) const;
    host::ui::CSuperSheetWnd* pGetCurrSheetView() const;
    int GetSheetWidth() const;

    // ---- Real-time intake and date paging ----
    void vProcessNewHeadline(host::ui::CSuperSheetWnd* grid, HeadlineTableList& table, const CHeadline& headline,
                             bool showDate);
    void vInsertHeadline(host::ui::CSuperSheetWnd* grid, const CHeadline& headline, bool showDate, std::size_t row);
    void vUpdateHeadline(int list, host::ui::CSuperSheetWnd* grid, const std::vector<CHeadlineTable>& entries,
                         const HeadlineTableList& table, bool showDate);
    void vUpdataTopHeadline(host::ui::CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate);
    void vDeleteHeadline(host::ui::CSuperSheetWnd* grid, std::size_t row);
    void vChangeNewsTable(host::ui::CSuperSheetWnd* grid, HeadlineTableList& table, int kind, const CString& key);
    bool bChangeDate(const host::ui::Date& date);
    bool bChangeDateByNewHeadLine();
    void OnDateTimeChange(const host::ui::NotifyInfo& info);
    void OnDateTimeCloseUp(const host::ui::NotifyInfo& info);
    void OnDateTimeDropDown(const host::ui::NotifyInfo& info);
    bool bChangeNewsPos(int list, int row);
    int iBeSelectNewsNum() const;
    bool bFindHeadlineTable(const CHeadlineTable& entry, const HeadlineTableList& table) const;
    // The text of the last tip shown over a grid (date range, new news day).
    const CString& GetLastTipText() const { return m_strLastTip; }

    // ---- Recovery ----
    void OnReCoverHeadline();
    void OnReCoverHeadlineTable();
    void OnReCoverStory();

    // ---- Search results ----
    void OnSearch();
    void ProcessNewSearchHeadline(CSearch& condition, host::ui::CSuperSheetWnd* grid, HeadlineTableList& table,
                                  const CHeadline& headline, const CString& key);
    bool CheckIsRelationSearch(const CHeadline& headline, int categoryId, const CString& symbolText) const;
    void vDoSearchChangeSymbol(const CSearch& condition, unsigned char market, const CString& symbolCode);

    // ---- Search dialogs ----
    void OnRelationSearchDlg();
    void OnDealsSearchDlg();
    void OnDealsSearch();
    void OnWarningSearchDlg();

    // ---- Printing and saving ----
    void OnBtnPrint();
    void OnBtnSaveas();
    void OnPrintNews();
    void OnSaveNews();
    // The printable form of a story at hand: cut at its first line break, "@@@@" made "\r\n".
    static void Linefeed(CString& text);
    // Back-end answers for the print and save jobs; each job hears them only while it waits.
    void vPassHeadlinesToOutput(const std::vector<CHeadlineTable>& entries);
    void vPassStoryToOutput(const CHeadlineTable& entry);
    TRVNewsPrint* GetNewsPrint() const { return m_pNewsPrint.get(); }
    TRVSaveToFile* GetSaveToFile() const { return m_pSaveToFile.get(); }

    // ---- Read access for the story displays, the hosts and tests ----
    int iGetCurrFunction() const { return m_iCurrFunction; }
    unsigned GetFunctionMask() const { return m_uFunctionMask; }
    void SetFunctionMask(unsigned mask) { m_uFunctionMask = mask; }
    host::ui::CSuperSheetWnd* GetSheet(int list) const;
    const HeadlineTableList* GetTable(int list) const;
    const std::vector<NewsServiceEntry>& GetServiceList() const { return m_vService; }
    int GetWarrantServiceIndex() const { return m_iWarrantIndex; }
    NewsStoryView* GetStoryPane() const { return m_pStoryView; }
    CNewsRelateSymbolQuoteView* GetRelateQuoteView() const { return m_pRelateQuoteView; }
    TRVNewsStory* GetStoryDlg() const { return m_pNewsStory.get(); }
    CQuoteDlgTipMsg* GetTipMsg() const { return m_pTipMsg.get(); }
    SearchEdit2& GetSearchEdit2() { return m_searchEdit2; }
    // The grid row whose story the pane shows (-1: none yet).
    int GetShowedStoryRow() const { return m_iShowedStoryRow; }
    std::int64_t GetCreateTime() const { return m_tCreateTime; }
    // The relation conditions (the ticked key sets) that list 4 and pushed headlines are tested
    // against; setting them prepares the test, it does not rebuild list 4.
    const std::vector<RelationCondition>& GetRelationConditions() const { return m_relation.conditions(); }
    void SetRelationConditions(std::vector<RelationCondition> conditions) {
        m_relation = RelationMatcher(std::move(conditions));
    }
    // The search state: the active and edited search conditions, the quick-search history.
    const CSearch& GetSearchCondition() const { return m_searchCondition; }
    // Makes a condition the active search of list 3 (a host restoring a search, a benchmark);
    // OnDealsSearch sends it.
    void SetSearchCondition(const CSearch& condition) { m_searchCondition = condition; }
    const CSearch& GetEditedSearchCondition() const { return m_searchEdited; }
    const CSearch& GetWarningCondition() const { return m_warningCondition; }
    const std::vector<CString>& GetSearchHistory() const { return m_vSearchHistory; }
    const std::vector<CString>& GetKeywordPool() const { return m_vKeywordPool; }
    const std::vector<CSearch>& GetRecentSearches() const { return m_vRecentSearch; }
    // The search state the search dialogs edit and the settings keep.
    std::vector<CString>& KeywordPool() { return m_vKeywordPool; }
    std::vector<CSearch>& RecentSearches() { return m_vRecentSearch; }
    std::vector<CSearch>& WarningItems() { return m_vWarningItems; }
    int GetWarningItemOrder() const { return m_iWarningItemOrder; }
    void SetWarningItemOrder(int order) { m_iWarningItemOrder = order; }
    std::vector<CNewsKey>& NewsKeys() { return m_vNewsKey; }
    bool IsShowNormalSearch() const { return m_byShowNormalSearch != 0; }
    bool IsShowWarningSearch() const { return m_byShowWarningSearch != 0; }
    // The story pane as the window tree holds it (null when its class is not loaded).
    TRVQuoteBaseView* GetStoryPaneView() const { return m_pStoryPane; }

protected:
    void OnDraw(host::ui::DeviceContext& dc) override;

private:
    static const host::MessageMap<TRVNewsCtrlView>& GetMessageMap();
    // Language text of a key through the back end.
    static CString Lang(const char* key);

    // ---- Shell state ----
    host::ui::TabStrip* m_pTab = nullptr;                               // owned by the window
    std::array<host::ui::CSuperSheetWnd*, news::kModeCount> m_pSheet{}; // owned by the window; null: mode off
    std::array<HeadlineTableList, news::kModeCount> m_vHeadlineTable;
    int m_iCurrFunction = news::kModeAllNews;
    unsigned m_uFunctionMask = news::kMaskAllNews | news::kMaskCategory | news::kMaskSymbol | news::kMaskSearch |
                               news::kMaskWarrant | news::kMaskWarningSearch;
    unsigned char m_byShowNormalSearch = 0;
    unsigned char m_byShowWarningSearch = 0;
    std::unique_ptr<host::ui::PopupMenu> m_pServiceMenu;
    news::LateOwned<TRVNewsStory> m_pNewsStory;
    news::LateOwned<CQuoteDlgTipMsg> m_pTipMsg;
    CNewsRelateSymbolQuoteView* m_pRelateQuoteView = nullptr; // owned by the window tree
    NewsStoryView* m_pStoryView = nullptr;                    // owned by the window tree
    news::LateOwned<TRVNewsPrint> m_pNewsPrint;
    news::LateOwned<TRVSaveToFile> m_pSaveToFile;
    host::ui::DatePicker* m_pDateTime = nullptr;
    host::ui::ComboBox* m_pServiceCombo = nullptr;
    host::ui::ComboBox* m_pCategoryCombo = nullptr;
    host::ui::ComboBox* m_pSymbolCombo = nullptr;
    host::ui::Edit* m_pSearchEdit = nullptr;
    host::ui::Button* m_pServiceButton = nullptr;
    host::ui::Button* m_pRelationButton = nullptr;
    host::ui::Button* m_pDealsButton = nullptr;
    host::ui::Button* m_pSearchButton = nullptr;
    host::ui::Button* m_pWarningButton = nullptr;
    host::ui::Button* m_pShowTypeButton = nullptr;
    std::array<host::ui::Button*, 4> m_pFunctionBtn{}; // page down, page up, save-as, print
    host::ui::TipWindow* m_pTipWindow = nullptr;
    host::ui::Font m_font;
    int m_iLastGridWidth = 0;
    unsigned char m_byCategoryState = 1;
    COLORREF m_crBackground = 0;
    COLORREF m_crRowBack1 = 0;
    COLORREF m_crRowBack2 = 0;
    std::int64_t m_tCreateTime = 0;
    bool m_bInitialized = false;
    bool m_bTipShown = false;
    TRVQuoteBaseView* m_pStoryPane = nullptr; // owned by the window tree; m_pStoryView is its typed view
    SearchEdit2 m_searchEdit2;
    bool m_bViewCreated = false; // vViewCreate ran
    bool m_bLaidOut = false;     // vSetComponentPos ran once
    // Seconds since 1970 from the host clock (0 without one).
    static std::int64_t tNow();
    // Whether a story display (pane or pop-up dialog) exists, which mode switching requires.
    bool bHasStoryDisplay() const;
    // Connects a freshly created story pane to this view.
    void vAttachStoryPane(TRVQuoteBaseView* pane);
    // Moves and shows (or hides) the related-symbol quote list when it exists.
    void vPlaceRelateQuoteView(const host::ui::Rect& rect, bool visible);
    // The client rectangle below the title band.
    host::ui::Rect GetViewArea() const;
    // Restarts the deferred refresh without going through the layout.
    void vRestartRefreshTimer();
    // WM_CTLCOLOR: wParam the device context, lParam the control.
    host::ui::LRESULT OnCtlColorMessage(const host::ui::Message& message);
    // The WM_CTLCOLOR kind of a control.
    static int iGetCtlColorType(const host::ui::Window* control);
    // Results of OnCtlColor: the null stock brush, or the view's background (its colour set into the context).
    static constexpr host::ui::LRESULT kCtlColorNullBrush = 0;
    static constexpr host::ui::LRESULT kCtlColorViewBackground = 1;

    // ---- Modes and layout ----
    int m_iNewsType = 0;
    unsigned short m_wStoryShowType = 1;
    int m_iFocusedTab = 0;
    bool m_bLoadedAllNews = false;
    bool m_bLoadedRelation = false;
    bool m_bLoadedCategoryInfo = false;
    bool m_bLoadedSymbolInfo = false;
    int m_iShowedStoryRow = -1;
    int m_iCtrlRightEdge = 0; // rightmost edge reached by the control row in the last layout
    // Places the controls of the control row; returns the rightmost edge reached.
    int iPlaceControlRow(const host::ui::Rect& area, int top, int bottom, int fontHeight);
    // Places the page, save-as and print buttons at the right end of the control row.
    void vPlaceFunctionButtons(const host::ui::Rect& area, int top, int bottom, int rightmost, int fontHeight);

    // ---- Settings ----
    TRVCfgIO2* m_pCfg = nullptr;  // lent by the host for the once-only loaders
    CString m_strSavedCategoryId; // "CategoryID" as read: saved again while no category is selected
    CString m_strCfgSection;
    int m_iLayout1 = 0;
    int m_iLayout2 = 0;

    // ---- Services and symbols ----
    std::vector<NewsServiceEntry> m_vService;
    std::vector<NewsServiceEntry> m_vServiceSaved;
    std::vector<bool> m_vRegistered;
    int m_iWarrantIndex = -1;
    std::vector<unsigned char> m_vSymbolService; // service combo order
    std::vector<NewsSymbolRecord> m_vSymbol;     // symbol combo order
    std::map<CString, int> m_mapSymbolIndex;     // code -> symbol combo index
    unsigned char m_byNewsSymbolService = 0;
    CString m_strNewsSymbolCode;
    unsigned char m_byPrevSymbolService = 0;
    bool m_bSymbolFromLink = false;
    // Sets the check mark of a service menu item by position; a position without an item is skipped.
    void vCheckServiceMenuItem(int position, bool checked);
    // The code of the symbol-combo selection; empty when nothing is selected.
    CString selectedSymbolCode() const;
    // Refills list 2 with the selected services' news of the current news symbol.
    void reloadSymbolTable();
    // Shows or hides the grid and the three controls of the symbol-news mode.
    void showSymbolControls(bool show);

    // ---- Categories ----
    std::map<int, CString> m_mapCatIdToName;
    std::map<CString, int> m_mapCatNameToId;
    std::map<int, CString> m_mapWarrantCatIdToName;
    std::map<CString, int> m_mapWarrantCatNameToId;
    // The category id text of the category-combo selection; empty when nothing is selected.
    CString cszGetSelectedCategoryID() const;
    // The host's colours of a category the catalogue knows; false (colours unchanged) otherwise.
    bool bGetCategoryColorById(int id, COLORREF& text, COLORREF& background) const;
    // Calls `visit(service, id, name)` for each category the back end lists for the view's
    // services in service order, skipping the warrant service (it has a catalogue of its own)
    // and, with `selectedOnly`, the services the user did not pick. A service whose list the
    // back end cannot give is passed over.
    void vForEachServiceCategory(
        bool selectedOnly,
        const std::function<void(unsigned char service, const CString& id, const CString& name)>& visit) const;
    // Refills the category combo from the back end and selects the entry with this id text
    // (empty or absent: the first).
    void vFillCategoryCombo(const CString& selectId);
    std::vector<CString> m_vCategoryIdText; // category combo order: each item's id text as received
    // Rebuilds list 1 for the category-combo selection.
    void vLoadCategoryTable();

    // ---- Headline lists ----
    // A title or category name as shown for a service: converted to simplified characters,
    // with the news term replaced, when the host asks for it; unchanged otherwise.
    CString cszShowText(unsigned char service, const CString& text) const;
    // Rows of a grid that are on screen: the first visible row and the count (rows per page
    // plus one), cut at the end of the table.
    void vGetVisibleRows(const host::ui::CSuperSheetWnd* grid, const HeadlineTableList& table, std::size_t& first,
                         std::size_t& count) const;
    // The services whose headlines a list shows, in service-list order.
    std::vector<unsigned char> vGetListServices(int list) const;

    // ---- Intake and date paging ----
    std::int64_t m_tCurrNewsDay = 0; // local midnight of the current news day
    host::ui::Date m_dtPicked{};     // the date in force in the date picker
    unsigned char m_byDateRange = 0;
    bool m_bDateDropDown = false;
    bool m_bShownAllNews = false;
    bool m_bShownCategory = false;
    bool m_bShownSymbol = false;
    bool m_bShownRelation = false;
    CString m_strLastTip; // the text of the last tip shown over a grid
    // Records the tip and shows it in the tip window (when there is one) over the grid.
    void showGridTip(host::ui::CSuperSheetWnd* grid, const CString& text);
    // Shows text in the tip window centred on a screen rectangle; false without a tip window.
    bool showTipOver(const host::ui::Rect& screenArea, const CString& text, int durationMs);
    // The date in force: the last date taken, else the current news day the picker opens on.
    host::ui::Date pickedDate() const;
    // Local midnight of the current news day; the creation day until the back end announces one.
    std::int64_t currentNewsDay() const;
    // The list index whose grid this is; -1 for none.
    int listOfGrid(const host::ui::CSuperSheetWnd* grid) const;
    // Appends the tables of the selected services (key form) to out.
    void appendSelectedTables(std::vector<CHeadlineTable>& out, int kind, const CString& key) const;
    // Appends the entries of one service's table whose headline passes the relation test.
    void appendRelationEntries(std::vector<CHeadlineTable>& out, unsigned char service,
                               const std::vector<CHeadlineTable>& entries) const;
    // Replaces a list's table and rows with entries, newest first, and fills the visible rows.
    void setListEntries(int list, const std::vector<CHeadlineTable>& entries);
    // Empties a list's grid and table.
    void clearList(int list);
    // Passes a pushed headline on to the story display in use.
    void passHeadlineToStory(const CHeadline& headline);
    // Shows a search tip (searching, not found) in the tip window over a grid.
    void showSearchTip(host::ui::CSuperSheetWnd* grid, const CString& text, int durationMs);

    // ---- Recovery ----
    // The first service entry with this id; null when the view does not list the service.
    const NewsServiceEntry* findServiceEntry(unsigned char service) const;
    // A service answered that it holds no data: its short name joins the caption text (once)
    // and the tip, the caption text, separator and the text of tipKey, shows over the grid.
    void vReportNoData(unsigned char service, host::ui::CSuperSheetWnd* grid, const char* separator,
                       const char* tipKey);
    // Replaces a list's table with recovered entries, newest first, and refills its grid.
    void vSetRecoveredList(int list, std::vector<CHeadlineTable>& entries);
    // The hand-over of answers to the story pane, the story dialog and the related-symbol
    // quote view (each skipped while that display does not exist).
    void vPassHeadlinesToStoryPane(const std::vector<CHeadlineTable>& entries);
    void vPassStoryToStoryPane(const CHeadlineTable& entry);
    void vPassStoryToStoryDialog(const CHeadlineTable& entry);
    void vPassStoryUpdateToDisplays(const CHeadlineTable& entry);
    void vPassSymbolsToRelateQuoteView(const CNewsSymLst& symbols);
    // Whether the pop-up story dialog exists and is visible.
    bool bStoryDialogShown() const;
    // The story pane's headline position; -1 without a pane.
    int iGetStoryPanePosition() const;
    // Points the story display in use at the focused row and returns that row; -1 when there
    // is no story display to point.
    int iGetStoryDisplayPosition();

    // ---- Story displays ----
    // Whether the embedded pane is the story display (news type 0 with a story show type).
    bool bPaneShowsStory() const { return m_iNewsType == 0 && m_wStoryShowType != 0; }
    // Whether the pop-up story window is in use for showing stories.
    bool bDialogShowsStory() const { return m_pNewsStory != nullptr && (m_iNewsType != 0 || m_wStoryShowType == 0); }
    // The search condition whose keywords a list's stories are marked with; nothing for the
    // lists that mark none.
    std::optional<CSearch> markCondition(int list) const;
    // Hands a row of a list to the pane or the window.
    void vGiveStoryToPane(int list, int row);
    void vGiveStoryToDialog(int list, int row);
    // The grid of the focused tab (the page buttons and key-up work on it).
    host::ui::CSuperSheetWnd* pGetFocusedTabSheet() const;

    // ---- Printing and saving ----
    // Creates the print and save jobs (at construction).
    void vCreateOutputJobs();
    // Hands the gathered items of the selected rows to a job, or queues them while a title or
    // story is missing. controlId: the view's button that stays disabled while the job runs
    // with the story dialog as its parent.
    void vOutputSelection(TRVNewsPrint& job, news_output::StoryForm form, int controlId);
    // The pop-up story dialog's window, null while there is no dialog.
    host::ui::Window* pGetStoryDialogWnd() const;

    // ---- Search ----
    CSearch m_searchCondition;       // ordinary search (quick search and deals search)
    CSearch m_searchEdited;          // the condition the deals dialog starts from
    CSearch m_secondSearchCondition; // answered as kind 4
    CSearch m_warningCondition;      // warning-term search
    bool m_bWarningSearch = false;
    bool m_bWarningResults = false;
    std::vector<CString> m_vSearchHistory;
    std::vector<CString> m_vKeywordPool;
    std::vector<CSearch> m_vRecentSearch;
    std::vector<CSearch> m_vWarningItems;
    int m_iWarningItemOrder = 0;
    std::vector<CNewsKey> m_vNewsKey; // the stored key sets of the relation search
    // Saved search values that could not be read, by key, written back unchanged while the
    // list they stand for is still empty: an unreadable value is never lost by a save.
    std::map<CString, CString> m_mapUnreadSearchSetting;
    bool m_bSearchSettingsRead = false; // bInitialSearchCtrl ran
    // Writes the search keys; only after they were read, so a view without search leaves them.
    void vSaveSearchSettings(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2);
    CString m_strSearchText;
    CString m_strPrevSearchText;
    RelationMatcher m_relation; // the ticked key sets, ready for the relation test
    // What the last pushed headline made of a search table (ProcessNewSearchHeadline): the
    // table and its version afterwards, the back end's results it was made from (service,
    // kind, key and stamp) and the row of the entry the push inserted.
    struct SearchPushState {
        const HeadlineTableList* table = nullptr;
        std::uint64_t tableVersion = 0;
        unsigned char service = 0;
        int kind = 0;
        CString key;
        std::uint64_t stamp = 0;
        std::optional<std::size_t> insertedRow;
    };
    SearchPushState m_searchPush;
    // Sorted search results of the services that pushed before the last one, by service, with
    // the stamp, kind and key they were read under.
    struct KeptSearchResults {
        HeadlineTableList sorted;
        std::uint64_t stamp = 0;
        int kind = 0;
        CString key;
    };
    std::map<unsigned char, KeptSearchResults> m_searchPushKept;
};
