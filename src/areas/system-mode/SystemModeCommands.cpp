// The firmware system mode commands.
#include "areas/system-mode/SystemHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
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

}  // namespace

Area SystemModeArea() { return {"SystemMode", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
