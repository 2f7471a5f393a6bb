#pragma once
#include <condition_variable>
#include <mutex>

#include "platform/IClock.h"

namespace Qv::platform::windows {

class WinClock : public IClock {
public:
    void Sleep(uint32_t milliseconds) override;
    uint64_t SteadyMilliseconds() override;
    bool SleepUntil(uint64_t deadline, const std::atomic<bool>& stop) override;
    void Wake() override;

private:
    std::mutex mutex_;
    std::condition_variable woken_;
};

}  // namespace Qv::platform::windows
