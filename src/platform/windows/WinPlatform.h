#pragma once
// The Windows adapters behind the shared ports, composed; installed by the DLL when it is
// attached. The adapters of an area's own ports are made through AreaPort<Port>().
#include "platform/platform.h"
#include "platform/windows/WinClock.h"
#include "platform/windows/WinCodeSignatures.h"
#include "platform/windows/WinFileSystem.h"
#include "platform/windows/WinNamedEvents.h"
#include "platform/windows/WinProcessLauncher.h"
#include "platform/windows/WinRpcCall.h"
#include "platform/windows/WinStorePackages.h"
#include "platform/windows/WinThreads.h"
#include "platform/windows/WinUserSession.h"
#include "platform/windows/WinUuidGenerator.h"
#include "platform/windows/WinWmi.h"

namespace Qv::platform::windows {

class WinPlatform : public Platform {
public:
    IUuidGenerator& Uuids() override { return uuids_; }
    INamedEvents& Events() override { return events_; }
    ICodeSignatures& Signatures() override { return signatures_; }
    IFileSystem& Files() override { return files_; }
    IUserSession& User() override { return user_; }
    IProcessLauncher& Processes() override { return processes_; }
    IRpcCall& Rpc() override { return rpc_; }
    IClock& Clock() override { return clock_; }
    IWmi& Wmi() override { return wmi_; }
    IStorePackages& Packages() override { return packages_; }
    IThreads& Threads() override { return threads_; }

private:
    WinUuidGenerator uuids_;
    WinNamedEvents events_;
    WinCodeSignatures signatures_;
    WinFileSystem files_;
    WinUserSession user_;
    WinProcessLauncher processes_;
    WinRpcCall rpc_;
    WinClock clock_;
    WinWmi wmi_;
    WinStorePackages packages_;
    WinThreads threads_;
};

}  // namespace Qv::platform::windows
