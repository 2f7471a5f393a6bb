#include "platform/sim/SimUuidGenerator.h"

#include "core/wformat.h"

namespace Qv::Sim {

SimUuidGenerator::SimUuidGenerator(SimFaults& faults) : random_(std::random_device{}()), faults_(faults) {}

platform::Result<std::wstring> SimUuidGenerator::NewUuidString() {
    QV_SIM_FAULT(faults_, Uuids);
    std::lock_guard<std::mutex> lock(mutex_);
    ++issued_;
    const uint64_t hi = (random_() & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
    const uint64_t lo = (random_() & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
    return Core::FormatWide(L"%08x-%04x-%04x-%04x-%012llx", static_cast<unsigned>(hi >> 32),
                            static_cast<unsigned>((hi >> 16) & 0xFFFF), static_cast<unsigned>(hi & 0xFFFF),
                            static_cast<unsigned>(lo >> 48), static_cast<unsigned long long>(lo & 0xFFFFFFFFFFFFULL));
}

size_t SimUuidGenerator::Issued() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return issued_;
}

}  // namespace Qv::Sim
