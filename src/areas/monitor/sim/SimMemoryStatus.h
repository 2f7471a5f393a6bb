#pragma once
#include <atomic>

#include "areas/monitor/IMemoryStatus.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

class SimMemoryStatus : public platform::IMemoryStatus {
public:
    explicit SimMemoryStatus(SimFaults& faults) : faults_(faults) {}
    platform::Result<uint32_t> MemoryLoad() override {
        QV_SIM_FAULT(faults_, MemoryStatus);
        return load_.load();
    }
    void SetMemoryLoad(uint32_t percent) { load_.store(percent); }

private:
    SimFaults& faults_;
    std::atomic<uint32_t> load_{42};
};

// The simulated device's memory load (tests and the native devicectl script it through this).
inline SimMemoryStatus& SimulatedMemory(platform::Platform& device) {
    return static_cast<SimMemoryStatus&>(device.AreaPort<platform::IMemoryStatus>());
}

}  // namespace Qv::Sim
