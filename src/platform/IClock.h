#pragma once
#include <atomic>
#include <cstdint>

namespace Qv::platform {

class IClock {
public:
    virtual ~IClock() = default;
    // A short pause (retries).
    virtual void Sleep(uint32_t milliseconds) = 0;
    // The steady clock, in milliseconds from an arbitrary start.
    virtual uint64_t SteadyMilliseconds() = 0;
    // Blocks until the steady clock reaches `deadline` (polling rounds), or until `stop` holds
    // after a Wake (a thread being stopped). Answers whether the deadline was reached.
    virtual bool SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) = 0;
    // Makes every SleepUntil in progress look at its stop flag.
    virtual void Wake() = 0;
};

}  // namespace Qv::platform
