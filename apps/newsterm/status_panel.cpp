#include "apps/newsterm/status_panel.h"

#include <QLabel>
#include <QStatusBar>
#include <QTimer>
#include <cstdio>

#include "apps/newsterm/backend_session.h"

namespace newsterm {

namespace {
constexpr int kPollMs = 500;
constexpr int kFeedProblemMs = 10000;
} // namespace

StatusPanel::StatusPanel(QStatusBar& bar, BackendSession& session, bool english)
    : QObject(&bar), m_bar(bar), m_session(session), m_english(english) {
    m_source = new QLabel(&bar);
    m_source->setObjectName(QStringLiteral("newsSource"));
    m_link = new QLabel(&bar);
    m_link->setObjectName(QStringLiteral("linkState"));
    m_link->setAlignment(Qt::AlignCenter);
    bar.addPermanentWidget(m_source);
    bar.addPermanentWidget(m_link);
    showSource();
    m_timer = new QTimer(this);
    m_timer->setInterval(kPollMs);
    connect(m_timer, &QTimer::timeout, this, [this] { refresh(); });
    m_timer->start();
    refresh();
}

void StatusPanel::showSource() {
    if (m_session.isDistributed()) {
        m_source->setText(text("新聞發行：", "Distribution: ") + m_session.distributionAddress());
        m_source->setStyleSheet(QString());
    } else if (m_session.isGenerated()) {
        m_source->setText(text("模擬新聞（非真實行情）", "Generated news (not real)"));
        m_source->setStyleSheet(QStringLiteral("QLabel { color: #b06000; font-weight: bold; }"));
    } else {
        m_source->setText(text("重播：", "Replay: ") + m_session.feedName());
    }
}

void StatusPanel::setEnglish(bool english) {
    m_english = english;
    m_connected = -1; // shown again in the new language
    m_replaced = 0;
    showSource();
    refresh();
}

QString StatusPanel::text(const char* chinese, const char* english) const {
    return QString::fromUtf8(m_english ? english : chinese);
}

QString StatusPanel::linkText() const {
    return m_link->text();
}
QString StatusPanel::sourceText() const {
    return m_source->text();
}

void StatusPanel::refresh() {
    const int connected = m_session.isConnected() ? 1 : 0;
    if (connected != m_connected) {
        m_connected = connected;
        m_link->setText(connected == 1 ? text(" ● 即時連線 ", " ● Live ") : text(" ○ 已斷線 ", " ○ Disconnected "));
        m_link->setStyleSheet(connected == 1
                                  ? QStringLiteral("QLabel { color: white; background: #1b7f3a; padding: 0 4px; }")
                                  : QStringLiteral("QLabel { color: white; background: #b00020; padding: 0 4px; }"));
    }
    // Over the link state: why the distribution is out of reach (the server down, refused...).
    if (m_session.isDistributed()) {
        m_link->setToolTip(m_session.distributionProblem());
    }
    if (const std::size_t replaced = m_session.replacedCharacters(); replaced != m_replaced) {
        m_replaced = replaced;
        m_source->setText(
            text("重播：", "Replay: ") + m_session.feedName() +
            text("（%1 字無 Big5 字形，以 □ 顯示）", " (%1 characters without a Big5 form shown as □)").arg(replaced));
    }
    const std::vector<FeedLineProblem> problems = m_session.takeFeedProblems();
    for (const FeedLineProblem& p : problems) {
        std::fprintf(stderr, "newsterm: %s line %zu skipped: %s\n", qUtf8Printable(m_session.feedName()), p.line,
                     qUtf8Printable(p.reason));
    }
    if (!problems.empty()) {
        const FeedLineProblem& last = problems.back();
        m_bar.showMessage(
            text("新聞檔第 %1 行無法使用，已略過：%2", "Feed line %1 skipped: %2").arg(last.line).arg(last.reason),
            kFeedProblemMs);
    }
}

} // namespace newsterm
