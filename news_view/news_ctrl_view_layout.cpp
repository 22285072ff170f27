// Function modes and layout: switching modes with their loading rules, which controls each
// mode shows, the story show type, and placing every control from the view font.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"

using host::ui::Rect;

namespace {

// Caption language keys of the mode tabs, by mode number.
constexpr const char* kModeCaptionKeys[news::kModeCount] = {
    "IDS_MENU_8_1",
    "IDS_NEWSCTRLVIEW_STRING_CATEGORY_NEWS",
    "IDS_NEWSCTRLVIEW_STRING_SYMBOL_NEWS",
    "IDS_NEWSCTRLVIEW_STRING_SEARCH_NEWS",
    "IDS_NEWSCTRLVIEW_STRING_RELATIONSEARCH_NEWS",
    "IDS_NEWSCTRLVIEW_STRING_WARRANT_NEWS",
    "IDS_NEWSCTRLVIEW_STRING_WARNINGSEARCH_NEWS",
};

// The story pane below the grid takes this share of the client height, at most kStoryBelowMax.
constexpr int kStoryBelowPercent = 30;
constexpr int kStoryBelowMax = 200;

int roundDiv20(int value) {
    return static_cast<int>(std::lround(static_cast<double>(value) / 20.0));
}

int widestItem(const host::ui::ComboBox& combo) {
    int widest = 0;
    for (int i = 0; i < combo.count(); ++i) {
        widest = std::max(widest, combo.textExtent(combo.itemText(i)).cx);
    }
    return widest;
}

} // namespace

// ---- Mode numbers and tabs ----

int TRVNewsCtrlView::iGetFunctionID(int stored) const {
    switch (stored) {
    case news::kModeAllNews:
    case news::kModeCategory:
    case news::kModeSearch:
    case news::kModeRelation:
    case news::kModeWarrant:
    case news::kModeWarningSearch:
        return stored;
    case news::kModeSymbol:
        return bIsAuthService(news::kServiceStock) ? news::kModeSymbol : news::kModeAllNews;
    default:
        return news::kModeAllNews;
    }
}

int TRVNewsCtrlView::iGetFunctionID(const CString& name) const {
    // A stored mode is its tab caption key, its caption text or its number.
    for (int mode = 0; mode < news::kModeCount; ++mode) {
        const char* key = kModeCaptionKeys[mode];
        if (name == key || (!name.empty() && cp950::equalsIgnoreCase(name, Lang(key)))) {
            return iGetFunctionID(mode);
        }
    }
    const bool numeric =
        !name.empty() && std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    return iGetFunctionID(numeric ? std::atoi(name.c_str()) : news::kModeAllNews);
}

int TRVNewsCtrlView::iGetTabIndex(int mode) const {
    if (m_pTab == nullptr) {
        return 0;
    }
    for (int i = 0; i < m_pTab->itemCount(); ++i) {
        if (m_pTab->itemData(i) == mode) {
            return i;
        }
    }
    return 0;
}

void TRVNewsCtrlView::OnSelchangeTabMode(const host::ui::NotifyInfo& /*info*/) {
    if (m_pTab == nullptr || m_pTab->curSel() < 0) {
        return;
    }
    SwitchFunction(static_cast<int>(m_pTab->itemData(m_pTab->curSel())));
}

// ---- Switching ----

bool TRVNewsCtrlView::bHasStoryDisplay() const {
    // vViewCreate makes the pop-up story window, so before it ran there is no story display.
    return m_pStoryPane != nullptr || m_pNewsStory != nullptr;
}

void TRVNewsCtrlView::ShowHideCtrObject(int mode) {
    const bool symbolControls =
        mode == news::kModeSymbol && GetDataState() != kDataNotSupported && m_uFunctionMask != news::kMaskSymbol;
    const std::pair<host::ui::Window*, bool> controls[] = {
        {m_pRelationButton, mode == news::kModeRelation},
        {m_pDealsButton, mode == news::kModeSearch},
        {m_pCategoryCombo, mode == news::kModeCategory},
        {m_pSymbolCombo, symbolControls},
        {m_pWarningButton, mode == news::kModeWarningSearch},
        {m_pSearchButton, mode == news::kModeSearch},
        {m_pSearchEdit, mode == news::kModeSearch},
        {m_pDateTime, mode == news::kModeAllNews},
        {m_pServiceButton,
         (mode >= news::kModeAllNews && mode <= news::kModeRelation && mode != news::kModeSymbol) || symbolControls},
        {m_pServiceCombo, symbolControls},
    };
    for (const auto& [control, show] : controls) {
        if (control != nullptr) {
            control->show(show);
        }
    }
    for (int i = 0; i < news::kModeCount; ++i) {
        if (host::ui::CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(i)]) {
            grid->show(i == mode);
        }
    }
}

void TRVNewsCtrlView::SwitchFunction(int mode) {
    // The current list always names one of the seven lists: RespHeadLine relies on it.
    if (!bHasStoryDisplay() || mode < 0 || mode >= news::kModeCount) {
        return;
    }
    ShowHideCtrObject(mode);
    m_iCurrFunction = mode;
    m_iFocusedTab = mode;
    if (m_pNewsStory != nullptr) {
        m_pNewsStory->ShowWindow(false);
    }

    if (m_iNewsType == 0 && m_wStoryShowType != 0) {
        m_iShowedStoryRow = -1;
        if (m_pStoryView != nullptr) {
            m_pStoryView->OnClearStory();
        }
        vClearRelateQuoteList();
        if (mode != news::kModeCategory) {
            OnShowStory();
        }
    }

    // Lists take pushed headlines from the first time they are shown.
    switch (mode) {
    case news::kModeAllNews:
        m_bShownAllNews = true;
        break;
    case news::kModeCategory:
        m_bShownCategory = true;
        break;
    case news::kModeSymbol:
        m_bShownSymbol = true;
        break;
    case news::kModeRelation:
        m_bShownRelation = true;
        break;
    default:
        break;
    }

    // Kept on purpose: with both search switches on, every mode loads the search list.
    int loadMode = mode;
    if ((m_byShowWarningSearch == 1 && mode == news::kModeWarningSearch) ||
        (m_byShowNormalSearch == 1 && m_byShowWarningSearch == 1)) {
        loadMode = news::kModeSearch;
    }

    // The warrant service is only ever selected while its own list is loaded.
    if (m_iWarrantIndex >= 0 && static_cast<std::size_t>(m_iWarrantIndex) < m_vService.size()) {
        m_vService[static_cast<std::size_t>(m_iWarrantIndex)].m_bySelected = 0;
    }

    if (loadMode >= news::kModeAllNews && loadMode <= news::kModeRelation) {
        m_vServiceSaved = m_vService;
        // Kept: record i sets the mark of menu position i, although the warrant service has no
        // item, so a warrant record before the end shifts the marks of the records after it.
        for (std::size_t i = 0; i < m_vService.size(); ++i) {
            vCheckServiceMenuItem(static_cast<int>(i), m_vService[i].m_bySelected != 0);
        }
        const bool anySelected = std::any_of(m_vService.begin(), m_vService.end(),
                                             [](const NewsServiceEntry& e) { return e.m_bySelected != 0; });
        if (!m_vService.empty() && !anySelected) {
            m_vService.front().m_bySelected = 1;
            m_vServiceSaved.front().m_bySelected = 1;
            vCheckServiceMenuItem(0, true);
        }
        switch (loadMode) {
        case news::kModeAllNews:
            if (!m_bLoadedAllNews) {
                m_bLoadedAllNews = true;
                InitialHeadlineTable(news::kModeAllNews);
            }
            break;
        case news::kModeCategory:
            // Kept on purpose: the catalogue loads under the all-news bit, not the category bit.
            if (!m_bLoadedCategoryInfo && (m_uFunctionMask & news::kMaskAllNews) != 0) {
                m_bLoadedCategoryInfo = true;
                bInitialCategoryInfo(m_pCfg, m_strCfgSection, m_iLayout1, m_iLayout2);
            }
            InitialHeadlineTable(news::kModeCategory);
            OnShowStory();
            break;
        case news::kModeSymbol:
            if (!m_bLoadedSymbolInfo && (m_uFunctionMask & news::kMaskAllNews) != 0) {
                m_bLoadedSymbolInfo = true;
                bInitialSymbolInfo(m_pCfg, m_strCfgSection, m_iLayout1, m_iLayout2);
            }
            InitialHeadlineTable(news::kModeSymbol);
            break;
        case news::kModeSearch:
            InitialHeadlineTable(news::kModeSearch);
            break;
        case news::kModeRelation:
            if (!m_bLoadedRelation) {
                m_bLoadedRelation = true;
                InitialHeadlineTable(news::kModeRelation);
            }
            break;
        default:
            break;
        }
    } else if (loadMode == news::kModeWarrant) {
        if (m_pSheet[news::kModeWarrant] == nullptr) {
            return;
        }
        m_vServiceSaved = m_vService;
        for (NewsServiceEntry& entry : m_vService) {
            entry.m_bySelected = 0;
        }
        InitialHeadlineTable(news::kModeWarrant);
    }

    Invalidate(true);
    vRestartRefreshTimer();
    if (m_iNewsType != 1) {
        if (host::ui::CSuperSheetWnd* grid = pGetCurrSheetView()) {
            grid->setFocus();
            grid->invalidate(true);
        }
    }
}

// ---- Story show type ----

void TRVNewsCtrlView::OnBtnChangeShowType() {
    if (m_iNewsType == 0 && m_pShowTypeButton != nullptr) {
        if (m_pNewsStory != nullptr) {
            m_pNewsStory->ShowWindow(false);
        }
        m_wStoryShowType = static_cast<unsigned short>((m_wStoryShowType + 1) % 3);
        vSetComponentPos();
        m_iShowedStoryRow = -1;
        if (m_wStoryShowType != 0) {
            OnShowStory();
        }
    }
    if (host::ui::CSuperSheetWnd* grid = pGetCurrSheetView()) {
        grid->setFocus();
    }
}

void TRVNewsCtrlView::SetStoryShowType(unsigned short showType) {
    m_wStoryShowType = showType;
    vSetComponentPos();
}

// ---- Layout ----

int TRVNewsCtrlView::iPlaceControlRow(const Rect& area, int top, int bottom, int fontHeight) {
    const int unit = fontHeight * 80 / 20 + 6;
    const int width1 = roundDiv20(fontHeight * 120) + 6;
    const int width2 = width1 + 20;
    const int x0 = area.left + 4;
    const int a = area.left + unit + 10;
    int rightmost = area.left;
    const auto place = [&](host::ui::Window* control, int left, int right) {
        if (control != nullptr) {
            control->move(Rect{left, top, right, bottom});
            rightmost = std::max(rightmost, right);
        }
    };
    // With a single service there is nothing to choose: the selector keeps zero width.
    place(m_pServiceButton, x0, m_vService.size() > 1 ? a : x0);
    place(m_pRelationButton, a + 2, a + 2 + unit);
    // The warning-term button stands where the relation button does; the two never show together.
    place(m_pWarningButton, a + 2, a + 2 + unit);
    place(m_pDateTime, a + 4, a + 4 + width1);
    place(m_pCategoryCombo, a + 4, a + 4 + width2);
    int serviceComboRight = a + 4;
    if (m_pServiceCombo != nullptr) {
        const host::ui::UiHost* ui = host::HostContext::current().ui;
        const int captionButton = ui != nullptr ? ui->systemMetricCaptionButtonWidth() : 0;
        serviceComboRight = a + 4 + widestItem(*m_pServiceCombo) + captionButton;
        place(m_pServiceCombo, a + 4, serviceComboRight);
    }
    if (m_pSymbolCombo != nullptr) {
        const int left = serviceComboRight + 4;
        place(m_pSymbolCombo, left, left + widestItem(*m_pSymbolCombo) + 25);
    }
    const int editLeft = a + 3;
    const int editRight = editLeft + 2 * (a - x0);
    place(m_pSearchEdit, editLeft, editRight);
    place(m_pSearchButton, editRight + 2, editRight + 2 + unit);
    place(m_pDealsButton, editRight + 2 + unit + 2, editRight + 2 + unit + 2 + unit + 6);
    return rightmost;
}

void TRVNewsCtrlView::vPlaceFunctionButtons(const Rect& area, int top, int bottom, int rightmost, int fontHeight) {
    const int v = roundDiv20(fontHeight * 80);
    const int space = std::min(GetClientRect().Width() - rightmost, 4 * v + 24);
    const int fits = space / (v + 3);
    const int widths[] = {v, v, v + 6, v + 6};
    const int gaps[] = {3, 3, 9, 0};
    int x = area.right - space - 3;
    for (std::size_t i = 0; i < m_pFunctionBtn.size(); ++i) {
        host::ui::Button* button = m_pFunctionBtn[i];
        const int order = static_cast<int>(i) + 1;
        if (button != nullptr) {
            // A narrow view drops the buttons from the last one backwards.
            button->move(order > fits ? Rect{} : Rect{x, top, x + widths[i], bottom});
        }
        x += widths[i] + gaps[i];
    }
}

void TRVNewsCtrlView::vSetComponentPos() {
    host::ui::Window* wnd = GetWnd();
    if (wnd == nullptr) {
        return;
    }
    const Rect client = GetClientRect();
    Rect area = client;
    if (IsShowTitle()) {
        area.top += std::abs(GetTitleHeight()) + 5;
    }
    const int h = GetFontHeight();
    const int unit = h * 80 / 20 + 6;

    int tabHeight = h + 6;
    if (m_pTab != nullptr && m_pTab->itemCount() > 0) {
        tabHeight = m_pTab->itemRect(0).Height() + 2;
    }
    // The strip and the show-type button fill the band: T high, two pixels more than a tab.
    if (m_pTab != nullptr) {
        m_pTab->move(Rect{area.left, area.top, area.right - 6 - unit, area.top + tabHeight});
    }
    if (m_pShowTypeButton != nullptr) {
        m_pShowTypeButton->move(Rect{area.right - 6 - unit, area.top, area.right - 3, area.top + tabHeight});
    }

    const int rowTop = area.top + tabHeight + 5;
    const int rowBottom = area.top + tabHeight + h + 9;
    m_iCtrlRightEdge = iPlaceControlRow(area, rowTop, rowBottom, h);
    vPlaceFunctionButtons(area, rowTop, rowBottom, m_iCtrlRightEdge, h);

    Rect grid{area.left, rowBottom + 8, area.right, area.bottom};
    if (m_wStoryShowType == 2) {
        grid.bottom -= std::min(client.Height() * kStoryBelowPercent / 100, kStoryBelowMax);
    }
    if (m_iNewsType == 0 && m_wStoryShowType == 1) {
        grid.right = area.left + area.Width() / 2;
    }

    if (m_iNewsType == 0 && m_pStoryPane != nullptr && m_pStoryPane->GetWnd() != nullptr) {
        host::ui::Window* pane = m_pStoryPane->GetWnd();
        if (m_wStoryShowType == 1) {
            Rect story{grid.right + 10, grid.top, area.right, area.bottom};
            if (m_pRelateQuoteView != nullptr) {
                story.bottom = area.Height() / 3 < 121 ? area.top + area.Height() * 2 / 3 : area.bottom - 120;
                // The quote list takes the space under the story.
                vPlaceRelateQuoteView(Rect{story.left, story.bottom, story.right, area.bottom}, true);
            }
            pane->move(story);
            pane->show(true);
        } else if (m_wStoryShowType == 2) {
            Rect story{area.left, grid.bottom, area.right, area.bottom};
            if (m_pRelateQuoteView != nullptr) {
                story.right = std::min(area.left + area.Width() / 2, area.right - 250);
                // The quote list takes the space right of the story.
                vPlaceRelateQuoteView(Rect{story.right, story.top, area.right, area.bottom}, true);
            }
            pane->move(story);
            pane->show(true);
        } else {
            pane->show(false);
            vPlaceRelateQuoteView(Rect{}, false);
        }
        // Beside the grid the pane shows no headline line (the row beside it says it); below it does.
        if (m_pStoryView != nullptr && m_wStoryShowType != 0) {
            m_pStoryView->HideHeadLine(m_wStoryShowType == 1 ? 1 : 0);
            m_pStoryView->vSetComponentPos();
        }
    }

    for (int i = 0; i < news::kModeCount; ++i) {
        host::ui::CSuperSheetWnd* sheet = m_pSheet[static_cast<std::size_t>(i)];
        if (sheet == nullptr) {
            continue;
        }
        Rect rc = grid;
        // Without an all-news grid the symbol and warrant grids move up under the tab band.
        if ((i == news::kModeSymbol || i == news::kModeWarrant) && m_pSheet[news::kModeAllNews] == nullptr) {
            rc.top = area.top + tabHeight + 2;
        }
        sheet->move(rc);
    }

    wnd->invalidate(true);
    m_bLaidOut = true;
    vRestartRefreshTimer();
}
