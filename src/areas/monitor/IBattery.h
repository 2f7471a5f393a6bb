#pragma once
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Result.h"
#include "platform/platform.h"

namespace Qv::platform {

// The platform's power manager: the battery's status and charge, and notifications of their
// changes. Handlers may be called on any thread.
class IBattery {
public:
    enum Status : int32_t { NotPresent = 0, Discharging = 1, Idle = 2, Charging = 3 };

    // Defined by the Windows adapter and by the fake (see Platform::AreaPort).
    static std::shared_ptr<IBattery> Make(Platform& platform);

    virtual ~IBattery() = default;
    virtual Result<int32_t> BatteryStatus() = 0;
    virtual Result<int32_t> RemainingChargePercent() = 0;
    // Registrations answer a token for their removal (never 0).
    virtual Result<int64_t> AddBatteryStatusChanged(std::function<void()> handler) = 0;
    virtual Result<int64_t> AddRemainingChargeChanged(std::function<void()> handler) = 0;
    virtual void RemoveBatteryStatusChanged(int64_t token) = 0;
    virtual void RemoveRemainingChargeChanged(int64_t token) = 0;
};

}  // namespace Qv::platform
