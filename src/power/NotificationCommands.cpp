// The Notification area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> NotificationCommands() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(121, "Notification.GetToastOnOff", F::Inline),
        CommandRow::NotBuilt(122, "Notification.SetToastOnOff", F::Delegated),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
