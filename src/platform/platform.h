#pragma once
// The ports: what the logic needs from the operating system, in portable types.
// Windows adapters live in platform/windows, the simulated device in platform/sim.
#include <memory>
#include <string>

namespace Qv::platform {

// Opaque kernel object handle (a Windows HANDLE on Windows, a simulated object id otherwise).
using EventHandle = void*;

// Fresh UUIDs in the system's standard text form (lower-case hex with hyphens).
class IUuidGenerator {
public:
    virtual ~IUuidGenerator() = default;
    virtual std::wstring NewUuidString() = 0;
};

// Named kernel events of the device status subscriptions.
class INamedEvents {
public:
    virtual ~INamedEvents() = default;
    // Closing a null handle does nothing; a failed close is not reported.
    virtual void Close(EventHandle handle) = 0;
};

// The process-wide set of ports.
class Platform {
public:
    virtual ~Platform() = default;
    virtual IUuidGenerator& Uuids() = 0;
    virtual INamedEvents& Events() = 0;
};

// The installed set. Throws std::logic_error when nothing was installed.
Platform& Current();
// Installs `platform` as the process-wide set (the DLL at attach, native tests and tools at start).
void Install(std::shared_ptr<Platform> platform);

}  // namespace Qv::platform
