#include "platform/sim/SimClock.h"

namespace Qv::Sim {

void SimClock::Sleep(uint32_t milliseconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    sleeps_.Add(milliseconds);
}

std::vector<uint32_t> SimClock::Sleeps() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sleeps_.Items();
}

}  // namespace Qv::Sim
