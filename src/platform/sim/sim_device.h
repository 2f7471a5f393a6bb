#pragma once
// The simulated device: one coherent fake laptop behind every port. Tests arrange its state,
// act through the real entry points and assert on answers, this state and the log.
#include <cstdint>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Qv::Sim {

class SimDevice : public platform::Platform,
                  private platform::IUuidGenerator,
                  private platform::INamedEvents {
public:
    SimDevice();

    platform::IUuidGenerator& Uuids() override { return *this; }
    platform::INamedEvents& Events() override { return *this; }

    // --- observations for tests ---
    size_t UuidsIssued() const;
    std::vector<platform::EventHandle> ClosedEvents() const;

private:
    std::wstring NewUuidString() override;
    void Close(platform::EventHandle handle) override;

    mutable std::mutex mutex_;
    std::mt19937_64 random_;
    size_t uuidsIssued_ = 0;
    std::vector<platform::EventHandle> closedEvents_;
};

}  // namespace Qv::Sim
