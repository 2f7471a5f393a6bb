// The ExpModes area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> ExpModesCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(110, "ExpModes.ChangeMode", F::Delegated),
        CommandRow::NotBuilt(111, "ExpModes.RestoreMode", F::Inline),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
