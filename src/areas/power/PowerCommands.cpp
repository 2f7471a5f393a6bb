// The power mode commands.
#include "core/status.h"
#include "areas/power/PowerHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        // The flag the helper found when it was made.
        CommandRow::Inline(101, "Power.IsPowerSupported",
                           [](CommandCall&) -> InlineResult { return PowerHelper::GetInstance()->IsPowerSupported(); }),
        CommandRow::Inline(102, "Power.GetPowerMode",
                           [](CommandCall&) -> InlineResult {
                               const int mode = PowerHelper::GetInstance()->GetPowerMode();
                               if (mode < 0) return InlineResult::Failed(Status::kValueNotRead);
                               return mode;
                           }),
        CommandRow::Delegated(103, "Power.SetPowerMode",
                              [](CommandCall& call) {
                                  return PowerHelper::GetInstance()->SetPowerMode(&call.input, &call.output);
                              }),
    };
    return rows;
}

}  // namespace

Area PowerArea() { return {"Power", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
