#pragma once

#include <cstdint>

namespace host {

// The host's clock. Module code never reads the wall clock directly.
// Thread: UI thread. Ownership: the host owns it.
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::int64_t nowMs() const = 0; // milliseconds since 1970
    std::int64_t now() const { return nowMs() / 1000; }
};

} // namespace host
