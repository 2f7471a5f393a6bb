// The Application area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> ApplicationCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(21, "Application.OpenApplication", F::Delegated),
        CommandRow::NotBuilt(22, "Application.CloseApplication", F::Delegated),
        CommandRow::NotBuilt(23, "Application.WriteToDoc", F::Delegated),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
