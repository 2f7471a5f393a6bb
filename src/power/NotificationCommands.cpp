// The notification toast commands.
#include "power/NotificationHelper.h"
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> NotificationCommands() {
    static constexpr CommandRow rows[] = {
        CommandRow::Inline(121, "Notification.GetToastOnOff",
                           [](CommandCall&) -> InlineResult { return NotificationHelper::GetInstance()->GetToastOnOff(); }),
        CommandRow::Delegated(122, "Notification.SetToastOnOff",
                              [](CommandCall& call) {
                                  return NotificationHelper::GetInstance()->SetToastOnOff(&call.input, &call.output);
                              }),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
