#pragma once
#include <mutex>
#include <vector>

#include "platform/IClock.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// A clock whose sleeps return at once and are recorded.
class SimClock : public platform::IClock {
public:
    void Sleep(uint32_t milliseconds) override;
    std::vector<uint32_t> Sleeps() const;

private:
    mutable std::mutex mutex_;
    Recent<uint32_t> sleeps_;
};

}  // namespace Qv::Sim
