// The simulated tool's mouse area; the real one is tools/DeviceControlTool/Accessory.cpp.
#include "platform/sim/SimTool.h"

namespace Qv::Sim {

std::string RunAccessory(SimAccessoryState& state, const std::wstring& function, const std::wstring& argument) {
    int value = 0;
    if (function == L"GetMouseSpeed") return std::to_string(state.mouseSpeed);
    if (function == L"SetMouseSpeed") {
        if (!ParseToolInteger(argument, value) || value < 1 || value > 20) return "-1";
        state.mouseSpeed = value;
        return "1";
    }
    if (function == L"SwapMouseButton") {
        state.buttonsSwapped = !state.buttonsSwapped;
        return "1";
    }
    if (function == L"SetMouseLeftHanded") {
        if (!ParseToolInteger(argument, value) || (value != 0 && value != 1)) return "-1";
        state.buttonsSwapped = value == 1;
        return "1";
    }
    if (function == L"GetMouseSwapStatus") return state.buttonsSwapped ? "1" : "0";
    return "-1";
}

}  // namespace Qv::Sim
