// The companion launch has no command rows: it lives on the service's notifications (start-up,
// the end of the first-run experience, logon and unlock) and ends with the service.
#include "areas/companion-launch/CompanionLaunch.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

CompanionLaunch& Launch(ServiceScope& service) {
    return service.State<CompanionLaunch>(
        [&] { return std::make_shared<CompanionLaunch>(service.platform); });
}

}  // namespace

Area CompanionLaunchArea() {
    Area area{"CompanionLaunch", {}};
    area.startup = [](ServiceScope& service) { Launch(service).StartTimedEvent(); };
    area.firstRun = [](ServiceScope& service) { Launch(service).FirstRunEnded(); };
    area.sessionChanged = [](unsigned long event, ServiceScope& service) { Launch(service).SessionChanged(event); };
    return area;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
