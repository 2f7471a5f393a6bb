// The SystemMonitor area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> SystemMonitorCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(31, "SystemMonitor.RegisterDeviceStatusChange", F::Delegated),
        CommandRow::NotBuilt(32, "SystemMonitor.UnregisterDeviceStatusChange", F::Delegated),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
