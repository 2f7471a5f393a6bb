#pragma once
// An area as the service sees it: its command rows, and the hooks through which it takes part
// in the service's life. The service frames commands and keeps sessions; it does not know which
// areas keep state. Each area defines `Area <Name>Area()` in its rows file and is named once in
// areas/AreaList.h.
#include <span>

#include "platform/platform.h"
#include "service/CommandTable.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

struct Area {
    const char* name;
    std::span<const CommandRow> rows;

    // Each hook is optional. They run on the host's threads, in the order of the area list.
    // A session was made: the area puts its state in the session (context.State<T>()).
    void (*sessionStarted)(DeviceControlServiceContext& context, platform::Platform& platform) = nullptr;
    // The session is about to be freed, with the area's state in it.
    void (*sessionEnding)(DeviceControlServiceContext& context, platform::Platform& platform) = nullptr;
    // The service is being destroyed while this session is still open: end what holds a host
    // thread in it (the session itself stays the host's to end).
    void (*serviceStopping)(DeviceControlServiceContext& context, platform::Platform& platform) = nullptr;
    // The last service object is gone and the host may unload the module next: stop and join
    // every thread the area started. A later service starts them again as needed.
    void (*lastServiceGone)(platform::Platform& platform) = nullptr;
    // The host's start-up task, the end of the first-run experience, a Windows session change.
    void (*startup)(platform::Platform& platform) = nullptr;
    void (*firstRun)(platform::Platform& platform) = nullptr;
    void (*sessionChanged)(unsigned long event, platform::Platform& platform) = nullptr;
};

// Every area of the module, in the order of the area list (areas/Areas.cpp).
std::span<const Area> Areas();

}  // namespace Qv::Bridge::Server::Services::DeviceControl
