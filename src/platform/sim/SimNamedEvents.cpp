#include "platform/sim/SimNamedEvents.h"

namespace Qv::Sim {

void SimNamedEvents::Close(platform::EventHandle handle) {
    if (handle == nullptr) return;
    std::lock_guard<std::mutex> lock(mutex_);
    closed_.Add(handle);
}

std::vector<platform::EventHandle> SimNamedEvents::Closed() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return closed_.Items();
}

}  // namespace Qv::Sim
