#pragma once
#include <mutex>
#include <vector>

#include "platform/INamedEvents.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

class SimNamedEvents : public platform::INamedEvents {
public:
    void Close(platform::EventHandle handle) override;
    // The handles closed most recently.
    std::vector<platform::EventHandle> Closed() const;

private:
    mutable std::mutex mutex_;
    Recent<platform::EventHandle> closed_;
};

}  // namespace Qv::Sim
