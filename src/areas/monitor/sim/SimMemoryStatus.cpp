#include "areas/monitor/sim/SimMemoryStatus.h"

std::shared_ptr<Qv::platform::IMemoryStatus> Qv::platform::IMemoryStatus::Make(Platform& platform) {
    return std::make_shared<Qv::Sim::SimMemoryStatus>(Qv::Sim::FaultsOf(platform));
}
