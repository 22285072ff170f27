#include "apps/newsterm/view_host.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/backend/bk_quote_interface.h"
#include "host/framework/base_views.h"
#include "host/framework/runtime_class.h"
#include "host/framework/sync_info.h"
#include "host/ui/messages.h"
#include "host/ui/sheet.h"
#include "news_view/news_ctrl_view.h"
#include "output/news_print.h"

namespace newsterm {

namespace {

constexpr int kViewChildId = 59648; // the first view pane id of a frame
constexpr unsigned char kLinkGroup = 1;
constexpr const char* kSection = "Main";
// Item of a symbol's record that holds its display name.
constexpr int kItemDisplayName = 1019;

} // namespace

ViewHost::ViewHost(qthost::QtUiHost& ui, QWidget* container, const char* className)
    : m_container(container), m_view(RuntimeClassRegistry::instance().create(className)) {
    host::ui::Window* parent = ui.wrapWidget(container);
    const host::ui::Rect rect{0, 0, container->width(), container->height()};
    if (m_view && m_view->Create(parent, rect, kViewChildId)) {
        if (auto* quoteView = dynamic_cast<TRVQuoteBaseView*>(m_view.get())) {
            quoteView->SetLinkGroup(kLinkGroup);
        }
        m_view->OnInitialUpdate();
    } else {
        m_view.reset();
        m_placeholder = new QLabel(container);
        m_placeholder->setAlignment(Qt::AlignCenter);
        m_placeholder->setWordWrap(true);
        m_placeholder->setText(
            QStringLiteral("The news view (%1) is not part of this build yet.").arg(QString::fromLatin1(className)));
        auto* layout = new QVBoxLayout(container);
        layout->addWidget(m_placeholder);
    }
    container->installEventFilter(this);
}

ViewHost::~ViewHost() {
    m_container->removeEventFilter(this);
    // The view destroys its window; the container stays with the terminal.
    m_view.reset();
}

void ViewHost::loadSettings(TRVCfgIO2& store, const CString& name) {
    if (m_view) {
        m_view->InitialViewInfo(&store, kSection, 0, 0, name);
        fit();
    }
}

void ViewHost::saveSettings(TRVCfgIO2& store) {
    if (m_view) {
        m_view->SaveViewInfo(&store, kSection, 0, 0);
    }
}

void ViewHost::sendCommand(int id) {
    if (m_view && m_view->GetWnd() != nullptr) {
        m_view->GetWnd()->sendMessage(host::ui::win::WM_COMMAND,
                                      host::ui::MAKEWPARAM(static_cast<unsigned>(id), host::ui::win::BN_CLICKED), 0);
    }
}

bool ViewHost::hasSelection() const {
    const auto* news = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    const host::ui::CSuperSheetWnd* grid = news != nullptr ? news->pGetCurrSheetView() : nullptr;
    if (grid == nullptr) {
        return false;
    }
    std::vector<int> rows;
    grid->vGetAllSelectionNdx(rows);
    return !rows.empty();
}

bool ViewHost::isPrintWaiting() const {
    const auto* news = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    return news != nullptr && news->GetNewsPrint() != nullptr && news->GetNewsPrint()->bHasPending();
}

bool ViewHost::changeSymbol(const CString& code) {
    BKQuoteInterface* backend = BKQuoteInterface::GetBKInterface();
    if (backend == nullptr || code.empty()) {
        return false;
    }
    std::vector<unsigned char> services;
    backend->bGetAllServiceID(services);
    for (const unsigned char service : services) {
        if (backend->bIsSymbolIDExist(service, code) == 0) {
            continue;
        }
        CString name;
        backend->bGetItemDataByItemNo(name, service, code, kItemDisplayName);
        CSyncInfo::Get().setCurrentSymbol(kLinkGroup, service, code);
        // A copy: a view may come or go while it takes the change.
        const std::vector<TRVQuoteBaseView*> views = TRVQuoteBaseView::AllViews();
        for (TRVQuoteBaseView* view : views) {
            if (view->GetLinkGroup() == kLinkGroup) {
                view->ChangeSymbol(nullptr, kLinkGroup, service, code, name);
            }
        }
        return true;
    }
    return false;
}

QString ViewHost::symbolCode() const {
    const auto* news = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    return news != nullptr ? qthost::toQString(news->newsSymbolCode()) : QString();
}

bool ViewHost::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_container && event->type() == QEvent::Resize) {
        fit();
    }
    return false;
}

void ViewHost::fit() {
    if (m_view && m_view->GetWnd() != nullptr) {
        // Moving the window sends the view WM_SIZE with the new client size.
        m_view->GetWnd()->move(host::ui::Rect{0, 0, m_container->width(), m_container->height()});
    }
}

} // namespace newsterm
