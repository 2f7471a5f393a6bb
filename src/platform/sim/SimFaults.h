#pragma once
// Failing system calls on purpose. A test arms a port to fail its next call, or its N-th call
// from now, with a system status of its choosing; every fallible call of that port's fake passes
// through Enter first and fails with that status when its turn comes. Calls are counted per port
// even when nothing is armed, so that a test can learn which ports a command reaches.
//
// A call counts when the port's interface gives it a way to fail: a Result, or a value that
// stands for failure (false, -1, an empty reading, no session). Calls that cannot fail on
// Windows either (the clock, reverting to self, removing an event handler) are not counted.
#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>

#include "platform/Result.h"

namespace Qv::platform {
class Platform;
}

namespace Qv::Sim {

enum class SimPort {
    Uuids,
    Events,
    Signatures,
    Files,
    User,
    Processes,
    Rpc,
    Wmi,
    Packages,
    AudioEndpoints,
    ServiceStatus,
    DisplayControl,
    StoreFiles,
    Battery,
    MemoryStatus,
    PowerApi,
    UserRegistry,
    Base64,
};
inline constexpr size_t kSimPortCount = static_cast<size_t>(SimPort::Base64) + 1;

// The port's interface name, for test names and messages.
std::string_view PortName(SimPort port);

class SimFaults {
public:
    // The port's next call fails with `status`.
    void FailNext(SimPort port, int32_t status) { FailNth(port, 1, status); }
    // The `nth` call of the port from now (1 = the next) fails with `status`; the calls before
    // and after it succeed. One armed fault per port; arming again replaces it.
    void FailNth(SimPort port, uint64_t nth, int32_t status);
    // Disarms every port and sets the counts to zero.
    void Reset();

    // Every fallible call of a fake starts here: the status to fail with, or nothing.
    std::optional<int32_t> Enter(SimPort port);

    // Calls of the port since the last Reset.
    uint64_t Calls(SimPort port) const;
    // Whether an armed fault has not come due yet.
    bool Pending(SimPort port) const;

private:
    struct Slot {
        uint64_t calls = 0;
        uint64_t failAt = 0;  // the call count that fails; 0 when unarmed
        int32_t status = 0;
    };
    mutable std::mutex mutex_;
    std::array<Slot, kSimPortCount> slots_{};
};

// The faults of the simulated device `platform` (an area's fake reaches them through this when
// it is made). Throws std::logic_error for any other platform.
SimFaults& FaultsOf(platform::Platform& platform);

}  // namespace Qv::Sim

// The first statement of a fake's call that answers a Result: fails the call when its turn has come.
#define QV_SIM_FAULT(faults, port) \
    if (const auto qvFault = (faults).Enter(::Qv::Sim::SimPort::port)) return ::Qv::platform::Failure { *qvFault }
