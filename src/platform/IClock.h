#pragma once
#include <cstdint>

namespace Qv::platform {

class IClock {
public:
    virtual ~IClock() = default;
    // A short pause (retries).
    virtual void Sleep(uint32_t milliseconds) = 0;
    // The steady clock, in milliseconds from an arbitrary start.
    virtual uint64_t SteadyMilliseconds() = 0;
    // Blocks until the steady clock reaches `deadline` (polling rounds).
    virtual void SleepUntil(uint64_t deadline) = 0;
};

}  // namespace Qv::platform
