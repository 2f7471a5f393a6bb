// The experience-mode commands.
#include "areas/expmodes/ExpModesHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Delegated(110, "ExpModes.ChangeMode",
                              [](CommandCall& call) {
                                  return ExpModesHelper::GetInstance()->ChangeMode(&call.input, &call.output);
                              }),
        CommandRow::Inline(111, "ExpModes.RestoreMode",
                           [](CommandCall&) -> InlineResult { return ExpModesHelper::GetInstance()->RestoreMode(); }),
    };
    return rows;
}

}  // namespace

Area ExpModesArea() {
    Area area{"ExpModes", Rows()};
    // The modes are built again, and the restore state read again, by the next service.
    area.lastServiceGone = [](platform::Platform&) { ExpModesHelper::Release(); };
    return area;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
