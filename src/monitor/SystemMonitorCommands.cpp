// The device status event commands.
#include "monitor/SystemMonitorHelper.h"
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> SystemMonitorCommands() {
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

}  // namespace Qv::Bridge::Server::Services::DeviceControl
