// The firmware system mode commands.
#include "firmware/SystemHelper.h"
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> SystemCommands() {
    static constexpr CommandRow rows[] = {
        CommandRow::Inline(131, "System.IsSystemModeSupported",
                           [](CommandCall&) -> InlineResult { return SystemHelper::GetInstance()->IsSystemModeSupported(); }),
        CommandRow::Inline(132, "System.GetSystemMode",
                           [](CommandCall&) -> InlineResult { return SystemHelper::GetInstance()->GetSystemMode(); }),
        CommandRow::Delegated(133, "System.SetSystemMode",
                              [](CommandCall& call) {
                                  return SystemHelper::GetInstance()->SetSystemMode(&call.input, &call.output);
                              }),
    };
    return rows;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
