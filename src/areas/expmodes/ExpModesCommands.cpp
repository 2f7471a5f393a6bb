// The ExpModes area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(110, "ExpModes.ChangeMode", F::Delegated),
        CommandRow::NotBuilt(111, "ExpModes.RestoreMode", F::Inline),
    };
    return rows;
}

}  // namespace

Area ExpModesArea() { return {"ExpModes", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
