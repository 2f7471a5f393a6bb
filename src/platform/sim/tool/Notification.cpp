// The simulated tool's toast area; the real one is tools/DeviceControlTool/Notification.cpp.
#include "platform/sim/SimTool.h"

namespace Qv::Sim {

std::string RunNotification(SimNotificationState& state, const std::wstring& function, const std::wstring& argument) {
    if (function == L"GetToastOnOff") return state.toastEnabled ? "1" : "0";
    if (function == L"SetToastOnOff") {
        int value = 0;
        if (!ParseToolInteger(argument, value) || (value != 0 && value != 1)) return "-1";
        state.toastEnabled = value == 1;
        return "1";
    }
    return "-1";
}

}  // namespace Qv::Sim
