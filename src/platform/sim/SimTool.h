#pragma once
// The simulated DeviceControlTool.exe: "<tool> <area> <function> <argument>", one line out. One
// handler per area, as tools/DeviceControlTool has one file per area (platform/sim/tool/).
#include <map>
#include <string>
#include <vector>

namespace Qv::Sim {

// The mouse of the signed-in user.
struct SimAccessoryState {
    int mouseSpeed = 10;
    bool buttonsSwapped = false;
};

// The user's notification toasts.
struct SimNotificationState {
    bool toastEnabled = true;
};

struct SimTool {
    SimAccessoryState accessory;
    SimNotificationState notification;
    // Scripted replies by function word, taking precedence over the tool's own behaviour
    // (e.g. "GetMouseSpeed" -> "-1\r\n").
    std::map<std::wstring, std::string> replies;
    bool failsToStart = false;
};

// What the tool prints for a command line split into words (the tool's path first).
std::string RunSimTool(SimTool& tool, const std::vector<std::wstring>& args);

// The areas.
std::string RunAccessory(SimAccessoryState& state, const std::wstring& function, const std::wstring& argument);
std::string RunNotification(SimNotificationState& state, const std::wstring& function, const std::wstring& argument);

// The argument as a whole decimal integer, as the real tool reads it.
bool ParseToolInteger(const std::wstring& text, int& value);

}  // namespace Qv::Sim
