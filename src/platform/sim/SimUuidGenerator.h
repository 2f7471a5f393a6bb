#pragma once
#include <cstddef>
#include <mutex>
#include <random>

#include "platform/IUuidGenerator.h"
#include "platform/sim/SimFaults.h"

namespace Qv::Sim {

// Random version-4 UUIDs, counted.
class SimUuidGenerator : public platform::IUuidGenerator {
public:
    explicit SimUuidGenerator(SimFaults& faults);
    platform::Result<std::wstring> NewUuidString() override;
    size_t Issued() const;

private:
    mutable std::mutex mutex_;
    std::mt19937_64 random_;
    size_t issued_ = 0;
    SimFaults& faults_;
};

}  // namespace Qv::Sim
