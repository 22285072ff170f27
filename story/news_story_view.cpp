#include "story/news_story_view.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "story/story_ids.h"
#include "story/story_text.h"

using host::ui::LRESULT;
using host::ui::Rect;
namespace win = host::ui::win;

NEWS_IMPLEMENT_DYNCREATE(NewsStoryView)

namespace {
constexpr const char* kPaneViewName = "NewsStoryView";
} // namespace

NewsStoryView::NewsStoryView() = default;

NewsStoryView::~NewsStoryView() {
    // The controls are children of the pane's window and die with it.
    m_pStory = nullptr;
    m_pTitle = nullptr;
}

void NewsStoryView::InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                                    const CString& /*name*/) {
    TRVQuoteBaseView::InitialViewInfo(cfg, section, layout1, layout2, kPaneViewName);
    host::ui::Window* wnd = GetWnd();
    if (wnd == nullptr || m_pStory != nullptr) {
        return;
    }
    const Rect client = GetClientRect();
    m_rcTitle = Rect{client.left + 10, client.top, client.right - 10, client.top + 80};
    m_pTitle = wnd->createRichEdit(story::kIdTitle, m_rcTitle, story::kStoryEditStyle);
    m_rcStory = Rect{client.left + 10, client.top + 90, client.right - 10, client.bottom - 40};
    m_pStory = wnd->createRichEdit(story::kIdStory, m_rcStory, story::kStoryEditStyle);
    for (host::ui::RichEdit* edit : {m_pTitle, m_pStory}) {
        if (edit != nullptr) {
            edit->setBackgroundColor(m_crBackground);
            edit->show(true);
        }
    }
    vChangeCast();
    Invalidate(true);
}

// ---- Showing ----

void NewsStoryView::vSetStoryData(int table, int position, const HeadlineTableList& /*list*/) {
    m_iTableNum = table;
    SetHeadLinePos(position);
    m_search.m_vKeywords.clear();
    vShowData();
}

void NewsStoryView::vSetStoryData(int table, int position, const HeadlineTableList& /*list*/,
                                  const CSearch& condition) {
    m_iTableNum = table;
    SetHeadLinePos(position);
    m_search = condition;
    vShowData();
}

bool NewsStoryView::bCurrentEntry(CHeadlineTable& entry) const {
    return m_pNewsParent != nullptr && m_pNewsParent->bGetHeadlineTable(entry, m_iTableNum, m_iHeadLinePos);
}

void NewsStoryView::vShowData() {
    if (m_pNewsParent == nullptr || m_pNewsParent->iGetHeadlineTableSize(m_iTableNum) < 1) {
        return;
    }
    m_strTitle = story::Lang(story::kKeyRecover);
    m_strStory = m_strTitle;
    if (m_pStory != nullptr) {
        m_pStory->setText(m_strStory);
    }
    CHeadlineTable entry;
    bCurrentEntry(entry);
    story::ShownTexts texts = story::shownTexts(*m_pNewsParent, entry, m_story);
    m_strTitle = std::move(texts.title);
    if (texts.story) {
        m_strStory = std::move(*texts.story);
    }
    if (m_pTitle != nullptr) {
        m_pTitle->setText(m_strTitle);
    }
    if (m_pStory != nullptr) {
        m_pStory->setText(m_strStory);
    }
    vSetTextColor();
    vSetStorySearchMarke();
}

void NewsStoryView::RespHeadLine(const std::vector<CHeadlineTable>& entries) {
    if (m_pNewsParent == nullptr || m_pNewsParent->iGetHeadlineTableSize(m_iTableNum) < 1) {
        return;
    }
    CHeadlineTable entry;
    bCurrentEntry(entry);
    std::optional<CString> title = story::cszAnsweredTitle(*m_pNewsParent, m_equality, entry, entries);
    if (!title) {
        return;
    }
    m_strTitle = std::move(*title);
    if (m_pTitle != nullptr) {
        m_pTitle->setText(m_strTitle);
    }
    vSetTextColor();
}

void NewsStoryView::RespStory(const CHeadlineTable& entry) {
    CHeadlineTable current;
    bCurrentEntry(current);
    std::optional<CString> text = story::cszAnsweredStory(m_equality, current, entry, m_story);
    if (!text) {
        return;
    }
    m_strStory = std::move(*text);
    if (m_pStory != nullptr) {
        m_pStory->setText(m_strStory);
    }
    vSetTextColor();
    vSetStorySearchMarke();
}

void NewsStoryView::vStoryUpdateNotify(const CHeadlineTable* /*entry*/) {
    if (host::ui::Window* notice = GetWnd() != nullptr ? GetWnd()->child(story::kIdStory) : nullptr) {
        notice->setText(story::Lang(story::kKeyWaitForUpdate));
        vSetTextColor();
    }
}

void NewsStoryView::RecvNewHeadLine(const CHeadline* /*headline*/) {
    ++m_iHeadLinePos;
}

void NewsStoryView::OnClearStory() {
    for (host::ui::RichEdit* edit : {m_pTitle, m_pStory}) {
        if (edit != nullptr) {
            edit->setText(CString{});
        }
    }
}

void NewsStoryView::vConvertStoryContent(CString& text) const {
    story::vConvertStoryContent(text);
}

void NewsStoryView::vSetStorySearchMarke() {
    if (m_pStory != nullptr) {
        story::vMarkKeywords(*m_pStory, m_search);
    }
}

// ---- Colours and layout ----

void NewsStoryView::vSetTextColor() {
    const COLORREF text = CSyncInfo::Get().SYS_crGetOtherColor(story::kColorText);
    for (host::ui::RichEdit* edit : {m_pTitle, m_pStory}) {
        if (edit != nullptr) {
            edit->setDefaultTextColor(text);
        }
    }
}

void NewsStoryView::vChangeCast() {
    // The font first, with both controls at their three-line places; the layout at the end is
    // the one that counts.
    const Rect client = GetClientRect();
    const int h = GetFontHeight();
    const Rect title{client.left + 10, client.top, client.right - 10, client.top + 3 * h};
    const Rect story{title.left, title.bottom, title.right, client.bottom};
    if (m_pTitle != nullptr) {
        m_pTitle->setFont(GetViewFont(), true);
        m_pTitle->move(title, true);
    }
    if (m_pStory != nullptr) {
        m_pStory->setFont(GetViewFont(), true);
        m_pStory->move(story, true);
    }
    m_crBackground = CSyncInfo::Get().SYS_crGetOtherColor(story::kColorBackground);
    for (host::ui::RichEdit* edit : {m_pStory, m_pTitle}) {
        if (edit != nullptr) {
            edit->setBackgroundColor(m_crBackground);
        }
    }
    vSetTextColor();
    m_bBrush = true;
    vSetComponentPos();
    Invalidate(true);
}

void NewsStoryView::vSetComponentPos() {
    const Rect client = GetClientRect();
    const int h = GetFontHeight();
    m_rcTitle =
        m_iHideHeadline != 0 ? Rect{} : Rect{client.left + 10, client.top, client.right - 10, client.top + 3 * h};
    if (m_pTitle != nullptr) {
        m_pTitle->move(m_rcTitle, true);
    }
    // Kept: without the headline the story spans the pane edge to edge, margins included.
    m_rcStory = m_iHideHeadline != 0 ? client : Rect{m_rcTitle.left, m_rcTitle.bottom, m_rcTitle.right, client.bottom};
    if (m_pStory != nullptr) {
        m_pStory->move(m_rcStory, true);
    }
}

void NewsStoryView::OnDraw(host::ui::DeviceContext& /*dc*/) {
    for (host::ui::RichEdit* edit : {m_pTitle, m_pStory}) {
        if (edit != nullptr) {
            edit->invalidate(true);
        }
    }
}

LRESULT NewsStoryView::OnCtlColor(host::ui::DeviceContext& dc, host::ui::Window* /*control*/, int type) const {
    if (type == win::CTLCOLOR_BTN) {
        if (!m_bBrush) {
            return kCtlColorNoBrush;
        }
        dc.setBkColor(m_crBackground);
        return kCtlColorPaneBackground;
    }
    return kCtlColorWhiteBrush;
}

LRESULT NewsStoryView::handleMessage(const host::ui::Message& message) {
    if (message.message == win::WM_SIZE) {
        TRVQuoteBaseView::handleMessage(message);
        vSetComponentPos();
        return 0;
    }
    return TRVQuoteBaseView::handleMessage(message);
}
