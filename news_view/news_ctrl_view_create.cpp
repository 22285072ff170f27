// Creation of the view's control set: the tab strip, the grids and the controls of every
// enabled function mode, the show-type button and the page, print and save-as buttons.
// Rectangles here are provisional; vSetComponentPos places everything for real.
#include <ctime>

#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"

using host::ui::Rect;
namespace win = host::ui::win;

namespace {

// Room left of the mode controls for the service selector button when there is a choice.
constexpr int kServiceButtonRoom = 84;
constexpr int kTabStripHeight = 22;
constexpr int kGridTop = 52;
// The category and symbol lists drop down this far below their edit field.
constexpr int kComboDropHeight = 200;

constexpr bool bIsSingleBit(unsigned mask) {
    return mask == 0x01 || mask == 0x02 || mask == 0x04 || mask == 0x08 || mask == 0x10 || mask == 0x20 || mask == 0x40;
}

} // namespace

void TRVNewsCtrlView::vViewCreate() {
    host::ui::Window* wnd = GetWnd();
    if (wnd == nullptr) {
        return;
    }
    const Rect area = GetViewArea();
    const int left = area.left;
    const int top = area.top;
    const int base = left + (m_vService.size() > 1 ? kServiceButtonRoom : 0);

    // With a single service there is nothing to choose: the button keeps zero width.
    const int serviceRight = m_vService.size() > 1 ? base : left + 4;
    m_pServiceButton = wnd->createButton(news::kIdServiceButton, Rect{left + 4, top + 27, serviceRight, top + 47},
                                         Lang("IDS_NEWSCTRLVIEW_STRING_SELECT_NEWS_SERVICE"));

    if (!bIsSingleBit(m_uFunctionMask)) {
        m_pTab = wnd->createTabStrip(news::kIdTabStrip, Rect{left, top, area.right, top + kTabStripHeight});
    }
    if (m_pNewsStory == nullptr) {
        m_pNewsStory = news::MakeLateOwned<TRVNewsStory>(this);
        // Without its window the view goes on without a story window, as with any missing part.
        if (m_pNewsStory->Create(wnd)) {
            m_pNewsStory->ShowWindow(false);
        } else {
            m_pNewsStory.reset();
        }
    }

    const Rect gridRect{left, top + kGridTop, area.right, area.bottom};
    const host::ui::Font font = GetViewFont();
    const auto addTab = [this](const char* key, int mode) {
        if (m_pTab != nullptr) {
            m_pTab->insertItem(m_pTab->itemCount(), Lang(key), mode);
        }
    };
    const auto grid = [this](int mode) -> host::ui::CSuperSheetWnd*& {
        return m_pSheet[static_cast<std::size_t>(mode)];
    };

    if ((m_uFunctionMask & news::kMaskAllNews) != 0) {
        vInitialSheetWnd(grid(news::kModeAllNews), gridRect, news::kIdFirstGrid + news::kModeAllNews);
        m_pDateTime = wnd->createDatePicker(news::kIdDatePicker, Rect{base + 4, top + 25, base + 124, top + 50});
        // The picker opens on the day the view was made, as a date control does by itself.
        std::tm day{};
        if (m_pDateTime != nullptr && text::localTime(m_tCreateTime, day)) {
            m_pDateTime->setDate(host::ui::Date{day.tm_year + 1900, day.tm_mon + 1, day.tm_mday});
        }
        addTab("IDS_MENU_8_1", news::kModeAllNews);
    }
    if ((m_uFunctionMask & news::kMaskCategory) != 0) {
        vInitialSheetWnd(grid(news::kModeCategory), gridRect, news::kIdFirstGrid + news::kModeCategory);
        m_pCategoryCombo = wnd->createComboBox(news::kIdCategoryCombo, Rect{base + 4, top + 25, base + 124, top + 225},
                                               win::CBS_DROPDOWNLIST | win::CBS_OWNERDRAWFIXED | win::WS_VSCROLL);
        addTab("IDS_NEWSCTRLVIEW_STRING_CATEGORY_NEWS", news::kModeCategory);
    }
    if ((m_uFunctionMask & news::kMaskSymbol) != 0 && bIsAuthService(news::kServiceStock)) {
        vInitialSheetWnd(grid(news::kModeSymbol), gridRect, news::kIdFirstGrid + news::kModeSymbol);
        CreateControls(news::kModeSymbol, Rect{base + 4, top + 25, base + 124, top + 225}, font);
        // A symbol-news-only view follows the linked symbol: nothing to pick.
        if (m_uFunctionMask == news::kMaskSymbol) {
            for (host::ui::Window* control :
                 {static_cast<host::ui::Window*>(m_pServiceCombo), static_cast<host::ui::Window*>(m_pSymbolCombo),
                  static_cast<host::ui::Window*>(m_pServiceButton)}) {
                if (control != nullptr) {
                    control->show(false);
                }
            }
        }
        addTab("IDS_NEWSCTRLVIEW_STRING_SYMBOL_NEWS", news::kModeSymbol);
    }
    if ((m_uFunctionMask & news::kMaskSearch) != 0) {
        vInitialSheetWnd(grid(news::kModeSearch), gridRect, news::kIdFirstGrid + news::kModeSearch);
        CreateControls(news::kModeSearch, Rect{base + 4, top + 25, base + 124, top + 50}, font);
        addTab("IDS_NEWSCTRLVIEW_STRING_SEARCH_NEWS", news::kModeSearch);
        if (m_byShowNormalSearch != 0) {
            vInitialSheetWnd(grid(news::kModeRelation), gridRect, news::kIdFirstGrid + news::kModeRelation);
            addTab("IDS_NEWSCTRLVIEW_STRING_RELATIONSEARCH_NEWS", news::kModeRelation);
        }
        CreateControls(news::kModeRelation, Rect{base + 91, top + 25, base + 171, top + 50}, font);
        bInitialSearchCtrl(m_pCfg, m_strCfgSection, m_iLayout1, m_iLayout2);
    }
    if ((m_uFunctionMask & news::kMaskWarningSearch) != 0) {
        if (m_byShowWarningSearch == 1) {
            vInitialSheetWnd(grid(news::kModeWarningSearch), gridRect, news::kIdFirstGrid + news::kModeWarningSearch);
            CreateControls(news::kModeWarningSearch, Rect{base + 4, top + 25, base + 84, top + 50}, font);
            addTab("IDS_NEWSCTRLVIEW_STRING_WARNINGSEARCH_NEWS", news::kModeWarningSearch);
        } else {
            CreateControls(news::kModeWarningSearch, Rect{base + 4, top + 25, base + 84, top + 50}, font);
        }
    }
    // The warrant tab comes last, after the warning-term tab: saved tab orders rely on it.
    if ((m_uFunctionMask & news::kMaskWarrant) != 0 && m_iWarrantIndex != -1) {
        vInitialSheetWnd(grid(news::kModeWarrant), gridRect, news::kIdFirstGrid + news::kModeWarrant);
        addTab("IDS_NEWSCTRLVIEW_STRING_WARRANT_NEWS", news::kModeWarrant);
    }

    m_bViewCreated = true;
    vChangeCast();
}

void TRVNewsCtrlView::CreateControls(int mode, const Rect& rect, const host::ui::Font& font) {
    host::ui::Window* wnd = GetWnd();
    if (wnd == nullptr) {
        return;
    }
    const auto button = [&](int id, const Rect& rc, const char* key) {
        host::ui::Button* created = wnd->createButton(id, rc, Lang(key));
        if (created != nullptr) {
            created->setFont(font);
        }
        return created;
    };
    const int rowBottom = rect.top + 25;
    switch (mode) {
    case news::kModeSymbol: {
        const unsigned style = win::CBS_DROPDOWNLIST | win::WS_VSCROLL;
        m_pServiceCombo = wnd->createComboBox(news::kIdServiceCombo, rect, style);
        const Rect symbolRect{rect.right + 4, rect.top, rect.right + 4 + rect.Width(), rect.top + kComboDropHeight};
        m_pSymbolCombo = wnd->createComboBox(news::kIdSymbolCombo, symbolRect, style);
        for (host::ui::ComboBox* combo : {m_pServiceCombo, m_pSymbolCombo}) {
            if (combo != nullptr) {
                combo->setFont(font);
            }
        }
        break;
    }
    case news::kModeSearch: {
        const Rect editRect{rect.left, rect.top, rect.left + 2 * rect.Width(), rowBottom};
        m_pSearchEdit = wnd->createEdit(news::kIdSearchEdit, editRect);
        if (m_pSearchEdit != nullptr) {
            m_pSearchEdit->setFont(font);
        }
        m_searchEdit2.SetNewsView(this);
        m_searchEdit2.Attach(m_pSearchEdit);
        m_pSearchButton =
            button(news::kIdSearchButton, Rect{editRect.right + 2, rect.top, editRect.right + 62, rowBottom},
                   "IDS_NEWSCTRLVIEW_STRING_SEARCH");
        m_pDealsButton =
            button(news::kIdDealsSearchButton, Rect{editRect.right + 64, rect.top, editRect.right + 130, rowBottom},
                   "IDS_DIALOG-DEAL-SEARCH_TITLE");
        break;
    }
    case news::kModeRelation:
        m_pRelationButton = button(news::kIdRelationSearchButton, Rect{rect.left, rect.top, rect.right, rowBottom},
                                   "IDS_DIALOG-DEAL-SEARCH_RELATION_TITLE");
        break;
    case news::kModeWarningSearch:
        m_pWarningButton = button(news::kIdWarningSearchButton, Rect{rect.left, rect.top, rect.right, rowBottom},
                                  "IDS_NEWSCTRLVIEW_STRING_WARNING_SETTING");
        break;
    default:
        break;
    }
}

void TRVNewsCtrlView::CreateTypeBtn() {
    if (GetWnd() != nullptr && m_pShowTypeButton == nullptr) {
        m_pShowTypeButton =
            GetWnd()->createButton(news::kIdShowTypeButton, Rect{}, Lang("IDS_NEWSCTRLVIEW_STRING_SHOW_TYPE"));
    }
}

void TRVNewsCtrlView::CreateFunctionBtn() {
    if (GetWnd() == nullptr || m_pFunctionBtn[0] != nullptr) {
        return;
    }
    // Order of the array is the order on screen: page down, page up, save-as, print.
    struct FunctionButton {
        int id;
        const char* key;
    };
    static constexpr FunctionButton kButtons[] = {
        {news::kIdPageDownButton, "IDS_DIALOG-STORY_NEXT_BUTTON"},
        {news::kIdPageUpButton, "IDS_DIALOG-STORY_PREV_BUTTON"},
        {news::kIdSaveAsButton, "IDS_DIALOG-STORY_SAVEAS"},
        {news::kIdPrintButton, "IDS_DIALOG-STORY_PRINT"},
    };
    for (std::size_t i = 0; i < m_pFunctionBtn.size(); ++i) {
        m_pFunctionBtn[i] = GetWnd()->createButton(kButtons[i].id, Rect{}, Lang(kButtons[i].key));
    }
}
