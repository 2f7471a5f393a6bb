// The System area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> SystemCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(131, "System.IsSystemModeSupported", F::Inline),
        CommandRow::NotBuilt(132, "System.GetSystemMode", F::Inline),
        CommandRow::NotBuilt(133, "System.SetSystemMode", F::Delegated),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
