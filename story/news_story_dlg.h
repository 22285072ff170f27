#pragma once

#include <vector>

#include "headline_list/entry_equality.h"
#include "headline_list/headline_table_list.h"
#include "host/backend/search.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"
#include "host/ui/controls.h"

class CMainFrame;
class TRVNewsCtrlView;

// The story window: one story in a modeless window of its own (template 8065), for users who
// read stories outside the news view. Two forms: owned by a news view, with paging that wraps
// around and print and save-as buttons; or a bare viewer of the host's main frame, whose texts
// the frame pushes in, without buttons. The story logic is the pane's (NewsStoryView); the
// window keeps the platform's colours.
// Ownership: the owner (view or frame) owns the object; the object owns its window.
// Thread: UI thread.
class TRVNewsStory : public CDialog {
public:
    explicit TRVNewsStory(CMainFrame* mainFrame);
    explicit TRVNewsStory(TRVNewsCtrlView* owner);
    ~TRVNewsStory() override;

    // Makes the modeless window from template 8065, hidden.
    bool Create(host::ui::Window* parent);
    void vLoadLanguageString();

    void vSetStoryData(int table, int position, const HeadlineTableList& list);
    void vSetStoryData(int table, int position, const HeadlineTableList& list, const CSearch& condition);
    void SetHeadLinePos(int position) { m_iHeadLinePos = position < 0 ? 0 : position; }
    int GetHeadLinePos() const { return m_iHeadLinePos; }
    void vShowData();
    void RespHeadLine(const std::vector<CHeadlineTable>& entries);
    void RespStory(const CHeadlineTable& entry);
    void vStoryUpdateNotify(const CHeadlineTable* entry);
    // Does nothing: unlike the pane, the window keeps its position when headlines arrive.
    void RecvNewHeadLine(const CHeadline* headline);

    // Buttons: previous (8067) and next (8068) wrap around the owner's table and move its grid
    // along; print (8069) and save-as (8070) move the grid to the window's story first.
    void OnBtnPageUp();
    void OnBtnPageDown();
    void OnBtnPrint();
    void OnBtnSaveas();

    // The main frame's bare viewer.
    void vMainFrameShowHeadline(const CString& text);
    void vMainFrameShowStroy(const CStory& story);

    void vConvertStoryContent(CString& text) const;
    void vSetStorySearchMarke();

    bool preTranslateMessage(const host::ui::Message& message) override;

    // ---- Read access for the owner, hosts and tests ----
    int GetTableNumber() const { return m_iTableNum; }
    const CString& GetTitleString() const { return m_strTitle; }
    const CString& GetStoryString() const { return m_strStory; }
    host::ui::RichEdit* GetStoryControl() const { return m_pStory; }
    TRVNewsCtrlView* GetOwnerView() const { return m_pNewsParent; }
    CMainFrame* GetMainFrame() const { return m_pMainFrame; }

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override;
    bool OnInitDialog() override;
    void DoDataExchange(CDataExchange* pDX) override;
    void OnSize(unsigned type, int cx, int cy) override;
    void OnClose() override;

private:
    static const host::MessageMap<TRVNewsStory>& GetMessageMap();
    bool bCurrentEntry(CHeadlineTable& entry) const;
    void vShowStoryText();

    int m_iHeadLinePos = 0;
    CString m_strTitle;
    CString m_strStory;
    TRVNewsCtrlView* m_pNewsParent = nullptr; // not owned; null for the main frame's viewer
    CMainFrame* m_pMainFrame = nullptr;       // not owned; null for a view's window
    const host::ui::Font* m_pFont = nullptr;  // not owned: the host's component font
    int m_iTableNum = -1;
    CStory m_story;
    CSearch m_search;
    EntryEquality m_equality;               // which answers concern the shown entry
    host::ui::RichEdit* m_pStory = nullptr; // owned by the window
    host::ui::Rect m_rcTitle;
    host::ui::Rect m_rcStory;
};
