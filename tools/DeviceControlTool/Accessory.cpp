// Mouse settings of the signed-in user: pointer speed and the primary button.
#include <windows.h>

#include "tools/DeviceControlTool/Areas.h"

namespace Qv::Tool {
namespace {

constexpr int kMinSpeed = 1;
constexpr int kMaxSpeed = 20;
const std::wstring kFailure = L"-1";

int ReadSpeed() {
    int speed = 0;
    if (!SystemParametersInfoW(SPI_GETMOUSESPEED, 0, &speed, 0)) return -1;
    return speed;
}

bool ButtonsSwapped() { return GetSystemMetrics(SM_SWAPBUTTON) != 0; }

// Sets the primary button for this session and for later sign-ins, then checks it took.
bool SetSwapped(bool swapped) {
    ::SwapMouseButton(swapped ? TRUE : FALSE);
    SystemParametersInfoW(SPI_SETMOUSEBUTTONSWAP, swapped ? TRUE : FALSE, nullptr, SPIF_UPDATEINIFILE | SPIF_SENDCHANGE);
    return ButtonsSwapped() == swapped;
}

}  // namespace

std::wstring Accessory(const std::wstring& function, const std::wstring& argument) {
    if (function == L"GetMouseSpeed") {
        const int speed = ReadSpeed();
        return speed < 0 ? kFailure : std::to_wstring(speed);
    }
    if (function == L"SetMouseSpeed") {
        int speed = 0;
        if (!ParseInteger(argument, speed) || speed < kMinSpeed || speed > kMaxSpeed) return kFailure;
        // Windows reads the speed from pvParam, Wine from uiParam: give it in both, then read back.
        SystemParametersInfoW(SPI_SETMOUSESPEED, static_cast<UINT>(speed),
                              reinterpret_cast<PVOID>(static_cast<INT_PTR>(speed)), SPIF_UPDATEINIFILE | SPIF_SENDCHANGE);
        return ReadSpeed() == speed ? L"1" : kFailure;
    }
    if (function == L"SwapMouseButton") return SetSwapped(!ButtonsSwapped()) ? L"1" : kFailure;
    if (function == L"SetMouseLeftHanded") {
        bool leftHanded = false;
        if (!ParseSwitch(argument, leftHanded)) return kFailure;
        return SetSwapped(leftHanded) ? L"1" : kFailure;
    }
    if (function == L"GetMouseSwapStatus") return ButtonsSwapped() ? L"1" : L"0";
    return kFailure;
}

}  // namespace Qv::Tool
