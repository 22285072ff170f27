#include "apps/newsterm/flash_line.h"

#include <QPushButton>
#include <QStatusBar>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/subscriptions.h"
#include "host/text/format.h"
#include "story/news_story_dlg.h"
#include "story/story_text.h"

namespace newsterm {

namespace {
constexpr int kMaxFlashChars = 48;
} // namespace

FlashLine::FlashLine(qthost::QtUiHost& ui, QWidget* mainWindow, QStatusBar* bar)
    : m_frame(ui.wrapWidget(mainWindow)), m_button(new QPushButton(bar)) {
    m_button->setObjectName(QStringLiteral("flashLine"));
    m_button->setFlat(true);
    m_button->setFocusPolicy(Qt::NoFocus);
    m_button->setCursor(Qt::PointingHandCursor);
    m_button->setStyleSheet(QStringLiteral("QPushButton { color: #FFD24A; text-align: left; padding: 0 6px; }"));
    m_button->hide();
    bar->addPermanentWidget(m_button, 1);
    connect(m_button, &QPushButton::clicked, this, [this] { openStory(); });
    subscribe();
}

FlashLine::~FlashLine() {
    NewsSubscriptions::instance().removeReceiver(this);
    m_viewer.reset();
}

void FlashLine::subscribe() {
    NewsSubscriptions::instance().subscribeToEveryService(this);
}

void FlashLine::RecvNewHeadLine(const CHeadline* headline, const CString& /*categoryId*/,
                                const CString& /*symbolCode*/) {
    if (headline == nullptr || headline->m_tTime < m_headline.m_tTime) {
        return; // a late or re-sent older headline does not replace the newest
    }
    m_headline = *headline;
    QString title = qthost::toQString(headline->m_strTitle);
    if (title.size() > kMaxFlashChars) {
        title = title.left(kMaxFlashChars - 1) + QChar(0x2026);
    }
    const QString time = QString::fromStdString(text::formatLocalTime("%H:%M", headline->m_tTime));
    m_button->setText(QStringLiteral("快訊 %1  %2").arg(time, title));
    m_button->setToolTip(qthost::toQString(headline->m_strTitle));
    m_button->show();
}

void FlashLine::openStory() {
    if (m_headline.m_byService == 0 && m_headline.m_tTime == 0) {
        return;
    }
    if (!m_viewer) {
        m_viewer = std::make_unique<TRVNewsStory>(static_cast<CMainFrame*>(this));
        if (!m_viewer->Create(m_frame)) {
            m_viewer.reset();
            return;
        }
    }
    m_shown = m_headline;
    m_viewer->vMainFrameShowHeadline(story::cszFormatTitle(m_shown));
    const CHeadlineTable entry{m_shown.m_byService, m_shown.m_tTime, m_shown.m_iSeqNo, 0, 0};
    CStory story;
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk != nullptr && !bk->BKQNEWS_bGetStory(story, entry)) {
        bk->BKQNews_bReRequestHeadlineStory(entry); // the story fills in when it arrives
    }
    m_viewer->vMainFrameShowStroy(story);
    m_viewer->ShowWindow(true);
    if (host::ui::Window* wnd = m_viewer->GetWnd()) {
        wnd->setZOrder(host::ui::ZOrder::kTop, true);
    }
}

bool FlashLine::isShownEntry(const CHeadlineTable& entry) const {
    return entry.m_byService == m_shown.m_byService && entry.m_tTime == m_shown.m_tTime &&
           entry.m_iSeqNo == m_shown.m_iSeqNo;
}

void FlashLine::RespStory(const CHeadlineTable& entry) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (!m_viewer || !m_viewer->IsWindowVisible() || !isShownEntry(entry) || bk == nullptr) {
        return;
    }
    CStory story;
    if (bk->BKQNEWS_bGetStory(story, entry)) {
        m_viewer->vMainFrameShowStroy(story);
    }
}

} // namespace newsterm
