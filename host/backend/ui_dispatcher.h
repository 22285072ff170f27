#pragma once

#include <functional>

// Runs work on the UI thread. Back ends that work on other threads deliver every callback
// through it. Thread: post may be called from any thread. Ownership: the host owns the
// dispatcher; callers keep a non-owning pointer. Re-entrancy: posted work runs later, never
// inside post.
class UiDispatcher {
public:
    virtual ~UiDispatcher() = default;
    virtual void post(std::function<void()> work) = 0;
};
