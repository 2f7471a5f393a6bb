#include "platform/platform.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace Qv::platform {
namespace {

std::mutex& InstallMutex() {
    static std::mutex mutex;
    return mutex;
}

// Installed platforms are kept alive for the rest of the process: singletons built from one
// may hold references to its ports.
std::shared_ptr<Platform>& Slot() {
    static auto* slot = new std::shared_ptr<Platform>();
    return *slot;
}

std::atomic<Platform*> current{nullptr};

}  // namespace

Platform& Current() {
    Platform* platform = current.load(std::memory_order_acquire);
    if (platform == nullptr) throw std::logic_error("no platform installed");
    return *platform;
}

void Install(std::shared_ptr<Platform> platform) {
    std::lock_guard<std::mutex> lock(InstallMutex());
    static auto* retired = new std::vector<std::shared_ptr<Platform>>();
    if (Slot()) retired->push_back(Slot());
    Slot() = std::move(platform);
    current.store(Slot().get(), std::memory_order_release);
}

}  // namespace Qv::platform
