#pragma once
#include <atomic>

#include "platform/IMemoryStatus.h"

namespace Qv::Sim {

class SimMemoryStatus : public platform::IMemoryStatus {
public:
    platform::Result<uint32_t> MemoryLoad() override { return load_.load(); }
    void SetMemoryLoad(uint32_t percent) { load_.store(percent); }

private:
    std::atomic<uint32_t> load_{42};
};

}  // namespace Qv::Sim
