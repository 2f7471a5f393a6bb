#pragma once
// An area as the service sees it: its command rows, and the hooks through which it takes part
// in the service's life. The service frames commands and keeps sessions; it does not know which
// areas keep state. Each area defines `Area <Name>Area()` in its rows file and is named once in
// areas/AreaList.h.
#include <span>
#include <utility>

#include "core/type_slots.h"

#include "platform/platform.h"
#include "service/CommandTable.h"
#include "service/DeviceControlServiceContext.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// What a hook of the service's own life is handed: the platform, and the service's slots for
// area state that lives as long as the service (context.State<T>() is the same per session).
// The service destroys that state, in its destructor, after the areas' lastServiceGone hooks.
struct ServiceScope {
    platform::Platform& platform;
    Core::TypeSlots& areas;

    template <class T, class Make>
    T& State(Make&& make) {
        return areas.GetOrMake<T>(std::forward<Make>(make));
    }
};

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
    void (*startup)(ServiceScope& service) = nullptr;
    void (*firstRun)(ServiceScope& service) = nullptr;
    void (*sessionChanged)(unsigned long event, ServiceScope& service) = nullptr;
};

// Every area of the module, in the order of the area list (areas/Areas.cpp).
std::span<const Area> Areas();

}  // namespace Qv::Bridge::Server::Services::DeviceControl
