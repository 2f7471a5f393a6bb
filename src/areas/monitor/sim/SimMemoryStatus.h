#pragma once
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "areas/monitor/IMemoryStatus.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

class SimMemoryStatus : public platform::IMemoryStatus {
public:
    explicit SimMemoryStatus(SimFaults& faults) : faults_(faults) {}
    platform::Result<uint32_t> MemoryLoad() override;
    void SetMemoryLoad(uint32_t percent);
    // Loads one reading each, in turn; the last one stays.
    void SetMemoryLoadSteps(std::vector<uint32_t> steps);

private:
    SimFaults& faults_;
    std::mutex mutex_;
    std::deque<uint32_t> steps_{42};
};

// The simulated device's memory load (tests and the native devicectl script it through this).
inline SimMemoryStatus& SimulatedMemory(platform::Platform& device) {
    return static_cast<SimMemoryStatus&>(device.AreaPort<platform::IMemoryStatus>());
}

}  // namespace Qv::Sim
