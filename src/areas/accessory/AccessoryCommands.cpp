// The mouse commands.
#include "core/status.h"
#include "areas/accessory/AccessoryHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Inline(91, "Accessory.GetMouseSpeed",
                           [](CommandCall&) -> InlineResult { return AccessoryHelper::GetInstance()->GetMouseSpeed(); }),
        CommandRow::Inline(92, "Accessory.SetMouseSpeed",
                           [](CommandCall& call) -> InlineResult {
                               int speed = -1;
                               if (!AccessoryHelper::CheckInputSpeed(&call.input, speed))
                                   return InlineResult::Failed(Status::kArgumentCheckFailed);
                               return AccessoryHelper::GetInstance()->SetMouseSpeed(speed);
                           }),
        CommandRow::Inline(93, "Accessory.SwapMouseButton",
                           [](CommandCall&) -> InlineResult { return AccessoryHelper::GetInstance()->SwapMouseButton(); }),
    };
    return rows;
}

}  // namespace

Area AccessoryArea() { return {"Accessory", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
