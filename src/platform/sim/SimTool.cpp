#include "platform/sim/SimTool.h"

#include <exception>

namespace Qv::Sim {

std::string RunSimTool(SimTool& tool, const std::vector<std::wstring>& args) {
    static const std::string kFailure = "-1\r\n";
    if (args.size() != 4) return kFailure;
    const std::wstring& area = args[1];
    const std::wstring& function = args[2];
    const std::wstring& argument = args[3];
    auto scripted = tool.replies.find(function);
    if (scripted != tool.replies.end()) return scripted->second;
    std::string line;
    if (area == L"Accessory") line = RunAccessory(tool.accessory, function, argument);
    if (area == L"Notification") line = RunNotification(tool.notification, function, argument);
    return (line.empty() ? "-1" : line) + "\r\n";
}

bool ParseToolInteger(const std::wstring& text, int& value) {
    try {
        size_t used = 0;
        value = std::stoi(text, &used);
        return used == text.size();
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace Qv::Sim
