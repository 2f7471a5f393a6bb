#pragma once
// The aggregate of the ports: what the logic needs from the operating system, in portable
// types, one header per port. The Windows adapters live in platform/windows, the simulated
// device in platform/sim.
#include <memory>

#include "platform/IBattery.h"
#include "platform/ICodeSignatures.h"
#include "platform/IClock.h"
#include "platform/IFileSystem.h"
#include "platform/IMemoryStatus.h"
#include "platform/INamedEvents.h"
#include "platform/IPowerApi.h"
#include "platform/IProcessLauncher.h"
#include "platform/IRpcCall.h"
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
    virtual IMemoryStatus& Memory() = 0;
    virtual IBattery& Battery() = 0;
    virtual IWmi& Wmi() = 0;
    virtual IPowerApi& Power() = 0;
};

// The installed set. Throws std::logic_error when nothing was installed.
Platform& Current();
// Installs `platform` as the process-wide set (the DLL at attach, native tests and tools at start).
void Install(std::shared_ptr<Platform> platform);

}  // namespace Qv::platform
