#pragma once
#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/IClock.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Virtual time: short sleeps return at once and are recorded; SleepUntil blocks until a test
// (or the native devicectl) moves the clock past the deadline, so no test waits ten seconds and
// no thread spins.
class SimClock : public platform::IClock {
public:
    void Sleep(uint32_t milliseconds) override;
    uint64_t SteadyMilliseconds() override;
    bool SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) override;
    void Wake() override;

    std::vector<uint32_t> Sleeps() const;
    void Advance(uint64_t milliseconds);
    // Threads blocked in SleepUntil now; WaitForSleepers blocks until there are `count` of them.
    size_t Sleepers() const;
    void WaitForSleepers(size_t count) const;
    // SleepUntil calls so far (one per polling round).
    size_t SleepUntilCalls() const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    Recent<uint32_t> sleeps_;
    uint64_t now_ = 0;
    size_t sleepers_ = 0;
    size_t sleepUntilCalls_ = 0;
};

}  // namespace Qv::Sim
