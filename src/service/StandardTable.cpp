// The module's command table: the union of every area's rows. An area keeps its rows beside its
// helper in <Area>Commands.cpp; until its helper is built they answer "unsupported".
#include "service/CommandTable.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

std::span<const CommandRow> CameraCommands();
std::span<const CommandRow> ApplicationCommands();
std::span<const CommandRow> SystemMonitorCommands();
std::span<const CommandRow> AudioCommands();
std::span<const CommandRow> DisplayCommands();
std::span<const CommandRow> AccessoryCommands();
std::span<const CommandRow> PowerCommands();
std::span<const CommandRow> ExpModesCommands();
std::span<const CommandRow> NotificationCommands();
std::span<const CommandRow> SystemCommands();

const CommandTable& CommandTable::Standard() {
    static const CommandTable table{
        CameraCommands(), ApplicationCommands(), SystemMonitorCommands(), AudioCommands(),        DisplayCommands(),
        AccessoryCommands(), PowerCommands(),    ExpModesCommands(),      NotificationCommands(), SystemCommands(),
    };
    return table;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
