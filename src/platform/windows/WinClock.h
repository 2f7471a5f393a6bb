#pragma once
#include "platform/IClock.h"

namespace Qv::platform::windows {

class WinClock : public IClock {
public:
    void Sleep(uint32_t milliseconds) override;
};

}  // namespace Qv::platform::windows
