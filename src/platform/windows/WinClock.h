#pragma once
#include "platform/IClock.h"

namespace Qv::platform::windows {

class WinClock : public IClock {
public:
    void Sleep(uint32_t milliseconds) override;
    uint64_t SteadyMilliseconds() override;
    void SleepUntil(uint64_t deadline) override;
};

}  // namespace Qv::platform::windows
