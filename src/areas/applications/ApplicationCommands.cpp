// The Application area's commands. Its helper is not part of this build yet: the rows answer
// "unsupported function number" until it lands.
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

namespace {

std::span<const CommandRow> Rows() {
    using F = CommandForm;
    static constexpr CommandRow rows[] = {
        CommandRow::NotBuilt(21, "Application.OpenApplication", F::Delegated),
        CommandRow::NotBuilt(22, "Application.CloseApplication", F::Delegated),
        CommandRow::NotBuilt(23, "Application.WriteToDoc", F::Delegated),
    };
    return rows;
}

}  // namespace

Area ApplicationArea() { return {"Application", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
