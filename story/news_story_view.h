#pragma once

#include <vector>

#include "headline_list/entry_equality.h"
#include "headline_list/headline_table_list.h"
#include "host/backend/search.h"
#include "host/framework/base_views.h"
#include "host/ui/controls.h"

class TRVNewsCtrlView;

// The story pane inside the news view: the headline of the picked row above (time and title)
// and its story below (time, body, closing remark), in two read-only rich edits. The pane
// holds no list of its own: it shows the entry at a position of one of its owner's headline
// tables and asks the owner for it. The view creates it by run-time class name.
// Ownership: owned by the window tree (the view adopts it); the owner view is not owned.
// Thread: UI thread.
class NewsStoryView : public TRVQuoteBaseView {
    NEWS_DECLARE_DYNCREATE(NewsStoryView)

public:
    NewsStoryView();
    ~NewsStoryView() override;

    void vSetNewsParent(TRVNewsCtrlView* owner) { m_pNewsParent = owner; }
    void vSetFont(const host::ui::Font* font) { m_pFont = font; }
    // Base initialisation under the view name "NewsStoryView", then the two rich edits.
    void InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                         const CString& name) override;

    // Shows the entry at position of table number table; the first form shows no keyword
    // marks, the second marks the condition's keywords.
    void vSetStoryData(int table, int position, const HeadlineTableList& list);
    void vSetStoryData(int table, int position, const HeadlineTableList& list, const CSearch& condition);
    // A negative position is stored as 0.
    void SetHeadLinePos(int position) { m_iHeadLinePos = position < 0 ? 0 : position; }
    int GetHeadLinePos() const { return m_iHeadLinePos; }
    // Non-zero hides the headline line from the next layout on.
    void HideHeadLine(int hide) { m_iHideHeadline = hide; }
    int IsHeadLineHidden() const { return m_iHideHeadline; }

    // Fetches and shows the headline and story at the position; the "recover" placeholder
    // stays until the back end has the story.
    void vShowData();
    // Back-end answers (through the owner).
    void RespHeadLine(const std::vector<CHeadlineTable>& entries) override;
    void RespStory(const CHeadlineTable& entry) override;
    void vStoryUpdateNotify(const CHeadlineTable* entry);
    // A headline arrived at the top of the table: the position moves down with the story.
    using TRVQuoteBaseView::RecvNewHeadLine;
    void RecvNewHeadLine(const CHeadline* headline);
    void OnClearStory();

    void vConvertStoryContent(CString& text) const;
    void vSetStorySearchMarke();
    void vSetTextColor();
    void vChangeCast() override;
    void vSetComponentPos();
    // WM_CTLCOLOR: buttons get the pane's background brush, every other kind the white stock brush.
    static constexpr host::ui::LRESULT kCtlColorNoBrush = 0;
    static constexpr host::ui::LRESULT kCtlColorPaneBackground = 1;
    static constexpr host::ui::LRESULT kCtlColorWhiteBrush = 2;
    host::ui::LRESULT OnCtlColor(host::ui::DeviceContext& dc, host::ui::Window* control, int type) const;

    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;

    // ---- Read access for the owner, hosts and tests ----
    int GetTableNumber() const { return m_iTableNum; }
    const CString& GetTitleString() const { return m_strTitle; }
    const CString& GetStoryString() const { return m_strStory; }
    const CSearch& GetSearchCondition() const { return m_search; }
    COLORREF GetBackgroundColor() const { return m_crBackground; }
    host::ui::RichEdit* GetTitleControl() const { return m_pTitle; }
    host::ui::RichEdit* GetStoryControl() const { return m_pStory; }

protected:
    void OnDraw(host::ui::DeviceContext& dc) override;

private:
    int m_iHeadLinePos = 0;
    TRVNewsCtrlView* m_pNewsParent = nullptr; // not owned
    const host::ui::Font* m_pFont = nullptr;  // not owned
    int m_iTableNum = 0;
    CString m_strTitle;
    CString m_strStory;
    CStory m_story;
    CSearch m_search;
    EntryEquality m_equality; // which answers concern the shown entry
    COLORREF m_crBackground = 0;
    bool m_bBrush = false;                  // a background brush of m_crBackground exists
    host::ui::RichEdit* m_pStory = nullptr; // owned by the window
    host::ui::RichEdit* m_pTitle = nullptr; // owned by the window
    host::ui::Rect m_rcStory;
    host::ui::Rect m_rcTitle;
    int m_iHideHeadline = 0;
    // The owner's entry at the current position; false without one.
    bool bCurrentEntry(CHeadlineTable& entry) const;
};
