#pragma once
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/INamedEvents.h"
#include "platform/sim/SimWorld.h"

namespace Qv::Sim {

// Named manual-reset events in memory. A wait is woken only by the events it waits on, as a
// kernel wait is (hundreds of subscriptions wait at once).
class SimNamedEvents : public platform::INamedEvents {
public:
    explicit SimNamedEvents(SimFaults& faults) : faults_(faults) {}
    platform::Result<platform::EventHandle> CreateManualReset(const std::wstring& name) override;
    platform::Result<void> Set(platform::EventHandle handle) override;
    platform::Result<void> Reset(platform::EventHandle handle) override;
    platform::Result<int> WaitForEither(platform::EventHandle first, platform::EventHandle second) override;
    platform::Result<void> Close(platform::EventHandle handle) override;

    // The handles closed most recently, and the ones open now.
    std::vector<platform::EventHandle> Closed() const;
    size_t OpenHandles() const;
    // Threads blocked in WaitForEither right now.
    size_t Waiters() const;

private:
    struct Event {
        bool set = false;
        std::vector<std::condition_variable*> waiters;
    };
    // What a handle points to: the named event it opened.
    struct Handle {
        std::wstring name;
        std::shared_ptr<Event> event;
    };

    mutable std::mutex mutex_;
    std::map<std::wstring, std::weak_ptr<Event>> named_;
    std::map<platform::EventHandle, std::unique_ptr<Handle>> open_;
    Recent<platform::EventHandle> closed_;
    size_t waiters_ = 0;
    SimFaults& faults_;
};

}  // namespace Qv::Sim
