// The device status event commands.
#include "areas/monitor/SystemMonitorHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        // Given a copy of the callback and the session; the call lasts as long as the subscription.
        CommandRow::Delegated(31, "SystemMonitor.RegisterDeviceStatusChange",
                              [](CommandCall& call) {
                                  return SystemMonitorHelper::GetInstance()->RegisterDeviceStatusChange(
                                      &call.input, &call.output, call.Callback(), call.session);
                              }),
        CommandRow::Delegated(32, "SystemMonitor.UnregisterDeviceStatusChange",
                              [](CommandCall& call) {
                                  return SystemMonitorHelper::GetInstance()->UnregisterDeviceStatusChange(
                                      &call.input, &call.output, call.session);
                              }),
    };
    return rows;
}

}  // namespace

Area SystemMonitorArea() {
    Area area{"SystemMonitor", Rows()};
    area.sessionStarted = &SystemMonitorHelper::SessionStarted;
    area.sessionEnding = [](DeviceControlServiceContext& context, platform::Platform& platform) {
        SystemMonitorHelper::GetInstance()->SessionEnding(context, platform);
    };
    area.serviceStopping = [](DeviceControlServiceContext& context, platform::Platform& platform) {
        SystemMonitorHelper::GetInstance()->ServiceStopping(context, platform);
    };
    area.lastServiceGone = [](platform::Platform&) { SystemMonitorHelper::GetInstance()->StopPolling(); };
    return area;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
