#pragma once
// The aggregate of the ports: what the logic needs from the operating system, in portable
// types, one header per port. The ports here are shared by several areas; a port of one area
// lives in that area's room and is reached through AreaPort<Port>(). The Windows adapters live in
// platform/windows, the simulated device in platform/sim.
#include <memory>

#include "core/type_slots.h"

#include "platform/ICodeSignatures.h"
#include "platform/IClock.h"
#include "platform/IFileSystem.h"
#include "platform/INamedEvents.h"
#include "platform/IProcessLauncher.h"
#include "platform/IRpcCall.h"
#include "platform/IStorePackages.h"
#include "platform/IThreads.h"
#include "platform/IUserSession.h"
#include "platform/IUuidGenerator.h"
#include "platform/IWmi.h"

namespace Qv::platform {

// The process-wide set of ports.
class Platform {
public:
    virtual ~Platform() = default;
    virtual IUuidGenerator& Uuids() = 0;
    virtual INamedEvents& Events() = 0;
    virtual ICodeSignatures& Signatures() = 0;
    virtual IFileSystem& Files() = 0;
    virtual IUserSession& User() = 0;
    virtual IProcessLauncher& Processes() = 0;
    virtual IRpcCall& Rpc() = 0;
    virtual IClock& Clock() = 0;
    virtual IWmi& Wmi() = 0;
    virtual IStorePackages& Packages() = 0;
    virtual IThreads& Threads() = 0;

    // A port that only one area uses: the area declares it beside its helper with a factory,
    // `static std::shared_ptr<Port> Make(Platform&)`, defined by its Windows adapter (the DLL)
    // and by its fake (the simulated device). Made on first use and kept with this platform.
    template <class Port>
    Port& AreaPort() {
        return areaPorts_.GetOrMake<Port>([this] { return Port::Make(*this); });
    }

    // An area's port made elsewhere (a wrapper, a shared fake), put in place before first use.
    template <class Port>
    void PutAreaPort(std::shared_ptr<Port> port) {
        areaPorts_.Put<Port>(std::move(port));
    }

private:
    Core::TypeSlots areaPorts_;
};

// The installed set. Throws std::logic_error when nothing was installed.
Platform& Current();
// Installs `platform` as the process-wide set (the DLL at attach, native tests and tools at start).
void Install(std::shared_ptr<Platform> platform);

}  // namespace Qv::platform
