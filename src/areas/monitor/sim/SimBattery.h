#pragma once
#include <functional>
#include <map>
#include <mutex>

#include "areas/monitor/IBattery.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

// The power manager of a laptop on battery. A change calls the registered handlers on the
// caller's thread, as the platform calls them on one of its own.
class SimBattery : public platform::IBattery {
public:
    explicit SimBattery(SimFaults& faults) : faults_(faults) {}
    platform::Result<int32_t> BatteryStatus() override;
    platform::Result<int32_t> RemainingChargePercent() override;
    platform::Result<int64_t> AddBatteryStatusChanged(std::function<void()> handler) override;
    platform::Result<int64_t> AddRemainingChargeChanged(std::function<void()> handler) override;
    void RemoveBatteryStatusChanged(int64_t token) override;
    void RemoveRemainingChargeChanged(int64_t token) override;

    // A new state: the status handlers run when the status changed, the charge handlers when
    // the charge did.
    void Change(int32_t status, int32_t chargePercent);
    // Without a power manager (older systems, Wine): every call fails with REGDB_E_CLASSNOTREG.
    void SetAvailable(bool available);
    // The charge cannot be read (the power manager answers with an error).
    void SetChargeReadable(bool readable);
    size_t Registrations() const;

private:
    using Handlers = std::map<int64_t, std::function<void()>>;
    platform::Result<int64_t> Add(Handlers& handlers, std::function<void()> handler);

    SimFaults& faults_;
    mutable std::mutex mutex_;
    bool available_ = true;
    bool chargeReadable_ = true;
    int32_t status_ = Discharging;
    int32_t charge_ = 64;
    int64_t nextToken_ = 1;
    Handlers statusHandlers_;
    Handlers chargeHandlers_;
};

// The simulated device's power manager (tests arrange it through this).
inline SimBattery& SimulatedBattery(platform::Platform& device) {
    return static_cast<SimBattery&>(device.AreaPort<platform::IBattery>());
}

}  // namespace Qv::Sim
