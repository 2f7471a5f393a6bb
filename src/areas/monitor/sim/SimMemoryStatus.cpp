#include "areas/monitor/sim/SimMemoryStatus.h"

namespace Qv::Sim {

platform::Result<uint32_t> SimMemoryStatus::MemoryLoad() {
    QV_SIM_FAULT(faults_, MemoryStatus);
    std::lock_guard<std::mutex> lock(mutex_);
    const uint32_t load = steps_.front();
    if (steps_.size() > 1) steps_.pop_front();
    return load;
}

void SimMemoryStatus::SetMemoryLoad(uint32_t percent) { SetMemoryLoadSteps({percent}); }

void SimMemoryStatus::SetMemoryLoadSteps(std::vector<uint32_t> steps) {
    if (steps.empty()) return;
    std::lock_guard<std::mutex> lock(mutex_);
    steps_.assign(steps.begin(), steps.end());
}

}  // namespace Qv::Sim

std::shared_ptr<Qv::platform::IMemoryStatus> Qv::platform::IMemoryStatus::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimMemoryStatus>(Qv::Sim::FaultsOf(platform));
}
