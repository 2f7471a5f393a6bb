// The Power area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> PowerCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(101, "Power.IsPowerSupported", F::Inline),
        CommandRow::NotBuilt(102, "Power.GetPowerMode", F::Inline),
        CommandRow::NotBuilt(103, "Power.SetPowerMode", F::Delegated),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
