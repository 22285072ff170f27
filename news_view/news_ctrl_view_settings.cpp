// The view's saved settings: start-up from the host's layout store, saving back, and the
// selected services of a layout.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/cfg_io.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "search/news_relate_symbol_quote_view.h"

using host::ui::Rect;

namespace {

constexpr const char* kKeyShowType = "NewsShowType";
constexpr const char* kKeyShowCategory = "ShowCategory";
constexpr const char* kKeyFocusedTab = "FocusedTab";
constexpr const char* kKeySymbolId = "SymbolID";
constexpr const char* kKeyCategoryId = "CategoryID";
constexpr const char* kServiceCheckFormat = "Sheet%dServiceCheck%d";
// A layout keeps the service choice of up to three sheets; a service chosen on any counts.
constexpr int kServiceSheets = 3;

// The host names a symbol-news-only view by this type name or by this caption.
constexpr const char* kSymbolNewsTypeName = "MULTITIMESALSE_SYMBOLNEWS";
constexpr const char* kSymbolNewsCaptionKey = "IDS_MMSEXTENSION-MAINFRM_NEWSCTRLVIEW";
constexpr const char* kStoryPaneClass = "NewsStoryView";
constexpr int kStoryPaneTop = 52;

} // namespace

void TRVNewsCtrlView::InitialViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2,
                                      const CString& name) {
    TRVQuoteBaseView::InitialViewInfo(cfg, section, layout1, layout2, news::kViewKey);

    if (name == kSymbolNewsTypeName || (!name.empty() && cp950::equalsIgnoreCase(name, Lang(kSymbolNewsCaptionKey)))) {
        m_iNewsType = 2;
    }

    int defaultTab = news::kModeAllNews;
    if (m_iNewsType == 1 || m_iNewsType == 2) {
        m_uFunctionMask = news::kMaskSymbol;
        const CSyncInfo& sync = CSyncInfo::Get();
        m_byNewsSymbolService = sync.SYS_byGetCurrentService(GetLinkGroup());
        m_strNewsSymbolCode = sync.SYS_cszGetCurrentSymbol(GetLinkGroup());
        defaultTab = news::kModeSymbol;
    } else if (m_iNewsType == 0) {
        const Rect client = GetClientRect();
        const Rect paneRect{client.left + client.Width() / 2, client.top + kStoryPaneTop + GetTitleHeight(),
                            client.right, client.bottom};
        const CRuntimeClass* paneClass = RuntimeClassRegistry::instance().find(kStoryPaneClass);
        // Without the pane's class the view goes on without an embedded story.
        vAttachStoryPane(CreateView(paneClass, kStoryPaneClass, news::kStoryPaneId, paneRect));
        if (m_pStoryPane != nullptr) {
            m_pStoryPane->InitialViewInfo(cfg, section, layout1, layout2, kStoryPaneClass);
        }
        CreateTypeBtn();
        CreateFunctionBtn();
    }

    m_pCfg = cfg;
    m_strCfgSection = section;
    m_iLayout1 = layout1;
    m_iLayout2 = layout2;
    if (cfg != nullptr) {
        cfg->GetViewInfo(section, layout1, layout2, news::kViewKey, kKeyCategoryId, m_strSavedCategoryId);
    }
    vInitialNewsService(cfg, section, layout1, layout2);
    bInitialTransferCatObject();
    if (m_iWarrantIndex != -1) {
        bInitialTransferWarrantCatObject();
    }
    vViewCreate();

    if (m_pStoryPane != nullptr) {
        int showType = 1;
        if (cfg != nullptr) {
            cfg->GetViewInfoInt(section, layout1, layout2, news::kViewKey, kKeyShowType, showType);
        }
        SetStoryShowType(static_cast<unsigned short>(showType));
    } else {
        SetStoryShowType(0);
    }
    bool showCategory = true;
    if (cfg != nullptr) {
        cfg->GetViewInfoBool(section, layout1, layout2, news::kViewKey, kKeyShowCategory, showCategory);
    }
    m_byCategoryState = showCategory ? 1 : 0;

    int mode = defaultTab;
    if (CSyncInfo::Get().SYS_bGetIsLinkNews()) {
        mode = news::kModeSymbol;
    } else if (cfg != nullptr) {
        cfg->GetViewInfoInt(section, layout1, layout2, news::kViewKey, kKeyFocusedTab, mode);
        mode = iGetFunctionID(mode);
    }
    CheckInitialView(mode);

    if (m_pTab != nullptr) {
        m_pTab->setCurSel(iGetTabIndex(mode));
    }
    m_bInitialized = true;
    SwitchFunction(mode);
    if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
        m_byDateRange = bk->BKQbyGetNewsDateRange();
    }
    CSyncInfo::Get().SYS_vSetIsLinkNews(false);
    InitialNewsRelateQuoteView();
    ChangeCurrViewCategoryState(m_byCategoryState != 0);
}

void TRVNewsCtrlView::vInitialNewsService(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    bool anyKey = false;
    if (cfg != nullptr) {
        for (int sheet = 0; sheet < kServiceSheets; ++sheet) {
            for (NewsServiceEntry& entry : m_vService) {
                bool checked = false;
                if (cfg->GetViewInfoBool(section, layout1, layout2, news::kViewKey,
                                         text::format(kServiceCheckFormat, sheet, entry.m_byService), checked)) {
                    anyKey = true;
                    if (checked) {
                        entry.m_bySelected = 1;
                    }
                }
            }
        }
    }
    if (!anyKey) {
        // A layout that never chose: every service but the warrant service, which has its own list.
        for (NewsServiceEntry& entry : m_vService) {
            entry.m_bySelected = entry.m_byService == news::kServiceWarrant ? 0 : 1;
        }
    }
    m_vServiceSaved = m_vService;
    CheckRegisterService();
}

void TRVNewsCtrlView::SaveViewInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    TRVQuoteBaseView::SaveViewInfo(cfg, section, layout1, layout2);
    if (cfg == nullptr) {
        return;
    }
    const CString viewKey = news::kViewKey;
    cfg->SetViewInfoInt(section, layout1, layout2, viewKey, kKeyShowType, m_wStoryShowType);
    cfg->SetViewInfoBool(section, layout1, layout2, viewKey, kKeyShowCategory, m_byCategoryState != 0);
    cfg->SetViewInfoInt(section, layout1, layout2, viewKey, kKeyFocusedTab, m_iFocusedTab);
    // Every sheet gets the same value: reading ORs the sheets, so a stale sheet would undo a
    // service the user has since unchecked.
    for (int sheet = 0; sheet < kServiceSheets; ++sheet) {
        for (const NewsServiceEntry& entry : m_vServiceSaved) {
            cfg->SetViewInfoBool(section, layout1, layout2, viewKey,
                                 text::format(kServiceCheckFormat, sheet, entry.m_byService), entry.m_bySelected != 0);
        }
    }
    cfg->SetViewInfo(section, layout1, layout2, viewKey, kKeySymbolId, m_strNewsSymbolCode);
    // Written every time; a view whose category list has no selection (or was never opened)
    // writes the category it was saved with.
    const CString categoryId = cszGetSelectedCategoryID();
    cfg->SetViewInfo(section, layout1, layout2, viewKey, kKeyCategoryId,
                     categoryId.empty() ? m_strSavedCategoryId : categoryId);
    vSaveSearchSettings(cfg, section, layout1, layout2);
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->SaveViewInfo(cfg, section, layout1, layout2);
    }
}
