#include "story/news_story_dlg.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/component_font.h"
#include "host/framework/main_frame.h"
#include "news_view/news_ctrl_view.h"
#include "story/story_ids.h"
#include "story/story_text.h"

using host::ui::LRESULT;
using host::ui::Rect;

namespace {
// Space kept below the story for the buttons, at 96 dots per inch.
constexpr int kButtonBand = 40;
constexpr int kButtonGap = 9;
} // namespace

TRVNewsStory::TRVNewsStory(CMainFrame* mainFrame)
    : CDialog(story::kIdStoryDialog, mainFrame != nullptr ? mainFrame->GetFrameWnd() : nullptr),
      m_pMainFrame(mainFrame), m_pFont(CComponentComFont::GetComponentComFont()) {}

TRVNewsStory::TRVNewsStory(TRVNewsCtrlView* owner)
    : CDialog(story::kIdStoryDialog, owner != nullptr ? owner->GetWnd() : nullptr), m_pNewsParent(owner),
      m_pFont(CComponentComFont::GetComponentComFont()) {}

TRVNewsStory::~TRVNewsStory() {
    m_pStory = nullptr;
}

bool TRVNewsStory::Create(host::ui::Window* parent) {
    return CDialog::Create(story::kIdStoryDialog, parent);
}

const host::MessageMap<TRVNewsStory>& TRVNewsStory::GetMessageMap() {
    using Map = host::MessageMap<TRVNewsStory>;
    using T = TRVNewsStory;
    static const Map map{
        Map::command<&T::OnBtnPageUp>(story::kIdPrevButton),
        Map::command<&T::OnBtnPageDown>(story::kIdNextButton),
        Map::command<&T::OnBtnPrint>(story::kIdPrintButton),
        Map::command<&T::OnBtnSaveas>(story::kIdSaveAsButton),
    };
    return map;
}

std::optional<LRESULT> TRVNewsStory::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

// ---- Making and laying out ----

bool TRVNewsStory::OnInitDialog() {
    host::ui::Window* title = GetDlgItem(story::kIdTitle);
    if (title != nullptr) {
        // Kept: 10 right, 10 down and 10 taller than the template's edit.
        const Rect size = title->clientRect();
        m_rcTitle = Rect{10, 10, size.Width(), size.Height() + 20};
        title->move(m_rcTitle, true);
        if (m_pFont != nullptr) {
            title->setFont(*m_pFont, true);
        }
    }
    const Rect client = GetWnd()->clientRect();
    m_rcStory =
        Rect{m_rcTitle.left, m_rcTitle.bottom + 10, client.right - 10, client.bottom - iCalTransDevScale(kButtonBand)};
    m_pStory = GetWnd()->createRichEdit(story::kIdStory, m_rcStory, story::kStoryEditStyle);
    if (m_pStory != nullptr) {
        if (m_pFont != nullptr) {
            m_pStory->setFont(*m_pFont, true);
        }
        m_pStory->show(true);
    }
    vLoadLanguageString();
    return true;
}

void TRVNewsStory::vLoadLanguageString() {
    if (GetWnd() == nullptr) {
        return;
    }
    GetWnd()->setText(story::Lang("IDS_DIALOG-STORY_TITLE"));
    const std::pair<int, const char*> texts[] = {
        {story::kIdPrevButton, "IDS_DIALOG-STORY_PREV_BUTTON"},
        {story::kIdNextButton, "IDS_DIALOG-STORY_NEXT_BUTTON"},
        {story::kIdPrintButton, "IDS_DIALOG-STORY_PRINT"},
        {story::kIdSaveAsButton, "IDS_DIALOG-STORY_SAVEAS"},
    };
    for (const auto& [id, key] : texts) {
        if (host::ui::Window* button = GetDlgItem(id)) {
            button->setText(story::Lang(key));
        }
    }
}

void TRVNewsStory::OnSize(unsigned /*type*/, int cx, int cy) {
    if (m_pStory == nullptr) {
        return;
    }
    m_rcTitle.right = cx - 10;
    if (host::ui::Window* title = GetDlgItem(story::kIdTitle)) {
        title->move(m_rcTitle, true);
    }
    m_rcStory.right = cx - 10;
    m_rcStory.bottom = m_pNewsParent != nullptr ? cy - 50 : cy - 10;
    m_pStory->move(m_rcStory, true);

    // Right-aligned under the story, from the right: previous, next, save-as, print; so read
    // left to right they are print, save-as, next, previous (kept: users know them there).
    const int order[] = {story::kIdPrevButton, story::kIdNextButton, story::kIdSaveAsButton, story::kIdPrintButton};
    if (m_pNewsParent == nullptr) {
        for (const int id : order) {
            if (host::ui::Window* button = GetDlgItem(id)) {
                button->show(false);
            }
        }
        return;
    }
    const host::ui::Window* prev = GetDlgItem(story::kIdPrevButton);
    const Rect size = prev != nullptr ? prev->clientRect() : Rect{};
    const int top = m_rcStory.bottom + 15;
    int right = m_rcStory.right;
    for (const int id : order) {
        if (host::ui::Window* button = GetDlgItem(id)) {
            button->move(Rect{right - size.Width(), top, right, top + size.Height()}, true);
        }
        right -= size.Width() + kButtonGap;
    }
}

void TRVNewsStory::DoDataExchange(CDataExchange* pDX) {
    DDX_Text(pDX, story::kIdTitle, m_strTitle);
}

void TRVNewsStory::OnClose() {
    if (m_pNewsParent != nullptr && m_pNewsParent->GetWnd() != nullptr) {
        m_pNewsParent->GetWnd()->setFocus();
    }
    CDialog::OnClose();
}

bool TRVNewsStory::preTranslateMessage(const host::ui::Message& message) {
    // The host's product id was once consulted here; the window has no keys of its own.
    if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
        (void)bk->AppInfoGetProductID();
    }
    return CDialog::preTranslateMessage(message);
}

// ---- Showing ----

void TRVNewsStory::vSetStoryData(int table, int position, const HeadlineTableList& /*list*/) {
    m_iTableNum = table;
    SetHeadLinePos(position);
    m_search.m_vKeywords.clear();
    vShowData();
}

void TRVNewsStory::vSetStoryData(int table, int position, const HeadlineTableList& /*list*/, const CSearch& condition) {
    m_iTableNum = table;
    SetHeadLinePos(position);
    m_search = condition;
    vShowData();
}

bool TRVNewsStory::bCurrentEntry(CHeadlineTable& entry) const {
    return m_pNewsParent != nullptr && m_pNewsParent->bGetHeadlineTable(entry, m_iTableNum, m_iHeadLinePos);
}

void TRVNewsStory::vShowStoryText() {
    if (m_pStory != nullptr) {
        m_pStory->setText(m_strStory);
    }
}

void TRVNewsStory::vShowData() {
    if (m_pNewsParent == nullptr || m_pNewsParent->iGetHeadlineTableSize(m_iTableNum) < 1) {
        return;
    }
    m_strTitle = story::Lang(story::kKeyRecover);
    m_strStory = m_strTitle;
    vShowStoryText();
    CHeadlineTable entry;
    bCurrentEntry(entry);
    story::ShownTexts texts = story::shownTexts(*m_pNewsParent, entry, m_story);
    m_strTitle = std::move(texts.title);
    if (texts.story) {
        m_strStory = std::move(*texts.story);
    }
    UpdateData(false);
    vShowStoryText();
    vSetStorySearchMarke();
}

void TRVNewsStory::RespHeadLine(const std::vector<CHeadlineTable>& entries) {
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
    UpdateData(false);
}

void TRVNewsStory::RespStory(const CHeadlineTable& entry) {
    CHeadlineTable current;
    bCurrentEntry(current);
    std::optional<CString> text = story::cszAnsweredStory(m_equality, current, entry, m_story);
    if (!text) {
        return;
    }
    m_strStory = std::move(*text);
    vShowStoryText();
    UpdateData(false);
    vSetStorySearchMarke();
}

void TRVNewsStory::vStoryUpdateNotify(const CHeadlineTable* /*entry*/) {
    if (host::ui::Window* notice = GetDlgItem(story::kIdStory)) {
        notice->setText(story::Lang(story::kKeyWaitForUpdate));
    }
}

void TRVNewsStory::RecvNewHeadLine(const CHeadline* /*headline*/) {}

void TRVNewsStory::vConvertStoryContent(CString& text) const {
    story::vConvertStoryContent(text);
}

void TRVNewsStory::vSetStorySearchMarke() {
    if (m_pStory != nullptr) {
        story::vMarkKeywords(*m_pStory, m_search);
    }
}

// ---- Buttons ----

void TRVNewsStory::OnBtnPageDown() {
    const int size = m_pNewsParent != nullptr ? m_pNewsParent->iGetHeadlineTableSize(m_iTableNum) : 0;
    if (size < 1) {
        return;
    }
    m_iHeadLinePos = m_iHeadLinePos + 1 >= size ? 0 : m_iHeadLinePos + 1;
    vShowData();
    m_pNewsParent->bChangeNewsPos(m_iTableNum, m_iHeadLinePos);
}

void TRVNewsStory::OnBtnPageUp() {
    const int size = m_pNewsParent != nullptr ? m_pNewsParent->iGetHeadlineTableSize(m_iTableNum) : 0;
    if (size < 1) {
        return;
    }
    m_iHeadLinePos = m_iHeadLinePos - 1 < 0 ? size - 1 : m_iHeadLinePos - 1;
    vShowData();
    m_pNewsParent->bChangeNewsPos(m_iTableNum, m_iHeadLinePos);
}

void TRVNewsStory::OnBtnPrint() {
    if (m_pNewsParent != nullptr) {
        m_pNewsParent->bChangeNewsPos(m_iTableNum, m_iHeadLinePos);
        m_pNewsParent->OnPrintNews();
    }
}

void TRVNewsStory::OnBtnSaveas() {
    if (m_pNewsParent != nullptr) {
        m_pNewsParent->bChangeNewsPos(m_iTableNum, m_iHeadLinePos);
        m_pNewsParent->OnSaveNews();
    }
}

// ---- The main frame's viewer ----

void TRVNewsStory::vMainFrameShowHeadline(const CString& text) {
    m_strTitle = text;
    m_strStory = story::Lang(story::kKeyRecover);
    UpdateData(false);
}

void TRVNewsStory::vMainFrameShowStroy(const CStory& shown) {
    CString body = shown.m_strText;
    if (!body.empty()) {
        vConvertStoryContent(body);
        m_strStory =
            story::cszFormatStory(shown.m_tTime, body, story::Lang(story::kKeyClosingRemark), story::BodyBlanks::kTwo);
    } else {
        // An empty story is still on its way: the placeholder, not the no-story text.
        m_strStory = story::Lang(story::kKeyRecover);
    }
    vShowStoryText();
}
