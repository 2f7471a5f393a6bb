#include "platform/sim/sim_device.h"

#include "core/wformat.h"

namespace Qv::Sim {

SimDevice::SimDevice() : random_(std::random_device{}()) {}

size_t SimDevice::UuidsIssued() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return uuidsIssued_;
}

std::vector<platform::EventHandle> SimDevice::ClosedEvents() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return closedEvents_;
}

std::wstring SimDevice::NewUuidString() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++uuidsIssued_;
    const uint64_t hi = (random_() & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
    const uint64_t lo = (random_() & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
    return Core::FormatWide(L"%08x-%04x-%04x-%04x-%012llx", static_cast<unsigned>(hi >> 32),
                            static_cast<unsigned>((hi >> 16) & 0xFFFF), static_cast<unsigned>(hi & 0xFFFF),
                            static_cast<unsigned>(lo >> 48), static_cast<unsigned long long>(lo & 0xFFFFFFFFFFFFULL));
}

void SimDevice::Close(platform::EventHandle handle) {
    if (handle == nullptr) return;
    std::lock_guard<std::mutex> lock(mutex_);
    closedEvents_.push_back(handle);
}

}  // namespace Qv::Sim
