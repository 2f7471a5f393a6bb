// The application commands.
#include "areas/applications/ApplicationHelper.h"
#include "service/Area.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

ApplicationHelper& Applications() { return *ApplicationHelper::GetInstance(); }

std::span<const CommandRow> Rows() {
    static constexpr CommandRow rows[] = {
        CommandRow::Delegated(21, "Application.OpenApplication",
                              [](CommandCall& call) { return Applications().OpenApplication(&call.input, &call.output); }),
        CommandRow::Delegated(22, "Application.CloseApplication",
                              [](CommandCall& call) { return Applications().CloseApplication(&call.input, &call.output); }),
        CommandRow::Delegated(23, "Application.WriteToDoc",
                              [](CommandCall& call) { return Applications().WriteToDoc(&call.input, &call.output); }),
    };
    return rows;
}

}  // namespace

Area ApplicationArea() { return {"Application", Rows()}; }

}  // namespace Qv::Bridge::Server::Services::DeviceControl
