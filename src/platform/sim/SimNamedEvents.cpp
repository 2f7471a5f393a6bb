#include "platform/sim/SimNamedEvents.h"

#include <algorithm>

namespace Qv::Sim {
namespace {

constexpr int32_t kErrorInvalidHandle = 6;

}  // namespace

platform::Result<platform::EventHandle> SimNamedEvents::CreateManualReset(const std::wstring& name) {
    QV_SIM_FAULT(faults_, Events);
    std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<Event> event = named_[name].lock();
    if (!event) {
        event = std::make_shared<Event>();
        named_[name] = event;
    }
    auto handle = std::make_unique<Handle>(Handle{name, event});
    platform::EventHandle raw = handle.get();
    open_[raw] = std::move(handle);
    return raw;
}

platform::Result<void> SimNamedEvents::Set(platform::EventHandle handle) {
    QV_SIM_FAULT(faults_, Events);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = open_.find(handle);
    if (it == open_.end()) return platform::Failure{kErrorInvalidHandle};
    Event& event = *it->second->event;
    event.set = true;
    for (std::condition_variable* waiter : event.waiters) waiter->notify_one();
    return platform::Success();
}

platform::Result<void> SimNamedEvents::Reset(platform::EventHandle handle) {
    QV_SIM_FAULT(faults_, Events);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = open_.find(handle);
    if (it == open_.end()) return platform::Failure{kErrorInvalidHandle};
    it->second->event->set = false;
    return platform::Success();
}

platform::Result<int> SimNamedEvents::WaitForEither(platform::EventHandle first, platform::EventHandle second) {
    QV_SIM_FAULT(faults_, Events);
    std::unique_lock<std::mutex> lock(mutex_);
    auto a = open_.find(first);
    auto b = open_.find(second);
    if (a == open_.end() || b == open_.end()) return platform::Failure{kErrorInvalidHandle};
    // The events outlive this wait even if the handles are closed meanwhile, as kernel objects do.
    const std::shared_ptr<Event> stop = a->second->event;
    const std::shared_ptr<Event> change = b->second->event;
    std::condition_variable woken;
    stop->waiters.push_back(&woken);
    change->waiters.push_back(&woken);
    ++waiters_;
    woken.wait(lock, [&] { return stop->set || change->set; });
    --waiters_;
    for (Event* event : {stop.get(), change.get()})
        event->waiters.erase(std::find(event->waiters.begin(), event->waiters.end(), &woken));
    return stop->set ? 0 : 1;
}

platform::Result<void> SimNamedEvents::Close(platform::EventHandle handle) {
    if (handle == nullptr) return platform::Success();
    // A close that fails has still let the handle go: the caller cannot close it again.
    const auto fault = faults_.Enter(SimPort::Events);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = open_.find(handle);
    if (it == open_.end()) return platform::Failure{kErrorInvalidHandle};
    const std::wstring name = it->second->name;
    open_.erase(it);
    if (named_[name].expired()) named_.erase(name);
    closed_.Add(handle);
    if (fault) return platform::Failure{*fault};
    return platform::Success();
}

std::vector<platform::EventHandle> SimNamedEvents::Closed() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return closed_.Items();
}

size_t SimNamedEvents::OpenHandles() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return open_.size();
}

size_t SimNamedEvents::Waiters() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return waiters_;
}

}  // namespace Qv::Sim
