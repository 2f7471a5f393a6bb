#pragma once
#include <atomic>

#include "areas/monitor/IMemoryStatus.h"

namespace Qv::Sim {

class SimMemoryStatus : public platform::IMemoryStatus {
public:
    platform::Result<uint32_t> MemoryLoad() override { return load_.load(); }
    void SetMemoryLoad(uint32_t percent) { load_.store(percent); }

private:
    std::atomic<uint32_t> load_{42};
};

// The simulated device's memory load (tests and the native devicectl script it through this).
inline SimMemoryStatus& SimulatedMemory(platform::Platform& device) {
    return static_cast<SimMemoryStatus&>(device.AreaPort<platform::IMemoryStatus>());
}

}  // namespace Qv::Sim
