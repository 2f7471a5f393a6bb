#pragma once
#include "areas/monitor/IBattery.h"

namespace Qv::platform::windows {

// Windows.System.Power.PowerManager through its ABI interface. Where the class cannot be
// activated (older systems, Wine) every call fails with the activation's HRESULT, logged.
class WinBattery : public IBattery {
public:
    Result<int32_t> BatteryStatus() override;
    Result<int32_t> RemainingChargePercent() override;
    Result<int64_t> AddBatteryStatusChanged(std::function<void()> handler) override;
    Result<int64_t> AddRemainingChargeChanged(std::function<void()> handler) override;
    void RemoveBatteryStatusChanged(int64_t token) override;
    void RemoveRemainingChargeChanged(int64_t token) override;
};

}  // namespace Qv::platform::windows
