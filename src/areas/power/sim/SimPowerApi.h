#pragma once
#include <mutex>

#include "areas/power/IPowerApi.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

// The power modes of a Windows 11 laptop: one overlay per power source, on mains by default.
class SimPowerApi : public platform::IPowerApi {
public:
    explicit SimPowerApi(SimFaults& faults) : faults_(faults) {}
    Functions PowerModeFunctions() override;
    platform::Result<uint8_t> AcLineStatus() override;
    platform::Result<platform::Guid> GetUserConfiguredPowerMode(bool onMains) override;
    platform::Result<void> SetUserConfiguredPowerMode(bool onMains, const platform::Guid& mode) override;

    void SetFunctions(Functions functions);
    void SetAcLineStatus(uint8_t status);  // 0 battery, 1 mains, 255 unknown
    void SetOverlay(bool onMains, const platform::Guid& mode);
    platform::Guid Overlay(bool onMains) const;

private:
    SimFaults& faults_;
    mutable std::mutex mutex_;
    Functions functions_{true, true, true, true};
    uint8_t acLineStatus_ = 1;
    platform::Guid mains_{};    // balanced
    platform::Guid battery_{};
};

// The simulated device's power API (tests arrange it through this).
inline SimPowerApi& SimulatedPower(platform::Platform& device) {
    return static_cast<SimPowerApi&>(device.AreaPort<platform::IPowerApi>());
}

}  // namespace Qv::Sim
