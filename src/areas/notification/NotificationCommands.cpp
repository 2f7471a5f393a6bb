// The notification toast commands.
#include "areas/notification/NotificationHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
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

}  // namespace

Area NotificationArea() { return {"Notification", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
