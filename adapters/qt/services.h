#pragma once

#include <QObject>

#include "host/backend/ui_dispatcher.h"
#include "host/framework/clock.h"

namespace qthost {

// Runs posted work on the GUI thread through Qt's queued calls. post() may be called from
// any thread; work posted after the dispatcher is destroyed must not happen (the back end
// stops its threads first). Work still queued when it is destroyed is dropped.
class QtUiDispatcher final : public UiDispatcher {
public:
    QtUiDispatcher();
    ~QtUiDispatcher() override;
    QtUiDispatcher(const QtUiDispatcher&) = delete;
    QtUiDispatcher& operator=(const QtUiDispatcher&) = delete;

    void post(std::function<void()> work) override;

private:
    QObject* m_context; // owned; lives in the GUI thread
};

// The wall clock.
class WallClock final : public host::Clock {
public:
    std::int64_t nowMs() const override;
};

} // namespace qthost
