#include "adapters/qt/services.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>

namespace qthost {

QtUiDispatcher::QtUiDispatcher() : m_context(new QObject) {
    // Queued calls run in the thread of their context object: the GUI thread.
    if (QCoreApplication::instance() != nullptr) {
        m_context->moveToThread(QCoreApplication::instance()->thread());
    }
}

QtUiDispatcher::~QtUiDispatcher() {
    delete m_context;
}

void QtUiDispatcher::post(std::function<void()> work) {
    QMetaObject::invokeMethod(m_context, std::move(work), Qt::QueuedConnection);
}

std::int64_t WallClock::nowMs() const {
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace qthost
